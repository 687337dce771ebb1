#include "incoming/careful_joining.h"

#include <algorithm>
#include <cstddef>
#include <cstdlib>
#include <functional>
#include <string_view>
#include <unordered_map>
#include <utility>

#include "incoming/user_data_header.h"

namespace tavro {

namespace {

constexpr std::int64_t kDay = 86400;
constexpr std::u16string_view kMissing = u"[...]";

struct PartKey {
  std::u16string_view phone;
  std::int16_t total;
  std::int32_t reference;

  bool operator==(const PartKey&) const = default;
};

struct PartKeyHash {
  std::size_t operator()(const PartKey& key) const {
    const auto numbers = static_cast<std::size_t>(key.reference) * 256 + static_cast<std::size_t>(key.total);
    return std::hash<std::u16string_view>()(key.phone) * 31 + numbers;
  }
};

bool IsComplete(const PartGroup& group) {
  return group.parts.size() == static_cast<std::size_t>(group.parts.front().record->concatTotal);
}

// What one of the parts says of the whole message.
void AddDetails(MessageDetails& whole, const MessageDetails& part) {
  whole.data.insert(whole.data.end(), part.data.begin(), part.data.end());
  if (!whole.ports) whole.ports = part.ports;
  if (!whole.messageClass) whole.messageClass = part.messageClass;
  whole.isReplacement = whole.isReplacement || part.isReplacement;
  for (const WaitingMessages& waiting : part.waiting) AddWaiting(whole.waiting, waiting);
  whole.sent = part.sent;
}

}  // namespace

std::vector<PartGroup> GroupRecords(std::vector<SIMMessage>& records) {
  std::unordered_map<PartKey, std::vector<ReceivedPart>, PartKeyHash> partsByKey;
  for (SIMMessage& record : records) {
    if (record.concatTotal < 2) continue;
    const PartKey key{record.content->phone, record.concatTotal, record.concatReference};
    partsByKey[key].push_back({&record, record.content->details->sent.value_or(0)});
  }
  std::vector<PartGroup> all;
  for (auto& [key, parts] : partsByKey) {
    for (PartGroup& group : GroupParts(std::move(parts))) all.push_back(std::move(group));
  }
  return all;
}

bool IsShown(const PartGroup& group, std::int64_t now) {
  if (IsComplete(group)) return true;
  std::int64_t newest = 0;
  for (const ReceivedPart& part : group.parts) newest = std::max(newest, part.sent);
  return std::abs(now - newest) >= kDay;
}

std::shared_ptr<const MessageContent> JoinGroup(const PartGroup& group) {
  const SIMMessage &first = *group.parts.front().record, &last = *group.parts.back().record;
  auto joined = std::make_shared<MessageContent>();
  auto details = std::make_unique<MessageDetails>();
  details->parts = first.concatTotal;
  std::int16_t shown = 0;
  bool isEscaped = false;
  for (const ReceivedPart& part : group.parts) {
    const SIMMessage& record = *part.record;
    const bool follows = record.concatPart == shown + 1;
    if (!follows) joined->text += kMissing;
    shown = record.concatPart;
    const std::size_t start = joined->text.size();
    joined->text += record.content->text;
    const SeptetSeams& seams = record.content->details->seams;
    if (isEscaped && follows && seams.escapedStart != 0) joined->text[start] = seams.escapedStart;
    isEscaped = seams.endsInEscape;
    AddDetails(*details, *record.content->details);
    if (!IsComplete(group)) details->shown.push_back(shown);
  }
  if (shown != last.concatTotal) joined->text += kMissing;
  joined->phone = first.content->phone;
  joined->smsc = first.content->smsc;
  joined->timeStamp = last.content->timeStamp;
  joined->timeZone = last.content->timeZone;
  joined->timeStampRFC = last.content->timeStampRFC;
  joined->details = std::move(details);
  return joined;
}

bool IsSamePdu(const std::vector<std::uint8_t>& a, const std::vector<std::uint8_t>& b) {
  const auto& shorter = a.size() < b.size() ? a : b;
  const auto& longer = a.size() < b.size() ? b : a;
  const auto rest = longer.begin() + static_cast<std::ptrdiff_t>(shorter.size());
  return std::equal(shorter.begin(), shorter.end(), longer.begin()) &&
         std::all_of(rest, longer.end(), [](std::uint8_t octet) { return octet == 0xFF; });
}

bool IsSamePdu(const MessageContent& a, const MessageContent& b) { return IsSamePdu(a.details->pdu, b.details->pdu); }

bool IsSameMessage(const MessageContent& a, const MessageContent& b) {
  if (a.details && b.details) return IsSamePdu(a, b);
  return a.phone == b.phone && a.text == b.text && a.timeStampRFC == b.timeStampRFC;
}

}  // namespace tavro
