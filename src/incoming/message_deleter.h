// Deleting a message from the modem's memory (AT+CMGD, 3GPP TS 27.005, 3.5.4).
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "connection/connection_state.h"
#include "connection/message_memory.h"
#include "connection/modem_connection.h"
#include "connection/registration.h"
#include "incoming/sim_box.h"
#include "link/at_exchange.h"
#include "link/error_state.h"
#include "link/settings.h"
#include "log/log_handling.h"
#include "platform/platform.h"

namespace tavro {

class MessageDeleter {
 public:
  MessageDeleter(Platform& platform, AtExchange& exchange, ErrorState& errors, LogHandling& log,
                 const Settings& settings, ConnectionState& state, ModemConnection& connection,
                 Registration& registration, MessageMemory& memory);

  // Deletes the memory locations of an inbox message one after the other and takes each out of the store. False on the
  // first failure, with the reason in Error: 6002 to 6005, 6007, 6011, 2002 or that of the registration. The store's
  // records may have changed either way; the caller builds its inbox anew.
  bool DeleteStoredMessage(SIMBox& box, std::int16_t inboxIndex, const std::vector<std::int16_t>& locations);
  const PendingError& Error() const { return error_; }

 private:
  bool SelectMemoryOf(const SIMBox& box);
  bool DeleteLocation(const SIMBox& box, std::int16_t location);
  bool Fail(const PendingError& error);

  Platform& platform_;
  AtExchange& exchange_;
  ErrorState& errors_;
  LogHandling& log_;
  const Settings& settings_;
  ConnectionState& state_;
  ModemConnection& connection_;
  Registration& registration_;
  MessageMemory& memory_;
  PendingError error_;
};

}  // namespace tavro
