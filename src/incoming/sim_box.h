// The store between the modem's memory and the inbox.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "incoming/incoming_services.h"
#include "incoming/sim_message.h"
#include "tavro/message.h"

namespace tavro {

struct PartGroup;

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

  // Forgets those of the modem's memory; what was delivered directly stays.
  void Clear();
  // The modem's message memory that the records come from, empty when it could not be selected and the modem read from
  // the one it uses by itself. A location means nothing in another memory.
  const std::string& Memory() const { return memory_; }
  void SetMemory(std::string memory) { memory_ = std::move(memory); }
  // The connection (ModemConnection::Count) that the records come from. Behind another one the SIM may be another, or
  // the places may have been filled anew: every record is doubtful then.
  void SetConnection(int connection) { connection_ = connection; }
  void NoteConnection(int connection);
  void MarkAllDoubtful();
  bool IsFull() const { return recordCount_ >= kMaxRecords; }
  // A record whose location is there already replaces the earlier one in its place. False when the store is full or the
  // location below 0.
  bool AddRecord(SIMMessage record);
  // A message that the modem delivered directly and has nowhere, or has in another memory: it gets a location below 0,
  // which is returned. Nothing when the store is full or has the same message: the network delivers again
  // what was not acknowledged, and the modem may have stored it then.
  std::optional<std::int16_t> AddDelivered(SIMMessage record);
  void RemoveRecord(std::int16_t memoryIndex);
  std::size_t RecordCount() const { return recordCount_; }
  // The record at a memory location; null when there is none.
  const SIMMessage* Record(std::int16_t memoryIndex) const;
  // Another message may stand at the record's location by now.
  void MarkDoubtful(std::int16_t memoryIndex);
  // The memory locations of inbox message `inboxIndex`, in listing order.
  std::vector<std::int16_t> LocationsOf(std::int16_t inboxIndex) const;
  // Of those parts that are still in the store as they were.
  std::vector<std::int16_t> LocationsOf(const std::vector<StoredPart>& parts) const;
  // The memory locations of all messages: entry n is that of inbox message n, entry 0 that of the records in no
  // message.
  std::vector<std::vector<std::int16_t>> LocationsByMessage() const;

  // --- InboxMessages -------------------------------------------------------------------------------------------------

  // Makes InboxMessages anew. With `concatenate` the parts of a message are joined, and one with a part missing is not
  // shown; otherwise every record is a message.
  void BuildInbox(bool concatenate);
  // From now on parts are told apart by their times and places (GroupParts), and a message with parts missing is shown
  // when its newest part is a day old, compared with `now` in seconds since 1970 UTC.
  void JoinWithCare(std::int64_t now) { now_ = now; }
  bool JoinsWithCare() const { return now_.has_value(); }
  std::int16_t Count() const { return static_cast<std::int16_t>(messages_->size()); }
  // Those that the records at these locations belong to are the new ones from now on, until it is said again.
  void NoteNew(const std::vector<std::int16_t>& locations);
  const Messages& NewMessages() const { return newMessages_; }
  // The list as it is now; a rebuild makes another.
  const std::shared_ptr<const Messages>& InboxMessages() const { return messages_; }

  // Forgets the records and keeps the messages, which then can be read but not deleted: their locations are those of a
  // modem that is no longer connected.
  void Retire();

 private:
  // The position of the record at a location; null when there is no room for one.
  std::int32_t* PositionOf(std::int16_t memoryIndex);
  const std::int32_t* PositionOf(std::int16_t memoryIndex) const;
  void Compact();
  void BuildJoined(Messages& messages);
  void BuildWithCare(Messages& messages);
  // Appends a message and returns its index.
  std::int16_t AddMessage(Messages& messages, std::shared_ptr<const MessageContent> content,
                          std::vector<StoredPart> parts = {});
  void AddSingle(Messages& messages, SIMMessage& record);
  void AddGroup(Messages& messages, const PartGroup& group);

  std::weak_ptr<IncomingServices> services_;
  std::string memory_;
  int connection_ = 0;
  std::vector<SIMMessage> records_;      // a removed one has no content until the next build
  std::vector<std::int32_t> positions_;  // in records_, by memory location; -1 for none
  std::vector<std::int32_t> delivered_;  // the same of the locations below 0, -1 first
  std::size_t recordCount_ = 0;
  std::optional<std::int64_t> now_;  // of the last read; nothing when parts are not joined with care
  std::shared_ptr<const Messages> messages_;
  Messages newMessages_;
};

}  // namespace tavro
