#include "incoming/message_reader.h"

#include <algorithm>
#include <utility>

#include "base/text.h"
#include "incoming/careful_joining.h"
#include "incoming/listing_entry.h"
#include "incoming/tolerant_decoding.h"

namespace tavro {

namespace {

constexpr std::string_view kListingPrefix = "+CMGL:";
constexpr std::uint32_t kAllBits = 0xFFFFFFFF;
// A gap of this profile ends a read. Slow lines get a longer one.
constexpr SerialTimeOuts kReadTimeOuts{500, kAllBits, kAllBits, 2, 0};
constexpr SerialTimeOuts kSlowReadTimeOuts{1000, kAllBits, kAllBits, 4, 0};

constexpr MessageStepTexts kReadSteps{kReadCannotConnect, kReadPduModeUnchecked, kReadNoPduMode};

// <stat> of AT+CMGL in PDU mode: '0' received unread, '1' received read. Messages to be sent are never listed.
std::string_view ListingsOf(std::int16_t messageType) {
  switch (messageType) {
    case 0:
      return "0";
    case 1:
      return "1";
    default:
      return "10";
  }
}

void UpperInPlace(std::string& text) {
  for (char& c : text) {
    if (c >= 'a' && c <= 'z') c = static_cast<char>(c - 'a' + 'A');
  }
}

std::string AtLocation(std::int16_t location) {
  return location < 0 ? std::string() : " at memory location " + std::to_string(location);
}

}  // namespace

MessageReader::MessageReader(const DialogueContext& dialogue, ModemConnection& connection, MessageSteps& steps,
                             StatusBox& statusBox)
    : DialoguePart(dialogue), connection_(connection), steps_(steps), statusBox_(statusBox) {}

bool MessageReader::ReadMessages(SIMBox& box, std::int16_t messageType, bool deleteNonDeliver) {
  leftBehind_ = 0;
  ForgetAdded();  // the application sees all of them now
  log_.WriteLog("Reading incoming messages [Option-" + std::to_string(messageType) + "]");
  box.Clear();
  if (manner_.joinsWithCare) box.JoinWithCare(platform_.WallClock() / 1000);
  error_ = Read(box, messageType, deleteNonDeliver);
  if (error_) return false;
  if (leftBehind_ > 0) {
    log_.WriteLog("The inbox is full: " + std::to_string(leftBehind_) + " messages stay in the modem");
  }
  log_.WriteLog("Processing incoming messages [" + std::to_string(box.RecordCount()) + " Msgs]");
  box.BuildInbox(settings_.concatenate);
  return true;
}

PendingError MessageReader::Read(SIMBox& box, std::int16_t messageType, bool deleteNonDeliver) {
  if (PendingError error = steps_.PrepareReading(kReadSteps)) return error;
  const DateNames names = LocalDateNames(platform_);
  bool memoryKnown = false;
  for (const char stat : ListingsOf(messageType)) {
    if (PendingError error = steps_.Connect(kReadSteps)) return error;
    // Noted now that the connection stands: a new one may have come up with another memory.
    if (!memoryKnown) {
      box.SetMemory(steps_.Memory());
      box.SetConnection(connection_.Count());
    }
    if (box.Memory() != steps_.Memory()) return kMessageMemoryNotSupported;
    memoryKnown = true;
    ListingAnswer answer;
    if (PendingError error = List(stat, answer)) return error;
    const Handling handling =
        deleteNonDeliver && manner_.deletesWhileReading ? Handling::kReadAndDelete : Handling::kRead;
    for (std::string& block : answer.TakeBlocks()) StoreEntries(box, std::move(block), names, handling);
  }
  return {};
}

PendingError MessageReader::List(char stat, ListingAnswer& answer) {
  exchange_.ApplyTimeOuts('R', settings_.baudRate > 9600 ? kReadTimeOuts : kSlowReadTimeOuts);
  const std::string command = std::string("AT+CMGL=") + stat + '\r';
  exchange_.Pace();
  exchange_.Purge();  // a late answer to an earlier command is not this one's
  const bool written = exchange_.Write(command);
  log_.WriteLog("Modem Command: " + command);
  if (!written) {
    connection_.DisconnectModem();
    return kReadCommandError;
  }
  exchange_.AwaitAnswer(1, [&](const std::string& read) {
    answer.Append(read);
    return answer.IsComplete() || answer.IsFailed();
  });
  const bool isWhole = exchange_.EndedWell(answer.IsComplete()) || answer.SaysNothingIsStored();
  exchange_.MarkCommandEnd();
  // A long answer is not copied for a log that does not take it.
  if (log_.LogType() >= 2) log_.WriteLog("Modem Response: " + answer.Text());
  if (isWhole) return {};
  if (answer.IsBlank()) connection_.DisconnectModem();
  return kReadInvalidResponse;
}

// What stands before the first "+CMGL:" is the echo or the end of something else.
void MessageReader::StoreEntries(SIMBox& box, std::string block, const DateNames& names, Handling handling) {
  UpperInPlace(block);
  const std::string_view text = block;
  for (std::size_t start = text.find(kListingPrefix); start != std::string_view::npos;) {
    start += kListingPrefix.size();
    const std::size_t end = text.find(kListingPrefix, start);
    const std::string_view entry = Trim(text.substr(start, end - start));
    start = end;
    if (entry.empty()) continue;
    if (box.IsFull()) {
      ++leftBehind_;
    } else {
      StoreEntry(box, entry, names, handling);
    }
  }
}

void MessageReader::StoreEntry(SIMBox& box, std::string_view entry, const DateNames& names, Handling handling) {
  DecodedEntry decoded = DecodeStoredMessage(entry, names, manner_);
  if (handling == Handling::kAddMissed) {
    if (std::find(missed_.begin(), missed_.end(), decoded.location) == missed_.end()) return;
    handling = Handling::kAdd;
  }
  switch (decoded.action) {
    case DecodedEntry::Action::kStore:
      if (handling == Handling::kAdd) return AddNew(box, std::move(decoded));
      LogRemark(decoded);
      box.AddRecord(std::move(decoded.record));
      return;
    case DecodedEntry::Action::kReport:
      return AddReport(std::move(decoded), box.Memory(), exchange_.Hear());
    case DecodedEntry::Action::kDelete:
      if (handling == Handling::kReadAndDelete) return DeleteWhileReading(box, decoded.location, decoded.remark);
      break;
    case DecodedEntry::Action::kSkip:
      break;
  }
  log_.WriteLog("Skipping message" + AtLocation(decoded.location) + ": " + decoded.remark);
}

void MessageReader::LogRemark(const DecodedEntry& decoded) {
  if (!decoded.remark.empty()) log_.WriteLog("Message" + AtLocation(decoded.location) + ": " + decoded.remark);
}

// A deletion that fails is no failure of the reading: the message is listed again the next time.
void MessageReader::DeleteWhileReading(SIMBox& box, std::int16_t location, const std::string& reason) {
  log_.WriteLog("Deleting message" + AtLocation(location) + ": " + reason);
  box.RemoveRecord(location);
  // A new connection may come up with another memory, where the location is another message's.
  if (!exchange_.IsPortOpen()) return;
  exchange_.CheckCommandResponse("AT+CMGD=" + std::to_string(location) + "\r");
  errors_.ClearError();
}

void MessageReader::Begin(SIMBox& box) {
  leftBehind_ = 0;
  if (manner_.joinsWithCare) box.JoinWithCare(platform_.WallClock() / 1000);
  if (box.Memory() != steps_.Memory()) {
    box.Clear();
    missed_.clear();
  }
  if (box.RecordCount() == 0) box.SetConnection(connection_.Count());
  box.SetMemory(steps_.Memory());
  box.NoteConnection(connection_.Count());
}

PendingError MessageReader::AddUnread(SIMBox& box, bool alsoRead) {
  constexpr std::int16_t kUnread = 0, kBoth = 2;
  const DateNames names = LocalDateNames(platform_);
  for (const char stat : ListingsOf(alsoRead || !missed_.empty() ? kBoth : kUnread)) {
    ListingAnswer answer;
    if (PendingError error = List(stat, answer)) return error;
    const Handling handling = stat == '0' || alsoRead ? Handling::kAdd : Handling::kAddMissed;
    for (std::string& block : answer.TakeBlocks()) StoreEntries(box, std::move(block), names, handling);
  }
  missed_.clear();
  return {};
}

// A message that is there already was told of or listed before; another one at its location is in its place.
void MessageReader::AddNew(SIMBox& box, DecodedEntry decoded) {
  const SIMMessage* const known = box.Record(decoded.location);
  const bool isAddedNow = std::find(added_.begin(), added_.end(), decoded.location) != added_.end();
  if (known != nullptr && IsSameMessage(*known->content, *decoded.record.content)) return;
  if (known != nullptr && !isAddedNow) box.RemoveRecord(decoded.location);
  LogRemark(decoded);
  if (box.AddRecord(std::move(decoded.record))) added_.push_back(decoded.location);
}

void MessageReader::AddReport(DecodedEntry decoded, const std::string& memory, std::uint64_t heard) {
  const StatusReport& report = *decoded.report;
  log_.WriteLog("Status report" + AtLocation(decoded.location) + ": message " + std::to_string(report.reference) +
                " to " + platform_.ToCodePage(report.recipient) + ": " + platform_.ToCodePage(report.text));
  const bool isNew = statusBox_.Add({.report = std::move(*decoded.report),
                                     .memory = memory,
                                     .memIndex = decoded.location,
                                     .connection = connection_.Count(),
                                     .heard = heard});
  if (isNew) ++reportCount_;
}

PendingError MessageReader::AddPlace(SIMBox& box, std::int16_t location, std::uint64_t heard) {
  std::optional<DecodedEntry> decoded;
  if (PendingError error = ReadPlace(location, decoded)) {
    missed_.push_back(location);
    return error;
  }
  if (!decoded) return {};
  if (decoded->action == DecodedEntry::Action::kReport) {
    AddReport(std::move(*decoded), box.Memory(), heard);
  } else if (decoded->action != DecodedEntry::Action::kStore) {
    log_.WriteLog("Skipping message" + AtLocation(location) + ": " + decoded->remark);
  } else if (box.IsFull() && box.Record(location) == nullptr) {
    log_.WriteLog("The inbox is full: the message" + AtLocation(location) + " stays in the modem");
  } else {
    AddNew(box, std::move(*decoded));
  }
  return {};
}

PendingError MessageReader::ReadReport(const std::string& memory, std::int16_t location, std::uint64_t heard) {
  const int connection = connection_.Count();
  std::optional<DecodedEntry> decoded;
  if (PendingError error = ReadPlace(location, decoded)) return error;
  // Behind another connection it came from another memory.
  const bool isReport = decoded && decoded->action == DecodedEntry::Action::kReport;
  if (isReport && connection == connection_.Count()) AddReport(std::move(*decoded), memory, heard);
  return {};
}

// Nothing is read from an empty place.
PendingError MessageReader::ReadPlace(std::int16_t location, std::optional<DecodedEntry>& decoded) {
  const Answer answer = exchange_.CheckCommandResponse("AT+CMGR=" + std::to_string(location) + "\r");
  errors_.ClearError();
  const std::string_view text = answer.Text();
  if (IsEmptyPlace(text)) {
    log_.WriteLog("There is no message" + AtLocation(location));
    return {};
  }
  constexpr std::string_view kPrefix = "+CMGR:";
  const std::size_t entry = text.find(kPrefix);
  if (!answer.IsGood() || entry == std::string_view::npos)
    return answer.IsGood() ? PendingError() : kReadInvalidResponse;
  decoded = DecodePlace(Trim(text.substr(entry + kPrefix.size())), location, LocalDateNames(platform_));
  return {};
}

bool MessageReader::AddDelivered(SIMBox& box, std::string_view entry, std::uint64_t heard) {
  DecodedEntry decoded = DecodeDelivered(entry, LocalDateNames(platform_));
  if (decoded.action == DecodedEntry::Action::kReport) {
    AddReport(std::move(decoded), {}, heard);
    return true;
  }
  if (box.IsFull()) return false;
  LogRemark(decoded);
  const auto location = box.AddDelivered(std::move(decoded.record));
  if (location) added_.push_back(*location);
  return true;
}

}  // namespace tavro
