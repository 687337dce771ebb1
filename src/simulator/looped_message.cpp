#include "simulator/looped_message.h"

#include <algorithm>

#include "simulator/gsm_text.h"
#include "simulator/octet_reader.h"

namespace tavro {

namespace {

constexpr std::size_t kMaxUserData = 140;
constexpr int kInternational = 0x91, kUnknownType = 0x81, kAlphanumeric = 0xD0;
constexpr std::size_t kLongestName = 11;  // septets

int HexDigit(char digit) {
  if (digit >= '0' && digit <= '9') return digit - '0';
  if (digit >= 'A' && digit <= 'F') return digit - 'A' + 10;
  if (digit >= 'a' && digit <= 'f') return digit - 'a' + 10;
  return -1;
}

std::uint8_t Octet(char character) { return static_cast<std::uint8_t>(character); }
char Character(int octet) { return static_cast<char>(static_cast<std::uint8_t>(octet)); }

constexpr std::string_view kDigits = "0123456789*#abc";  // 9.1.2.3

// Type of address and digits.
std::string NumberOctets(std::string_view number) {
  const bool international = number.starts_with('+');
  if (international) number.remove_prefix(1);
  std::string octets(1, Character(international ? kInternational : kUnknownType));
  const auto digit = [&](std::size_t i) { return i < number.size() ? static_cast<int>(kDigits.find(number[i])) : 15; };
  for (std::size_t i = 0; i < number.size(); i += 2) octets += Character(digit(i + 1) << 4 | digit(i));
  return octets;
}

std::string ServiceCentreField(const SubmittedMessage& message, const NetworkView& network) {
  if (!message.serviceCentre.empty()) return message.serviceCentre;
  if (network.serviceCentre.empty()) return std::string(1, '\0');
  const std::string octets = NumberOctets(network.serviceCentre);
  return Character(static_cast<int>(octets.size())) + octets;
}

}  // namespace

std::optional<std::string> OctetsFromHex(std::string_view hex) {
  if (hex.size() % 2 != 0) return std::nullopt;
  std::string octets;
  octets.reserve(hex.size() / 2);
  for (std::size_t i = 0; i < hex.size(); i += 2) {
    const int high = HexDigit(hex[i]), low = HexDigit(hex[i + 1]);
    if (high < 0 || low < 0) return std::nullopt;
    octets += Character(high << 4 | low);
  }
  return octets;
}

std::string HexFromOctets(std::string_view octets) {
  constexpr char kHexDigits[] = "0123456789ABCDEF";
  std::string hex;
  hex.reserve(octets.size() * 2);
  for (const char octet : octets) {
    hex += kHexDigits[Octet(octet) >> 4];
    hex += kHexDigits[Octet(octet) & 15];
  }
  return hex;
}

int TpduLength(std::string_view pduHex) {
  if (pduHex.size() < 2) return 0;
  const int serviceCentre = HexDigit(pduHex[0]) * 16 + HexDigit(pduHex[1]);
  return std::max(0, static_cast<int>(pduHex.size() / 2) - 1 - serviceCentre);
}

bool HasSeptets(std::uint8_t coding) {
  switch (coding >> 4) {
    case 0:
    case 1:
    case 4:
    case 5:  // general; the compressed groups count octets
      return (coding & 0x0C) == 0 || (coding & 0x0C) == 0x0C;
    case 2:
    case 3:
    case 6:
    case 7:
    case 14:
      return false;
    case 15:
      return (coding & 0x04) == 0;
    default:
      return true;
  }
}

std::string AddressField(std::string_view number) {
  std::string_view digits = number;
  if (digits.starts_with('+')) digits.remove_prefix(1);
  if (digits.find_first_not_of(kDigits) == std::string_view::npos) {
    return Character(static_cast<int>(digits.size())) + NumberOctets(number);
  }
  const std::string septets = SeptetsFromUtf8(number).value_or("?").substr(0, kLongestName);
  const auto semiOctets = static_cast<int>((septets.size() * 7 + 3) / 4);  // that are used
  return std::string{Character(semiOctets), Character(kAlphanumeric)} + PackSeptets(septets);
}

std::string AddressText(std::string_view field) {
  const std::uint8_t length = Octet(field[0]);
  const int type = Octet(field[1]) >> 4 & 7;
  if (type == 5) return Utf8FromSeptets(UnpackSeptets(field.substr(2), std::size_t{length} * 4 / 7));
  std::string number = type == 1 ? "+" : "";
  for (std::size_t i = 0; i < length; ++i) {
    const int pair = Octet(field[2 + i / 2]), digit = i % 2 == 0 ? pair & 15 : pair >> 4;
    number += digit < 15 ? kDigits[static_cast<std::size_t>(digit)] : '?';
  }
  return number;
}

std::string SubmittedMessage::DestinationNumber() const {
  constexpr int kTypeMask = 0x70;
  return (Octet(destination[1]) & kTypeMask) == (kAlphanumeric & kTypeMask) ? "" : AddressText(destination);
}

std::optional<SubmittedMessage> ParseSubmit(std::string_view pdu) {
  constexpr std::size_t kValidityOctets[] = {0, 7, 1, 7};  // by the format bits 4 and 3
  SubmittedMessage message;
  OctetReader reader(pdu);
  message.serviceCentre = reader.Take(std::size_t{1} + reader.Peek());
  if (message.serviceCentre.size() == 1) message.serviceCentre.clear();
  message.firstOctet = reader.TakeOctet();
  if ((message.firstOctet & 3) != 1) return std::nullopt;
  reader.TakeOctet();  // the reference, which the modem gives
  message.destination = reader.Take(2 + (std::size_t{reader.Peek()} + 1) / 2);
  message.protocol = reader.TakeOctet();
  message.coding = reader.TakeOctet();
  reader.Take(kValidityOctets[message.firstOctet >> 3 & 3]);
  const std::size_t units = reader.Peek();
  const std::size_t octets = HasSeptets(message.coding) ? (units * 7 + 7) / 8 : units;
  message.userData = reader.Take(1 + octets);
  if (!reader.EndsHere() || octets > kMaxUserData) return std::nullopt;
  return message;
}

std::string MakeDeliver(const SubmittedMessage& message, const NetworkView& network) {
  // No more messages wait; reply path, header indicator and report indication stand where the SMS-SUBMIT has them.
  std::string pdu = ServiceCentreField(message, network);
  pdu += Character((message.firstOctet & 0xE0) | 0x04);
  pdu += AddressField(network.sender);
  pdu += Character(message.protocol);
  pdu += Character(message.coding);
  pdu += network.timeStamp;
  pdu += message.userData;
  return HexFromOctets(pdu);
}

std::string MakeStatusReport(const SubmittedMessage& message, const NetworkDelivery& delivery,
                             const NetworkView& network) {
  std::string pdu = ServiceCentreField(message, network);
  pdu += Character(0x06);  // SMS-STATUS-REPORT, no more messages wait
  pdu += Character(delivery.reference);
  pdu += message.destination;
  pdu += network.timeStamp;
  pdu += delivery.timeStamp;
  pdu += Character(delivery.status);
  return HexFromOctets(pdu);
}

bool IsSameSubscriber(std::string_view dialled, std::string_view own) {
  constexpr std::size_t kShortestNational = 6;
  const bool international = dialled.starts_with('+');
  if (international) dialled.remove_prefix(1);
  if (own.starts_with('+')) own.remove_prefix(1);
  if (own.empty() || dialled.empty()) return false;
  if (dialled == own) return true;
  if (international) return false;
  // National numbers have a trunk prefix "0", international ones may be dialled with "00".
  while (dialled.starts_with('0')) dialled.remove_prefix(1);
  return dialled == own || (dialled.size() >= kShortestNational && own.ends_with(dialled));
}

}  // namespace tavro
