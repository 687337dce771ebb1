// The fields of a PDU taken from its front, bit after bit, each noted with its place.
#pragma once

#include <cstddef>
#include <span>
#include <string>
#include <string_view>

#include "incoming/pdu_octets.h"
#include "tavro/pdu.h"

namespace tavro {

// A field of an octet's bits, and what each of its values means; of a value without words the number is told.
struct BitField {
  std::string_view name;
  unsigned bits;
  std::span<const std::u16string_view> words;
};

// What reaches past the end is empty, or 0, is noted as an error, and ends the reading: nothing is taken behind it.
class FieldReader {
 public:
  // Adds to the PDU's fields and sets its error.
  explicit FieldReader(DecodedPdu& pdu) : pdu_(pdu), octets_(pdu.octets) {}

  // Whole octets; of no octets there is no field.
  Octets Take(std::size_t count, std::string name, std::u16string value = {});
  // Such a field that stands for itself: an octet, with its number as its value.
  int Octet(std::string name);
  // What was taken last, in words.
  void Say(std::u16string value);
  // The next octet, divided into these fields from its least significant bit on. Returns the octet.
  int Divided(std::span<const BitField> fields);
  // As many bits from the next one on. They must be there.
  void TakeBits(std::size_t count, std::string name, std::u16string value);

  // Notes the error, unless there is one already.
  void Fail(std::u16string error, std::size_t octet);
  // Ends the reading.
  void Stop() { isStopped_ = true; }
  bool IsStopped() const { return isStopped_; }

  std::size_t Offset() const { return bit_ / 8; }
  // From the next bit's octet on.
  Octets Rest() const { return isStopped_ ? Octets() : octets_.subspan(Offset()); }
  // All that was not taken, as one field.
  void TakeRest();

 private:
  DecodedPdu& pdu_;
  const Octets octets_;
  std::size_t bit_ = 0;
  bool isStopped_ = false;
};

}  // namespace tavro
