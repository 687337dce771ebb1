// The user data header of a message (3GPP TS 23.040, 9.2.3.24).
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <vector>

#include "incoming/septets.h"
#include "tavro/message.h"

namespace tavro {

// What the elements say that are understood; the others are passed over. Of several elements of one meaning the last
// one counts.
struct UserDataHeader {
  // The concatenation elements. One whose total is 0, or whose part is 0 or above the total, means nothing.
  struct Part {
    std::int32_t reference = 0;  // one of 16 bits with 0x10000 added, so that it is none of 8 bits
    std::int16_t total = 1;
    std::int16_t number = 1;
  };
  std::optional<Part> part;
  std::optional<ApplicationPorts> ports;
  std::vector<WaitingMessages> waiting;
  Languages languages;
};

// Of the elements, without the header's length. Nothing when the last element is not as long as it says: then the whole
// header means nothing.
std::optional<UserDataHeader> ReadUserDataHeader(std::span<const std::uint8_t> elements);

// Puts an indication in place of the one of its kind, or behind all.
void AddWaiting(std::vector<WaitingMessages>& all, const WaitingMessages& waiting);

}  // namespace tavro
