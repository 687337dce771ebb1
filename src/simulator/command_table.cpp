#include "simulator/command_table.h"

#include <algorithm>

#include "simulator/ussd.h"

namespace tavro {

namespace {

using Commands = std::span<const CommandEntry>;

const CommandEntry* Find(std::initializer_list<Commands> groups, std::string_view name) {
  for (const Commands& commands : groups) {
    const auto found =
        std::find_if(commands.begin(), commands.end(), [&](const CommandEntry& entry) { return entry.name == name; });
    if (found != commands.end()) return &*found;
  }
  return nullptr;
}

}  // namespace

CommandResult RunCommand(ModemState& modem, const AtCommand& command) {
  // An S register is accepted and means nothing here.
  const std::string_view name = command.name;
  if (name.size() > 1 && name[0] == 'S' && name[1] >= '0' && name[1] <= '9') return {};
  if (const CommandEntry* entry = Find({GeneralCommands()}, name)) return entry->handler(modem, command);
  const ModemSettings& settings = modem.settings;
  const bool needsPuk = modem.IsLocked() && settings.pinAttempts <= 0;
  if (const CommandEntry* entry = Find({SimCommands(), UssdCommands()}, name)) {
    if (!settings.simPresent) return EquipmentError(kCmeNoSim);
    if (modem.FindsSimBusy()) return EquipmentError(kCmeSimBusy);
    if (modem.IsLocked()) return EquipmentError(needsPuk ? kCmePukNeeded : kCmePinNeeded);
    return entry->handler(modem, command);
  }
  if (const CommandEntry* entry = Find({MessageCommands(), IndicationCommands(), TextCommands()}, name)) {
    if (!settings.simPresent) return MessageError(kCmsNoSim);
    if (modem.FindsSimBusy()) return MessageError(kCmsSimBusy);
    if (modem.IsLocked()) return MessageError(needsPuk ? kCmsPukNeeded : kCmsPinNeeded);
    return entry->handler(modem, command);
  }
  return Error();
}

}  // namespace tavro
