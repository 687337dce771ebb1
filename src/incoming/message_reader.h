// Reading the messages in the modem's memory (AT+CMGL and AT+CMGR, 3GPP TS 27.005, 4.1 and 4.2).
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "connection/message_steps.h"
#include "connection/modem_connection.h"
#include "incoming/deliver_decoding.h"
#include "incoming/listing_answer.h"
#include "incoming/sim_box.h"
#include "incoming/status_box.h"
#include "incoming/time_stamp.h"
#include "link/dialogue.h"

namespace tavro {

class MessageReader : DialoguePart {
 public:
  MessageReader(const DialogueContext& dialogue, ModemConnection& connection, MessageSteps& steps,
                StatusBox& statusBox);

  // Fills the store with the messages of a type (0 received unread, 1 received read, 2 both, the read ones first) and
  // builds its inbox. With `deleteNonDeliver`, in a manner that deletes while reading, what is no received message, or
  // has a header that is not understood, is deleted from the modem. False on failure, with the reason in Error: 2002,
  // 5002 to 5006 or that of the registration; the store then holds what was read before, and its inbox is as it was.
  bool ReadMessages(SIMBox& box, std::int16_t messageType, bool deleteNonDeliver);
  const PendingError& Error() const { return error_; }

  // What follows adds to the store what it does not have yet, and returns the error that ended it, or none; the caller
  // has prepared the connection, and builds the inbox anew. Status reports go into their box.

  // Makes the store one of the memory that the modem reads from.
  void Begin(SIMBox& box);
  // What is unread, and what is read if asked for; otherwise of that what stands where AddPlace failed.
  PendingError AddUnread(SIMBox& box, bool alsoRead);
  // What stands at a location; nothing may be there any more. Behind a failure it may count as read.
  PendingError AddPlace(SIMBox& box, std::int16_t location, std::uint64_t heard);
  // The message or report of "+CMT:" or "+CDS:". False when there is no room for it.
  bool AddDelivered(SIMBox& box, std::string_view entry, std::uint64_t heard);
  // The locations that were added since they were forgotten.
  const std::vector<std::int16_t>& Added() const { return added_; }
  void ForgetAdded() { added_.clear(); }
  // How many status reports came so far, each counted once.
  std::size_t ReportCount() const { return reportCount_; }

  // The status report at a location of any memory that the modem reads from now.
  PendingError ReadReport(const std::string& memory, std::int16_t location, std::uint64_t heard);

 private:
  PendingError Read(SIMBox& box, std::int16_t messageType, bool deleteNonDeliver);
  PendingError List(char stat, ListingAnswer& answer);
  // What is done with an entry of a listing.
  enum class Handling { kRead, kReadAndDelete, kAdd, kAddMissed };
  void StoreEntries(SIMBox& box, std::string block, const DateNames& names, Handling handling);
  void StoreEntry(SIMBox& box, std::string_view entry, const DateNames& names, Handling handling);
  void LogRemark(const DecodedEntry& decoded);
  void AddNew(SIMBox& box, DecodedEntry decoded);
  void AddReport(DecodedEntry decoded, const std::string& memory, std::uint64_t heard);
  void DeleteWhileReading(SIMBox& box, std::int16_t location, const std::string& reason);
  PendingError ReadPlace(std::int16_t location, std::optional<DecodedEntry>& decoded);

  ModemConnection& connection_;
  MessageSteps& steps_;
  StatusBox& statusBox_;
  PendingError error_;
  std::size_t leftBehind_ = 0;  // messages that the store had no room for
  std::vector<std::int16_t> added_;
  std::vector<std::int16_t> missed_;  // the locations where AddPlace failed
  std::size_t reportCount_ = 0;
};

}  // namespace tavro
