//   elements = { iei ielength iedata }
//
//   00  03  reference total part                         concatenation (9.2.3.24.1)
//   01  02  kind count                                   message waiting (9.2.3.24.2); any number of them
//   04  02  destination source                           application ports of 8 bits (9.2.3.24.3)
//   05  04  destination destination source source        of 16 bits (9.2.3.24.4)
//   08  04  reference reference total part               concatenation (9.2.3.24.8)
//   24  01  language                                     single shift table (9.2.3.24.15)
//   25  01  language                                     locking shift table (9.2.3.24.16)
#include "incoming/user_data_header.h"

#include <algorithm>

namespace tavro {

namespace {

using Octets = std::span<const std::uint8_t>;

constexpr std::int32_t kWideReference = 0x10000;

std::uint16_t Wide(std::uint8_t high, std::uint8_t low) { return static_cast<std::uint16_t>(high << 8 | low); }

void ReadPart(UserDataHeader& header, std::int32_t reference, std::uint8_t total, std::uint8_t number) {
  if (number < 1 || number > total) return;
  header.part = UserDataHeader::Part{reference, total, number};
}

// kind = store (1 bit), profile (2 bits), extension (3 bits), kind (2 bits)
void ReadWaiting(UserDataHeader& header, std::uint8_t octet, std::uint8_t count) {
  using Kind = WaitingMessages::Kind;
  constexpr Kind kKinds[] = {Kind::kVoice, Kind::kFax, Kind::kEmail, Kind::kOther};
  const bool isVideo = (octet & 0x1F) == 0x07;
  AddWaiting(header.waiting, {isVideo ? Kind::kVideo : kKinds[octet & 3], count > 0, count});
}

void ReadElement(UserDataHeader& header, std::uint8_t identifier, Octets data) {
  const auto is = [&](std::uint8_t wanted, std::size_t size) { return identifier == wanted && data.size() == size; };
  if (is(0x00, 3)) return ReadPart(header, data[0], data[1], data[2]);
  if (is(0x08, 4)) return ReadPart(header, kWideReference + Wide(data[0], data[1]), data[2], data[3]);
  if (is(0x01, 2)) return ReadWaiting(header, data[0], data[1]);
  if (is(0x04, 2)) header.ports = ApplicationPorts{data[0], data[1]};
  if (is(0x05, 4)) header.ports = ApplicationPorts{Wide(data[0], data[1]), Wide(data[2], data[3])};
  if (is(0x24, 1)) header.languages.single = data[0];
  if (is(0x25, 1)) header.languages.locking = data[0];
}

}  // namespace

std::optional<UserDataHeader> ReadUserDataHeader(Octets elements) {
  UserDataHeader header;
  while (!elements.empty()) {
    if (elements.size() < 2 || elements.size() - 2 < elements[1]) return {};
    ReadElement(header, elements[0], elements.subspan(2, elements[1]));
    elements = elements.subspan(2U + elements[1]);
  }
  return header;
}

void AddWaiting(std::vector<WaitingMessages>& all, const WaitingMessages& waiting) {
  const auto same = std::find_if(all.begin(), all.end(), [&](const auto& each) { return each.kind == waiting.kind; });
  if (same == all.end()) {
    all.push_back(waiting);
  } else {
    *same = waiting;
  }
}

}  // namespace tavro
