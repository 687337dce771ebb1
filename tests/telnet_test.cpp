// What comes over a Telnet connection, whole and split at every place.
#include "platform/telnet.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace tavro {
namespace {

struct Heard {
  std::string data, replies, comPort;  // the contents of subnegotiations, each behind "|"
  bool operator==(const Heard&) const = default;
};

void PrintTo(const Heard& heard, std::ostream* out) {
  *out << testing::PrintToString(heard.data) << testing::PrintToString(heard.replies)
       << testing::PrintToString(heard.comPort);
}

Heard Hear(const std::vector<std::string>& pieces, bool binary) {
  Heard heard;
  Telnet telnet([&](std::string_view content) { heard.comPort.append("|").append(content); });
  telnet.Opening();
  if (binary) telnet.Receive("\xFF\xFB" + std::string(1, '\0'), heard.data, heard.replies);
  for (const auto& piece : pieces) telnet.Receive(piece, heard.data, heard.replies);
  return heard;
}

TEST(TelnetTest, UnderstandsWhatComesInAnyPieces) {
  using namespace std::string_literals;
  const struct {
    std::string octets;
    Heard heard;
    bool binary = true;
  } cases[] = {
      {"a\xFF\xFF\xFF\xFF\xFF\xF1z"s, {"a\xFF\xFFz", "", ""}},
      {"a\r\0b\r\n\r\r\0"s, {"a\rb\r\n\r\r", "", ""}, false},
      {"a\r\0b"s, {"a\r\0b"s, "", ""}},
      // Unknown options are refused each time; agreed ones are not confirmed again, and a withdrawal is.
      {"\xFF\xFB\x01\xFF\xFD\x18\xFF\xFC\x01\xFF\xFE\x18\xFF\xFB\x2C"s,
       {"", "\xFF\xFE\x01\xFF\xFC\x18\xFF\xFE\x2C", ""}},
      {"\xFF\xFD\x2C\xFF\xFD\x2C\xFF\xFE\x2C\xFF\xFE\x2C\xFF\xFD\x2C"s, {"", "\xFF\xFC\x2C\xFF\xFB\x2C", ""}},
      {"\xFF\xFA\x2C\x65\xFF\xFF\x01\xFF\xF0x\xFF\xFA\x18\x01\xFF\xF0y\xFF\xFA\x2C\xFF\xF0"s,
       {"xy", "", "|\x65\xFF\x01|"}},
      // A subnegotiation that is broken off, ended without a beginning, or of another option's number doubled.
      {"\xFF\xFA\x2C\x65\xFF\xFA\x2C\x66\xFF\xFD\x05q\xFF\xF0r\xFF\xFA\xFF\xF0s"s, {"qrs", "\xFF\xFC\x05", ""}},
      {"\xFF\xFA\x2C" + std::string(Telnet::kLongestSubnegotiation + 1, 'x') + "\xFF\xF0ok"s, {"ok", "", ""}},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(Hear({c.octets}, c.binary), c.heard);
    const std::size_t splits = std::min<std::size_t>(c.octets.size(), 100);
    for (std::size_t i = 1; i < splits; ++i) {
      EXPECT_EQ(Hear({c.octets.substr(0, i), c.octets.substr(i)}, c.binary), c.heard) << i;
    }
  }
}

TEST(TelnetTest, SaysEveryOctet) {
  std::string out, ignored;
  Telnet telnet({});
  EXPECT_EQ(telnet.Opening(), std::string("\xFF\xFB\0\xFF\xFD\0\xFF\xFB\x03\xFF\xFD\x03\xFF\xFB\x2C", 15));
  telnet.Encode("\r\n\xFF", out);
  EXPECT_EQ(out, std::string("\r\0\n\xFF\xFF", 5)) << "before the server agreed to binary";
  telnet.Receive({"\xFF\xFD\0", 3}, ignored, ignored);
  telnet.Encode("\r\n\xFF", out = {});
  EXPECT_EQ(out, "\r\n\xFF\xFF");
}

}  // namespace
}  // namespace tavro
