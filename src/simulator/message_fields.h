// The fields of a message in a simulated modem's memory, for what the modem has to know of it: its class, and how it
// looks in text mode. The PDUs are drawn in looped_message.h.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace tavro {

struct MessageFields {
  enum class Kind { kDeliver, kSubmit, kStatusReport };

  Kind kind = Kind::kDeliver;
  std::string serviceCentre;  // field with its length octet
  std::uint8_t firstOctet = 0;
  int reference = 0;    // of an SMS-SUBMIT or SMS-STATUS-REPORT
  std::string address;  // field with its length octet
  std::uint8_t protocol = 0, coding = 0;
  std::string timeStamp;  // octets; of an SMS-DELIVER or SMS-STATUS-REPORT
  std::string discharge;  // octets; of an SMS-STATUS-REPORT
  int status = 0;         // likewise
  std::string validity;   // octets; of an SMS-SUBMIT that has any
  int length = 0;         // TP-UDL
  std::string userData;   // octets behind it

  bool HasHeader() const { return (firstOctet & 0x40) != 0; }
};

// Nothing when the digits are no PDU of one of these kinds. What follows the fields is left out.
std::optional<MessageFields> ParseMessage(std::string_view pduHex);

// By the data coding scheme (3GPP TS 23.038, clause 4).
std::optional<int> MessageClass(std::uint8_t coding);
// Whether it says that a message is to be stored that tells of waiting voice mail or the like.
bool IsStoredWaitingIndication(std::uint8_t coding);

}  // namespace tavro
