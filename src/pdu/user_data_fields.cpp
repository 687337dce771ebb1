//   udl      = length of ud                           in septets for the GSM alphabet, which include the header's
//   ud       = [ header fill ] text fill              fill: bits up to the next septet, and to the end of the octet
//   header   = UDHL { IEI IEIDL IED }                 UDHL: octets behind it; IEIDL: octets of IED
#include "pdu/user_data_fields.h"

#include <algorithm>
#include <cstddef>
#include <utility>

#include "incoming/data_coding.h"
#include "incoming/septets.h"
#include "incoming/user_data_header.h"
#include "pdu/words.h"

namespace tavro {

namespace {

constexpr int kWideReferences = 0x10000;  // added to one of 16 bits

std::size_t Wide(Octets octets) { return static_cast<std::size_t>(octets[0] << 8 | octets[1]); }

// The data of an element, octet by octet where it is understood.
void ReadElementData(FieldReader& reader, int identifier, Octets data) {
  const auto take = [&](std::size_t octets, std::u16string words) { reader.Take(octets, "IED", std::move(words)); };
  const auto is = [&](int wanted, std::size_t size) { return identifier == wanted && data.size() == size; };
  if (is(0x00, 3) || is(0x08, 4)) {
    const std::size_t width = data.size() - 2;
    take(width, u"reference " + Decimal(width == 1 ? data[0] : Wide(data)));
    take(1, Counted(data[width], u"part"));
    take(1, u"part " + Decimal(data[width + 1]));
  } else if (is(0x04, 2) || is(0x05, 4)) {
    const std::size_t width = data.size() / 2;
    take(width, u"destination port " + Decimal(width == 1 ? data[0] : Wide(data)));
    take(width, u"source port " + Decimal(width == 1 ? data[1] : Wide(data.subspan(2))));
  } else if (is(0x01, 2)) {
    const auto header = ReadUserDataHeader(std::vector<std::uint8_t>{0x01, 0x02, data[0], data[1]});
    const bool isStored = (data[0] & 0x80) != 0;
    take(2, WaitingWords(header->waiting.front()) + (isStored ? u", to be stored" : u", to be discarded"));
  } else if (is(0x24, 1) || is(0x25, 1)) {
    take(1, LanguageWords(data[0]));
  } else {
    take(data.size(), Counted(data.size(), u"octet"));
  }
}

// The header's elements; one that is not as long as it says ends it.
void ReadElements(FieldReader& reader, std::size_t end) {
  while (reader.Offset() < end) {
    const std::size_t begin = reader.Offset();
    const int identifier = reader.Octet("IEI");
    reader.Say(std::u16string(ElementWords(identifier)));
    if (reader.Offset() == end) {
      return reader.Fail(u"the information element at octet " + Decimal(begin) + u" has no length", begin);
    }
    const auto length = static_cast<std::size_t>(reader.Octet("IEIDL"));
    reader.Say(Counted(length, u"octet"));
    const std::size_t left = end - reader.Offset();
    if (length > left) {
      reader.Fail(u"the information element at octet " + Decimal(begin) + u" needs " + Counted(length, u"octet") +
                      u" of data, and the header has " + Decimal(left),
                  begin);
      reader.Take(left, "IED", u"cut short");
      return;
    }
    ReadElementData(reader, identifier, reader.Rest().first(length));
  }
}

void ApplyHeader(DecodedPdu& pdu, const UserDataHeader& header) {
  pdu.ports = header.ports;
  for (const WaitingMessages& waiting : header.waiting) AddWaiting(pdu.waiting, waiting);
  if (!header.part) return;
  const std::int32_t reference = header.part->reference;
  pdu.concatenation = PduConcatenation{reference % kWideReferences, reference >= kWideReferences, header.part->number,
                                       header.part->total};
}

// With a point for each octet that is no ASCII.
std::u16string Shown(Octets data) {
  std::u16string text;
  for (const std::uint8_t octet : data) text += octet >= 0x20 && octet < 0x7F ? static_cast<char16_t>(octet) : u'.';
  return text;
}

std::u16string Units(Octets octets) {
  std::u16string text;
  for (std::size_t i = 0; i + 1 < octets.size(); i += 2) text += static_cast<char16_t>(Wide(octets.subspan(i)));
  return text;
}

// Septets behind so many octets of a header.
void ReadSeptets(FieldReader& reader, DecodedPdu& pdu, Octets userData, std::size_t headerOctets, std::size_t length,
                 const Languages& languages) {
  const std::size_t bits = userData.size() * 8, headerBits = headerOctets * 8;
  const std::size_t headerSeptets = (headerBits + 6) / 7, start = std::min(headerSeptets * 7, bits);
  const std::size_t count = std::min(length - std::min(length, headerSeptets), (bits - start) / 7);
  if (start > headerBits) reader.TakeBits(start - headerBits, "fill bits", u"up to the next septet");
  pdu.text = SeptetText(userData, start, count, languages);
  if (count > 0) reader.TakeBits(count * 7, "TP-UD", pdu.text);
  const std::size_t rest = bits - start - count * 7;
  if (rest > 0) reader.TakeBits(rest, "fill bits", u"up to the end of the octet");
}

}  // namespace

void ReadUserData(FieldReader& reader, DecodedPdu& pdu, bool hasHeader) {
  const DataCoding::Alphabet alphabet = ReadDataCoding(pdu.dataCoding).alphabet;
  const bool isGsm = alphabet == DataCoding::Alphabet::kGsm;
  const std::size_t lengthOctet = reader.Offset();
  const auto length = static_cast<std::size_t>(reader.Octet("TP-UDL"));
  if (reader.IsStopped()) return;
  reader.Say(Counted(length, isGsm ? u"septet" : u"octet"));
  const std::size_t wanted = isGsm ? (length * 7 + 7) / 8 : length;
  const std::size_t octets = std::min(wanted, reader.Rest().size());
  const std::size_t begin = reader.Offset();
  const Octets userData = reader.Rest().first(octets);

  std::size_t headerOctets = 0;
  Languages languages;
  if (hasHeader && octets > 0) {
    headerOctets = 1U + userData[0];
    if (headerOctets > octets) {
      reader.Fail(u"the user data header at octet " + Decimal(begin) + u" needs " + Counted(headerOctets, u"octet") +
                      u", and TP-UD has " + Decimal(octets),
                  begin);
      return reader.Stop();
    }
    reader.Octet("UDHL");
    reader.Say(Counted(headerOctets - 1, u"octet") + u" of information elements");
    ReadElements(reader, begin + headerOctets);
    if (const auto header = ReadUserDataHeader(userData.subspan(1, headerOctets - 1))) {
      ApplyHeader(pdu, *header);
      languages = header->languages;
    }
  }
  const Octets data = userData.subspan(headerOctets);
  pdu.data.assign(data.begin(), data.end());
  if (isGsm) {
    ReadSeptets(reader, pdu, userData, headerOctets, length, languages);
  } else if (alphabet == DataCoding::Alphabet::kUcs2) {
    pdu.text = Units(data);
    reader.Take(data.size(), "TP-UD", pdu.text);
  } else {
    pdu.text.assign(data.begin(), data.end());
    reader.Take(data.size(), "TP-UD", Shown(data));
  }
  if (octets < wanted) {
    reader.Fail(u"TP-UDL at octet " + Decimal(lengthOctet) + u" announces " + Counted(wanted, u"octet") +
                    u" of TP-UD, and the PDU has " + Decimal(octets),
                reader.Offset());
  }
}

}  // namespace tavro
