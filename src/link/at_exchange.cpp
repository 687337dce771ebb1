#include "link/at_exchange.h"

#include <algorithm>
#include <iterator>
#include <utility>

#include "base/text.h"

namespace tavro {

namespace {

constexpr std::uint32_t kAllBits = 0xFFFFFFFF;
// Waits for the first octet without limit; 500 ms of silence end the read.
constexpr SerialTimeOuts kCommandTimeOuts{500, kAllBits, kAllBits, 2, 0};

// Octets that never stop end a read after so many times Timeout, and not before so many milliseconds.
constexpr std::uint32_t kLongestReadTimeouts = 10, kLongestReadFloor = 10000;

// Where answers end at their result a read returns as soon as octets come. It is begun anew so often, in milliseconds,
// that window messages run and a program that wants to end is not kept.
constexpr std::uint32_t kReadSlice = 100;
constexpr std::size_t kLongestAnswer = 16 << 20;
// An answer that may be whole without its result code is waited on for so long, in milliseconds.
constexpr std::uint32_t kMissingResultLimit = 3000;
// A line of the modem's own accord that has begun and does not go on is taken as ended after so many milliseconds.
constexpr std::uint32_t kUnendedLineLimit = 3000;
// While the exchange is brought back into step: how long another answer may take behind an ERROR, in milliseconds.
constexpr std::int32_t kAnotherAnswerLimit = 2000;
constexpr int kMostOpenQuestions = 8;

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

int CountNoCase(std::string_view text, std::string_view part) {
  return static_cast<int>(Split(Upper(text), part).size()) - 1;
}

// Whether the command only asks, so that asking again changes nothing.
bool IsRepeatable(std::string_view command) {
  constexpr std::string_view kQuestions[] = {"AT",      "AT+CSQ",  "AT+CBC",  "AT+CPAS", "AT+CNUM",
                                             "AT+CIMI", "AT+CGMI", "AT+CGMM", "AT+CGMR", "AT+CGSN",
                                             "AT+GMI",  "AT+GMM",  "AT+GMR",  "AT+GSN"};
  const std::string capitals = Upper(Trim(command.substr(0, command.find('\r'))));
  if (command.find('\r') + 1 != command.size() || Contains(capitals, ";")) return false;
  const bool asks = capitals.ends_with("=?") || (capitals.ends_with('?') && !Contains(capitals, "="));
  return asks || std::find(std::begin(kQuestions), std::end(kQuestions), capitals) != std::end(kQuestions);
}

}  // namespace

AtExchange::AtExchange(Platform& platform, clsCOMM& comm, ErrorState& errors, LogHandling& log,
                       const Settings& settings, const Manner& manner)
    : platform_(platform),
      comm_(comm),
      errors_(errors),
      log_(log),
      settings_(settings),
      sortsAnswers_(manner.answersEndAtResult),
      lastCommandTick_(platform.TickCount()),
      sinceWritten_(platform, 0) {}

void AtExchange::SetConnection(std::function<void()> open, std::function<void()> close, std::function<void()> recover) {
  openConnection_ = std::move(open);
  closeConnection_ = std::move(close);
  recoverConnection_ = std::move(recover);
}

Answer AtExchange::SendCommand(const std::string& command) {
  Answer answer = Exchange(command);
  const bool isLost = errors_.LastErrorCode() == kCannotReadResponse.code && unanswered_ && IsPortOpen();
  if (!isLost || !settings_.recovery.repeats || !mayRepeat_ || !IsRepeatable(command)) return answer;
  if (!Resynchronise()) {
    unanswered_ = true;
    return answer;
  }
  log_.WriteLog("Repeating the command");
  return Exchange(command);
}

Answer AtExchange::Exchange(const std::string& command) {
  log_.WriteLog("Send AT command [" + command + "]");
  errors_.ClearError();
  if (unanswered_ && recoverConnection_) recoverConnection_();
  if (errors_.IsPending()) return {};
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
  std::optional<Answer> answer = ReadAnswer(command);
  if (!answer) {
    errors_.SetError(kCannotReadResponse);
    answer.emplace();
  }
  log_.WriteLog("Recv: " + answer->Text());
  return *answer;
}

// The first read that brings more than the command's own echo.
std::optional<Answer> AtExchange::ReadAnswer(const std::string& command) {
  if (const std::uint32_t settling = SettlingTime(command)) platform_.Sleep(settling);
  const std::string echo = Upper(Trim(command));
  std::string answer;
  const bool complete = AwaitAnswer(1, [&](const std::string& newest) {
    answer = newest;
    const std::string_view trimmed = Trim(newest);
    return !trimmed.empty() && Upper(trimmed) != echo;
  });
  MarkCommandEnd();
  if (!complete) return {};
  // An echo goes; line ends stay.
  switch (lastEnd_) {
    case AnswerSorter::End::kNone:
      return Answer(RemoveAll(answer, command));  // which may leave nothing
    case AnswerSorter::End::kOk:
      return Answer(answer, Answer::Result::kOk);
    default:
      return Answer(answer, Answer::Result::kError);
  }
}

Answer AtExchange::CheckCommandResponse(const std::string& command) {
  Answer answer;
  for (int attempt = 1; attempt <= settings_.commandRetryCount; ++attempt) {
    answer = SendCommand(command).InCapitals();
    const std::string& text = answer.Text();
    const bool error = Contains(text, "CME ERROR") || Contains(text, "CMS ERROR");
    if (!error || !Contains(text, "515") || attempt == settings_.commandRetryCount) break;
    log_.WriteLog("Modem is busy initializing or previous command processing in progress");
    platform_.Sleep(static_cast<std::uint32_t>(settings_.commandRetryDelay));
    log_.WriteLog("Retrying command after " + std::to_string(settings_.commandRetryDelay) + "ms delay");
  }
  return answer;
}

void AtExchange::Reset() {
  timeOutMark_ = '\0';
  written_.clear();
  input_.clear();
  numericResults_ = true;
  leftUnanswered_ = leftUnanswered_ || unanswered_;
  unanswered_ = false;
}

bool AtExchange::IsPortOpen() const { return comm_.IsOpen(settings_.portNumber); }

void AtExchange::ApplyTimeOuts(char mark, const SerialTimeOuts& timeOuts) {
  if (timeOutMark_ == mark) return;
  SerialTimeOuts applied = timeOuts;
  if (sortsAnswers_) {
    // A read waits for the first octet, a slice at most, and returns what is there then.
    applied.readInterval = applied.readTotalMultiplier = kAllBits;
    applied.readTotalConstant = kReadSlice;
  }
  comm_.CommSetTimeOuts(settings_.portNumber, applied);
  timeOutMark_ = mark;
  gap_ = timeOuts.readInterval;
}

void AtExchange::Pace() {
  const auto delay =
      static_cast<std::uint32_t>(std::max(settings_.pauses.command, unanswered_ ? settings_.pauses.unanswered : 0));
  const std::uint32_t elapsed = platform_.TickCount() - lastCommandTick_;
  if (elapsed < delay) platform_.Sleep(delay - elapsed);
  MarkCommandEnd();
}

void AtExchange::MarkCommandEnd() { lastCommandTick_ = platform_.TickCount(); }

void AtExchange::Purge() {
  if (!sortsAnswers_) {
    comm_.CommFlush(settings_.portNumber);
    input_.clear();
  } else {
    SortIdle();
    // Connecting finds the modem again.
    if (unanswered_ && !Resynchronise() && closeConnection_) closeConnection_();
  }
}

bool AtExchange::Write(std::string_view data) { return std::cmp_equal(WriteOctets(data), data.size()); }

std::int32_t AtExchange::WriteOctets(std::string_view data) {
  mayBeWritten_ = false;
  if (platform_.IsInterrupted()) return -1;
  ++useCount_;
  written_ = data;
  earlier_ = input_.size();
  ++writeCount_;
  unanswered_ = true;
  const std::int32_t count = comm_.CommWrite(settings_.portNumber, data);
  mayBeWritten_ = count < 0;
  sinceWritten_ = WholeSecondWait(platform_, settings_.timeout);
  return count;
}

void AtExchange::CancelInput() {
  Pace();
  comm_.CommWrite(settings_.portNumber, {&kEsc, 1});
  unanswered_ = unanswered_ || sortsAnswers_;  // some modems give a result
}

bool AtExchange::AwaitAnswer(std::uint32_t interval, const Completion& isComplete) {
  return AwaitAnswer(interval, settings_.timeout, isComplete);
}

bool AtExchange::AwaitAnswer(std::uint32_t interval, std::int32_t limit, const Completion& isComplete) {
  if (sortsAnswers_) return AwaitResult(limit, isComplete);
  return AwaitAtInterval(interval, isComplete);
}

bool AtExchange::AwaitAtInterval(std::uint32_t interval, const Completion& isComplete) {
  while (!sinceWritten_.IsOver()) {
    platform_.PumpMessages();
    platform_.Sleep(interval);
    if (isComplete(Read())) return true;
  }
  return false;
}

// The limit counts from the last octet of the answer, and is Timeout once the answer has begun; a modem that never
// stops is given some time more.
bool AtExchange::AwaitResult(std::int32_t limit, const Completion& isComplete) {
  const auto beginning = static_cast<std::uint32_t>(limit);
  const std::uint32_t silence = std::min(beginning, static_cast<std::uint32_t>(settings_.timeout));
  const std::uint32_t longest =
      beginning + std::max(static_cast<std::uint32_t>(settings_.timeout) * kLongestReadTimeouts, kLongestReadFloor);
  const std::uint32_t start = platform_.TickCount();
  std::uint32_t lastOctet = start;
  AnswerSorter sorter(written_, numericResults_);
  sorter.AppendEarlier(std::string_view(input_).substr(0, earlier_));
  input_.erase(0, std::exchange(earlier_, 0));
  std::int32_t count = 0;
  while (!Sort(sorter)) {
    const std::uint32_t now = platform_.TickCount();
    if (count > 0 && sorter.IsUnderWay()) lastOctet = now;
    const std::uint32_t allowed = sorter.MayBeWhole()   ? std::min(silence, kMissingResultLimit)
                                  : sorter.IsUnderWay() ? silence
                                                        : beginning;
    const bool isOver = now - lastOctet >= allowed || now - start >= longest || sorter.Size() > kLongestAnswer;
    if (isOver || platform_.IsInterrupted()) break;
    count = ReadMore();
    if (count < 0) break;
    if (count == 0) sorter.Pause();
  }
  if (sorter.Ending() == AnswerSorter::End::kNone) sorter.Finish();
  HandOn(sorter);
  lastEnd_ = sorter.Ending();
  const bool ended = lastEnd_ != AnswerSorter::End::kNone;
  if (ended) unanswered_ = !sorter.HasResult();
  if (sorter.SawWords()) numericResults_ = false;
  if (lastEnd_ == AnswerSorter::End::kPrompt && !sorter.ExpectsPrompt()) {
    CancelInput();
    unanswered_ = true;
  }
  const bool isDone = isComplete(sorter.Own()) && ended;
  if (count < 0 && closeConnection_) closeConnection_();  // the next call opens the device anew
  return isDone;
}

// Gives the sorter what came. Whether the answer has ended.
bool AtExchange::Sort(AnswerSorter& sorter) {
  input_.erase(0, sorter.Append(input_));
  HandOn(sorter);
  return sorter.Ending() != AnswerSorter::End::kNone;
}

// Whether there was any.
bool AtExchange::HandOn(AnswerSorter& sorter) {
  const std::vector<std::string> lines = sorter.TakeUnsolicited();
  for (const std::string& line : lines) {
    log_.WriteLog("Unsolicited: " + line);
    ++heard_;
    if (takeUnsolicited_) takeUnsolicited_(line);
  }
  return !lines.empty();
}

// Waits a slice of time at most. Returns as CommAwait does.
std::int32_t AtExchange::ReadMore() {
  ++useCount_;
  std::string piece;
  const std::int32_t count =
      sortsAnswers_ ? comm_.CommAwait(settings_.portNumber, piece) : comm_.CommRead(settings_.portNumber, piece, 0);
  // Without the time-outs of sorted answers a read waits for nothing.
  if (count == 0 && !sortsAnswers_) platform_.Sleep(kReadSlice);
  if (count > 0) inputTick_ = platform_.TickCount();
  input_ += piece;
  return count;
}

void AtExchange::ReadQueued() {
  while (comm_.HasInput(settings_.portNumber) && input_.size() < kLongestAnswer && ReadMore() > 0) {
  }
}

bool AtExchange::AwaitUnsolicited(std::uint32_t milliseconds, const std::function<bool()>& isCancelled) {
  if (!IsPortOpen()) return false;
  const std::uint32_t start = platform_.TickCount();
  ReadQueued();
  AnswerSorter sorter({}, false);
  std::int32_t count = 0;
  bool handedOn = false;
  while (true) {
    input_.erase(0, sorter.Append(input_));
    if (count == 0) sorter.Pause();
    const std::uint32_t now = platform_.TickCount();
    if (now - inputTick_ >= kUnendedLineLimit || sorter.Size() > kLongestAnswer) sorter.Finish();
    handedOn = HandOn(sorter);
    if (handedOn || count < 0 || now - start >= milliseconds || platform_.IsInterrupted()) break;
    if (isCancelled && isCancelled()) break;
    const std::uint32_t left = milliseconds - (now - start);
    ApplyWaitTimeOuts(sorter.IsWithinLine() ? kReadSlice : std::min(left, platform_.WaitSlice()));
    count = ReadMore();
  }
  input_ = sorter.TakeRest();
  if (timeOutMark_ == 'W') ApplyTimeOuts('N', kCommandTimeOuts);  // an answer is not waited for as long at a time
  if (count < 0 && closeConnection_) closeConnection_();
  return handedOn;
}

// For a read that waits for so long.
void AtExchange::ApplyWaitTimeOuts(std::uint32_t milliseconds) {
  if (milliseconds <= kReadSlice || !sortsAnswers_) {
    if (timeOutMark_ == '\0' || timeOutMark_ == 'W') ApplyTimeOuts('N', kCommandTimeOuts);
    return;
  }
  comm_.CommSetTimeOuts(settings_.portNumber, {kAllBits, kAllBits, milliseconds, kCommandTimeOuts.writeTotalMultiplier,
                                               kCommandTimeOuts.writeTotalConstant});
  timeOutMark_ = 'W';
}

// What came while no answer was waited for. A line that has only begun is kept.
void AtExchange::SortIdle() {
  ReadQueued();
  AnswerSorter sorter({}, false);
  Sort(sorter);
  input_ = sorter.TakeRest();
}

// ERROR may be the late answer or, from a modem that does not know the question, the one to it: another is waited for.
// While earlier questions are open, the number of lines in the answer tells which one it is to.
bool AtExchange::Resynchronise() {
  log_.WriteLog("Waiting for answers that are late");
  std::string question = "AT+CMEE?";
  const int lines = 1 + std::min(openQuestions_, kMostOpenQuestions);
  for (int i = 1; i < lines; ++i) question += ";+CMEE?";
  if (!Write(question + "\r")) return false;
  bool found = false, refused = false, answered = false;
  const auto limit = [&] { return refused ? std::min(settings_.timeout, kAnotherAnswerLimit) : settings_.timeout; };
  while (!found && AwaitResult(limit(), [&](const std::string& answer) {
    found = lastEnd_ == AnswerSorter::End::kOk && CountNoCase(answer, "+CMEE:") == lines;
    refused = refused || lastEnd_ == AnswerSorter::End::kError;
    answered = answered || lastEnd_ == AnswerSorter::End::kOk;
    return true;
  })) {
  }
  unanswered_ = false;
  // A modem that gives one answer to all is believed in the end.
  const bool isBack = found || refused || (answered && openQuestions_ >= kMostOpenQuestions);
  leftUnanswered_ = leftUnanswered_ && !isBack;
  openQuestions_ = isBack ? 0 : openQuestions_ + 1;
  return isBack;
}

// What the port holds, up to the gap that ends it; empty when there is nothing or the port fails. The port is never
// asked for more octets than can come in the time that is left, however slowly they trickle.
std::string AtExchange::Read() {
  ++useCount_;
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

}  // namespace tavro
