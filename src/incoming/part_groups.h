// Which parts belong to one long message, when several messages of a sender have one reference.
#pragma once

#include <cstdint>
#include <vector>

#include "incoming/sim_message.h"

namespace tavro {

// A record that is a part, and when it was sent, in seconds; 0 when that is not known.
struct ReceivedPart {
  SIMMessage* record = nullptr;
  std::int64_t sent = 0;
};

// The parts of one message: of each number at most one, ascending; and what was received more than once.
struct PartGroup {
  std::vector<ReceivedPart> parts;
  std::vector<SIMMessage*> duplicates;
};

// The groups of all parts that agree in sender, reference and total; every record is in one of them.
//
//   1. Parts that are alike in number, time and data are one, received more than once.
//   2. Parts sent without a pause of a minute are one message when each number is there once. When each is there n
//      times, they are n messages under way at once: the first part 1 with the first part 2, and so on.
//   3. Of the rest, neighbours in time are joined, the nearest first, as long as no number comes twice and not more
//      than a day lies between them. A number that does not rise makes neighbours count as eight times as far apart, as
//      it is the sign of another message; neighbours of one time are told apart by their places in the memory.
//   4. An incomplete group that only repeats what a neighbour of the same day says is its duplicate.
std::vector<PartGroup> GroupParts(std::vector<ReceivedPart> parts);

}  // namespace tavro
