// What SMS::SendSMS does with a text that does not fit one short message.
#pragma once

#include <cstdint>

namespace tavro {

enum LongMessageType : std::int16_t {
  MessageTruncate = 0,        // keep what fits one message, drop the rest
  MessageSplit = 1,           // independent messages, nothing added
  MessageFormattedSplit = 2,  // at most 9 independent messages, each ending in "-Msg i/n-"
  MessageConcatenate = 3,     // at most 255 parts that the phone joins (3GPP TS 23.040, 9.2.3.24.1)
};

}  // namespace tavro
