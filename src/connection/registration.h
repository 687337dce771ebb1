// The network registration (AT+CREG?, 3GPP TS 27.007, 7.2).
#pragma once

#include <string>

#include "connection/pin_check.h"
#include "link/dialogue.h"

namespace tavro {

class Registration : DialoguePart {
 public:
  Registration(const DialogueContext& dialogue, PinCheck& pin);

  // Polls the registration until it is there or Timeout is over. On failure Error holds the reason: the PIN's error,
  // 3002 to 3006; an error of the exchange is raised already. Where only what needs a network asks for one, the SIM is
  // all that is verified.
  bool Verify();
  const PendingError& Error() const { return error_; }

  // Whether the modem is ready and known to be registered; verifies it when not. On failure Error holds the reason.
  bool EnsureRegistered();
  // Before something is sent: the same, where it was not asked while connecting.
  bool EnsureNetwork();
  // Before a query: whether the modem is ready on an open port; verifies the registration when not, and raises the
  // reason on failure.
  bool EnsureReady();
  // The same for a query that the network answers.
  bool EnsureReadyForNetwork();

 private:
  bool ConnectionNeedsNetwork() const;
  bool VerifyNetwork();
  bool VerifySim();
  bool RaiseUnless(bool ready);
  bool CheckRegistration();
  std::string PollStatus();
  std::string QueryStatus();
  struct Networks;
  static const Networks& NetworksOf(const Manner& manner);
  bool CountsAsRegistered(const std::string& status) const;

  const Networks& networks_;
  PinCheck& pin_;
  PendingError error_;
};

}  // namespace tavro
