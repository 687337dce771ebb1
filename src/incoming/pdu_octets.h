// The octets of a PDU, taken from the front.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>

namespace tavro {

using Octets = std::span<const std::uint8_t>;

// Takes octets from the front; what reaches past the end is empty and makes the whole cut short.
class OctetReader {
 public:
  explicit OctetReader(Octets octets) : rest_(octets) {}

  Octets Take(std::size_t count) {
    if (count > rest_.size()) {
      isCutShort_ = true;
      rest_ = {};
      return {};
    }
    const Octets piece = rest_.first(count);
    rest_ = rest_.subspan(count);
    return piece;
  }
  int Octet() {
    const Octets one = Take(1);
    return one.empty() ? 0 : one[0];
  }
  bool IsCutShort() const { return isCutShort_; }
  Octets Rest() const { return rest_; }

 private:
  Octets rest_;
  bool isCutShort_ = false;
};

// The fields that begin the PDUs of a modem and those of the network:
//
//   sca     = length [ type address ]          length in octets, type included; 0 when there is no address
//   oa, ra  = length type address              length in semi-octets, without the one that fills the last octet
//   type    = 1 TON (3 bits) plan (4 bits)     TON 001: international; 101: alphanumeric
//   address = digits in swapped pairs, A to E for * # a b c and F behind the last one; or text in septets
//
// A number has "+" in front when it is international.
std::u16string ReadServiceCentre(OctetReader& pdu);
std::u16string ReadAddress(OctetReader& pdu);

// Two capital hex digits an octet.
std::string HexDigits(Octets octets);

}  // namespace tavro
