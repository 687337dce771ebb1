// One public call of an Inbox or a Message, and what both do to delete.
#pragma once

#include <cstdint>
#include <vector>

#include "incoming/incoming_services.h"
#include "incoming/message_deleter.h"
#include "incoming/sim_box.h"
#include "link/public_call.h"

namespace tavro {

using IncomingCall = PublicCall<IncomingServices>;

// Deletes the memory locations of one inbox message, from the modem and from the store's records; no error on success.
// The caller builds the inbox anew.
inline PendingError DeleteFromStore(IncomingServices& services, SIMBox& box, std::int16_t inboxIndex,
                                    const std::vector<std::int16_t>& locations) {
  // Of several joined messages that cannot be told apart only the last has records.
  if (locations.empty()) return kMessageNotFound;
  if (services.deleter.DeleteStoredMessage(box, inboxIndex, locations)) return {};
  const PendingError& error = services.deleter.Error();
  return error ? error : kDeleteMessageError;
}

}  // namespace tavro
