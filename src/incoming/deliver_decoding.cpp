// An entry of the listing, and the SMS-DELIVER in it (3GPP TS 27.005, 3.1 and 4.1; 3GPP TS 23.040, 9.2.2.1). PDU fields
// are octets, each of two hex digits.
//
//   entry   = location "," stat "," [ alpha ] "," length CR LF pdu
//   pdu     = sca first oa pid dcs scts udl ud
//   sca     = length [ type address ]          length in octets, type included; 0 when there is no address
//   first   = - UDHI - - - - MTI MTI           MTI 00: SMS-DELIVER
//   oa      = length type address              length in semi-octets, without the one that fills the last octet
//   address = the digits in swapped pairs, F filling the last one; GSM 7-bit text when the type's high half is D
//   scts    = 7 octets                         see time_stamp.cpp
//   udl     = length of ud                     in septets for 7-bit text, which include the header's; else octets
//   ud      = [ udh ] text
//   udh     = length { iei ielength iedata }   length in octets, without itself; a fill bit follows before 7-bit text
//
// The one header that is understood is "05 00 03 reference total part" (9.2.3.24.1), or an IEI of C0 to DF in its
// place.
#include "incoming/deliver_decoding.h"

#include <algorithm>
#include <limits>
#include <memory>
#include <utility>

#include "base/text.h"
#include "incoming/listing_entry.h"
#include "incoming/tolerant_decoding.h"
#include "incoming/user_data.h"
#include "outgoing/encodings.h"

namespace tavro {

namespace {

constexpr std::size_t kHeaderDigits = 12;  // of the header that is understood, its length octet included
constexpr int kHeaderOctets = 6;
constexpr int kHeaderSeptets = 7;  // the same with its fill bit

constexpr const char* kOtherLength = "it is not as long as the modem says";
constexpr const char* kBadHeader = "the user-data header contradicts its length";

// Takes a PDU apart from its front. A piece that reaches past the end is empty and makes the PDU cut short.
class PduReader {
 public:
  explicit PduReader(std::string_view digits) : rest_(digits) {}

  std::string_view Take(std::size_t digits) {
    if (digits > rest_.size()) {
      cutShort_ = true;
      rest_ = {};
      return {};
    }
    const std::string_view piece = rest_.substr(0, digits);
    rest_.remove_prefix(digits);
    return piece;
  }

  // The value of the next octet; 0 when there is none.
  int Octet() { return OctetValue(Take(2)); }

  bool IsCutShort() const { return cutShort_; }
  std::string_view Rest() const { return rest_; }

  static int OctetValue(std::string_view octet) {
    return octet.size() < 2 ? 0 : HexDigitValue(octet[0]) * 16 + HexDigitValue(octet[1]);
  }

