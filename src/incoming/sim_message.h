// One received message as it was read from the modem's memory.
#pragma once

#include <cstdint>
#include <memory>
#include <string>

namespace tavro {

// What the message says. It never changes once it is made, so a record and its Message share one.
struct MessageContent {
  std::u16string phone;         // the sender
  std::u16string text;          // of this record alone, or of all parts for a joined message
  double timeStamp = 0;         // OLE Automation date, local to the sender's zone
  std::int16_t timeZone = 0;    // minutes from UTC
  std::u16string timeStampRFC;  // the same as RFC 822 text
  std::u16string smsc;          // the service centre's address
};

struct SIMMessage {
  std::int16_t memoryIndex = 0;  // the location in the modem's memory
  std::int16_t inboxIndex = 0;   // the inbox position of the message that it became or is a part of; 0 for none
  // Concatenation (3GPP TS 23.040, 9.2.3.24.1), as received: a total or part that makes no sense stays as it is.
  std::int16_t concatReference = 0;
  std::int16_t concatTotal = 1;
  std::int16_t concatPart = 1;
  std::shared_ptr<const MessageContent> content;
};

}  // namespace tavro
