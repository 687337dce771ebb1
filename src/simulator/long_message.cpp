#include "simulator/long_message.h"

#include "platform/utf8.h"
#include "simulator/looped_message.h"

namespace tavro {

namespace {

char Octet(std::size_t value) { return static_cast<char>(static_cast<std::uint8_t>(value)); }

std::string Header(const LongMessage& message, std::size_t part) {
  const auto reference = static_cast<std::size_t>(message.reference);
  std::string element = message.hasWideReference ? std::string{8, 4, Octet(reference >> 8)} : std::string{0, 3};
  element += {Octet(reference), Octet(message.parts.size()), Octet(part + 1)};
  return Octet(element.size()) + element;
}

}  // namespace

std::vector<std::string> MakeLongMessage(const LongMessage& message) {
  constexpr std::uint8_t kHasHeader = 0x40, kUcs2 = 8;
  const NetworkView network{"+491710760000", message.sender, TimeStampOctets(message.wallClockMs, 0)};
  std::vector<std::string> pdus;
  for (std::size_t part = 0; part < message.parts.size(); ++part) {
    std::string data = Header(message, part);
    for (const char16_t unit : FromUtf8(message.parts[part])) data += {Octet(unit >> 8), Octet(unit)};
    SubmittedMessage submitted;
    submitted.firstOctet = kHasHeader;
    submitted.coding = kUcs2;
    submitted.userData = Octet(data.size()) + data;
    pdus.push_back(MakeDeliver(submitted, network));
  }
  return pdus;
}

}  // namespace tavro
