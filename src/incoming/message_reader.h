// Reading the messages in the modem's memory (AT+CMGL, 3GPP TS 27.005, 4.1).
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "connection/message_steps.h"
#include "connection/modem_connection.h"
#include "incoming/listing_answer.h"
#include "incoming/sim_box.h"
#include "incoming/time_stamp.h"
#include "link/dialogue.h"

namespace tavro {

class MessageReader : DialoguePart {
 public:
  MessageReader(const DialogueContext& dialogue, ModemConnection& connection, MessageSteps& steps);

  // Fills the store with the messages of a type (0 received unread, 1 received read, 2 both, the read ones first) and
  // builds its inbox. With `deleteNonDeliver`, in a manner that deletes while reading, what is no received message, or
  // has a header that is not understood, is deleted from the modem. False on failure, with the reason in Error: 2002,
  // 5002 to 5006 or that of the registration; the store then holds what was read before, and its inbox is as it was.
  bool ReadMessages(SIMBox& box, std::int16_t messageType, bool deleteNonDeliver);
  const PendingError& Error() const { return error_; }

 private:
  PendingError Read(SIMBox& box, std::int16_t messageType, bool deleteNonDeliver);
  PendingError List(char stat, ListingAnswer& answer);
  void StoreEntries(SIMBox& box, std::string block, const DateNames& names, bool deleteNonDeliver);
  void StoreEntry(SIMBox& box, std::string_view entry, const DateNames& names, bool deleteNonDeliver);
  void DeleteWhileReading(SIMBox& box, std::int16_t location, const std::string& reason);

  ModemConnection& connection_;
  MessageSteps& steps_;
  PendingError error_;
  std::size_t leftBehind_ = 0;  // messages that the store had no room for
};

}  // namespace tavro
