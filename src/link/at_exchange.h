// The exchange of one AT command and its answer (3GPP TS 27.007, 4).
#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>

#include "link/answer.h"
#include "link/answer_sorter.h"
#include "link/cls_comm.h"
#include "link/error_state.h"
#include "link/manner.h"
#include "link/settings.h"
#include "link/whole_second_wait.h"
#include "log/log_handling.h"
#include "platform/platform.h"

namespace tavro {

// In the classic manner an answer ends at a gap between its octets, not at "OK": it is whatever the first read brings,
// and callers search it. In the prompt manner it ends at its result code, and lines that are not its own are taken out.
class AtExchange {
 public:
  AtExchange(Platform& platform, clsCOMM& comm, ErrorState& errors, LogHandling& log, const Settings& settings,
             const Manner& manner = kClassicManner);

  // What SendCommand calls: `open` when the port is closed, which opens the connection or raises its error, `close`
  // when the device is gone, and `recover` when the modem has not answered, before anything else is sent.
  void SetConnection(std::function<void()> open, std::function<void()> close, std::function<void()> recover = {});

  // Sends a command, which ends in a carriage return, and returns the answer without its echo, or an empty one with the
  // error raised: 1011, 1012, or that of the connection. A write that the system refuses closes the connection, so that
  // the next command opens the device anew.
  Answer SendCommand(const std::string& command);
  // The same in capitals; repeats a command that the modem refuses as busy (error 515).
  Answer CheckCommandResponse(const std::string& command);
  // Since the last octets were written; its limit is Timeout.
  const WholeSecondWait& SinceWritten() const { return sinceWritten_; }

  // The steps of a dialogue that does not fit SendCommand: a prompt to wait for, an answer to collect in pieces.

  bool IsPortOpen() const;
  // Sets the port's time-outs unless the profile named by the mark is in force already.
  void ApplyTimeOuts(char mark, const SerialTimeOuts& timeOuts);
  // A new connection knows nothing of the one before.
  void Reset();
  // Sleeps until ModemCommandDelay has passed since the last command.
  void Pace();
  // Notes that a command ended now.
  void MarkCommandEnd();
  // Before a command: what came since the last one is none of its answer.
  void Purge();
  // Whether all of it was written.
  bool Write(std::string_view data);
  // Whether the last Write failed in a way that does not say how much went out: all of it perhaps.
  bool MayBeWritten() const { return mayBeWritten_; }
  // Ends the input that the modem's prompt asked for, without sending it (ESC); also when the program wants to end.
  void CancelInput();
  // The port's error number after a failed Write.
  std::int32_t PortError() const { return comm_.LastErrorCode(); }

  // Collects the answer to what was written last: reads at the interval, in milliseconds, until `isComplete`, which is
  // given what each read brought, nothing included, or until Timeout is over. Whether it became complete. Where answers
  // end at their result `isComplete` is asked once, with all of the command's own lines, and the interval is none.
  using Completion = std::function<bool(const std::string& newest)>;
  bool AwaitAnswer(std::uint32_t interval, const Completion& isComplete);
  // The same with another limit than Timeout, in milliseconds, where answers end at their result.
  bool AwaitAnswer(std::uint32_t interval, std::int32_t limit, const Completion& isComplete);

  // Whether the answer that was awaited last ended with OK. Where answers end at a gap, what the caller found in its
  // text.
  bool EndedWell(bool byText) const { return sortsAnswers_ ? lastEnd_ == AnswerSorter::End::kOk : byText; }

  // Waits until the answers that are still to come have come: asks for something that tells its answer from theirs.
  // False when the modem does not answer.
  bool Resynchronise();
  // Whether answers to what an earlier connection asked may still come.
  bool MayHearEarlierAnswers() const { return leftUnanswered_ || openQuestions_ > 0; }

  // Whether a command that only asks may be asked again when it was not answered (tavro::Recovery).
  void AllowRepeating(bool allowed) { mayRepeat_ = allowed; }

  // How often the line was read or written to.
  std::uint64_t UseCount() const { return useCount_; }
  // How often something was written: a line of the modem's own accord that was handed on at another count came before
  // what was written last.
  std::uint32_t WriteCount() const { return writeCount_; }

  // Whether an answer may still come, and that it does not any more.
  bool IsUnanswered() const { return unanswered_; }
  void ForgetUnanswered() { unanswered_ = false; }
  // Whether the modem was not yet seen to give result codes as words.
  bool HasNumericResults() const { return numericResults_; }

  // Takes the lines that the modem sent of its own accord; they are logged before. It must not use the exchange.
  void SetUnsolicited(std::function<void(const std::string& line)> take) { takeUnsolicited_ = std::move(take); }
  // Waits for such a line while no answer is awaited, so many milliseconds at most, 0: looks what came. True as soon as
  // one was handed on. False at the limit, when the wait is cancelled (SerialDriver::Wake has it asked at once) or the
  // program wants to end, and when the port is closed: a device that is gone closes the connection.
  bool AwaitUnsolicited(std::uint32_t milliseconds, const std::function<bool()>& isCancelled = {});
  // How many such lines were handed on so far, and what was read of the modem's memory and counts as one.
  std::uint64_t Heard() const { return heard_; }
  std::uint64_t Hear() { return ++heard_; }

 private:
  std::int32_t WriteOctets(std::string_view data);
  Answer Exchange(const std::string& command);
  std::optional<Answer> ReadAnswer(const std::string& command);
  bool AwaitAtInterval(std::uint32_t interval, const Completion& isComplete);
  bool AwaitResult(std::int32_t limit, const Completion& isComplete);
  bool Sort(AnswerSorter& sorter);
  void SortIdle();
  std::int32_t ReadMore();
  void ReadQueued();
  bool HandOn(AnswerSorter& sorter);
  std::string Read();
  bool AwaitOctet();
  void ApplyWaitTimeOuts(std::uint32_t milliseconds);

  Platform& platform_;
  clsCOMM& comm_;
  ErrorState& errors_;
  LogHandling& log_;
  const Settings& settings_;
  const bool sortsAnswers_;  // the prompt manner: they end at their result
  std::function<void()> openConnection_, closeConnection_, recoverConnection_;
  char timeOutMark_ = '\0';  // 'N' commands, 'S' sending, 'R' reading a listing, 'W' waiting
  std::uint32_t gap_ = 500;  // ms without an octet that end a read
  std::uint32_t lastCommandTick_;
  WholeSecondWait sinceWritten_;
  std::uint32_t writeCount_ = 0;
  std::uint64_t useCount_ = 0;
  bool mayBeWritten_ = false;

  // Of the prompt manner.
  std::string written_;          // what the answer is to
  std::string input_;            // came and is not sorted yet
  std::uint32_t inputTick_ = 0;  // when its last octets came
  bool numericResults_ = true;   // the modem may still give result codes as numbers
  bool unanswered_ = false;      // an answer may still come
  bool mayRepeat_ = true;
  bool leftUnanswered_ = false;  // to what was asked before the last Reset
  int openQuestions_ = 0;        // of Resynchronise that were not answered
  std::size_t earlier_ = 0;      // octets at the front of input_ that came before the last Write
  AnswerSorter::End lastEnd_ = AnswerSorter::End::kNone;
  std::function<void(const std::string&)> takeUnsolicited_;
  std::uint64_t heard_ = 0;
};

}  // namespace tavro
