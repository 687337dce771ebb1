#include "incoming/message_deleter.h"

#include <string_view>

#include "base/text.h"
#include "incoming/careful_joining.h"
#include "incoming/deliver_decoding.h"
#include "incoming/listing_entry.h"

namespace tavro {

namespace {

constexpr MessageStepTexts kDeleteSteps{kDeleteCannotConnect, kDeletePduModeUnchecked, kDeleteNoPduMode,
                                        "Verifying network registration status", "Verifying PDU support in modem"};

std::string Join(const std::vector<std::int16_t>& locations) {
  std::string text;
  for (const std::int16_t location : locations) {
    if (!text.empty()) text += ',';
    text += std::to_string(location);
  }
  return text;
}

}  // namespace

MessageDeleter::MessageDeleter(const DialogueContext& dialogue, ModemConnection& connection, MessageSteps& steps,
                               MessageMemory& memory)
    : DialoguePart(dialogue), connection_(connection), steps_(steps), memory_(memory) {}

bool MessageDeleter::DeleteStoredMessage(SIMBox& box, std::int16_t inboxIndex,
                                         const std::vector<std::int16_t>& locations) {
  log_.WriteLog("Deleting message " + std::to_string(inboxIndex) + " [Memory Loc: " + Join(locations) + "]");
  error_ = Delete(box, locations);
  return !error_;
}

PendingError MessageDeleter::Delete(SIMBox& box, const std::vector<std::int16_t>& all) {
  std::vector<std::int16_t> locations;
  for (const std::int16_t location : all) {
    if (location >= 0) locations.push_back(location);
  }
  if (!locations.empty()) {
    if (PendingError error = DeleteFromModem(box, locations)) return error;
  }
  // What was delivered directly is nowhere else; it goes last, when little can fail any more.
  for (const std::int16_t location : all) {
    const SIMMessage* const record = location < 0 ? box.Record(location) : nullptr;
    if (record == nullptr) continue;
    if (!record->otherMemory.empty()) {
      if (PendingError error = DeleteFromOtherMemory(*record)) return error;
    }
    box.RemoveRecord(location);
  }
  return {};
}

// Its location there may be another message's by now.
PendingError MessageDeleter::DeleteFromOtherMemory(const SIMMessage& record) {
  if (PendingError error = steps_.Connect(kDeleteSteps)) return error;
  PendingError error = kMessageMemoryNotSupported;
  memory_.Visit(record.otherMemory, [&] {
    const int connection = connection_.Count();
    const Place place = LookAt(record.otherIndex, *record.content);
    const std::string command = "AT+CMGD=" + std::to_string(record.otherIndex) + "\r";
    const bool isDone = place == Place::kOther || (place == Place::kSame && connection == connection_.Count() &&
                                                   exchange_.CheckCommandResponse(command).IsGood());
    error = isDone ? PendingError() : kDeleteInvalidResponse;
  });
  return error;
}

PendingError MessageDeleter::DeleteFromModem(SIMBox& box, const std::vector<std::int16_t>& locations) {
  int connection = connection_.Count();
  if (PendingError error = steps_.PrepareDeleting(kDeleteSteps, box.Memory())) return error;
  box.NoteConnection(connection_.Count());
  for (const std::int16_t location : locations) {
    if (PendingError error = steps_.Connect(kDeleteSteps)) return error;
    // A new connection may have come up with another memory, where the location is another message's.
    if (connection != connection_.Count()) {
      if (PendingError error = steps_.RequireMemory(kDeleteSteps, box.Memory())) return error;
      connection = connection_.Count();
      box.NoteConnection(connection);
    }
    if (PendingError error = DeleteRecord(box, location)) return error;
    box.RemoveRecord(location);
  }
  return {};
}

PendingError MessageDeleter::DeleteRecord(SIMBox& box, std::int16_t location) {
  const SIMMessage* const record = box.Record(location);
  if (record == nullptr || !record->isDoubtful) return DeleteLocation(box, location);
  switch (LookAt(location, *record->content)) {
    case Place::kSame:
      return DeleteLocation(box, location);
    case Place::kOther:
      return {};
    case Place::kUnknown:
      break;
  }
  return kDeleteInvalidResponse;
}

// Where the PDU is not kept, what it says counts; it is read as the record was.
bool MessageDeleter::HoldsMessage(std::string_view entry, const MessageContent& content) const {
  const std::string_view pdu = ReadListingEntry(entry, false).pdu;
  if (pdu.empty()) return false;
  if (content.details) return IsSamePdu(ReadOctets(pdu), content.details->pdu);
  const std::string listed = "0," + Upper(entry);  // with a location
  const DecodedEntry decoded = DecodeStoredMessage(listed, LocalDateNames(platform_), manner_);
  return decoded.record.content && IsSameMessage(*decoded.record.content, content);
}

MessageDeleter::Place MessageDeleter::LookAt(std::int16_t location, const MessageContent& content) {
  constexpr std::string_view kPrefix = "+CMGR:";
  const std::string place = std::to_string(location);
  const Answer answer = exchange_.CheckCommandResponse("AT+CMGR=" + place + "\r");
  const std::string_view text = answer.Text();
  errors_.ClearError();  // the deletion's own error is raised
  // Half an answer says nothing of the place.
  if (!answer.IsGood() && !IsEmptyPlace(text)) {
    if (Trim(text).empty()) connection_.DisconnectModem();
    return Place::kUnknown;
  }
  const std::size_t entry = text.find(kPrefix);
  const std::string_view found =
      entry == std::string::npos ? std::string_view() : Trim(text.substr(entry + kPrefix.size()));
  if (HoldsMessage(found, content)) return Place::kSame;
  log_.WriteLog("The message at memory location " + place + " is deleted already");
  return Place::kOther;
}

PendingError MessageDeleter::DeleteLocation(SIMBox& box, std::int16_t location) {
  const std::string command = "AT+CMGD=" + std::to_string(location) + "\r";
  exchange_.Pace();
  exchange_.Purge();  // a late answer to an earlier command is not this one's
  const bool written = exchange_.Write(command);
  log_.WriteLog("Modem Command: " + command);
  if (!written) {
    box.MarkDoubtful(location);
    connection_.DisconnectModem();
    return kDeleteCommandError;
  }
  std::string answer;
  const bool isAnswered = exchange_.AwaitAnswer(1, [&](const std::string& read) {
    answer += read;
    return ContainsNoCase(answer, "OK") || ContainsNoCase(answer, "ERROR");
  });
  if (!isAnswered) box.MarkDoubtful(location);
  exchange_.MarkCommandEnd();
  if (exchange_.EndedWell(IsGoodResponse(answer))) return {};
  log_.WriteLog("Modem Response: " + answer);
  if (Trim(answer).empty()) connection_.DisconnectModem();
  return kDeleteInvalidResponse;
}

}  // namespace tavro
