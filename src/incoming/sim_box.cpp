#include "incoming/sim_box.h"

#include <algorithm>
#include <functional>
#include <set>
#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>

#include "incoming/careful_joining.h"
#include "incoming/message_state.h"
#include "incoming/part_groups.h"

namespace tavro {

namespace {

constexpr std::int32_t kNone = -1;

// What parts of one message have in common. Two messages that agree in all of it are not told apart.
struct JoinKey {
  std::u16string_view phone;
  std::u16string_view smsc;
  std::int16_t total;
  std::int32_t reference;

  explicit JoinKey(const SIMMessage& record)
      : phone(record.content->phone),
        smsc(record.content->smsc),
        total(record.concatTotal),
        reference(record.concatReference) {}
  bool operator==(const JoinKey&) const = default;
};

struct JoinKeyHash {
  std::size_t operator()(const JoinKey& key) const {
    const std::hash<std::u16string_view> hash;
    const auto numbers = static_cast<std::size_t>(key.total) * 256 + static_cast<std::size_t>(key.reference);
    return (hash(key.phone) * 31 + hash(key.smsc)) * 31 + numbers;
  }
};

// The records of one key, in listing order.
struct KeyGroup {
  std::vector<SIMMessage*> records;
  bool examined = false;
  bool complete = false;             // the parts 2 to total are there
  std::u16string tail;               // their texts
  const SIMMessage* last = nullptr;  // the last part; null when there is none but the first
  std::int16_t inboxIndex = 0;       // of the last message made of it

  // The first record of each part number counts.
  void Examine() {
    examined = true;
    const auto total = static_cast<std::size_t>(records.front()->concatTotal);
    if (records.front()->concatTotal < 2) {
      complete = true;
      return;
    }
    if (records.size() < total) return;
    std::vector<const SIMMessage*> parts(total + 1);
    for (const SIMMessage* record : records) {
      const std::int16_t part = record->concatPart;
      if (part < 2 || part > records.front()->concatTotal) continue;
      const SIMMessage*& place = parts[static_cast<std::size_t>(part)];
      if (place == nullptr) place = record;
    }
    for (std::size_t part = 2; part <= total; ++part) {
      if (parts[part] == nullptr) return;
    }
    complete = true;
    last = parts[total];
    for (std::size_t part = 2; part <= total; ++part) tail += parts[part]->content->text;
  }

