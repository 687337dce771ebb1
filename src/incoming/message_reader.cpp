#include "incoming/message_reader.h"

#include <algorithm>
#include <utility>

#include "base/restored.h"
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
  log_.WriteLog("Reading incoming messages [Option-" + std::to_string(messageType) + "]");
  ShownOrReadAgain shown{&readAgain_};
  struct PutBack {
    ~PutBack() {
      if (before) box = std::move(*before);
    }
    SIMBox& box;
    std::optional<SIMBox> before = {};
  } putBack{box};
  if (manner_.keepsInboxOnFailure) putBack.before = box;
  box.Clear();
  if (manner_.joinsWithCare) box.JoinWithCare(platform_.WallClock() / 1000);
  error_ = Read(box, messageType, deleteNonDeliver);
  if (error_) return false;
  putBack.before.reset();  // the old messages make room for the new ones
  ForgetAdded();           // the application sees all of them now
  if (leftBehind_ > 0) {
    log_.WriteLog("The inbox is full: " + std::to_string(leftBehind_) + " messages stay in the modem");
  }
  state_.isListed = true;
  log_.WriteLog("Processing incoming messages [" + std::to_string(box.RecordCount()) + " Msgs]");
  box.BuildInbox(settings_.concatenate);
  shown.readAgain = nullptr;
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
  if (log_.TakesActivity()) log_.WriteLog("Modem Response: " + answer.Text());
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
    if (box.IsFull() && handling != Handling::kReports) {
      ++leftBehind_;
    } else {
      StoreEntry(box, entry, names, handling);
    }
  }
}

void MessageReader::StoreEntry(SIMBox& box, std::string_view entry, const DateNames& names, Handling handling) {
  DecodedEntry decoded = DecodeStoredMessage(entry, names, manner_);
  switch (decoded.action) {
    case DecodedEntry::Action::kStore:
      if (handling == Handling::kReports) return;
      statusBox_.Remove(box.Memory(), decoded.location);
      if (handling == Handling::kAdd) return AddNew(box, std::move(decoded));
      LogRemark(decoded);
      box.AddRecord(std::move(decoded.record));
      return;
    case DecodedEntry::Action::kReport:
      return AddReport(std::move(decoded), box.Memory(), HeardByListing());
    case DecodedEntry::Action::kDelete:
      statusBox_.Remove(box.Memory(), decoded.location);
      if (handling == Handling::kReadAndDelete) return DeleteWhileReading(box, decoded.location, decoded.remark);
      break;
    case DecodedEntry::Action::kSkip:
      break;
  }
  log_.WriteLog("Skipping message" + AtLocation(decoded.location) + ": " + decoded.remark);
}

