#include "simulator/long_message.h"

#include <algorithm>

#include "simulator/gsm_text.h"
#include "simulator/network_time.h"

namespace tavro {

namespace {

constexpr std::uint8_t kHasHeader = 0x40, kUcs2 = 8;

char Octet(std::size_t value) { return static_cast<char>(static_cast<std::uint8_t>(value)); }

// Of the part with this number from 0 on.
std::string Header(int reference, bool isWide, std::size_t parts, std::size_t part) {
  const auto number = static_cast<std::size_t>(reference);
  std::string element = isWide ? std::string{8, 4, Octet(number >> 8)} : std::string{0, 3};
  element += {Octet(number), Octet(parts), Octet(part + 1)};
  return Octet(element.size()) + element;
}

// Where the part that begins at `start` ends: no escape and no surrogate is parted from what follows it.
std::size_t PartEnd(std::string_view units, std::size_t start, std::size_t limit, bool isUcs2) {
  if (units.size() - start <= limit) return units.size();
  const std::size_t end = start + limit;
  if (!isUcs2) return units[end - 1] == kGsmEscapeSeptet ? end - 1 : end;
  const bool endsInFirstSurrogate = (static_cast<std::uint8_t>(units[end - 2]) & 0xFC) == 0xD8;
  return endsInFirstSurrogate ? end - 2 : end;
}

}  // namespace

std::vector<std::string> MakeLongMessage(const LongMessage& message) {
  const NetworkView network{"+491710760000", message.sender, TimeStampOctets(message.wallClockMs, 0)};
  std::vector<std::string> pdus;
  for (std::size_t part = 0; part < message.parts.size(); ++part) {
    const std::string data = Header(message.reference, message.hasWideReference, message.parts.size(), part) +
                             Ucs2FromUtf8(message.parts[part]);
    SubmittedMessage submitted;
    submitted.firstOctet = kHasHeader;
    submitted.coding = kUcs2;
    submitted.userData = Octet(data.size()) + data;
    pdus.push_back(MakeDeliver(submitted, network));
  }
  return pdus;
}

std::vector<std::string> MakeTextMessage(std::string_view text, int reference, const NetworkView& network) {
  constexpr std::size_t kMaxParts = 255, kMaxSeptets = 160, kMaxOctets = 140;
  constexpr std::size_t kHeaderOctets = 6, kHeaderSeptets = 7, kFillBits = 1;
  const std::optional<std::string> septets = SeptetsFromUtf8(text);
  const bool isUcs2 = !septets;
  const std::string units = septets ? *septets : Ucs2FromUtf8(text);
  const bool isLong = units.size() > (isUcs2 ? kMaxOctets : kMaxSeptets);
  const std::size_t limit =
      isUcs2 ? kMaxOctets - (isLong ? kHeaderOctets : 0) : kMaxSeptets - (isLong ? kHeaderSeptets : 0);
  std::vector<std::string> parts;
  for (std::size_t start = 0; parts.size() < kMaxParts && (start < units.size() || parts.empty());) {
    const std::size_t end = PartEnd(units, start, limit, isUcs2);
    parts.push_back(units.substr(start, end - start));
    start = end;
  }
  std::vector<std::string> pdus;
  for (std::size_t i = 0; i < parts.size(); ++i) {
    SubmittedMessage message;
    message.firstOctet = isLong ? kHasHeader : 0;
    message.coding = isUcs2 ? kUcs2 : 0;
    const std::string header = isLong ? Header(reference, false, parts.size(), i) : "";
    const std::size_t length =
        isUcs2 ? header.size() + parts[i].size() : (isLong ? kHeaderSeptets : 0) + parts[i].size();
    message.userData = Octet(length) + header + (isUcs2 ? parts[i] : PackSeptets(parts[i], isLong ? kFillBits : 0));
    pdus.push_back(MakeDeliver(message, network));
  }
  return pdus;
}

}  // namespace tavro
