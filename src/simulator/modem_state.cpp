#include "simulator/modem_state.h"

#include <algorithm>

#include "simulator/command_table.h"

namespace tavro {

namespace {

struct ErrorName {
  int code;
  std::string_view text;
};

constexpr ErrorName kEquipmentErrors[] = {
    {kCmeNotAllowed, "operation not allowed"},
    {kCmeNotSupported, "operation not supported"},
    {kCmeNoSim, "SIM not inserted"},
    {kCmePinNeeded, "SIM PIN required"},
    {kCmePukNeeded, "SIM PUK required"},
    {kCmeSimBusy, "SIM busy"},
    {kCmeWrongPassword, "incorrect password"},
    {kCmeBadIndex, "invalid index"},
    {kCmeNotFound, "not found"},
    {kCmeNoNetwork, "no network service"},
    {kCmeBadParameter, "incorrect parameters"},
    {kCmeBusy, "please wait, init or command processing in progress"},
};
constexpr ErrorName kMessageErrors[] = {
    {kCmsNotSupported, "operation not supported"},
    {kCmsBadPdu, "invalid PDU mode parameter"},
    {kCmsBadTextParameter, "invalid text mode parameter"},
    {kCmsNoSim, "SIM not inserted"},
    {kCmsPinNeeded, "SIM PIN required"},
    {kCmsSimBusy, "SIM busy"},
    {kCmsPukNeeded, "SIM PUK required"},
    {kCmsBadIndex, "invalid memory index"},
    {kCmsFull, "memory full"},
    {kCmsNoServiceCentre, "SMSC address unknown"},
    {kCmsNoNetwork, "no network service"},
    {kCmsNothingToAcknowledge, "no +CNMA acknowledgement expected"},
};

template <std::size_t size>
std::string_view TextOf(const ErrorName (&names)[size], int code) {
  const auto found = std::find_if(names, names + size, [&](const ErrorName& name) { return name.code == code; });
  return found == names + size ? std::string_view("unknown error") : found->text;
}

struct NumberOption {
  std::string_view name;
  int largest, initial;
};

constexpr NumberOption kOptions[] = {
    {"+CMEE", 2, 0}, {"+CREG", 2, 0}, {"+CGREG", 2, 0}, {"+CEREG", 2, 0}, {"+C5GREG", 2, 0}, {"+CGATT", 1, 1},
    {"+CLIP", 1, 0}, {"+CRC", 1, 0},  {"+CCWA", 1, 0},  {"+CSSN", 1, 0},  {"+COLP", 1, 0},   {"+CMGF", 1, 0},
    {"+CSDH", 1, 0}, {"+CTZU", 1, 0}, {"+CTZR", 2, 0},  {"+IFC", 3, 0},   {"+FCLASS", 0, 0}};

const NumberOption* FindOption(std::string_view name) {
  const auto found = std::find_if(std::begin(kOptions), std::end(kOptions),
                                  [&](const NumberOption& option) { return option.name == name; });
  return found == std::end(kOptions) ? nullptr : found;
}

}  // namespace

std::string_view EquipmentErrorText(int code) { return TextOf(kEquipmentErrors, code); }
std::string_view MessageErrorText(int code) { return TextOf(kMessageErrors, code); }

ModemState::ModemState(ModemSettings given)
    : settings(std::move(given)),
      nextReference(settings.firstReference & 255),
      start_{settings.ucs2, settings.activity, settings.deafCommands, settings.simBusyCommands} {
  for (const PhoneBookEntry& each : settings.phoneBook) phoneBook[static_cast<int>(phoneBook.size()) + 1] = each;
}

int ModemState::Option(std::string_view name) const {
  const auto kept = options.find(name);
  if (kept != options.end()) return kept->second;
  const NumberOption* option = FindOption(name);
  return option ? option->initial : 0;
}

const std::vector<int>& ModemState::Registrations(std::string_view command) const {
  if (command == "+CEREG") return settings.lteRegistration;
  if (command == "+C5GREG") return settings.fiveGRegistration;
  const bool hasOwn = command == "+CGREG" && !settings.packetRegistration.empty();
  return hasOwn ? settings.packetRegistration : settings.registration;
}

int ModemState::Registration(std::string_view command) const {
  const std::vector<int>& statuses = Registrations(command);
  if (!isOn || functionality != 1 || !settings.simPresent || IsLocked() || statuses.empty()) return 0;
  const bool followsOther = command == "+CGREG" && settings.packetRegistration.empty();
  const auto queries = registrationQueries.find(followsOther ? "+CREG" : command);
  return statuses[std::min(queries == registrationQueries.end() ? 0 : queries->second, statuses.size() - 1)];
}

bool ModemState::IsRegistered() const {
  // 3GPP TS 27.007, 7.2: home, roaming, the same for SMS only and with CSFB not preferred.
  constexpr int kRegistered[] = {1, 5, 6, 7, 9, 10};
  constexpr std::string_view kCommands[] = {"+CREG", "+CGREG", "+CEREG", "+C5GREG"};
  return std::any_of(std::begin(kCommands), std::end(kCommands), [&](std::string_view command) {
    return std::find(std::begin(kRegistered), std::end(kRegistered), Registration(command)) != std::end(kRegistered);
  });
}

NetworkEvents::iterator ModemState::At(std::int64_t ms, std::function<void(ModemState&)> action) {
  return events.emplace(ms, std::move(action));
}

void ModemState::RunNextEvent() {
  auto event = events.extract(events.begin());
  nowMs = std::max(nowMs, event.key());
  event.mapped()(*this);
}

bool ModemState::FindsSimBusy() {
  if (settings.simBusyCommands > 0) {
    --settings.simBusyCommands;
    return true;
  }
  return settings.simBusyMs > 0 && nowMs - startedMs < settings.simBusyMs;
}

void ModemState::Reset() {
  settings.echo = verbose = true;
  quiet = false;
  options.clear();
  registers = VolatileState().registers;
  textParameters = {};
}

void ModemState::Restart() {
  if (ussdPending) events.erase(*ussdPending);
  static_cast<VolatileState&>(*this) = {};
  Reset();
  settings.ucs2 = start_.ucs2;
  settings.activity = start_.activity;
  settings.deafCommands = start_.deafCommands;
  settings.simBusyCommands = start_.simBusyCommands;
}

CommandResult RunOption(ModemState& modem, const AtCommand& command) {
  const NumberOption& option = *FindOption(command.name);
  switch (command.kind) {
    case AtCommand::Kind::kTest:
      return Info(command.name + (option.largest > 0 ? ": (0-" + std::to_string(option.largest) + ")" : ": (0)"));
    case AtCommand::Kind::kRead:
      return Info(command.name + ": " + std::to_string(modem.Option(command.name)));
    case AtCommand::Kind::kSet: {
      const std::optional<int> value = command.Number();
      if (!value || *value > option.largest) return EquipmentError(kCmeBadParameter);
      modem.options[command.name] = *value;
      return {};
    }
    default:
      return Error();
  }
}

}  // namespace tavro