  std::shared_ptr<const MessageContent> Join(const SIMMessage& first) const {
    if (last == nullptr) return first.content;
    auto joined = std::make_shared<MessageContent>();
    joined->phone = first.content->phone;
    joined->text.reserve(first.content->text.size() + tail.size());
    joined->text.append(first.content->text).append(tail);
    joined->timeStamp = last->content->timeStamp;
    joined->timeZone = last->content->timeZone;
    joined->timeStampRFC = last->content->timeStampRFC;
    joined->smsc = first.content->smsc;
    return joined;
  }
};

}  // namespace

SIMBox::SIMBox(std::weak_ptr<IncomingServices> services)
    : services_(std::move(services)), messages_(std::make_shared<const Messages>()) {}

void SIMBox::Clear() {
  std::erase_if(records_, [](const SIMMessage& record) { return record.memoryIndex >= 0; });
  positions_.clear();
  recordCount_ = records_.size();
  Compact();
}

void SIMBox::Retire() {
  records_.clear();
  positions_.clear();
  delivered_.clear();
  recordCount_ = 0;
}

const std::int32_t* SIMBox::PositionOf(std::int16_t memoryIndex) const {
  const std::vector<std::int32_t>& positions = memoryIndex < 0 ? delivered_ : positions_;
  const auto index = static_cast<std::size_t>(memoryIndex < 0 ? -1 - memoryIndex : memoryIndex);
  return index < positions.size() ? &positions[index] : nullptr;
}

std::int32_t* SIMBox::PositionOf(std::int16_t memoryIndex) {
  return const_cast<std::int32_t*>(std::as_const(*this).PositionOf(memoryIndex));
}

std::optional<std::int16_t> SIMBox::AddDelivered(SIMMessage record) {
  constexpr std::size_t kMaxDelivered = 32768;  // the locations below 0
  const bool isKnown = std::any_of(records_.begin(), records_.end(), [&](const SIMMessage& other) {
    return other.content && other.content->details && !record.content->details->pdu.empty() &&
           IsSamePdu(*other.content, *record.content);
  });
  if (IsFull() || isKnown) return {};
  auto place = delivered_.end();
  if (delivered_.size() >= kMaxDelivered) place = std::find(delivered_.begin(), delivered_.end(), kNone);
  if (place == delivered_.end()) place = delivered_.insert(delivered_.end(), kNone);
  record.memoryIndex = static_cast<std::int16_t>(-1 - (place - delivered_.begin()));
  records_.push_back(std::move(record));
  *place = static_cast<std::int32_t>(records_.size() - 1);
  ++recordCount_;
  return records_.back().memoryIndex;
}

bool SIMBox::AddRecord(SIMMessage record) {
  if (record.memoryIndex < 0) return false;
  const auto location = static_cast<std::size_t>(record.memoryIndex);
  if (location >= positions_.size()) positions_.resize(location + 1, kNone);
  std::int32_t& position = positions_[location];
  if (position != kNone) {
    records_[static_cast<std::size_t>(position)] = std::move(record);
    // One of the two stands elsewhere.
    if (JoinsWithCare()) MarkDoubtful(static_cast<std::int16_t>(location));
    return true;
  }
  if (IsFull()) return false;
  records_.push_back(std::move(record));
  position = static_cast<std::int32_t>(records_.size() - 1);
  ++recordCount_;
  return true;
}

void SIMBox::RemoveRecord(std::int16_t memoryIndex) {
  if (Record(memoryIndex) == nullptr) return;
  std::int32_t& position = *PositionOf(memoryIndex);
  records_[static_cast<std::size_t>(position)] = SIMMessage();
  position = kNone;
  --recordCount_;
}

const SIMMessage* SIMBox::Record(std::int16_t memoryIndex) const {
  const std::int32_t* const position = PositionOf(memoryIndex);
  return position == nullptr || *position == kNone ? nullptr : &records_[static_cast<std::size_t>(*position)];
}

void SIMBox::NoteConnection(int connection) {
  if (connection == connection_) return;
  connection_ = connection;
  MarkAllDoubtful();
}

void SIMBox::MarkAllDoubtful() {
  if (!JoinsWithCare()) return;
  for (const SIMMessage& record : records_) {
    if (record.content) MarkDoubtful(record.memoryIndex);
  }
}

void SIMBox::MarkDoubtful(std::int16_t memoryIndex) {
  if (memoryIndex < 0 || Record(memoryIndex) == nullptr) return;
  records_[static_cast<std::size_t>(*PositionOf(memoryIndex))].isDoubtful = true;
}

std::vector<std::int16_t> SIMBox::LocationsOf(std::int16_t inboxIndex) const {
  std::vector<std::int16_t> locations;
  for (const SIMMessage& record : records_) {
    if (record.content && record.inboxIndex == inboxIndex) locations.push_back(record.memoryIndex);
  }
  return locations;
}

std::vector<std::int16_t> SIMBox::LocationsOf(const std::vector<StoredPart>& parts) const {
  std::vector<std::int16_t> locations;
  for (const StoredPart& part : parts) {
    const SIMMessage* const record = Record(part.location);
    if (record != nullptr && IsSamePdu(*record->content, *part.content)) locations.push_back(part.location);
  }
  return locations;
}

std::vector<std::vector<std::int16_t>> SIMBox::LocationsByMessage() const {
  std::vector<std::vector<std::int16_t>> locations(messages_->size() + 1);
  for (const SIMMessage& record : records_) {
    if (record.content) locations[static_cast<std::size_t>(record.inboxIndex)].push_back(record.memoryIndex);
  }
  return locations;
}

void SIMBox::BuildInbox(bool concatenate) {
  Compact();
  messages_ = std::make_shared<const Messages>();  // the old messages make room for the new ones
  auto messages = std::make_shared<Messages>();
  messages->reserve(records_.size());
  if (!concatenate) {
    for (SIMMessage& record : records_) AddSingle(*messages, record);
  } else if (JoinsWithCare()) {
    BuildWithCare(*messages);
  } else {
    BuildJoined(*messages);
  }
  messages_ = std::move(messages);
}

void SIMBox::BuildJoined(Messages& messages) {
  std::unordered_map<JoinKey, KeyGroup, JoinKeyHash> groups;
  std::vector<KeyGroup*> groupOf(records_.size());
  for (std::size_t i = 0; i < records_.size(); ++i) {
    if (records_[i].concatTotal == 1) continue;
    groupOf[i] = &groups[JoinKey(records_[i])];
    groupOf[i]->records.push_back(&records_[i]);
  }
  for (std::size_t i = 0; i < records_.size(); ++i) {
    SIMMessage& record = records_[i];
    KeyGroup* const group = groupOf[i];
    if (!group) {
      AddSingle(messages, record);
      continue;
    }
    // The other parts enter through their first one.
    if (record.concatPart != 1) continue;
    if (!group->examined) group->Examine();
    if (!group->complete) continue;
    group->inboxIndex = AddMessage(messages, group->Join(record));
    // A total of 0 makes no sense; such a record is a message of its own.
    if (record.concatTotal < 1) record.inboxIndex = group->inboxIndex;
  }
  // A message takes as many records of its key as it has parts, whatever their part numbers. Of several messages with
  // one key the last has them.
  for (auto& [key, group] : groups) {
    if (group.inboxIndex == 0) continue;
    for (std::int16_t i = 0; i < key.total; ++i) {
      group.records[static_cast<std::size_t>(i)]->inboxIndex = group.inboxIndex;
    }
  }
}

void SIMBox::BuildWithCare(Messages& messages) {
  const std::vector<PartGroup> groups = GroupRecords(records_);
  std::vector<const PartGroup*> groupAt(records_.size());  // by the position of its first part
  for (const PartGroup& group : groups) {
    groupAt[static_cast<std::size_t>(group.parts.front().record - records_.data())] = &group;
  }
  for (std::size_t i = 0; i < records_.size(); ++i) {
    if (records_[i].concatTotal < 2) {
      AddSingle(messages, records_[i]);
    } else if (groupAt[i] != nullptr && IsShown(*groupAt[i], *now_)) {
      AddGroup(messages, *groupAt[i]);
    }
  }
}

void SIMBox::NoteNew(const std::vector<std::int16_t>& locations) {
  std::set<std::int16_t> indexes;
  for (const std::int16_t location : locations) {
    const SIMMessage* const record = Record(location);
    if (record != nullptr && record->inboxIndex > 0) indexes.insert(record->inboxIndex);
  }
  newMessages_.clear();
  for (const std::int16_t index : indexes) newMessages_.push_back((*messages_)[static_cast<std::size_t>(index - 1)]);
}

// Closes the gaps of removed records and takes every record out of its message.
void SIMBox::Compact() {
  std::erase_if(records_, [](const SIMMessage& record) { return !record.content; });
  for (std::size_t i = 0; i < records_.size(); ++i) {
    records_[i].inboxIndex = 0;
    *PositionOf(records_[i].memoryIndex) = static_cast<std::int32_t>(i);
  }
}

std::int16_t SIMBox::AddMessage(Messages& messages, std::shared_ptr<const MessageContent> content,
                                std::vector<StoredPart> parts) {
  const auto index = static_cast<std::int16_t>(messages.size() + 1);
  messages.push_back(std::make_shared<Message>(std::make_shared<const Message::State>(
      Message::State{index, std::move(content), weak_from_this(), services_, std::move(parts)})));
  return index;
}

void SIMBox::AddSingle(Messages& messages, SIMMessage& record) {
  std::vector<StoredPart> parts;
  if (JoinsWithCare()) parts.push_back({record.memoryIndex, record.content});
  record.inboxIndex = AddMessage(messages, record.content, std::move(parts));
}

void SIMBox::AddGroup(Messages& messages, const PartGroup& group) {
  std::vector<SIMMessage*> records = group.duplicates;
  for (const ReceivedPart& part : group.parts) records.push_back(part.record);
  std::sort(records.begin(), records.end());  // listing order
  std::vector<StoredPart> parts;
  for (const SIMMessage* record : records) parts.push_back({record->memoryIndex, record->content});
  const std::int16_t index = AddMessage(messages, JoinGroup(group), std::move(parts));
  for (SIMMessage* record : records) record->inboxIndex = index;
}

}  // namespace tavro
