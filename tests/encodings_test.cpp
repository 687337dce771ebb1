#include "outgoing/encodings.h"

#include <gtest/gtest.h>

#include <array>
#include <random>
#include <utility>
#include <vector>

namespace tavro {
namespace {

// The default alphabet by value (3GPP TS 23.038, 6.2.1). The escape, and the inverted exclamation mark, which is not
// sent, have a NUL.
constexpr char16_t kAlphabet[] =
    u"@£$¥èéùìòÇ\nØø\rÅåΔ_ΦΓΛΩΠΨΣΘΞ\0ÆæßÉ !\"#¤%&'()*+,-./0123456789:;<=>?\0ABCDEFGHIJKLMNOPQRSTUVWXYZÄÖÑÜ§"
    u"¿abcdefghijklmnopqrstuvwxyzäöñüà";

TEST(EncodingsTest, MapsEveryCharacterToTheAlphabet) {
  std::vector<std::u16string> expected(0x10000, u"?");
  for (char16_t value = 0; value < 128; ++value) {
    if (kAlphabet[value] != 0) expected[kAlphabet[value]] = value;
  }
  const std::pair<char16_t, char16_t> kExtension[] = {{u'\f', 0x0A}, {u'^', 0x14}, {u'{', 0x28}, {u'}', 0x29},
                                                      {u'\\', 0x2F}, {u'[', 0x3C}, {u'~', 0x3D}, {u']', 0x3E},
                                                      {u'|', 0x40},  {u'€', 0x65}};
  for (const auto& [character, value] : kExtension) expected[character] = {u'\x1B', value};
  for (unsigned c = 0; c < 0x10000; ++c) {
    ASSERT_EQ(ToGsmAlphabet(std::u16string(1, static_cast<char16_t>(c))), expected[c]) << "U+" << std::hex << c;
  }
  EXPECT_EQ(ToGsmAlphabet(u""), u"");
  EXPECT_EQ(ToGsmAlphabet(u"¡a€"), u"?a\x1B\x65");
}

TEST(EncodingsTest, ConvertsBits) {
  EXPECT_EQ(ToBitString(5, 7), "0000101");
  EXPECT_EQ(ToBitString(200, 7), "1001000");  // the high bit is lost
  EXPECT_EQ(ToBitString(-1, 7), "1111111");
  EXPECT_EQ(ToBitString(-200, 7), "0111000");
  EXPECT_EQ(ToBitString(-1, 16), "1111111111111111");
  EXPECT_EQ(ToBitString(-32768, 16), "1000000000000000");
  EXPECT_EQ(ToBitString(-2, 8), "11111110");
  EXPECT_EQ(ToBitString(5, 12), "");

  EXPECT_EQ(BitsToHex("1010", 2), "0A");
  EXPECT_EQ(BitsToHex("111100010010", 2), "12");
  EXPECT_EQ(BitsToHex("00012x00", 2), "1");       // nothing to repeat
  EXPECT_EQ(BitsToHex("xxxx0001yyyy", 3), "11");  // from the right: nothing, 1, 1 again
  EXPECT_EQ(BitsToHex("1", 0), "");

  EXPECT_EQ(HexToBits("0123456789ABCDEF"), "0000000100100011010001010110011110001001101010111100110111101111");
  EXPECT_EQ(HexToBits("a"), "");
  EXPECT_EQ(HexToBits("1a"), "00010001");
}

TEST(EncodingsTest, ConvertsHex) {
  EXPECT_EQ(ByteToHex(7), "07");
  EXPECT_EQ(ByteToHex(255), "FF");
  EXPECT_EQ(ByteToHex(256), "100");
  EXPECT_EQ(ByteToHex(-1), "FFFF");
  EXPECT_EQ(HexToLong("A0"), 160);
  EXPECT_EQ(HexToLong("a0"), 160);
  EXPECT_EQ(HexToLong("FFFF"), -1);
  EXPECT_EQ(HexToLong("0FFFF"), 65535);
  EXPECT_EQ(HexToLong("FFFFFFFF"), -1);
  EXPECT_EQ(HexToLong("G0"), 0);
  EXPECT_EQ(HexToLong(""), 0);
  EXPECT_EQ(SwapSemiOctets("12345"), "2143F5");
  EXPECT_EQ(SwapSemiOctets("1"), "F1");
  EXPECT_EQ(SwapSemiOctets(""), "");
}

TEST(EncodingsTest, PacksUserData) {
  EXPECT_EQ(EncodeUserData(u"hello", 7), "E8329BFD06");
  EXPECT_EQ(EncodeUserData(u"hello", 7, "0"), "D06536FB0D");
  EXPECT_EQ(EncodeUserData(u"A€", 16), "004120AC");
  EXPECT_EQ(EncodeUserData(u"A€", 8), "41AC");  // the low octet
  EXPECT_EQ(EncodeUserData(u"A", 12), "");
  EXPECT_EQ(EncodeUserData(u"", 7), "");
}

// The packing by its definition: each character's bits in front of those before it, cut into units from the right.
std::string Compose(const std::u16string& codes, int coding, const std::string& fill) {
  std::string bits = fill;
  for (const char16_t code : codes) bits = ToBitString(static_cast<std::int16_t>(code), coding) + bits;
  const std::size_t unit = coding == 16 ? 16 : 8;
  while (bits.size() % unit != 0) bits = "0" + bits;
  std::string hex;
  for (; !bits.empty(); bits.resize(bits.size() - unit)) {
    hex += BitsToHex(bits.substr(bits.size() - unit), static_cast<int>(unit / 4));
  }
  return hex;
}

TEST(EncodingsTest, PacksAsDefinedWhateverTheInput) {
  std::mt19937 random(20240305);
  const auto below = [&](unsigned limit) { return std::uniform_int_distribution<unsigned>(0, limit - 1)(random); };
  for (int round = 0; round < 500; ++round) {
    std::u16string codes(below(171), u'\0');
    for (char16_t& code : codes) code = static_cast<char16_t>(below(round % 2 == 0 ? 128 : 0x10000));
    std::string fill(below(4) * below(10), '0');
    for (char& bit : fill) bit = "01x"[below(round % 10 == 0 ? 3 : 2)];
    const int coding = std::array{7, 8, 16}[below(3)];
    ASSERT_EQ(EncodeUserData(codes, coding, fill), Compose(codes, coding, fill)) << coding << " " << fill;
  }
}

TEST(EncodingsTest, TellsNumbersApart) {
  struct Case {
    const char* number;
    bool international, national;
  };
  const Case kCases[] = {
      {"+919812345678", true, false}, {"+1", true, false},          {"+", false, false},   {"", false, false},
      {"+0", false, false},           {"++1", false, false},        {"+-1", false, false}, {"+12.5", false, false},
      {"+1,2", false, false},         {"+1e3", true, false},        {"+ 12", true, false}, {"+12a", false, false},
      {"+0e5", false, false},         {"09812345678", false, true}, {"0", false, false},   {"000", false, false},
      {"12.5", false, false},         {"1,2", false, false},        {"-1", false, false},  {"12 ", false, true},
      {"1e3", false, true},           {"1e", false, false},         {"12A", false, false}, {"\xC2\xB2", false, false},
  };
  for (const Case& c : kCases) {
    EXPECT_EQ(IsInternationalNumber(c.number), c.international) << c.number;
    EXPECT_EQ(IsNationalNumber(c.number), c.national) << c.number;
  }
}

}  // namespace
}  // namespace tavro
