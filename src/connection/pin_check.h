// The SIM's PIN state (AT+CPIN, 3GPP TS 27.007, 8.3).
#pragma once

#include <cstdint>
#include <string>

#include "connection/connection_state.h"
#include "link/at_exchange.h"
#include "link/error_state.h"
#include "link/settings.h"
#include "log/log_handling.h"
#include "platform/platform.h"

namespace tavro {

// Failures are kept as the PIN error (2004 to 2016), which the caller raises.
class PinCheck {
 public:
  PinCheck(Platform& platform, AtExchange& exchange, ErrorState& errors, LogHandling& log, const Settings& settings,
           ConnectionState& state);

  // Brings the SIM to "READY", sending the PIN when it is asked for.
  bool CheckPIN();
  const PendingError& Error() const { return error_; }

 private:
  bool QueryState();
  bool SendPin();

  Platform& platform_;
  AtExchange& exchange_;
  ErrorState& errors_;
  LogHandling& log_;
  const Settings& settings_;
  ConnectionState& state_;
  PendingError error_;
};

}  // namespace tavro
