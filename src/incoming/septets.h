// Text in the GSM 7-bit alphabets (3GPP TS 23.038, 6.1.2.1 and 6.2.1).
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>

namespace tavro {

// Identifiers of national languages (LockingTable, SingleShiftTable); 0 for the default tables.
struct Languages {
  int locking = 0;
  int single = 0;
};

// The text of `count` septets that begin at bit `firstBit` of the octets, the least significant bit of an octet first;
// of fewer when there are no more. A code without a character behind an escape is that of the alphabet itself, and one
// without a character there a blank.
std::u16string SeptetText(std::span<const std::uint8_t> octets, std::size_t firstBit, std::size_t count,
                          const Languages& languages = {});

// Where such a text may go on in the next part of a long message, or go on from the one before: some senders part an
// escape from its code, which the standard forbids.
struct SeptetSeams {
  bool endsInEscape = false;
  char16_t escapedStart = 0;  // what the first code is behind an escape; 0 when it is nothing else than without
};
SeptetSeams SeamsOf(std::span<const std::uint8_t> octets, std::size_t firstBit, std::size_t count,
                    const Languages& languages);

// The text of codes that stand in an octet each; the highest bit does not count.
std::u16string CodesText(std::span<const std::uint8_t> codes, const Languages& languages = {});

}  // namespace tavro
