// What a network makes of a message that a simulated modem sends: the message that its receiver gets, and the report on
// it (3GPP TS 23.040, 9.2.2). It works on octets and shares nothing with the PDU code of the component.
//
//   stored PDU     = service centre field, TPDU
//   service centre = octets behind this one (0: none), type of address, semi-octets
//   address        = number of digits, type of address, semi-octets
//
//   SMS-SUBMIT        = first octet, reference, destination address, PID, DCS, validity (0, 1 or 7 octets), UDL, UD
//   SMS-DELIVER       = first octet, originating address, PID, DCS, time stamp (7 octets), UDL, UD
//   SMS-STATUS-REPORT = first octet, reference, recipient address, time stamp, discharge time (7 octets each), status
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace tavro {

// Octets, one per character; nothing when the digits are odd in number or no hexadecimal digits.
std::optional<std::string> OctetsFromHex(std::string_view hex);
std::string HexFromOctets(std::string_view octets);

// The number of octets behind the service centre field; 0 when that field is longer than the PDU.
int TpduLength(std::string_view pduHex);

// An address field of 9.1.2.5. What is no number ("+", digits, "*", "#") is a name of at most 11 characters.
std::string AddressField(std::string_view number);
// Its number, "+" in front when international, or name, in UTF-8. The field must be complete.
std::string AddressText(std::string_view field);

// Whether the user data of this TP-DCS is in septets.
bool HasSeptets(std::uint8_t coding);

struct SubmittedMessage {
  std::string serviceCentre;  // the whole field; empty when it names none
  std::uint8_t firstOctet = 0;
  std::string destination;  // the address field
  std::uint8_t protocol = 0, coding = 0;
  std::string userData;  // with its length

  bool WantsReport() const { return (firstOctet & 0x20) != 0; }
  // The number, "+" in front when international; "" when alphanumeric.
  std::string DestinationNumber() const;
};

// Nothing when the octets are no SMS-SUBMIT that ends where its lengths say.
std::optional<SubmittedMessage> ParseSubmit(std::string_view pdu);

struct NetworkView {
  std::string serviceCentre;  // number; used when the message names none
  std::string sender;         // number
  std::string timeStamp;      // octets
};

// What became of a message that was sent.
struct NetworkDelivery {
  int reference = 0;
  std::string timeStamp;  // octets
  int status = 0;         // TP-ST
};

// The stored PDUs, as hexadecimal digits.
std::string MakeDeliver(const SubmittedMessage& message, const NetworkView& network);
std::string MakeStatusReport(const SubmittedMessage& message, const NetworkDelivery& delivery,
                             const NetworkView& network);

// Whether a number that was dialled reaches the subscriber: the same digits, or the national form of an international
// one.
bool IsSameSubscriber(std::string_view dialled, std::string_view own);

}  // namespace tavro
