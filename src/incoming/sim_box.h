// The store between the modem's memory and the inbox.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "incoming/incoming_services.h"
#include "incoming/sim_message.h"
#include "tavro/message.h"

namespace tavro {

// RawMessages are the records of the last read, in listing order, keyed by memory location. InboxMessages are the
// Message objects made of them, numbered from 1. A record knows the inbox message that it belongs to, so that deleting
// a message finds its locations.
class SIMBox : public std::enable_shared_from_this<SIMBox> {
 public:
  using Messages = std::vector<std::shared_ptr<Message>>;
  // The inbox index has 16 bits.
  static constexpr std::size_t kMaxRecords = 32767;

  explicit SIMBox(std::weak_ptr<IncomingServices> services);

  // --- RawMessages ---------------------------------------------------------------------------------------------------

  void Clear();
  // The modem's message memory that the records come from, empty when it could not be selected and the modem read from
  // the one it uses by itself. A location means nothing in another memory.
  const std::string& Memory() const { return memory_; }
  void SetMemory(std::string memory) { memory_ = std::move(memory); }
  bool IsFull() const { return recordCount_ >= kMaxRecords; }
  // A record whose location is there already replaces the earlier one in its place. False when the store is full or the
  // location below 0.
  bool AddRecord(SIMMessage record);
  void RemoveRecord(std::int16_t memoryIndex);
  std::size_t RecordCount() const { return recordCount_; }
  // The record at a memory location; null when there is none.
  const SIMMessage* Record(std::int16_t memoryIndex) const;
  // The memory locations of inbox message `inboxIndex`, in listing order.
  std::vector<std::int16_t> LocationsOf(std::int16_t inboxIndex) const;
  // The same of all messages: entry n is that of inbox message n, entry 0 that of the records in no message.
  std::vector<std::vector<std::int16_t>> LocationsByMessage() const;

  // --- InboxMessages -------------------------------------------------------------------------------------------------

  // Makes InboxMessages anew. With `concatenate` the parts of a message are joined, and one with a part missing is not
  // shown; otherwise every record is a message.
  void BuildInbox(bool concatenate);
  std::int16_t Count() const { return static_cast<std::int16_t>(messages_->size()); }
  // The list as it is now; a rebuild makes another.
  const std::shared_ptr<const Messages>& InboxMessages() const { return messages_; }

  // Forgets the records and keeps the messages, which then can be read but not deleted: their locations are those of a
  // modem that is no longer connected.
  void Retire() { Clear(); }

 private:
  void Compact();
  void BuildJoined(Messages& messages);
  // Appends a message and returns its index.
  std::int16_t AddMessage(Messages& messages, std::shared_ptr<const MessageContent> content);

  std::weak_ptr<IncomingServices> services_;
  std::string memory_;
  std::vector<SIMMessage> records_;      // a removed one has no content until the next build
  std::vector<std::int32_t> positions_;  // in records_, by memory location; -1 for none
  std::size_t recordCount_ = 0;
  std::shared_ptr<const Messages> messages_;
};

}  // namespace tavro
