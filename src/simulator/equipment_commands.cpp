// What programs ask a modem for of its own state and keep there: registers, indicators, rate, profile.
#include <algorithm>

#include "simulator/command_table.h"

namespace tavro {

namespace {

using Kind = AtCommand::Kind;

// Three digits.
std::string RegisterText(int value) {
  const std::string digits = std::to_string(value);
  return std::string(3 - digits.size(), '0') + digits;
}

// AT+CIND (3GPP TS 27.007, 8.9): the descriptions, or the values now.
CommandResult Indicators(ModemState& modem, const AtCommand& command) {
  if (command.kind == Kind::kTest) {
    return Info(
        "+CIND: (\"battchg\",(0-5)),(\"signal\",(0-5)),(\"service\",(0,1)),(\"message\",(0,1)),(\"call\",(0,1)),"
        "(\"roam\",(0,1)),(\"smsfull\",(0,1))");
  }
  if (command.kind != Kind::kRead) return command.kind == Kind::kSet ? CommandResult{} : Error();
  const ModemSettings& settings = modem.settings;
  bool hasUnread = false;
  modem.store.ForEach(modem.memories[2], [&](int, const StoredMessage& message) { hasUnread |= message.stat == 0; });
  const int status = modem.Registration("+CREG");
  const int values[] = {settings.batteryLevel / 20,
                        settings.signal == 99 ? 0 : std::min(settings.signal / 6, 5),
                        modem.IsRegistered() ? 1 : 0,
                        hasUnread ? 1 : 0,
                        0,
                        status == 5 || status == 7 || status == 10 ? 1 : 0,
                        modem.store.Used(modem.memories[2]) >= modem.store.Capacity(modem.memories[2]) ? 1 : 0};
  std::string text = "+CIND: ";
  for (const int value : values) text += std::to_string(value) + ",";
  text.pop_back();
  return Info(text);
}

// AT+CMER (8.10): accepted, but there are no events.
CommandResult EventReporting(ModemState& modem, const AtCommand& command) {
  if (command.kind == Kind::kTest) return Info("+CMER: (0-3),(0),(0),(0,1),(0,1)");
  if (command.kind == Kind::kRead) return Info("+CMER: " + modem.eventReporting);
  const std::vector<std::string> values = command.Values();
  if (command.kind != Kind::kSet || values.size() > 5) return EquipmentError(kCmeBadParameter);
  std::string text;
  for (std::size_t i = 0; i < 5; ++i) {
    const int value = i >= values.size() || values[i].empty() ? 0 : WholeNumber(values[i]).value_or(9);
    if (value > 3) return EquipmentError(kCmeBadParameter);
    text += (i == 0 ? "" : ",") + std::to_string(value);
  }
  modem.eventReporting = text;
  return {};
}

// AT+IPR (ITU-T V.250, 6.2.10): the rate makes no difference here; 0 finds it by itself.
CommandResult Rate(ModemState& modem, const AtCommand& command) {
  constexpr int kRates[] = {0, 1200, 2400, 4800, 9600, 19200, 38400, 57600, 115200, 230400, 460800, 921600};
  if (command.kind == Kind::kTest) {
    std::string text = "+IPR: (";
    for (const int rate : kRates) text += (rate == 0 ? "" : ",") + std::to_string(rate);
    return Info(text + ")");
  }
  if (command.kind == Kind::kRead) return Info("+IPR: " + std::to_string(modem.rate));
  const std::optional<int> rate = command.Number();
  if (!rate || std::find(std::begin(kRates), std::end(kRates), *rate) == std::end(kRates)) return Error();
  modem.rate = *rate;
  return {};
}

CommandResult NoCalls(ModemState&, const AtCommand& command) {
  return command.kind == Kind::kExecute || command.kind == Kind::kTest ? CommandResult{} : Error();
}

// Some are only there when the settings say so.
bool IsThere(const ModemState& modem, std::string_view name) {
  if (name == "+CPINR") return modem.settings.tellsPinAttempts;
  return (name != "+CEREG" && name != "+C5GREG") || !modem.Registrations(name).empty();
}

CommandResult CommandList(ModemState& modem, const AtCommand& command) {
  if (command.kind != Kind::kExecute) return command.kind == Kind::kTest ? CommandResult{} : Error();
  CommandResult result;
  for (const std::span<const CommandEntry> group : AllCommands()) {
    for (const CommandEntry& entry : group) {
      if (!IsThere(modem, entry.name)) continue;
      result.info += (result.info.empty() ? "AT" : "\r\nAT") + std::string(entry.name);
    }
  }
  return result;
}

CommandResult ViewProfile(ModemState& modem, const AtCommand&) {
  std::string text = "ACTIVE PROFILE:\r\nE";
  text += modem.settings.echo ? '1' : '0';
  text += modem.quiet ? " Q1" : " Q0";
  text += modem.verbose ? " V1" : " V0";
  text += " X4 &C1 &D2\r\n";
  for (const auto& [number, value] : modem.registers) {
    text += (number == 0 ? "S" : " S") + std::to_string(number) + ":" + RegisterText(value);
  }
  text += "\r\n+CMEE: " + std::to_string(modem.Option("+CMEE")) +
          "\r\n+CMGF: " + std::to_string(modem.Option("+CMGF")) + "\r\n+CSMS: " + std::to_string(modem.service) +
          "\r\n+CNMI: ";
  for (const int value : modem.indications) text += std::to_string(value) + ",";
  text.back() = '\r';
  return Info(text + "\n+IPR: " + std::to_string(modem.rate));
}

constexpr CommandEntry kEquipmentCommands[] = {
    {"&V", ViewProfile},    {"+CIND", Indicators},  {"+CMER", EventReporting},
    {"+CLAC", CommandList}, {"+CLCC", NoCalls},     {"+CHUP", NoCalls},
    {"+IPR", Rate},         {"+IFC", RunOption},    {"+CTZU", RunOption},
    {"+CTZR", RunOption},   {"+FCLASS", RunOption},
};

}  // namespace

CommandResult RunRegister(ModemState& modem, const AtCommand& command) {
  const std::optional<int> number = WholeNumber(std::string_view(command.name).substr(1));
  if (!number || *number > 255) return Error();
  if (command.kind == Kind::kRead) {
    const auto kept = modem.registers.find(*number);
    return Info(RegisterText(kept == modem.registers.end() ? 0 : kept->second));
  }
  if (command.kind != Kind::kSet) return {};
  const std::optional<int> value = command.value.empty() ? 0 : WholeNumber(command.value);
  if (!value || *value > 255) return Error();
  modem.registers[*number] = *value;
  return {};
}

std::span<const CommandEntry> EquipmentCommands() { return kEquipmentCommands; }

}  // namespace tavro
