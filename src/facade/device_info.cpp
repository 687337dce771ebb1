#include "facade/device_info.h"

#include <limits>

#include "base/text.h"
#include "link/answer_fields.h"

namespace tavro {

// A query with one text for answer, by one command or by a second one where the modem lacks the first.
struct DeviceInfo::Identification {
  const char* before;
  const char* command;
  const char* secondCommand;
  const char* after;
};

DeviceInfo::DeviceInfo(const DialogueContext& dialogue, Registration& registration)
    : DialoguePart(dialogue), registration_(registration) {}

std::optional<std::string> DeviceInfo::Identify(const Identification& query) {
  const std::string command = query.command, second = query.secondCommand ? query.secondCommand : "";
  const auto ask = [&](const std::string& asked, const std::string& other) -> std::optional<std::string> {
    const Answer answer = exchange_.SendCommand("AT" + asked + "\r");
    if (!answer.IsGood()) return {};
    std::string description = answer.Description(asked + ":", other.empty() ? other : other + ":");
    if (manner_.needsInformation && description.empty()) return {};
    return description;
  };
  log_.WriteLog(query.before);
  auto value = ask(command, second);
  if (!value && !second.empty() && exchange_.IsPortOpen()) {
    log_.WriteLog("AT" + command + " not supported. Trying AT" + second);
    value = ask(second, command);
  }
  if (value) log_.WriteLog(query.after + (": '" + *value + "'"));
  return value;
}

std::optional<std::string> DeviceInfo::Manufacturer() {
  return Identify({"Reading modem manufacturer information", "+GMI", "+CGMI", "Modem manufacturer"});
}

std::optional<std::string> DeviceInfo::Model() {
  return Identify({"Reading modem model information", "+GMM", "+CGMM", "Modem model"});
}

std::optional<std::string> DeviceInfo::Imei() {
  return Identify({"Reading modem IMEI", "+CGSN", "+GSN", "Modem IMEI"});
}

std::optional<std::string> DeviceInfo::Imsi() { return Identify({"Reading IMSI", "+CIMI", nullptr, "IMSI"}); }

std::optional<std::string> DeviceInfo::Revision() {
  return Identify({"Reading modem firmware revision", "+GMR", "+CGMR", "Modem Firmware Revision"});
}

std::optional<std::int16_t> DeviceInfo::BatteryLevel() {
  log_.WriteLog("Reading battery charge level");
  const Answer answer = exchange_.SendCommand("AT+CBC\r");
  if (!answer.IsGood()) return {};
  const auto fields = Fields(answer.Information("+CBC:"));
  if (fields[0] == "2") errors_.SetError(kNoBattery);
  if (fields[0] == "3") errors_.SetError(kPowerFault);
  const int most = ReadsWithCare() ? 100 : std::numeric_limits<std::int16_t>::max();
  int level = 0;
  if ((fields[0] != "0" && fields[0] != "1") || fields.size() < 2 || !ParseWhole(fields[1], level) || level < 0 ||
      level > most) {
    return {};
  }
  log_.WriteLog("Battery charge level: '" + std::to_string(level) + "%'");
  return static_cast<std::int16_t>(level);
}

std::optional<std::string> DeviceInfo::OwnNumber() {
  if (!registration_.EnsureReady()) return {};
  log_.WriteLog("Reading own number");
  const Answer answer = exchange_.SendCommand("AT+CNUM\r");
  if (!answer.IsGood()) return {};
  // A SIM with numbers for voice, data and fax gives a line for each: the first one counts.
  const std::string information = answer.Information();
  const auto entries = Split(information, "+CNUM:");
  auto fields = Fields(entries.size() > 1 ? entries[1] : entries[0]);
  if (fields.size() > 1) fields[1] = PlainNumber(fields[1]);
  if (fields.size() < 2 || !IsNumeric(fields[1]) || Contains(fields[1], ".")) return {};
  const std::string number = TypedNumber(fields[1], fields.size() > 2 ? fields[2] : "");
  log_.WriteLog("Own Number: " + number);
  return number;
}

}  // namespace tavro
