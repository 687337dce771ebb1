#include "incoming/message_reader.h"

#include <utility>

#include "base/text.h"
#include "incoming/deliver_decoding.h"
#include "link/whole_second_wait.h"

namespace tavro {

namespace {

constexpr std::string_view kListingPrefix = "+CMGL:";
constexpr std::uint32_t kAllBits = 0xFFFFFFFF;
// A gap of this profile ends a read. Slow lines get a longer one.
constexpr SerialTimeOuts kReadTimeOuts{500, kAllBits, kAllBits, 2, 0};
constexpr SerialTimeOuts kSlowReadTimeOuts{1000, kAllBits, kAllBits, 4, 0};

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

MessageReader::MessageReader(Platform& platform, AtExchange& exchange, ErrorState& errors, LogHandling& log,
                             const Settings& settings, ConnectionState& state, ModemConnection& connection,
                             Registration& registration, MessageMemory& memory)
    : platform_(platform),
      exchange_(exchange),
      errors_(errors),
      log_(log),
      settings_(settings),
      state_(state),
      connection_(connection),
      registration_(registration),
      memory_(memory) {}

bool MessageReader::ReadMessages(SIMBox& box, std::int16_t messageType, bool deleteNonDeliver) {
  error_ = {};
  leftBehind_ = 0;
  log_.WriteLog("Reading incoming messages [Option-" + std::to_string(messageType) + "]");
  box.Clear();
  if (!state_.memorySelected && !memory_.SelectMessageMemory(settings_.messageMemory)) {
    if (!exchange_.IsPortOpen()) return Fail(kReadCannotConnect);  // tried once: it may cost the PIN an attempt
    errors_.Warn(kMessageMemoryNotSupported);                      // what the modem reads from by itself is listed
  }
  box.SetMemory(state_.memorySelected ? settings_.messageMemory : std::string());
  if (!registration_.EnsureRegistered()) return Fail(registration_.Error());
  if (!connection_.CheckPDUSupport()) return Fail(kReadPduModeUnchecked);
  if (!state_.pduSupported) return Fail(kReadNoPduMode);

  const DateNames names = LocalDateNames(platform_);
  for (const char stat : ListingsOf(messageType)) {
    ListingAnswer answer;
    if (!List(stat, answer)) return false;
    for (std::string& block : answer.TakeBlocks()) StoreEntries(box, std::move(block), names, deleteNonDeliver);
  }
  if (leftBehind_ > 0) {
    log_.WriteLog("The inbox is full: " + std::to_string(leftBehind_) + " messages stay in the modem");
  }
  log_.WriteLog("Processing incoming messages [" + std::to_string(box.RecordCount()) + " Msgs]");
  box.BuildInbox(settings_.concatenate);
  return true;
}

bool MessageReader::List(char stat, ListingAnswer& answer) {
  if (!exchange_.IsPortOpen()) connection_.ConnectModem();
  if (!exchange_.IsPortOpen()) return Fail(kReadCannotConnect);
  exchange_.ApplyTimeOuts('R', settings_.baudRate > 9600 ? kReadTimeOuts : kSlowReadTimeOuts);
  const std::string command = std::string("AT+CMGL=") + stat + '\r';
  exchange_.Pace();
  exchange_.Purge();  // a late answer to an earlier command is not this one's
  const bool written = exchange_.Write(command);
  log_.WriteLog("Modem Command: " + command);
  if (!written) {
    connection_.DisconnectModem();
    return Fail(kReadCommandError);
  }
  const WholeSecondWait wait(platform_, settings_.timeout);
  while (!answer.IsComplete() && !answer.IsFailed() && !wait.IsOver()) {
    platform_.Sleep(1);
    platform_.PumpMessages();
    answer.Append(exchange_.Read());
  }
  exchange_.MarkCommandEnd();
  // A long answer is not copied for a log that does not take it.
  if (log_.LogType() >= 2) log_.WriteLog("Modem Response: " + answer.Text());
  if (answer.IsComplete()) return true;
  if (answer.IsBlank()) connection_.DisconnectModem();
  return Fail(kReadInvalidResponse);
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
  DecodedEntry decoded = DecodeStoredMessage(entry, names);
  switch (decoded.action) {
    case DecodedEntry::Action::kStore:
      if (!decoded.remark.empty()) log_.WriteLog("Message" + AtLocation(decoded.location) + ": " + decoded.remark);
      box.AddRecord(std::move(decoded.record));
      return;
    case DecodedEntry::Action::kDelete:
      if (deleteNonDeliver) return DeleteWhileReading(box, decoded.location, decoded.remark);
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
  exchange_.CheckCommandResponse("AT+CMGD=" + std::to_string(location) + "\r");
  errors_.ClearError();
}

bool MessageReader::Fail(const PendingError& error) {
  error_ = error;
  return false;
}

}  // namespace tavro
