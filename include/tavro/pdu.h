// The PDUs of short messages without a modem (3GPP TS 23.040, 9.2.2): taken apart field by field, and built.
//
//   const auto pdu = tavro::DecodePdu("0791...");
//   if (pdu.HasError()) report(pdu.error, pdu.errorOctet);
//   for (const auto& part : tavro::EncodePdu(u"+919812345678", u"hello").parts) print(part.hex);
//
// Functions of their arguments alone, for any thread. They fail with values and throw nothing but std::bad_alloc.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "tavro/export.h"
#include "tavro/long_message_type.h"
#include "tavro/message.h"
#include "tavro/status_report.h"

namespace tavro {

// --- Decoding --------------------------------------------------------------------------------------------------------

enum class PduKind : std::uint8_t { kUnknown, kDeliver, kSubmit, kStatusReport };
// "SMS-DELIVER"; "unknown".
TAVRO_API std::string_view NameOf(PduKind kind);

// Which way a PDU went, which its message type indicator does not tell (9.2.3.1).
enum class PduDirection : std::uint8_t {
  kAny,       // 00 SMS-DELIVER, 01 SMS-SUBMIT, 10 SMS-STATUS-REPORT, as modems list what they store
  kReceived,  // 01 is an SMS-SUBMIT-REPORT, which is not decoded
  kSent,      // 00 is an SMS-DELIVER-REPORT and 10 an SMS-COMMAND, which are not decoded
};

struct DecodeOptions {
  bool hasServiceCentre = true;  // the service centre's address stands in front (3GPP TS 27.005, 3.1)
  PduDirection direction = PduDirection::kAny;
};

// Some bits of a PDU and what they say. Bits are counted from the least significant one of an octet, 0, and on into
// the next octet, as septets lie in octets (3GPP TS 23.038, 6.1.2.1).
struct PduField {
  std::string name;          // as in 23.040: "TP-MTI", "TP-OA Address-Value", "IEI"; in lower case: has no name there
  std::size_t offset = 0;    // the octet in which it begins, from 0
  std::size_t length = 0;    // how many octets it has, or has a part of
  unsigned firstBit = 0;     // of the octet in which it begins; 0 for a field of whole octets
  std::size_t bitCount = 0;  // length * 8 for a field of whole octets
  std::u16string value;      // in words
};

// A time in the local time of a zone, as a Message has it.
struct PduTime {
  double date = 0;         // OLE Automation date (days since 1899-12-30)
  std::int16_t zone = 0;   // minutes from UTC
  std::u16string rfcText;  // "Wed, 05 Mar 2008 14:07:09 +05:30", in English
};

// Which part of a long message it is (9.2.3.24.1 and 9.2.3.24.8).
struct PduConcatenation {
  int reference = 0;
  bool isWide = false;  // the reference has 16 bits
  int part = 1;         // from 1
  int parts = 1;
};

// Where there is an error: what stands before it. Otherwise what the kind does not have is as at the start.
struct DecodedPdu {
  PduKind kind = PduKind::kUnknown;
  std::vector<std::uint8_t> octets;  // of the PDU
  std::vector<PduField> fields;      // in order; every bit of `octets` belongs to one of them

  std::u16string serviceCentre;     // "+" and digits for an international number; empty when there is none
  std::u16string number;            // the sender, or the recipient of what was sent; as Message::Phone
  int protocol = 0;                 // TP-PID
  int dataCoding = 0;               // TP-DCS
  int coding = 7;                   // of the user data, as SMS::Character: 7 the GSM alphabet, 8 octets, 16 UCS2
  std::optional<int> messageClass;  // 0 to 3
  std::u16string text;
  std::vector<std::uint8_t> data;  // the user data behind its header
  std::optional<PduConcatenation> concatenation;
  std::optional<ApplicationPorts> ports;
  std::vector<WaitingMessages> waiting;

  // SMS-DELIVER, SMS-STATUS-REPORT: when the service centre received the message. Nothing when it is no date.
  std::optional<PduTime> time;

  // SMS-SUBMIT
  std::u16string validity;              // relative, as SMS::Validity: "1D"; empty for none, or
  std::optional<PduTime> validityTime;  // absolute

  // SMS-SUBMIT, SMS-STATUS-REPORT
  int reference = 0;           // TP-MR
  bool asksForReport = false;  // SMS-SUBMIT

  // SMS-STATUS-REPORT
  std::optional<PduTime> dischargeTime;  // when it was delivered, or was tried last
  int status = 0;                        // TP-ST
  DeliveryState state = DeliveryState::kUnknown;
  std::u16string statusText;  // "Short message received by the SME"

  // What is wrong, in words: "the PDU ends in TP-SCTS at octet 18, which needs 7 octets"; empty when nothing is. What
  // a receiver can get over is no error: a time stamp that is no date, octets behind the user data, reserved values.
  std::u16string error;
  std::size_t errorOctet = 0;  // where, from 0
  bool HasError() const { return !error.empty(); }
};

// Of hex digits in either letter case, with any blanks between them.
TAVRO_API DecodedPdu DecodePdu(std::string_view hex, const DecodeOptions& options = {});

// --- Encoding --------------------------------------------------------------------------------------------------------

struct EncodeOptions {
  std::optional<std::int16_t> coding = {};  // as SMS::SetCharacter; nothing: 7 if that has all characters, else 16
  std::int16_t longMessage = MessageConcatenate;  // a LongMessageType
  std::u16string validity = u"1D";                // as SMS::SetValidity
  bool statusReport = false;                      // every part asks for one
  bool flash = false;                             // shown at once and not stored (class 0)
  bool wideReferences = false;                    // of 16 bits
  // What the parts of a long message share: 0 to 255, or 65535 for a wide one. Nothing: some value by the time.
  std::optional<int> reference = {};
  std::u16string serviceCentre = {};  // "+" and digits for an international number; empty: the modem's own
};

// One SMS-SUBMIT.
struct EncodedPart {
  std::string hex;             // as it is written to the modem, the service centre's address in front
  std::size_t tpduLength = 0;  // octets without that address, as AT+CMGS takes it (27.005, 3.5.1)
};

struct EncodedPdu {
  std::vector<EncodedPart> parts;  // in order; empty on failure
  // As SMS::SendSMS and the setters give them, 0 for none: 4003 validity, 4004 number, 4005 long message action, 4015
  // coding, 4016 there is no text, 4017 a number that cannot be dialled, 4018 service centre, 5010 reference.
  std::int32_t errorCode = 0;
  std::u16string errorDescription;
};

// The PDUs that SMS::SendSMS sends in the prompt manner.
TAVRO_API EncodedPdu EncodePdu(std::u16string_view number, std::u16string_view text, const EncodeOptions& options = {});

}  // namespace tavro
