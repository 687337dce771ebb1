#include "incoming/message_reader.h"

#include <utility>

#include "base/text.h"
#include "incoming/deliver_decoding.h"

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

MessageReader::MessageReader(const DialogueContext& dialogue, ModemConnection& connection, MessageSteps& steps)
    : DialoguePart(dialogue), connection_(connection), steps_(steps) {}

bool MessageReader::ReadMessages(SIMBox& box, std::int16_t messageType, bool deleteNonDeliver) {
  leftBehind_ = 0;
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
    for (std::string& block : answer.TakeBlocks()) StoreEntries(box, std::move(block), names, deleteNonDeliver);
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
void MessageReader::StoreEntries(SIMBox& box, std::string block, const DateNames& names, bool deleteNonDeliver) {
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
      StoreEntry(box, entry, names, deleteNonDeliver);
    }
  }
}

void MessageReader::StoreEntry(SIMBox& box, std::string_view entry, const DateNames& names, bool deleteNonDeliver) {
  DecodedEntry decoded = DecodeStoredMessage(entry, names, manner_);
  switch (decoded.action) {
    case DecodedEntry::Action::kStore:
      if (!decoded.remark.empty()) log_.WriteLog("Message" + AtLocation(decoded.location) + ": " + decoded.remark);
      box.AddRecord(std::move(decoded.record));
      return;
    case DecodedEntry::Action::kDelete:
      if (deleteNonDeliver && manner_.deletesWhileReading) {
        return DeleteWhileReading(box, decoded.location, decoded.remark);
      }
      break;
    case DecodedEntry::Action::kSkip:
      break;
  }
  log_.WriteLog("Skipping message" + AtLocation(decoded.location) + ": " + decoded.remark);
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

}  // namespace tavro
