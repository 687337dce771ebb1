// What becomes of a message that was sent (SMS-STATUS-REPORT, 3GPP TS 23.040, 9.2.2.3).
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace tavro {

// From good to bad: the state of a message in parts is the last of those of its parts.
enum class DeliveryState : std::uint8_t {
  kDelivered,  // the recipient has received it
  kForwarded,  // it was handed on, and whether it arrived cannot be told
  kReplaced,   // by a later one, in the service centre
  kUnknown,    // nothing was heard of it yet
  kTrying,     // it could not be delivered yet, and the service centre goes on
  kGivenUp,    // it could not be delivered, and the service centre tries no more
  kFailed,     // it cannot be delivered
};

// Whether no other state will follow.
constexpr bool IsFinal(DeliveryState state) {
  return state != DeliveryState::kUnknown && state != DeliveryState::kTrying;
}

struct StatusReport {
  int reference = 0;              // of the message, 0 to 255 (9.2.3.2), as SendSMS returned it
  std::u16string recipient = {};  // "+" and digits for an international number
  DeliveryState state = DeliveryState::kUnknown;
  int status = 0;            // the octet as received (9.2.3.15)
  std::u16string text = {};  // the same in the standard's words: "Short message received by the SME"

  // When the service centre received the message, and when it delivered it or tried last. OLE Automation dates (days
  // since 1899-12-30) in the local time of a zone, which is in minutes from UTC; as RFC 822 text, "Wed, 05 Mar 2008
  // 14:07:09 +05:30". 0 and empty when it is no date.
  double sentTimeStamp = 0;
  std::int16_t sentTimeZone = 0;
  std::u16string sentTimeStampRFC = {};
  double dischargeTimeStamp = 0;
  std::int16_t dischargeTimeZone = 0;
  std::u16string dischargeTimeStampRFC = {};

  std::u16string smsc = {};  // the service centre's address; empty when the modem gave none

  bool operator==(const StatusReport&) const = default;
};

// What is known of one message that was sent.
struct Delivery {
  struct Part {
    int reference = 0;
    std::optional<StatusReport> report = {};  // the final one, else the latest
  };

  DeliveryState state = DeliveryState::kUnknown;
  std::vector<Part> parts;  // in the order of the references
};

}  // namespace tavro
