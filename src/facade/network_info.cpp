#include "facade/network_info.h"

#include <cmath>

#include "base/text.h"
#include "link/answer_fields.h"

namespace tavro {

NetworkInfo::NetworkInfo(const DialogueContext& dialogue, Registration& registration)
    : DialoguePart(dialogue), registration_(registration) {}

std::optional<std::int16_t> NetworkInfo::SignalDb() {
  if (!registration_.EnsureReady()) return {};
  log_.WriteLog("Reading GSM signal strength in DB");
  const Answer answer = exchange_.SendCommand("AT+CSQ\r");
  if (!answer.IsGood()) return {};
  const auto fields = Fields(answer.Information("+CSQ:"));
  constexpr int kNotKnown = 99;
  const int most = ReadsWithCare() ? 31 : 10000;  // 31 stands for -51 dB and more (3GPP TS 27.007, 8.5)
  int indication = 0;
  if (!ParseWhole(fields[0], indication) || indication == kNotKnown || indication < 0 || indication > most) return {};
  const int db = indication * 2 - 113;
  log_.WriteLog("GSM signal strength: '" + std::to_string(db) + "dB'");
  return static_cast<std::int16_t>(db);
}

std::int16_t NetworkInfo::SignalPercent(std::int16_t db) {
  if (db == 99) return -1;
  if (db <= -113) return 0;
  if (db >= -51) return 100;
  const double percent = std::nearbyint((db + 113) / 62.0 * 1000) / 10;  // to one decimal place first
  return static_cast<std::int16_t>(std::nearbyint(percent));             // a half to the even number
}

std::optional<std::string> NetworkInfo::Operator() {
  if (!registration_.EnsureReadyForNetwork()) return {};
  log_.WriteLog("Reading network information");
  const Answer answer = exchange_.SendCommand("AT+COPS?\r");
  if (!answer.IsGood()) return {};
  const auto fields = Fields(answer.Information("+COPS:"));  // mode, format, operator, access technology
  if (fields.size() < 3 || fields[2].empty()) return {};
  std::string name = Upper(PlainName(fields[2]));
  log_.WriteLog("Network: " + name);
  return name;
}

// +COPS: (stat,"long name","short name","number"[,technology]),...,,(modes),(formats)
std::optional<std::string> NetworkInfo::OperatorFromList() {
  if (!registration_.EnsureReadyForNetwork()) return {};
  log_.WriteLog("Reading network information (NetworkEx)");
  const Answer answer = exchange_.SendCommand("AT+COPS=?\r");
  if (!answer.IsGood()) return {};
  std::optional<std::string> current, available;  // the last of each counts
  for (const AnswerFieldList& fields : Lists(answer.Information("+COPS:"))) {
    if (fields.size() < 3) continue;
    std::string name = PlainName(fields[1]);
    if (name.empty()) name = PlainName(fields[2]);
    if (name.empty() && fields.size() > 3 && manner_.namesOperatorsByNumber) name = fields[3];
    if (fields[0].starts_with('2')) current = name;
    if (fields[0].starts_with('1')) available = name;
  }
  std::string name = current.value_or("");
  if (!current && available && !available->empty()) name = *available + " [Available Network]";
  if (name.empty()) return {};
  log_.WriteLog("Network: " + name);
  return name;
}

}  // namespace tavro
