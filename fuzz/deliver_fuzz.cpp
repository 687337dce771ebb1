// Entries of a listing that no modem should send: the decoder must neither crash nor make a message of what is none.
// The corpus is PDUs as text; each input is tried as text and as the octets of a PDU.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>

#include "base/calendar.h"
#include "base/text.h"
#include "incoming/deliver_decoding.h"
#include "incoming/listing_answer.h"
#include "incoming/sim_box.h"
#include "incoming/user_data.h"
#include "simulator/simulated_line.h"
#include "tavro/pdu.h"

namespace tavro {
namespace {

void Require(bool condition) {
  if (!condition) std::abort();
}

const DateNames& Names() {
  static const DateNames names = [] {
    SimulatedLine line;
    return LocalDateNames(line);
  }();
  return names;
}

// A record in the prompt manner is at a location and has details; in the end it is shown and can be deleted.
void CheckTolerantly(const std::string& entry) {
  const DecodedEntry decoded = DecodeStoredMessage(entry, Names(), kPromptManner);
  const SIMMessage& record = decoded.record;
  Require((decoded.action == DecodedEntry::Action::kStore) == (record.content != nullptr));
  if (!record.content) return Require(!decoded.remark.empty());
  Require(decoded.location >= 0 && record.memoryIndex == decoded.location);
  const MessageDetails& details = *record.content->details;
  Require(details.data.size() <= details.pdu.size());
  Require(record.concatTotal == 1 || (record.concatPart >= 1 && record.concatPart <= record.concatTotal));
  Require(details.sent.has_value() == !record.content->timeStampRFC.empty());
  const auto box = std::make_shared<SIMBox>(std::weak_ptr<IncomingServices>());
  box->JoinWithCare(100000);  // a day after 1970, long before any time stamp
  Require(box->AddRecord(record));
  box->BuildInbox(true);
  Require(box->Count() == 1 && box->LocationsOf(1) == std::vector<std::int16_t>{decoded.location});
  const Message& message = *box->InboxMessages()->front();
  Require(static_cast<int>(message.MissingParts().size()) == message.Parts() - 1);
}

void CheckEntry(const std::string& entry) {
  CheckTolerantly(entry);
  const DecodedEntry decoded = DecodeStoredMessage(entry, Names());
  const SIMMessage& record = decoded.record;
  Require(decoded.location >= -1);
  if (decoded.action != DecodedEntry::Action::kStore) {
    Require(!decoded.remark.empty() && !record.content);
    return;
  }
  Require(decoded.location >= 0 && record.memoryIndex == decoded.location && record.content);
  // Digits beyond their range run over.
  const DateTime date = FromOleDate(record.content->timeStamp);
  Require(date.year >= 1999 && date.year <= 2108);
  Require(record.content->timeZone % 15 == 0);
  Require(record.content->timeStampRFC.size() >= 29);
  Require(record.content->text.size() <= 255 && record.content->phone.size() <= 257);
  Require(record.concatTotal >= 0 && record.concatTotal <= 255 && record.concatPart <= 255);
}

// An answer is judged the same in pieces as in one.
void CheckAnswer(std::string_view text) {
  ListingAnswer whole, pieces;
  whole.Append(text);
  for (std::size_t i = 0; i < text.size(); i += 3) pieces.Append(text.substr(i, 3));
  Require(whole.IsComplete() == pieces.IsComplete() && whole.IsFailed() == pieces.IsFailed());
  Require(whole.Text() == pieces.Text());
}

// Every bit belongs to one field, whatever the PDU.
void CheckFields(const std::string& hex) {
  for (const bool hasServiceCentre : {false, true}) {
    const DecodedPdu pdu = DecodePdu(hex, {.hasServiceCentre = hasServiceCentre});
    std::size_t bit = 0;
    for (const PduField& field : pdu.fields) {
      Require(field.offset * 8 + field.firstBit == bit && field.bitCount > 0);
      bit += field.bitCount;
    }
    Require(bit == pdu.octets.size() * 8 && pdu.errorOctet <= pdu.octets.size());
  }
}

}  // namespace
}  // namespace tavro

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace tavro;
  const std::string text(reinterpret_cast<const char*>(data), size);
  std::string hex;
  for (const char c : text) {
    for (const int shift : {4, 0}) hex += "0123456789ABCDEF"[static_cast<unsigned char>(c) >> shift & 0xF];
  }
  CheckEntry(Upper(text));
  CheckEntry("7,1,,\r\n" + Upper(text));
  CheckEntry("7,1,,\r\n" + hex);
  CheckEntry("7,1,,\r\n000404812143000042305041709040" + hex);  // from the length of the user data on
  CheckEntry("7,1,,\r\n004404812143000042305041709040" + hex);  // the same with a header
  CheckAnswer(text);
  CheckFields(text);
  CheckFields(hex);
  for (const int alphabet : {7, 8, 16}) {
    std::int16_t limit = 160;
    UnpackUserData(text, alphabet, "1", limit);
  }
  return 0;
}
