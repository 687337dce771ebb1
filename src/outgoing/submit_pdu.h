// The SMS-SUBMIT of one part of a text message, as the hex digits that AT+CMGS takes in PDU mode (3GPP TS 23.040,
// 9.2.2.2; 3GPP TS 27.005, 3.5.1).
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace tavro {

struct SubmitMessage {
  std::string smscField = "00";       // length octet, type of address, semi-octets; "00" is the modem's own
  std::string destination;            // national, or international with "+"
  std::u16string_view codes;          // the part's code-value string
  int coding = 7;                     // 7, 8 or 16
  bool alert = false;                 // shown at once and not stored (class 0)
  bool statusReport = false;          // of the message: its last part asks for one,
  bool reportsEveryPart = false;      // or each does
  std::int16_t validityPeriod = 167;  // TP-VP, relative format
  int reference = 0;                  // concatenation: the same in all parts of a message
  bool wideReference = false;         // of 16 bits
  std::int16_t part = 1;              // from 1
  std::int16_t total = 1;             // below 2: a message by itself
};

// "" when the destination cannot be dialled. A coding other than the three leaves data coding scheme and user data out.
std::string BuildSubmitPdu(const SubmitMessage& message);

// The service centre's number, "+" in front when international, as the field in front of a PDU; "00", which is the
// modem's own, for one that holds anything but 1 to 20 digits behind its "+".
std::string ServiceCentreField(std::string_view number);

// TP-DA: the number of digits, the type of address, the digits in semi-octets. "" for a number that is neither
// international nor national, or that holds anything but 1 to 20 digits behind its "+".
std::string DestinationAddress(std::string_view number);

}  // namespace tavro