 private:
  std::string_view rest_;
  bool cutShort_ = false;
};

std::u16string Widen(std::string_view ascii) { return {ascii.begin(), ascii.end()}; }

std::u16string DialDigits(std::string_view type, std::string_view semiOctets) {
  std::string digits = SwapSemiOctets(semiOctets);
  if (digits.ends_with('F')) digits.pop_back();
  return Widen(type == "91" ? "+" + digits : digits);
}

// An alphanumeric address of n semi-octets has room for n * 4 / 7 characters; the bits behind them are no "@".
std::u16string AlphanumericAddress(std::string_view digits, int semiOctets) {
  auto limit = static_cast<std::int16_t>(semiOctets * 4 / 7);
  std::u16string text = UnpackUserData(digits, 7, "0", limit);
  text.resize(std::min(text.size(), static_cast<std::size_t>(limit)));
  return text;
}

std::u16string ReadServiceCentre(PduReader& pdu) {
  const int octets = pdu.Octet();
  if (octets == 0) return {};
  const std::string_view type = pdu.Take(2);
  return DialDigits(type, pdu.Take(static_cast<std::size_t>(octets - 1) * 2));
}

std::u16string ReadOriginator(PduReader& pdu) {
  const int semiOctets = pdu.Octet();
  const std::string_view type = pdu.Take(2);
  const std::string_view digits = pdu.Take(static_cast<std::size_t>(semiOctets + semiOctets % 2));
  return type.starts_with('D') ? AlphanumericAddress(digits, semiOctets) : DialDigits(type, digits);
}

// The bits of a character by the data coding scheme (3GPP TS 23.038, 4); 0 for one that is not read.
int AlphabetOf(int dcs) {
  if (dcs >> 6 == 0) {  // general data coding
    constexpr int kAlphabets[] = {7, 8, 16, 0};
    const bool compressed = (dcs & 0x20) != 0;
    return compressed ? 0 : kAlphabets[dcs >> 2 & 3];
  }
  if (dcs >> 4 == 0xF) {  // data coding and message class
    const bool reserved = (dcs & 0x08) != 0;
    if (reserved) return 0;
    return (dcs & 0x04) == 0 ? 7 : 8;
  }
  return 0;
}

// Whether the header, its length octet included, is made of whole information elements.
bool IsWellFormedHeader(std::string_view userData) {
  PduReader header(userData);
  PduReader elements(header.Take(static_cast<std::size_t>(header.Octet()) * 2));
  while (!elements.Rest().empty()) {
    elements.Octet();  // the identifier
    elements.Take(static_cast<std::size_t>(elements.Octet()) * 2);
  }
  return !header.IsCutShort() && !elements.IsCutShort();
}

// An element of C0 to DF is read in this layout whatever length it names; this is meant.
bool IsConcatenationHeader(std::string_view userData) {
  if (!userData.starts_with("05")) return false;
  const int identifier = PduReader::OctetValue(userData.substr(2, 2));
  return userData.substr(2, 4) == "0003" || (identifier >= 0xC0 && identifier <= 0xDF);
}

// Half of an octet count in UCS2 characters, a half rounded to the even number.
int HalfToEven(int octets) { return octets / 2 + (octets % 4 == 3 ? 1 : 0); }

class DeliverDecoder {
 public:
  DeliverDecoder(DecodedEntry& entry, const DateNames& names, std::string_view announcedOctets)
      : entry_(entry), names_(names), announcedOctets_(announcedOctets) {}

  void Decode(std::string_view digits) {
    PduReader pdu(digits);
    tpduOctets_ = static_cast<int>(digits.size() / 2);
    tpduOctets_ -= 1 + PduReader::OctetValue(digits.substr(0, 2));
    for (std::string_view rest = digits; rest.ends_with("FF"); rest.remove_suffix(2)) ++fillOctets_;
    content_.smsc = ReadServiceCentre(pdu);
    const int first = pdu.Octet();
    if (pdu.IsCutShort()) return Skip("the PDU is cut short");
    if ((first & 3) != 0) return Delete("not a received message");
    const bool hasHeader = (first & 0x40) != 0;
    content_.phone = ReadOriginator(pdu);
    pdu.Octet();  // the protocol identifier
    const std::string_view dcs = pdu.Take(2);
    const std::string_view timeStamp = pdu.Take(14);
    const int length = pdu.Octet();
    if (pdu.IsCutShort()) return Skip("the PDU is cut short");
    const int alphabet = AlphabetOf(PduReader::OctetValue(dcs));
    if (alphabet == 0) return Skip("data coding scheme " + std::string(dcs) + " is not supported");
    if (!SetTimeStamp(timeStamp)) return Skip("the time stamp " + std::string(timeStamp) + " is no date");

    const auto octets = static_cast<std::size_t>(alphabet == 7 ? (length * 7 + 7) / 8 : length);
    if (pdu.Rest().size() < octets * 2) return Skip("the user data is shorter than its length");
    if (pdu.Rest().size() > octets * 2) {
      entry_.remark = std::to_string(pdu.Rest().size() / 2 - octets) + " octets stand behind the user data";
    }
    const std::string_view header = pdu.Rest().substr(0, hasHeader ? octets * 2 : 0);
    if (hasHeader && !IsConcatenationHeader(header) && !IsWellFormedHeader(header)) return Skip(kBadHeader);
    // Escape pairs behind a seven-bit text would shorten it; what is too much of another is cut off in the end.
    DecodeUserData(alphabet == 7 ? pdu.Take(octets * 2) : pdu.Rest(), alphabet, length, hasHeader);
  }

 private:
  void Skip(std::string reason) { entry_.remark = std::move(reason); }

  // Not when octets were lost or came on top on the line: it may be a received message that now looks like another
  // kind.
  void Delete(std::string reason) {
    if (!HasAnnouncedLength()) return Skip(kOtherLength + (", and looks like this: " + reason));
    entry_.action = DecodedEntry::Action::kDelete;
    entry_.remark = std::move(reason);
  }

