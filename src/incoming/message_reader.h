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

  // Makes the store one of the memory that the modem reads from. Whether that is another one than before.
  bool Begin(SIMBox& box);
  // What is unread, and what a reading that failed may have marked as read. 5008 when there is no room for all.
  PendingError AddUnread(SIMBox& box);
  // What stands at a location; nothing may be there any more.
  PendingError AddPlace(SIMBox& box, std::int16_t location, std::uint64_t heard);
  // The same in another memory, which the modem reads from now.
  PendingError AddOtherPlace(SIMBox& box, const std::string& memory, std::int16_t location, std::uint64_t heard);
  // The message or report of "+CMT:" or "+CDS:". One that is damaged is left out where it comes again.
  enum class Delivered { kAdded, kDamaged, kNoRoom };
  Delivered AddDelivered(SIMBox& box, std::string_view entry, std::uint64_t heard, bool comesAgain);
  // The locations that were added since they were forgotten.
  const std::vector<std::int16_t>& Added() const { return added_; }
  void ForgetAdded() { added_.clear(); }

 private:
  // What may count as read by now and was not seen: at these locations, or anywhere.
  struct ReadAgain {
    bool all = false;
    std::vector<std::int16_t> locations = {};
  };
  // What is not shown when it goes, unless it was told that all is, may count as read in the modem by then.
  struct ShownOrReadAgain {
    ~ShownOrReadAgain() {
      if (readAgain) readAgain->all = true;
    }
    ReadAgain* readAgain;
  };

  PendingError Read(SIMBox& box, std::int16_t messageType, bool deleteNonDeliver);
  PendingError List(char stat, ListingAnswer& answer);
  // What is done with an entry of a listing.
  enum class Handling { kRead, kReadAndDelete, kAdd, kReports };
  PendingError AddUnread(SIMBox& box, const ReadAgain& again);
  PendingError ListAndStore(SIMBox& box, char stat, Handling handling);
  bool HasReportsOfBefore() const;
  std::uint64_t HeardByListing();
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
  ReadAgain readAgain_;
  std::optional<std::vector<std::int16_t>> wanted_;  // the locations that are listed again; all without
};

}  // namespace tavro
