// One received message as it was read from the modem's memory.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "incoming/septets.h"
#include "tavro/message.h"

namespace tavro {

// What else is known of a message in the prompt manner.
struct MessageDetails {
  std::vector<std::uint8_t> pdu;   // all that the modem has at the location; empty for a joined message
  std::vector<std::uint8_t> data;  // the user data behind its header
  std::optional<ApplicationPorts> ports;
  std::optional<int> messageClass;
  bool isReplacement = false;
  std::vector<WaitingMessages> waiting;
  std::int16_t parts = 1;            // of the long message
  std::vector<std::int16_t> shown;   // their numbers, ascending; empty for all
  SeptetSeams seams;                 // of a part in the GSM alphabet
  std::optional<std::int64_t> sent;  // seconds since 1970 UTC; nothing when the time stamp is no date
};

// What the message says. It never changes once it is made, so a record and its Message share one.
struct MessageContent {
  std::u16string phone;         // the sender
  std::u16string text;          // of this record alone, or of all parts for a joined message
  double timeStamp = 0;         // OLE Automation date, local to the sender's zone
  std::int16_t timeZone = 0;    // minutes from UTC
  std::u16string timeStampRFC;  // the same as RFC 822 text
  std::u16string smsc;          // the service centre's address
  std::unique_ptr<const MessageDetails> details = nullptr;  // null in the classic manner
};

struct SIMMessage {
  std::int16_t memoryIndex = 0;  // the location in the modem's memory; below 0 when it is in none
  std::int16_t inboxIndex = 0;   // the inbox position of the message that it became or is a part of; 0 for none
  // Concatenation (3GPP TS 23.040, 9.2.3.24.1), as received: a total or part that makes no sense stays as it is.
  // A reference of 16 bits has 0x10000 added.
  std::int32_t concatReference = 0;
  std::int16_t concatTotal = 1;
  std::int16_t concatPart = 1;
  // Where the modem has one that came into another memory than the one that is read; its location above is below 0.
  std::string otherMemory = {};
  std::int16_t otherIndex = 0;
  // Another message may stand at the location by now: it is read again before it is deleted.
  bool isDoubtful = false;
  std::shared_ptr<const MessageContent> content;
};

// What a message was made of, and where that was.
struct StoredPart {
  std::int16_t location = 0;
  std::shared_ptr<const MessageContent> content;
};

}  // namespace tavro