// What stood in the memory already when the modem was asked to tell of it came before that.
std::uint64_t MessageReader::HeardByListing() {
  return state_.isListed || state_.heardBefore == 0 ? exchange_.Hear() : state_.heardBefore;
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

bool MessageReader::Begin(SIMBox& box) {
  leftBehind_ = 0;
  if (manner_.joinsWithCare) box.JoinWithCare(platform_.WallClock() / 1000);
  const bool isOther = box.Memory() != steps_.Memory();
  if (isOther && (box.Memory().empty() || steps_.Memory().empty())) {
    box.MarkAllDoubtful();  // it may be the same one, by its name now
  } else if (isOther) {
    box.Clear();
    box.BuildInbox(settings_.concatenate);
  }
  if (box.RecordCount() == 0) box.SetConnection(connection_.Count());
  box.SetMemory(steps_.Memory());
  box.NoteConnection(connection_.Count());
  return isOther;
}

PendingError MessageReader::AddUnread(SIMBox& box) {
  const ReadAgain again = std::exchange(readAgain_, {});
  ShownOrReadAgain shown{&readAgain_};
  PendingError error = AddUnread(box, again);
  if (!error) shown.readAgain = nullptr;
  return error;
}

PendingError MessageReader::AddUnread(SIMBox& box, const ReadAgain& again) {
  if (again.all || !again.locations.empty() || HasReportsOfBefore()) {
    const Restored wanted(wanted_, again.all ? std::nullopt : std::optional(again.locations));
    PendingError error =
        ListAndStore(box, '1', again.all || !again.locations.empty() ? Handling::kAdd : Handling::kReports);
    if (error) return error;
  }
  if (PendingError error = ListAndStore(box, '0', Handling::kAdd)) return error;
  state_.isListed = true;
  if (leftBehind_ == 0) return {};
  log_.WriteLog("The inbox is full: " + std::to_string(std::exchange(leftBehind_, 0)) + " messages stay in the modem");
  return kReadMessageError;
}

PendingError MessageReader::ListAndStore(SIMBox& box, char stat, Handling handling) {
  ListingAnswer answer;
  if (PendingError error = List(stat, answer)) return error;
  const DateNames names = LocalDateNames(platform_);
  for (std::string& block : answer.TakeBlocks()) StoreEntries(box, std::move(block), names, handling);
  return {};
}

// Those that an earlier connection read count as read by now, and are to be deleted once they are handed over.
bool MessageReader::HasReportsOfBefore() const {
  const auto& items = statusBox_.Items();
  return std::any_of(items.begin(), items.end(), [this](const Status& status) {
    return status.memIndex >= 0 && status.connection != connection_.Count();
  });
}

// A message that is there already was told of or listed before; another one at its location is in its place.
void MessageReader::AddNew(SIMBox& box, DecodedEntry decoded) {
  if (wanted_ && std::find(wanted_->begin(), wanted_->end(), decoded.location) == wanted_->end()) return;
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
  statusBox_.Add({.report = std::move(*decoded.report),
                  .memory = memory,
                  .memIndex = decoded.location,
                  .connection = connection_.Count(),
                  .heard = heard});
}

PendingError MessageReader::AddPlace(SIMBox& box, std::int16_t location, std::uint64_t heard) {
  std::optional<DecodedEntry> decoded;
  if (PendingError error = ReadPlace(location, decoded)) {
    readAgain_.locations.push_back(location);
    return error;
  }
  if (!decoded || decoded->action != DecodedEntry::Action::kReport) statusBox_.Remove(box.Memory(), location);
  if (!decoded) return {};
  if (decoded->action == DecodedEntry::Action::kReport) {
    AddReport(std::move(*decoded), box.Memory(), heard);
  } else if (decoded->action != DecodedEntry::Action::kStore) {
    log_.WriteLog("Skipping message" + AtLocation(location) + ": " + decoded->remark);
  } else if (box.IsFull() && box.Record(location) == nullptr) {
    log_.WriteLog("The inbox is full: the message" + AtLocation(location) + " stays in the modem");
    readAgain_.locations.push_back(location);
    return kReadMessageError;
  } else {
    AddNew(box, std::move(*decoded));
  }
  return {};
}

PendingError MessageReader::AddOtherPlace(SIMBox& box, const std::string& memory, std::int16_t location,
                                          std::uint64_t heard) {
  const int connection = connection_.Count();
  std::optional<DecodedEntry> decoded;
  if (PendingError error = ReadPlace(location, decoded)) return error;
  // Behind another connection it came from another memory.
  if (connection != connection_.Count()) return kReadInvalidResponse;
  if (!decoded) return {};
  if (decoded->action == DecodedEntry::Action::kReport) {
    AddReport(std::move(*decoded), memory, heard);
  } else if (decoded->action == DecodedEntry::Action::kStore) {
    if (box.IsFull()) return kReadMessageError;
    LogRemark(*decoded);
    decoded->record.otherMemory = memory;
    decoded->record.otherIndex = location;
    if (const auto place = box.AddDelivered(std::move(decoded->record))) added_.push_back(*place);
  }
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
  const std::size_t start = text.find(kPrefix);
  if (!answer.IsGood()) return kReadInvalidResponse;
  const std::string_view entry =
      start == std::string_view::npos ? std::string_view() : Trim(text.substr(start + kPrefix.size()));
  const ListingEntry listed = ReadListingEntry(entry, false);
  if (listed.pdu.empty() && (listed.length.empty() || listed.length == "0")) {
    log_.WriteLog("There is no message" + AtLocation(location));
    return {};
  }
  if (listed.pdu.empty()) return kReadInvalidResponse;
  decoded = DecodePlace(entry, location, LocalDateNames(platform_));
  return {};
}

MessageReader::Delivered MessageReader::AddDelivered(SIMBox& box, std::string_view entry, std::uint64_t heard,
                                                     bool comesAgain) {
  DecodedEntry decoded = DecodeDelivered(entry, LocalDateNames(platform_));
  if (decoded.isDamaged && comesAgain) {
    log_.WriteLog("What was delivered is damaged, and has to come again: " + decoded.remark);
    return Delivered::kDamaged;
  }
  const bool isDamaged = decoded.isDamaged;
  if (decoded.action == DecodedEntry::Action::kReport) {
    AddReport(std::move(decoded), {}, heard);
  } else if (decoded.action != DecodedEntry::Action::kStore) {
    log_.WriteLog("Skipping message: " + decoded.remark);
  } else {
    if (box.IsFull()) return Delivered::kNoRoom;
    LogRemark(decoded);
    if (const auto place = box.AddDelivered(std::move(decoded.record))) added_.push_back(*place);
  }
  return isDamaged ? Delivered::kDamaged : Delivered::kAdded;
}

}  // namespace tavro
