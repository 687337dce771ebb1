#include "pdu_input.h"

#include <algorithm>
#include <cstddef>
#include <iostream>
#include <string_view>

#include "base/text.h"
#include "incoming/listing_entry.h"
#include "platform/utf8.h"

namespace {

using tavro::PduDirection;

// What the modem stores it as: received (0 unread, 1 read) or to be sent (2, 3 sent).
PduDirection DirectionOf(std::string_view stat) {
  if (stat == "0" || stat == "1") return PduDirection::kReceived;
  return stat == "2" || stat == "3" ? PduDirection::kSent : PduDirection::kAny;
}

struct Header {
  const char* name;
  bool hasLocation, hasStat;
};
constexpr Header kHeaders[] = {
    {"+CMGL:", true, true}, {"+CMGR:", false, true}, {"+CMT:", false, false}, {"+CDS:", false, false}};

// What is behind a header: the rest of its line, and the PDU, which may stand on it too.
PduText ReadEntry(const Header& header, const std::string& rest) {
  const tavro::ListingEntry entry = tavro::ReadListingEntry(rest, header.hasLocation);
  return {std::string(entry.pdu), std::string(entry.length),
          header.hasStat ? DirectionOf(entry.stat) : PduDirection::kReceived};
}

void ReadLines(std::istream& input, std::vector<PduText>& pdus) {
  std::string line, rest;  // rest: of a header that waits for its PDU
  const Header* header = nullptr;
  while (std::getline(input, line)) {
    while (!line.empty() && (line.back() == '\r' || line.back() == ' ')) line.pop_back();
    const std::string capitals = tavro::Upper(tavro::Trim(line));
    if (capitals.empty() || capitals == "OK" || capitals.starts_with("AT")) continue;
    if (capitals.front() == '+') {
      const auto* const found = std::find_if(std::begin(kHeaders), std::end(kHeaders),
                                             [&](const Header& each) { return capitals.starts_with(each.name); });
      header = found == std::end(kHeaders) ? nullptr : found;
      rest = header == nullptr ? "" : capitals.substr(std::string_view(header->name).size());
      if (header == nullptr) continue;
      PduText whole = ReadEntry(*header, rest);
      if (whole.hex.empty()) continue;
      pdus.push_back(std::move(whole));
      header = nullptr;
    } else if (header != nullptr) {
      PduText pdu = ReadEntry(*header, rest + "\r\n");
      pdu.hex = line;
      pdus.push_back(std::move(pdu));
      header = nullptr;
    } else {
      pdus.push_back({line});
    }
  }
}

std::ptrdiff_t FillOctets(const std::vector<std::uint8_t>& octets) {
  const auto filled = std::find_if(octets.rbegin(), octets.rend(), [](std::uint8_t octet) { return octet != 0xFF; });
  return filled - octets.rbegin();
}

}  // namespace

std::vector<PduText> ReadPdus(const std::vector<std::string>& arguments) {
  std::vector<PduText> pdus;
  for (const std::string& argument : arguments) {
    if (argument == "-") {
      ReadLines(std::cin, pdus);
    } else {
      pdus.push_back({argument});
    }
  }
  return pdus;
}

tavro::DecodedPdu Decode(const PduText& text, const tavro::DecodeOptions& options) {
  tavro::DecodeOptions own = options;
  if (own.direction == PduDirection::kAny) own.direction = text.direction;
  tavro::DecodedPdu pdu = tavro::DecodePdu(text.hex, own);
  if (text.length.empty() || pdu.HasError()) return pdu;
  const std::size_t front = own.hasServiceCentre ? 1U + pdu.octets[0] : 0;
  const auto octets = static_cast<int>(pdu.octets.size() - front);
  if (tavro::IsAnnouncedLength(text.length, octets, static_cast<int>(FillOctets(pdu.octets)))) return pdu;
  pdu.error = tavro::FromUtf8("the modem announces " + text.length +
                              " octets behind the service centre, and there are " + std::to_string(octets));
  pdu.errorOctet = front;
  return pdu;
}
