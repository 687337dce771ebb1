#include "incoming/pdu_octets.h"

#include <algorithm>

#include "incoming/septets.h"
#include "outgoing/encodings.h"

namespace tavro {

namespace {

constexpr int kInternational = 1, kAlphanumeric = 5;  // types of number

std::u16string Address(int type, Octets octets, std::size_t semiOctets) {
  const int typeOfNumber = type >> 4 & 7;
  // The bits behind the last whole character are no "@".
  if (typeOfNumber == kAlphanumeric) return SeptetText(octets, 0, semiOctets * 4 / 7);
  std::u16string number;
  for (std::size_t i = 0; i < std::min(semiOctets, octets.size() * 2); ++i) {
    const int digit = octets[i / 2] >> (i % 2 * 4) & 0xF;
    if (digit == 0xF) break;
    number += u"0123456789*#abc"[digit];
  }
  return typeOfNumber == kInternational && !number.empty() ? u"+" + number : number;
}

}  // namespace

std::u16string ReadServiceCentre(OctetReader& pdu) {
  const int octets = pdu.Octet();
  if (octets == 0) return {};
  const int type = pdu.Octet();
  const auto count = static_cast<std::size_t>(octets - 1);
  return Address(type, pdu.Take(count), count * 2);
}

std::u16string ReadAddress(OctetReader& pdu) {
  const auto semiOctets = static_cast<std::size_t>(pdu.Octet());
  const int type = pdu.Octet();
  return Address(type, pdu.Take((semiOctets + 1) / 2), semiOctets);
}

std::string HexDigits(Octets octets) {
  std::string digits;
  for (const std::uint8_t octet : octets) digits += ByteToHex(octet);
  return digits;
}

}  // namespace tavro
