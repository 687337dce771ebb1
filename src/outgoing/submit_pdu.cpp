// SMS-SUBMIT, 3GPP TS 23.040, 9.2.2.2; two hex digits per octet:
//
//   pdu          = smsc first-octet TP-MR TP-DA TP-PID TP-DCS TP-VP TP-UDL TP-UD
//   smsc         = length type-of-address semi-octets | "00"          length in octets (3GPP TS 27.005, 3.1)
//   first-octet  = "11"                                               SMS-SUBMIT, TP-VP in relative format
//                  + "20" when a status report is asked for, + "40" when TP-UD begins with a header
//   TP-MR        = "00"                                               the modem assigns the reference
//   TP-DA        = length type-of-address semi-octets                 length in digits (9.1.2.5)
//   type         = "91" (international) | "81" (national or unknown)
//   TP-PID       = "00"
//   TP-DCS       = "00" (7 bit) | "04" (8 bit) | "08" (UCS2), + "10" for class 0 (3GPP TS 23.038, 4)
//   TP-UDL       = septets, or octets for 8 bit and UCS2, header included
//   TP-UD        = [header] user-data
//   header       = "05" "00" "03" reference total part                concatenation, 8-bit reference (9.2.3.24.1)
//                | "06" "08" "04" reference total part                16-bit reference (9.2.3.24.8)
#include "outgoing/submit_pdu.h"

#include "outgoing/encodings.h"

namespace tavro {

namespace {

constexpr int kFirstOctet = 0x11, kStatusReportRequest = 0x20, kHeaderIndicator = 0x40;
constexpr std::size_t kMaxAddressDigits = 20;  // 9.1.2.5: at most 12 octets in all
constexpr std::size_t kMaxFieldDigits = 60;    // of all fields between the SMSC and the user data

// 48 bits and a fill bit, or 56, take the room of so many septets.
struct HeaderSize {
  std::size_t octets, septets;
};
constexpr HeaderSize kNoHeader{0, 0}, kHeader{6, 7}, kWideHeader{7, 8};

std::string Hex(std::size_t octet) { return ByteToHex(static_cast<std::int16_t>(octet)); }

std::string DataCodingScheme(int coding, bool alert) {
  switch (coding) {
    case 7:
      return alert ? "10" : "00";
    case 8:
      return alert ? "14" : "04";
    case 16:
      return alert ? "18" : "08";
    default:
      return {};
  }
}

std::string UserDataLength(std::size_t length, int coding, const HeaderSize& header) {
  switch (coding) {
    case 7:
      return Hex(length + header.septets);
    case 8:
      return Hex(length + header.octets);
    case 16:
      return Hex(length * 2 + header.octets);
    default:
      return {};
  }
}

std::string ConcatenationHeader(const SubmitMessage& message) {
  const auto octet = [](int value) { return ByteToHex(static_cast<std::int16_t>(value & 0xFF)); };
  return (message.wideReference ? "060804" + octet(message.reference >> 8) : "050003") + octet(message.reference) +
         ByteToHex(message.total) + ByteToHex(message.part);
}

}  // namespace

std::string ServiceCentreField(std::string_view number) {
  const bool international = number.starts_with('+');
  const std::string_view digits = number.substr(international ? 1 : 0);
  if (digits.empty() || digits.size() > kMaxAddressDigits ||
      digits.find_first_not_of("0123456789") != std::string_view::npos) {
    return "00";
  }
  const std::string semiOctets = SwapSemiOctets(digits);
  return Hex(1 + semiOctets.size() / 2) + (international ? "91" : "81") + semiOctets;
}

std::string DestinationAddress(std::string_view number) {
  const bool international = IsInternationalNumber(number);
  if (!international && !IsNationalNumber(number)) return {};
  const std::string_view digits = number.substr(international ? 1 : 0);
  // The number checks let spaces and an exponent pass, which no telephone number holds.
  if (digits.find_first_not_of("0123456789") != std::string_view::npos) return {};
  if (digits.size() > kMaxAddressDigits) return {};
  return Hex(digits.size()) + (international ? "91" : "81") + SwapSemiOctets(digits);
}

std::string BuildSubmitPdu(const SubmitMessage& message) {
  const std::string address = DestinationAddress(message.destination);
  if (address.empty()) return {};
  const bool concatenated = message.total >= 2;
  const bool report =
      message.statusReport && (!concatenated || message.part == message.total || message.reportsEveryPart);
  const int firstOctet = kFirstOctet | (report ? kStatusReportRequest : 0) | (concatenated ? kHeaderIndicator : 0);

  const HeaderSize& header = !concatenated ? kNoHeader : message.wideReference ? kWideHeader : kHeader;
  // The text starts on a septet boundary: one fill bit behind the 48 bits of the header, none behind 56.
  const bool fillBit = concatenated && message.coding == 7 && !message.wideReference;
  const std::string userData = EncodeUserData(message.codes, message.coding, fillBit ? "0" : "");

  std::string pdu;
  pdu.reserve(message.smscField.size() + kMaxFieldDigits + userData.size());
  pdu += message.smscField;
  pdu += ByteToHex(static_cast<std::int16_t>(firstOctet));
  pdu += "00";
  pdu += address;
  pdu += "00";
  pdu += DataCodingScheme(message.coding, message.alert);
  pdu += ByteToHex(message.validityPeriod);
  pdu += UserDataLength(message.codes.size(), message.coding, header);
  if (concatenated) pdu += ConcatenationHeader(message);
  pdu += userData;
  return pdu;
}

}  // namespace tavro
