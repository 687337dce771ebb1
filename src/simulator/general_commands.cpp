// The commands of ITU-T V.250 and 3GPP TS 27.007.
#include <algorithm>
#include <utility>

#include "simulator/character_set.h"
#include "simulator/command_table.h"
#include "simulator/looped_message.h"
#include "simulator/network_time.h"

namespace tavro {

namespace {

using Kind = AtCommand::Kind;

CommandResult Nothing(ModemState&, const AtCommand&) { return {}; }

// A switch "0" or "1"; no number is 0.
CommandResult Switch(bool& value, const AtCommand& command) {
  if (!command.value.empty() && command.value != "0" && command.value != "1") return Error();
  value = command.value == "1";
  return {};
}

CommandResult Echo(ModemState& modem, const AtCommand& command) {
  const CommandResult result = Switch(modem.settings.echo, command);
  if (modem.settings.echoStuck) modem.settings.echo = true;
  return result;
}

CommandResult ResetProfile(ModemState& modem, const AtCommand&) {
  modem.Reset();
  return {};
}

CommandResult Identification(ModemState& modem, const AtCommand&) {
  const ModemSettings& settings = modem.settings;
  return Info(settings.manufacturer + "\r\n" + settings.model + "\r\n" + settings.revision);
}

// One of the settings' texts, as it is.
template <std::string ModemSettings::*text>
CommandResult Identity(ModemState& modem, const AtCommand& command) {
  if (command.kind == Kind::kTest) return {};
  return command.kind == Kind::kExecute ? Info(modem.settings.*text) : Error();
}

CommandResult Activity(ModemState& modem, const AtCommand& command) {
  if (command.kind == Kind::kTest) return Info("+CPAS: (0-5)");
  return Info("+CPAS: " + std::to_string(modem.settings.activity));
}

CommandResult Functionality(ModemState& modem, const AtCommand& command) {
  if (command.kind == Kind::kTest) return Info("+CFUN: (0,1,4),(0,1)");
  if (command.kind == Kind::kRead) return Info("+CFUN: " + std::to_string(modem.functionality));
  const std::optional<int> level = command.Number();
  if (!level || (*level != 0 && *level != 1 && *level != 4)) return EquipmentError(kCmeBadParameter);
  modem.functionality = *level;
  if (*level == 0) modem.settings.activity = 5;
  if (*level == 1 && modem.settings.activity == 5) modem.settings.activity = 0;
  if (command.Number(1) == 1) {  // with a restart
    modem.Reset();
    modem.pinGiven = false;
  }
  return {};
}

// Anything else never gets as far as the SIM.
bool IsPin(const std::string& text) {
  return text.size() >= 4 && text.size() <= 8 &&
         std::all_of(text.begin(), text.end(), [](char c) { return c >= '0' && c <= '9'; });
}

CommandResult EnterPin(ModemState& modem, const AtCommand& command) {
  ModemSettings& settings = modem.settings;
  const std::vector<std::string> values = command.Values();
  if (!modem.IsLocked()) return EquipmentError(kCmeNotAllowed);
  if (settings.pinAttempts <= 0) {
    if (values.size() < 2) return EquipmentError(kCmePukNeeded);
    if (values[0] != settings.puk) return EquipmentError(kCmeWrongPassword);
    settings.pin = values[1];
    settings.pinAttempts = 3;
  } else if (!IsPin(values[0])) {
    return EquipmentError(kCmeWrongPassword);
  } else if (values[0] != settings.pin) {
    --settings.pinAttempts;
    return EquipmentError(kCmeWrongPassword);
  }
  modem.pinGiven = true;
  return {};
}

CommandResult Pin(ModemState& modem, const AtCommand& command) {
  if (command.kind == Kind::kTest) return {};
  const ModemSettings& settings = modem.settings;
  if (!settings.simPresent) return EquipmentError(kCmeNoSim);
  if (modem.FindsSimBusy()) return EquipmentError(kCmeSimBusy);
  if (command.kind == Kind::kSet) return EnterPin(modem, command);
  if (command.kind != Kind::kRead) return Error();
  const std::string state = !modem.IsLocked() ? settings.readyState : settings.pinAttempts > 0 ? "SIM PIN" : "SIM PUK";
  return Info("+CPIN: " + (settings.quotesPinState ? "\"" + state + "\"" : state));
}

// The attempts that are left for one password, or all of them.
CommandResult PinAttempts(ModemState& modem, const AtCommand& command) {
  const ModemSettings& settings = modem.settings;
  if (!settings.tellsPinAttempts || command.kind == Kind::kRead) return Error();
  if (!settings.simPresent) return EquipmentError(kCmeNoSim);
  if (modem.FindsSimBusy()) return EquipmentError(kCmeSimBusy);
  if (command.kind == Kind::kTest) return {};
  std::string wanted = command.kind == Kind::kSet ? command.Values()[0] : "*";
  const bool isPrefix = wanted.ends_with('*');
  if (isPrefix) wanted.pop_back();
  const std::pair<std::string_view, std::string> kAttempts[] = {
      {"SIM PIN", std::to_string(settings.pinAttempts) + ",3"},
      {"SIM PUK", "10,10"},
      {"SIM PIN2", "3,3"},
      {"SIM PUK2", "10,10"}};
  CommandResult result;
  for (const auto& [name, attempts] : kAttempts) {
    if (isPrefix ? !name.starts_with(wanted) : name != wanted) continue;
    result.info += (result.info.empty() ? "+CPINR: " : "\r\n+CPINR: ") + std::string(name) + "," + attempts;
  }
  return result.info.empty() ? EquipmentError(kCmeBadParameter) : result;
}

CommandResult Registration(ModemState& modem, const AtCommand& command) {
  const std::vector<int>& statuses = modem.Registrations(command.name);
  if (statuses.empty() && command.name != "+CREG" && command.name != "+CGREG") return Error();
  if (command.kind != Kind::kRead) return RunOption(modem, command);
  const int format = modem.Option(command.name), status = modem.Registration(command.name);
  const bool registered = modem.IsRegistered();
  std::size_t& queries = modem.registrationQueries[command.name];
  if (modem.functionality == 1 && !modem.IsLocked() && queries + 1 < statuses.size()) ++queries;
  constexpr std::pair<std::string_view, std::string_view> kPlaces[] = {{"+CREG", ",\"00C3\",\"0A1B\""},
                                                                       {"+CGREG", ",\"00C3\",\"0A1B\""},
                                                                       {"+CEREG", ",\"00C3\",\"00000A1B\",7"},
                                                                       {"+C5GREG", ",\"0000C3\",\"0000000A1B\",11"}};
  std::string info = command.name + ": " + std::to_string(format) + "," + std::to_string(status);
  for (const auto& [name, place] : kPlaces) {
    if (format == 2 && registered && name == command.name) info += place;
  }
  return Info(std::move(info));
}

CommandResult Battery(ModemState& modem, const AtCommand& command) {
  if (command.kind == Kind::kTest) return Info("+CBC: (0-3),(0-100)");
  return Info("+CBC: " + std::to_string(modem.settings.batteryStatus) + "," +
              std::to_string(modem.settings.batteryLevel));
}

CommandResult Signal(ModemState& modem, const AtCommand& command) {
  if (command.kind == Kind::kTest) return Info("+CSQ: (0-31,99),(0-7,99)");
  const int signal = modem.settings.signal;
  return Info("+CSQ: " + std::to_string(signal) + (signal == 99 ? ",99" : ",0"));
}

CommandResult Capabilities(ModemState&, const AtCommand&) { return Info("+GCAP: +CGSM"); }

CommandResult Clock(ModemState& modem, const AtCommand& command) {
  if (command.kind == Kind::kTest) return {};
  const NetworkTime clock = modem.Clock();
  if (command.kind == Kind::kRead) {
    return Info("+CCLK: \"" + TimeText(TimeStampOctets(clock.wallClockMs, clock.zoneMinutes)) + "\"");
  }
  const std::optional<NetworkTime> wanted = ParseTimeText(command.Values()[0]);
  if (command.kind != Kind::kSet || !wanted) return EquipmentError(kCmeBadParameter);
  modem.clockAtZero = NetworkTime{wanted->wallClockMs - modem.nowMs, wanted->zoneMinutes};
  return {};
}

CommandResult Dial(ModemState&, const AtCommand&) { return {CommandResult::Kind::kNoCarrier, 0, {}}; }

// Only the question whether a facility is locked.
CommandResult FacilityLock(ModemState& modem, const AtCommand& command) {
  if (command.kind == Kind::kTest) return Info("+CLCK: (\"SC\")");
  const std::vector<std::string> values = command.Values();
  if (command.kind != Kind::kSet || values.size() < 2 || values[1] != "2") return EquipmentError(kCmeNotSupported);
  return Info(values[0] == "SC" && !modem.settings.pin.empty() ? "+CLCK: 1" : "+CLCK: 0");
}

CommandResult CardNumber(ModemState& modem, const AtCommand& command) {
  if (command.kind == Kind::kTest) return {};
  return command.kind == Kind::kSet ? Error() : Info("+CCID: " + modem.settings.iccid);
}

CommandResult SubscriberNumber(ModemState& modem, const AtCommand& command) {
  const std::string& number = modem.settings.ownNumber;
  if (command.kind == Kind::kTest || number.empty()) return {};
  return Info("+CNUM: " + Quoted(modem, "Own") + "," + Quoted(modem, number) + "," +
              (number.starts_with('+') ? "145" : "129"));
}

std::string OperatorName(const NetworkOperator& network, int format) {
  return format == 2 ? network.number : format == 1 ? network.shortName : network.longName;
}

CommandResult ListOperators(const ModemState& modem) {
  std::string text = "+COPS: ";
  for (const NetworkOperator& network : modem.settings.operators) {
    text += "(" + std::to_string(network.status) + "," + Quoted(modem, network.longName) + "," +
            Quoted(modem, network.shortName) + ",\"" + network.number + "\"),";
  }
  return Info(text + ",(0,1,3),(0-2)");
}

CommandResult SelectOperator(ModemState& modem, const AtCommand& command) {
  const std::vector<NetworkOperator>& operators = modem.settings.operators;
  const std::vector<std::string> values = command.Values();
  const std::optional<int> mode = command.Number();
  const std::optional<int> format = command.Number(1);
  if (mode == 0) return {};
  if (mode == 3 && format && *format <= 2) {
    modem.operatorFormat = *format;
    return {};
  }
  if (mode == 1 && format && *format <= 2 && values.size() > 2) {
    const bool known = std::any_of(operators.begin(), operators.end(), [&](const NetworkOperator& network) {
      return network.status != 3 && OperatorName(network, *format) == values[2];
    });
    return known ? CommandResult{} : EquipmentError(kCmeNotFound);
  }
  return EquipmentError(kCmeBadParameter);
}

CommandResult Operator(ModemState& modem, const AtCommand& command) {
  if (command.kind == Kind::kTest) return ListOperators(modem);
  if (command.kind == Kind::kSet) return SelectOperator(modem, command);
  const std::vector<NetworkOperator>& operators = modem.settings.operators;
  const auto current = std::find_if(operators.begin(), operators.end(),
                                    [](const NetworkOperator& network) { return network.status == 2; });
  if (!modem.IsRegistered() || current == operators.end()) return Info("+COPS: 0");
  // Names are in the character set, numbers are digits.
  const std::string name = OperatorName(*current, modem.operatorFormat);
  return Info("+COPS: 0," + std::to_string(modem.operatorFormat) + "," +
              (modem.operatorFormat == 2 ? "\"" + name + "\"" : Quoted(modem, name)));
}

constexpr CommandEntry kGeneralCommands[] = {
    {"E", Echo},
    {"V", [](ModemState& modem, const AtCommand& command) { return Switch(modem.verbose, command); }},
    {"Q", [](ModemState& modem, const AtCommand& command) { return Switch(modem.quiet, command); }},
    {"Z", ResetProfile},
    {"&F", ResetProfile},
    {"&C", Nothing},
    {"&D", Nothing},
    {"&K", Nothing},
    {"&S", Nothing},
    {"&W", Nothing},
    {"H", Nothing},
    {"L", Nothing},
    {"M", Nothing},
    {"X", Nothing},
    {"D", Dial},
    {"I", Identification},
    {"+CGMI", Identity<&ModemSettings::manufacturer>},
    {"+GMI", Identity<&ModemSettings::manufacturer>},
    {"+CGMM", Identity<&ModemSettings::model>},
    {"+GMM", Identity<&ModemSettings::model>},
    {"+CGMR", Identity<&ModemSettings::revision>},
    {"+GMR", Identity<&ModemSettings::revision>},
    {"+CGSN", Identity<&ModemSettings::imei>},
    {"+GSN", Identity<&ModemSettings::imei>},
    {"+GCAP", Capabilities},
    {"+CMEE", RunOption},
    {"+CPAS", Activity},
    {"+CFUN", Functionality},
    {"+CPIN", Pin},
    {"+CPINR", PinAttempts},
    {"+CREG", Registration},
    {"+CGREG", Registration},
    {"+CEREG", Registration},
    {"+C5GREG", Registration},
    {"+CGATT", RunOption},
    {"+CBC", Battery},
    {"+CSQ", Signal},
    {"+CSCS", SelectCharacterSet},
    {"+CCLK", Clock},
};

constexpr CommandEntry kSimCommands[] = {
    {"+CIMI", Identity<&ModemSettings::imsi>},
    {"+CCID", CardNumber},
    {"+CNUM", SubscriberNumber},
    {"+COPS", Operator},
    {"+CLCK", FacilityLock},
    {"+CLIP", RunOption},
    {"+CRC", RunOption},
    {"+CCWA", RunOption},
    {"+CSSN", RunOption},
    {"+COLP", RunOption},
};

}  // namespace

std::span<const CommandEntry> GeneralCommands() { return kGeneralCommands; }
std::span<const CommandEntry> SimCommands() { return kSimCommands; }

}  // namespace tavro
