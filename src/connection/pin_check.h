// The SIM's PIN state (AT+CPIN, 3GPP TS 27.007, 8.3).
#pragma once

#include "link/dialogue.h"

namespace tavro {

// Failures are kept as the PIN error (2004 to 2016), which the caller raises. A PIN that did not unlock the SIM is not
// sent again in the same public call.
class PinCheck : DialoguePart {
 public:
  explicit PinCheck(const DialogueContext& dialogue) : DialoguePart(dialogue) {}

  // Brings the SIM to "READY", sending the PIN when it is asked for.
  bool CheckPIN();
  const PendingError& Error() const { return error_; }

  // Why the PIN is not to be sent again: in this public call, or, where refusals are remembered, until it is set anew
  // or another modem is connected (Forget). None when it may be.
  const PendingError& Refusal() const;
  void Forget() { refusal_ = {}; }

 private:
  bool QueryState();
  Answer AskState();
  std::string StateIn(const Answer& answer) const;
  bool IsLastAttempt();
  bool SendPin();
  // The error, or none once the SIM is unlocked.
  PendingError Unlock();

  PendingError error_;
  PendingError refusal_;
};

}  // namespace tavro
