#include "simulator/command_table.h"

#include <algorithm>

#include "simulator/phone_book.h"
#include "simulator/ussd.h"

namespace tavro {

namespace {

// Which errors a group has while the SIM cannot be used.
enum class Needs { kNothing, kSim, kSimForMessages };

struct Group {
  Needs needs;
  std::span<const CommandEntry> (*commands)();
};

constexpr Group kGroups[] = {{Needs::kNothing, GeneralCommands},
                             {Needs::kNothing, EquipmentCommands},
                             {Needs::kSim, SimCommands},
                             {Needs::kSim, UssdCommands},
                             {Needs::kSim, PhoneBookCommands},
                             {Needs::kSimForMessages, MessageCommands},
                             {Needs::kSimForMessages, IndicationCommands},
                             {Needs::kSimForMessages, TextCommands}};

bool IsRegister(std::string_view name) { return name.size() > 1 && name[0] == 'S' && name[1] >= '0' && name[1] <= '9'; }

// What keeps a command from being run; kOk when nothing does.
CommandResult CheckSim(ModemState& modem, Needs needs) {
  if (needs == Needs::kNothing) return {};
  const ModemSettings& settings = modem.settings;
  const bool forMessages = needs == Needs::kSimForMessages, needsPuk = settings.pinAttempts <= 0;
  if (!settings.simPresent) return forMessages ? MessageError(kCmsNoSim) : EquipmentError(kCmeNoSim);
  if (modem.FindsSimBusy()) return forMessages ? MessageError(kCmsSimBusy) : EquipmentError(kCmeSimBusy);
  if (!modem.IsLocked()) return {};
  if (forMessages) return MessageError(needsPuk ? kCmsPukNeeded : kCmsPinNeeded);
  return EquipmentError(needsPuk ? kCmePukNeeded : kCmePinNeeded);
}

}  // namespace

std::vector<std::span<const CommandEntry>> AllCommands() {
  std::vector<std::span<const CommandEntry>> all;
  for (const Group& group : kGroups) all.push_back(group.commands());
  return all;
}

CommandResult RunCommand(ModemState& modem, const AtCommand& command) {
  if (IsRegister(command.name)) return RunRegister(modem, command);
  for (const Group& group : kGroups) {
    const std::span<const CommandEntry> commands = group.commands();
    const auto entry = std::find_if(commands.begin(), commands.end(),
                                    [&](const CommandEntry& each) { return each.name == command.name; });
    if (entry == commands.end()) continue;
    const CommandResult refusal = CheckSim(modem, group.needs);
    return refusal.kind == CommandResult::Kind::kOk ? entry->handler(modem, command) : refusal;
  }
  return Error();
}

}  // namespace tavro
