#include "simulator/modem_answer.h"

#include <algorithm>
#include <string_view>
#include <utility>

namespace tavro {

namespace {

constexpr std::string_view kPrompt = "\r\n> ";

void RemoveBlanksBehindColons(std::string& info) {
  for (std::size_t start = 0; start < info.size();) {
    const std::size_t colon = info.find(": ", start);
    const std::size_t end = info.find('\n', start);
    if (info[start] == '+' && colon < end) info.erase(colon + 1, 1);
    start = std::min(info.find('\n', start), info.size() - 1) + 1;
  }
}

std::string ResultText(const ModemState& modem, std::string_view words, int number) {
  if (modem.quiet) return {};
  return modem.verbose ? "\r\n" + std::string(words) + "\r\n" : std::to_string(number) + "\r";
}

std::string ErrorText(const ModemState& modem, std::string_view prefix, int code, std::string_view words) {
  const int format = modem.Option("+CMEE");
  if (format == 0 || modem.quiet) return ResultText(modem, "ERROR", 4);
  return "\r\n" + std::string(prefix) + (format == 1 ? std::to_string(code) : std::string(words)) + "\r\n";
}

std::string ResultText(const ModemState& modem, const CommandResult& result) {
  switch (result.kind) {
    case CommandResult::Kind::kOk:
      return ResultText(modem, "OK", 0);
    case CommandResult::Kind::kEquipmentError:
      return ErrorText(modem, "+CME ERROR: ", result.code, EquipmentErrorText(result.code));
    case CommandResult::Kind::kMessageError:
      return ErrorText(modem, "+CMS ERROR: ", result.code, MessageErrorText(result.code));
    case CommandResult::Kind::kNoCarrier:
      return ResultText(modem, "NO CARRIER", 3);
    case CommandResult::Kind::kPrompt:
      return std::string(kPrompt);
    case CommandResult::Kind::kError:
      break;
  }
  return ResultText(modem, "ERROR", 4);
}

}  // namespace

std::string InfoText(const ModemState& modem, std::string info) {
  if (info.empty()) return {};
  if (!modem.settings.blankBehindColon) RemoveBlanksBehindColons(info);
  return modem.verbose ? "\r\n" + info + "\r\n" : info + "\r\n";
}

ModemAnswer AnswerText(const ModemState& modem, const CommandResult& result) {
  return {InfoText(modem, result.info), ResultText(modem, result)};
}

}  // namespace tavro
