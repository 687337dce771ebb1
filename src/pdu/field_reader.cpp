#include "pdu/field_reader.h"

#include <utility>

#include "pdu/words.h"

namespace tavro {

Octets FieldReader::Take(std::size_t count, std::string name, std::u16string value) {
  if (isStopped_) return {};
  const Octets rest = Rest();
  if (count > rest.size()) {
    const std::u16string field = FromAscii(name);
    const std::u16string at = u" at octet " + Decimal(Offset());
    Fail(rest.empty() ? u"the PDU ends before " + field + at + u", which needs " + Counted(count, u"octet")
                      : u"the PDU ends in " + field + at + u", which needs " + Counted(count, u"octet") + u" and has " +
                            Decimal(rest.size()),
         Offset());
    Stop();
    return {};
  }
  if (count > 0) TakeBits(count * 8, std::move(name), std::move(value));
  return rest.first(count);
}

int FieldReader::Octet(std::string name) {
  const Octets one = Take(1, std::move(name));
  if (one.empty()) return 0;
  Say(Decimal(one[0]));
  return one[0];
}

void FieldReader::Say(std::u16string value) {
  if (!isStopped_) pdu_.fields.back().value = std::move(value);
}

int FieldReader::Divided(std::span<const BitField> fields) {
  const Octets rest = Rest();
  if (rest.empty()) {
    Take(1, std::string(fields.front().name));
    return 0;
  }
  unsigned above = rest[0];
  for (const BitField& field : fields) {
    const std::size_t value = above & ((1U << field.bits) - 1);
    above >>= field.bits;
    TakeBits(field.bits, std::string(field.name),
             value < field.words.size() ? std::u16string(field.words[value]) : Decimal(value));
  }
  return rest[0];
}

void FieldReader::TakeBits(std::size_t count, std::string name, std::u16string value) {
  const std::size_t first = bit_;
  bit_ += count;
  PduField field;
  field.name = std::move(name);
  field.offset = first / 8;
  field.length = (bit_ + 7) / 8 - field.offset;
  field.firstBit = static_cast<unsigned>(first % 8);
  field.bitCount = count;
  field.value = std::move(value);
  pdu_.fields.push_back(std::move(field));
}

void FieldReader::Fail(std::u16string error, std::size_t octet) {
  if (pdu_.HasError()) return;
  pdu_.error = std::move(error);
  pdu_.errorOctet = octet;
}

void FieldReader::TakeRest() {
  const std::size_t bits = octets_.size() * 8 - bit_;
  if (bits == 0) return;
  if (isStopped_) return TakeBits(bits, "unread", {});
  TakeBits(bits, "fill", Counted(bits / 8, u"octet") + u" behind the last field");
}

}  // namespace tavro
