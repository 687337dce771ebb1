// The exchange of one AT command and its answer (3GPP TS 27.007, 4).
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>

#include "link/cls_comm.h"
#include "link/error_state.h"
#include "link/settings.h"
#include "log/log_handling.h"
#include "platform/platform.h"

namespace tavro {

// An answer ends at a gap between its octets, not at "OK": it is whatever the first read brings. Callers search it.
class AtExchange {
 public:
  AtExchange(Platform& platform, clsCOMM& comm, ErrorState& errors, LogHandling& log, const Settings& settings);

  // What SendCommand calls when the port is closed; it opens the connection or raises its error.
  void SetReconnect(std::function<void()> reconnect) { reconnect_ = std::move(reconnect); }

  // Sends a command, which ends in a carriage return, and returns the answer without its echo, line ends included, or
  // "" with the error raised: 1011, 1012, or that of the connection.
  std::string SendCommand(const std::string& command);
  // The same in capitals; repeats a command that the modem refuses as busy (error 515).
  std::string CheckCommandResponse(const std::string& command);

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
  // What the port holds, up to the gap that ends it; empty when there is nothing or the port fails.
  std::string Read();
  // The port's error number after a failed Write.
  std::int32_t PortError() const { return comm_.LastErrorCode(); }

 private:
  std::string ReadAnswer(const std::string& command);

  Platform& platform_;
  clsCOMM& comm_;
  ErrorState& errors_;
  LogHandling& log_;
  const Settings& settings_;
  std::function<void()> reconnect_;
  char timeOutMark_ = '\0';  // 'N' commands, 'S' sending, 'R' reading a listing
  std::uint32_t lastCommandTick_;
};

// The answer without "OK" (as written, anywhere), carriage returns and line feeds, as chosen, and without spaces at its
// ends. The name NOKIA survives the removal of "OK"; such an answer comes back in capitals.
std::string CleanResponse(std::string_view text, bool removeOk = true, bool removeCr = true, bool removeLf = true);

// Whether the answer, in any letter case, holds "OK" and no "ERROR".
bool IsGoodResponse(std::string_view answer);

}  // namespace tavro
