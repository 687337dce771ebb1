#include "link/at_exchange.h"

#include <algorithm>
#include <utility>

#include "base/text.h"

namespace tavro {

namespace {

constexpr std::uint32_t kAllBits = 0xFFFFFFFF;
// Waits for the first octet without limit; 500 ms of silence end the read.
constexpr SerialTimeOuts kCommandTimeOuts{500, kAllBits, kAllBits, 2, 0};

// Octets that never stop end a read after so many times Timeout, and not before so many milliseconds.
constexpr std::uint32_t kLongestReadTimeouts = 10, kLongestReadFloor = 10000;

constexpr char kEsc = 27;

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
                       const Settings& settings, const Manner& manner)
    : platform_(platform),
      comm_(comm),
      errors_(errors),
      log_(log),
      settings_(settings),
      manner_(manner),
      lastCommandTick_(platform.TickCount()),
      sinceCommand_(platform, 0) {}

void AtExchange::SetConnection(std::function<void()> open, std::function<void()> close) {
  openConnection_ = std::move(open);
  closeConnection_ = std::move(close);
}

std::string AtExchange::SendCommand(const std::string& command) {
  log_.WriteLog("Send AT command [" + command + "]");
  errors_.ClearError();
  if (!IsPortOpen()) {
    log_.WriteLog("Serial port is not open");
    if (openConnection_) openConnection_();
    if (!IsPortOpen()) {
      errors_.SetError(kCannotSendCommand);  // unless the connection raised its own error
      return {};
    }
  }
  if (errors_.IsPending()) return {};
  ApplyTimeOuts('N', kCommandTimeOuts);
  Pace();
  Purge();
  log_.WriteLog("Send: " + command);
  const std::int32_t written = WriteOctets(command);
  if (std::cmp_not_equal(written, command.size())) {
    errors_.SetError(kCannotSendCommand);
    if (written < 0 && closeConnection_) closeConnection_();
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
  sinceCommand_ = WholeSecondWait(platform_, settings_.timeout);
  if (const std::uint32_t settling = SettlingTime(command)) platform_.Sleep(settling);
  const std::string echo = Upper(Trim(command));
  std::string answer;
  const bool complete = AwaitAnswer(sinceCommand_, 1, [&](const std::string& newest) {
    answer = newest;
    const std::string_view trimmed = Trim(newest);
    return !trimmed.empty() && Upper(trimmed) != echo;
  });
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
  gap_ = timeOuts.readInterval;
}

void AtExchange::Pace() {
  const auto delay = static_cast<std::uint32_t>(settings_.modemCommandDelay);
  const std::uint32_t elapsed = platform_.TickCount() - lastCommandTick_;
  if (elapsed < delay) platform_.Sleep(delay - elapsed);
  MarkCommandEnd();
}

void AtExchange::MarkCommandEnd() { lastCommandTick_ = platform_.TickCount(); }

void AtExchange::Purge() { comm_.CommFlush(settings_.portNumber); }

bool AtExchange::Write(std::string_view data) { return std::cmp_equal(WriteOctets(data), data.size()); }

std::int32_t AtExchange::WriteOctets(std::string_view data) {
  if (platform_.IsInterrupted()) return -1;
  return comm_.CommWrite(settings_.portNumber, data);
}

void AtExchange::CancelInput() {
  Pace();
  comm_.CommWrite(settings_.portNumber, {&kEsc, 1});
}

bool AtExchange::AwaitAnswer(std::uint32_t interval, const Completion& isComplete) {
  return AwaitAnswer(WholeSecondWait(platform_, settings_.timeout), interval, isComplete);
}

bool AtExchange::AwaitAnswer(const WholeSecondWait& wait, std::uint32_t interval, const Completion& isComplete) {
  while (!wait.IsOver()) {
    platform_.PumpMessages();
    platform_.Sleep(interval);
    if (isComplete(Read())) return true;
  }
  return false;
}

// What the port holds, up to the gap that ends it; empty when there is nothing or the port fails. The port is never
// asked for more octets than can come in the time that is left, however slowly they trickle.
std::string AtExchange::Read() {
  const std::uint32_t limit =
      std::max(static_cast<std::uint32_t>(settings_.timeout) * kLongestReadTimeouts, kLongestReadFloor);
  const std::uint32_t start = platform_.TickCount();
  std::string data, piece;
  for (std::uint32_t elapsed = 0; elapsed < limit; elapsed = platform_.TickCount() - start) {
    const auto room = static_cast<std::uint32_t>(clsCOMM::kReadBufferSize - data.size());
    const std::uint32_t wanted = std::clamp((limit - elapsed) / gap_, 1U, room);
    const std::int32_t count = comm_.CommRead(settings_.portNumber, piece, wanted);
    if (count > 0) data += piece;
    const bool endedAtGap = std::cmp_less(count, wanted);
    if (endedAtGap || data.size() >= clsCOMM::kReadBufferSize || !AwaitOctet()) break;
  }
  return data;
}

// Whether another octet comes before a gap.
bool AtExchange::AwaitOctet() {
  const std::uint32_t start = platform_.TickCount();
  while (!comm_.HasInput(settings_.portNumber)) {
    if (platform_.TickCount() - start >= gap_ || platform_.IsInterrupted()) return false;
    platform_.Sleep(1);
  }
  return true;
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

std::string WithoutQuotedText(std::string_view answer) {
  std::string text;
  bool quoted = false;
  for (const char c : answer) {
    if (c == '\r' || c == '\n') quoted = false;
    if (c == '"') {
      quoted = !quoted;
    } else if (!quoted) {
      text += c;
    }
  }
  return text;
}

}  // namespace tavro
