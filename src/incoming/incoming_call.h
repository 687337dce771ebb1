// One public call of an Inbox or a Message, and what both do to delete.
#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "incoming/incoming_services.h"
#include "incoming/message_deleter.h"
#include "incoming/sim_box.h"
#include "link/error_state.h"

namespace tavro {

// Clears the last error and raises the call's own. After the SMS object was released there is nobody to tell, and it is
// false.
class IncomingCall {
 public:
  explicit IncomingCall(const std::weak_ptr<IncomingServices>& services) : services_(services.lock()) {
    if (services_) services_->errors.ClearError();
  }

  explicit operator bool() const { return services_ != nullptr; }
  IncomingServices& operator*() const { return *services_; }
  IncomingServices* operator->() const { return services_.get(); }
  bool Fail(const PendingError& error) const {
    if (services_) services_->errors.SetError(error);
    return false;
  }

 private:
  std::shared_ptr<IncomingServices> services_;
};

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
