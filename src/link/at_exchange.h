// The exchange of one AT command and its answer (3GPP TS 27.007, 4).
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>

#include "link/cls_comm.h"
#include "link/error_state.h"
#include "link/manner.h"
#include "link/settings.h"
#include "link/whole_second_wait.h"
#include "log/log_handling.h"
#include "platform/platform.h"

namespace tavro {

// An answer ends at a gap between its octets, not at "OK": it is whatever the first read brings. Callers search it.
class AtExchange {
 public:
  AtExchange(Platform& platform, clsCOMM& comm, ErrorState& errors, LogHandling& log, const Settings& settings,
             const Manner& manner = kClassicManner);

  // What SendCommand calls: `open` when the port is closed, which opens the connection or raises its error, and `close`
  // when the device is gone.
  void SetConnection(std::function<void()> open, std::function<void()> close);

  // Sends a command, which ends in a carriage return, and returns the answer without its echo, line ends included, or
  // "" with the error raised: 1011, 1012, or that of the connection. A write that the system refuses closes the
  // connection, so that the next command opens the device anew.
  std::string SendCommand(const std::string& command);
  // The same in capitals; repeats a command that the modem refuses as busy (error 515).
  std::string CheckCommandResponse(const std::string& command);
  // Since the last of these commands was written.
  const WholeSecondWait& SinceCommand() const { return sinceCommand_; }

  // The steps of a dialogue that does not fit SendCommand: a prompt to wait for, an answer to collect in pieces.

  bool IsPortOpen() const;
  // Sets the port's time-outs unless the profile named by the mark is in force already.
  void ApplyTimeOuts(char mark, const SerialTimeOuts& timeOuts);
  void ForgetTimeOuts() { timeOutMark_ = '\0'; }
  // Sleeps until ModemCommandDelay has passed since the last command.
  void Pace();
  // Notes that a command ended now.
  void MarkCommandEnd();
  void Purge();
  // Whether all of it was written.
  bool Write(std::string_view data);
  // Ends the input that the modem's prompt asked for, without sending it (ESC); also when the program wants to end.
  void CancelInput();
  // The port's error number after a failed Write.
  std::int32_t PortError() const { return comm_.LastErrorCode(); }

  // Collects an answer: reads at the interval, in milliseconds, until `isComplete`, which is given what each read
  // brought, nothing included, or until Timeout is over. Whether it became complete.
  using Completion = std::function<bool(const std::string& newest)>;
  bool AwaitAnswer(std::uint32_t interval, const Completion& isComplete);

 private:
  std::int32_t WriteOctets(std::string_view data);
  std::string ReadAnswer(const std::string& command);
  bool AwaitAnswer(const WholeSecondWait& wait, std::uint32_t interval, const Completion& isComplete);
  std::string Read();
  bool AwaitOctet();

  Platform& platform_;
  clsCOMM& comm_;
  ErrorState& errors_;
  LogHandling& log_;
  const Settings& settings_;
  const Manner& manner_;
  std::function<void()> openConnection_, closeConnection_;
  char timeOutMark_ = '\0';  // 'N' commands, 'S' sending, 'R' reading a listing
  std::uint32_t gap_ = 500;  // ms without an octet that end a read
  std::uint32_t lastCommandTick_;
  WholeSecondWait sinceCommand_;
};

// The answer without "OK" (as written, anywhere), carriage returns and line feeds, as chosen, and without spaces at its
// ends. The name NOKIA survives the removal of "OK"; such an answer comes back in capitals.
std::string CleanResponse(std::string_view text, bool removeOk = true, bool removeCr = true, bool removeLf = true);

// Whether the answer, in any letter case, holds "OK" and no "ERROR".
bool IsGoodResponse(std::string_view answer);

// The answer without what stands between quotes: a name or a text there is no result code. A quote that is not closed
// ends with its line.
std::string WithoutQuotedText(std::string_view answer);

}  // namespace tavro
