// A text cut into the parts that are sent as short messages.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace tavro {

struct MessageParts {
  std::vector<std::u16string> texts;  // code-value strings in order; none for an empty text
  bool concatenated = false;          // the parts say which message they belong to
  std::size_t dropped = 0;            // codes beyond the longest message of the mode

  // What each PDU names as the number of its message's parts.
  std::int16_t Total() const { return concatenated ? static_cast<std::int16_t>(texts.size()) : std::int16_t{1}; }
};

struct PartsRules {
  bool wideReferences = false;       // 16-bit references: their header is an octet longer
  bool keepsSurrogatePairs = false;  // a pair of UTF-16 is never cut in two
};

// For the coding 7, 8 or 16 and a LongMessageType. What is beyond the longest message of the mode is dropped. In mode 2
// each of several parts ends in its marker, "-Msg 2/3-".
MessageParts PrepareParts(std::u16string_view text, int coding, std::int16_t longMessage, const PartsRules& rules = {});

}  // namespace tavro