  bool HasAnnouncedLength() const { return IsAnnouncedLength(announcedOctets_, tpduOctets_, fillOctets_); }

  bool SetTimeStamp(std::string_view digits) {
    auto timeStamp = DecodeTimeStamp(digits, names_);
    if (!timeStamp) return false;
    content_.timeStamp = timeStamp->date;
    content_.timeZone = timeStamp->zone;
    content_.timeStampRFC = std::move(timeStamp->rfcText);
    return true;
  }

  void DecodeUserData(std::string_view userData, int alphabet, int length, bool hasHeader) {
    int characters = length;
    if (hasHeader) {
      if (!IsConcatenationHeader(userData)) return Delete("its user-data header is not supported");
      characters -= alphabet == 7 ? kHeaderSeptets : kHeaderOctets;
      if (characters < 0) return Skip(kBadHeader);
      entry_.record.concatReference = HeaderValue(userData, 6);
      entry_.record.concatTotal = HeaderValue(userData, 8);
      entry_.record.concatPart = HeaderValue(userData, 10);
      userData.remove_prefix(kHeaderDigits);
    }
    if (alphabet == 16) characters = HalfToEven(characters);
    auto limit = static_cast<std::int16_t>(characters);
    content_.text = UnpackUserData(userData, alphabet, hasHeader ? "1" : "0", limit);
    content_.text.resize(std::min(content_.text.size(), static_cast<std::size_t>(limit)));
    entry_.action = DecodedEntry::Action::kStore;
    if (!HasAnnouncedLength()) entry_.remark = kOtherLength;
    entry_.record.memoryIndex = entry_.location;
    entry_.record.content = std::make_shared<const MessageContent>(std::move(content_));
  }

  static std::int16_t HeaderValue(std::string_view userData, std::size_t digit) {
    return static_cast<std::int16_t>(PduReader::OctetValue(userData.substr(digit, 2)));
  }

  DecodedEntry& entry_;
  const DateNames& names_;
  std::string_view announcedOctets_;  // <length> of the listing
  int tpduOctets_ = 0;                // of the PDU without the service centre field
  int fillOctets_ = 0;                // FF at its end
  MessageContent content_;
};

// Without a branch or a table, so that the compiler takes many digits at once.
bool IsHex(std::string_view text) {
  unsigned others = 0;
  for (const char c : text) {
    const auto digit = static_cast<unsigned char>(c - '0');
    const auto letter = static_cast<unsigned char>(c - 'A');
    others |= static_cast<unsigned>(digit > 9) & static_cast<unsigned>(letter > 5);
  }
  return others == 0;
}

// <length>, the last of the four fields; empty when it is missing.
std::string_view AnnouncedOctets(std::string_view header) {
  if (std::count(header.begin(), header.end(), ',') < 3) return {};
  const std::string_view field = header.substr(header.rfind(',') + 1);
  return field.substr(0, field.find('\r'));
}

}  // namespace

DecodedEntry DecodeStoredMessage(std::string_view entry, const DateNames& names, const Manner& manner) {
  if (manner.showsEverything) return DecodeTolerantly(entry, names);
  DecodedEntry result;
  const std::size_t headerEnd = std::min(entry.find("\r\n"), entry.size());
  const std::string_view header = entry.substr(0, headerEnd);
  const std::string_view location = header.substr(0, header.find(','));
  int number = 0;
  if (!ParseWhole(location, number) || number < 0 || number > std::numeric_limits<std::int16_t>::max()) {
    result.remark = "\"" + std::string(location) + "\" is no memory location";
    return result;
  }
  result.location = static_cast<std::int16_t>(number);
  std::string_view pdu = entry.substr(std::min(headerEnd + 2, entry.size()));
  pdu = Trim(pdu.substr(0, std::min(pdu.find('\r'), pdu.find('\n'))));
  if (pdu.size() < 2) {
    result.remark = "there is no PDU";
  } else if (!IsHex(pdu)) {
    result.remark = "the PDU has characters that are no hex digits";
  } else if (pdu.size() % 2 != 0) {
    result.remark = "the PDU has an odd number of digits";
  } else {
    DeliverDecoder(result, names, AnnouncedOctets(header)).Decode(pdu);
  }
  return result;
}

}  // namespace tavro
