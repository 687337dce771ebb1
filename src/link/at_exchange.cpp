#include "link/at_exchange.h"

#include "base/text.h"
#include "link/whole_second_wait.h"

namespace tavro {

namespace {

constexpr std::uint32_t kAllBits = 0xFFFFFFFF;
// Waits for the first octet without limit; 500 ms of silence end the read.
constexpr SerialTimeOuts kCommandTimeOuts{500, kAllBits, kAllBits, 2, 0};

// The extra time that a few commands get before their answer is read. The comparison is meant to be exact: a command
// with anything behind these texts, its carriage return included, gets none.
std::uint32_t SettlingTime(std::string_view command) {
  const std::string start = Upper(command.substr(0, 18));
  if (start == "AT+CPIN=\"") return 3500;
  if (start == "AT+COPS?") return 2000;
  if (start == "AT+COPS=?") return 2500;
  return 0;
}

}  // namespace

AtExchange::AtExchange(Platform& platform, clsCOMM& comm, ErrorState& errors, LogHandling& log,
                       const Settings& settings)
    : platform_(platform),
      comm_(comm),
      errors_(errors),
      log_(log),
      settings_(settings),
      lastCommandTick_(platform.TickCount()) {}

std::string AtExchange::SendCommand(const std::string& command) {
  log_.WriteLog("Send AT command [" + command + "]");
  errors_.ClearError();
  if (!IsPortOpen()) {
    log_.WriteLog("Serial port is not open");
    if (reconnect_) reconnect_();
    if (!IsPortOpen()) return {};
  }
  if (errors_.IsPending()) return {};
  ApplyTimeOuts('N', kCommandTimeOuts);
  Pace();
  Purge();
  log_.WriteLog("Send: " + command);
  if (!Write(command)) {
    errors_.SetError(kCannotSendCommand);
    return {};
  }
  const std::string answer = ReadAnswer(command);
  if (answer.empty()) errors_.SetError(kCannotReadResponse);
  // An echo goes; line ends stay for CleanResponse.
  std::string result = RemoveAll(answer, command);
  log_.WriteLog("Recv: " + result);
  return result;
}

// The first read that brings more than the command's own echo.
std::string AtExchange::ReadAnswer(const std::string& command) {
  const WholeSecondWait wait(platform_, settings_.timeout);
  if (const std::uint32_t settling = SettlingTime(command)) platform_.Sleep(settling);
  const std::string echo = Upper(Trim(command));
  std::string answer;
  bool complete = false;
  while (!complete && !wait.IsOver()) {
    platform_.PumpMessages();
    platform_.Sleep(1);
    answer = Read();
    const std::string_view trimmed = Trim(answer);
    complete = !trimmed.empty() && Upper(trimmed) != echo;
  }
  MarkCommandEnd();
  return complete ? answer : std::string();
}

std::string AtExchange::CheckCommandResponse(const std::string& command) {
  std::string answer;
  for (int attempt = 1; attempt <= settings_.commandRetryCount; ++attempt) {
    answer = Upper(SendCommand(command));
    const bool error = Contains(answer, "CME ERROR") || Contains(answer, "CMS ERROR");
    if (!error || !Contains(answer, "515") || attempt == settings_.commandRetryCount) break;
    log_.WriteLog("Modem is busy initializing or previous command processing in progress");
    platform_.Sleep(static_cast<std::uint32_t>(settings_.commandRetryDelay));
    log_.WriteLog("Retrying command after " + std::to_string(settings_.commandRetryDelay) + "ms delay");
  }
  return answer;
}

bool AtExchange::IsPortOpen() const { return comm_.IsOpen(settings_.portNumber); }

void AtExchange::ApplyTimeOuts(char mark, const SerialTimeOuts& timeOuts) {
  if (timeOutMark_ == mark) return;
  comm_.CommSetTimeOuts(settings_.portNumber, timeOuts);
  timeOutMark_ = mark;
}

void AtExchange::Pace() {
  const auto delay = static_cast<std::uint32_t>(settings_.modemCommandDelay);
  const std::uint32_t elapsed = platform_.TickCount() - lastCommandTick_;
  if (elapsed < delay) platform_.Sleep(delay - elapsed);
  MarkCommandEnd();
}

void AtExchange::MarkCommandEnd() { lastCommandTick_ = platform_.TickCount(); }

void AtExchange::Purge() { comm_.CommFlush(settings_.portNumber); }

bool AtExchange::Write(std::string_view data) {
  return comm_.CommWrite(settings_.portNumber, data) == static_cast<std::int64_t>(data.size());
}

std::string AtExchange::Read() {
  std::string data;
  comm_.CommRead(settings_.portNumber, data, clsCOMM::kReadBufferSize);
  return data;
}

std::string CleanResponse(std::string_view text, bool removeOk, bool removeCr, bool removeLf) {
  std::string result(text);
  if (removeOk) {
    if (ContainsNoCase(result, "NOKIA")) {
      result = ReplaceAll(Upper(result), "NOKIA", "NOXKIA");
      result = ReplaceAll(RemoveAll(result, "OK"), "NOXKIA", "NOKIA");
    } else {
      result = RemoveAll(result, "OK");
    }
  }
  if (removeCr) result = RemoveAll(result, "\r");
  if (removeLf) result = RemoveAll(result, "\n");
  return Trimmed(result);
}

bool IsGoodResponse(std::string_view answer) {
  const std::string upper = Upper(answer);
  return Contains(upper, "OK") && !Contains(upper, "ERROR");
}

}  // namespace tavro
