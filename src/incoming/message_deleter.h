// Deleting a message from the modem's memory (AT+CMGD, 3GPP TS 27.005, 3.5.4).
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "connection/message_memory.h"
#include "connection/message_steps.h"
#include "connection/modem_connection.h"
#include "incoming/sim_box.h"
#include "link/dialogue.h"

namespace tavro {

class MessageDeleter : DialoguePart {
 public:
  MessageDeleter(const DialogueContext& dialogue, ModemConnection& connection, MessageSteps& steps,
                 MessageMemory& memory);

  // Deletes the memory locations of an inbox message one after the other and takes each out of the store. False on the
  // first failure, with the reason in Error: 6002 to 6005, 6007, 6011, 2002 or that of the registration. The store's
  // records may have changed either way; the caller builds its inbox anew.
  // A location whose deletion got no answer before is read first (AT+CMGR), and deleted only when it still has the
  // message of its record; otherwise the record alone goes.
  bool DeleteStoredMessage(SIMBox& box, std::int16_t inboxIndex, const std::vector<std::int16_t>& locations);
  const PendingError& Error() const { return error_; }

 private:
  PendingError Delete(SIMBox& box, const std::vector<std::int16_t>& locations);
  PendingError DeleteFromModem(SIMBox& box, const std::vector<std::int16_t>& locations);
  PendingError DeleteRecord(SIMBox& box, std::int16_t location);
  PendingError DeleteLocation(SIMBox& box, std::int16_t location);
  // What the modem has at a location now.
  enum class Place { kSame, kOther, kUnknown };
  Place LookAt(std::int16_t location, const MessageContent& content);
  bool HoldsMessage(std::string_view entry, const MessageContent& content) const;
  PendingError DeleteFromOtherMemory(const SIMMessage& record);

  ModemConnection& connection_;
  MessageSteps& steps_;
  MessageMemory& memory_;
  PendingError error_;
};

}  // namespace tavro
