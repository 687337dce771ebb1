#include "outgoing/submit_pdu.h"

#include <gtest/gtest.h>

#include "outgoing/encodings.h"
#include "outgoing/message_parts.h"
#include "tavro/long_message_type.h"

namespace tavro {
namespace {

using namespace std::string_view_literals;

struct PduCase {
  const char* decoded;  // what Wireshark's dissector reads from the PDU
  SubmitMessage message;
  const char* pdu;
};

const PduCase kPdus[] = {
    // A widely published example.
    {"to +46708251358, valid 4 days, 'hellohello'",
     {.destination = "+46708251358", .codes = u"hellohello", .validityPeriod = 170},
     "0011000B916407281553F80000AA0AE8329BFD4697D9EC37"},
    {"to +919812345678, 24 hours, 'hello'",
     {.destination = "+919812345678", .codes = u"hello"},
     "0011000C911989214365870000A705E8329BFD06"},
    {"service centre +491710760000, to +4915112345678, 5 minutes, '€ @Ω{}ä'",
     {.smscField = "0791947101670000",
      .destination = "+4915112345678",
      .codes = u"\x1B\x65 \0\x15\x1B\x28\x1B\x29\x7B"sv,
      .validityPeriod = 0},
     "079194710167000011000D91945111325476F80000000A9B320850D9A036A93D"},
    {"status report requested, to 09812345678 of unknown type, 63 weeks, 'Hi'",
     {.destination = "09812345678", .codes = u"Hi", .statusReport = true, .validityPeriod = 255},
     "0031000B819018325476F80000FF02C834"},
    {"to 0151234567, 8-bit class 0, 12 hours, octets 63 61 66 E9",
     {.destination = "0151234567", .codes = u"caf\u00E9", .coding = 8, .alert = true, .validityPeriod = 143},
     "0011000A81101532547600148F04636166E9"},
    {"UCS2, 2 days, 'A€' and U+1F600",
     {.destination = "+4915112345678", .codes = u"A€\U0001F600", .coding = 16, .validityPeriod = 168},
     "0011000D91945111325476F80008A808004120ACD83DDE00"},
    {"to 12, class 0, 30 days, 'Go'",
     {.destination = "12", .codes = u"Go", .alert = true, .validityPeriod = 196},
     "0011000281210010C402C737"},
    {"to 123, UCS2 class 0, 5 weeks, 'Ж'",
     {.destination = "123", .codes = u"Ж", .coding = 16, .alert = true, .validityPeriod = 197},
     "001100038121F30018C5020416"},
    {"message 255, part 1 of 3, no status report requested, 'hello'",
     {.destination = "+919812345678", .codes = u"hello", .statusReport = true, .reference = 255, .total = 3},
     "0051000C911989214365870000A70C050003FF0301D06536FB0D"},
    {"message 255, part 3 of 3, status report requested, '[]'",
     {.destination = "+919812345678",
      .codes = u"\x1B\x3C\x1B\x3E",
      .statusReport = true,
      .reference = 255,
      .part = 3,
      .total = 3},
     "0071000C911989214365870000A70B050003FF030336BC8D0F"},
    {"8-bit, message 1, part 2 of 2, octets 61 62",
     {.destination = "+919812345678", .codes = u"ab", .coding = 8, .reference = 1, .part = 2, .total = 2},
     "0051000C911989214365870004A7080500030102026162"},
    {"UCS2, message 7, part 254 of 255, 'é€'",
     {.destination = "+919812345678", .codes = u"é€", .coding = 16, .reference = 7, .part = 254, .total = 255},
     "0051000C911989214365870008A70A05000307FFFE00E920AC"},
};

TEST(SubmitPduTest, IsWhatTheStandardDecodes) {
  for (const PduCase& c : kPdus) EXPECT_EQ(BuildSubmitPdu(c.message), c.pdu) << c.decoded;
}

TEST(SubmitPduTest, NeedsDigitsToDial) {
  EXPECT_EQ(DestinationAddress("+12345678901234567890"), "149121436587092143658709");
  for (const char* number : {"", "+", "abc", "+1e5", "1e5", " 123", "+123 ", "+123456789012345678901"}) {
    EXPECT_EQ(BuildSubmitPdu({.destination = number, .codes = u"x"}), "") << number;
  }
}

std::u16string Letters(std::size_t count) { return std::u16string(count, u'x'); }

struct CutCase {
  const char* name;
  std::u16string text;
  int coding;
  std::int16_t mode;
  std::vector<std::size_t> lengths;  // of the parts, in code values
  bool concatenated;
};

TEST(MessagePartsTest, CutsAtTheCapacities) {
  const std::u16string escapeAt160 = Letters(159) + u"[" + Letters(10);
  const CutCase kCases[] = {
      {"empty", u"", 7, MessageConcatenate, {}, false},
      {"one", u"x", 16, MessageConcatenate, {1}, false},
      {"a full message in every mode", Letters(160), 7, MessageConcatenate, {160}, false},
      {"a full message in every mode", Letters(160), 7, MessageFormattedSplit, {160}, false},
      {"one beyond", Letters(161), 7, MessageTruncate, {160}, false},
      {"one beyond", Letters(161), 7, MessageSplit, {160, 1}, false},
      {"one beyond", Letters(161), 7, MessageFormattedSplit, {160, 23}, false},
      {"one beyond", Letters(161), 7, MessageConcatenate, {152, 9}, true},
      {"8-bit", Letters(140), 8, MessageConcatenate, {140}, false},
      {"8-bit", Letters(141), 8, MessageConcatenate, {134, 7}, true},
      {"8-bit", Letters(141), 8, MessageFormattedSplit, {140, 23}, false},
      {"UCS2", Letters(70), 16, MessageConcatenate, {70}, false},
      {"UCS2", Letters(71), 16, MessageSplit, {70, 1}, false},
      {"UCS2", Letters(71), 16, MessageConcatenate, {67, 4}, true},
      {"UCS2", Letters(71), 16, MessageFormattedSplit, {70, 23}, false},
      {"an extension character counts twice", std::u16string(80, u'€'), 7, MessageTruncate, {160}, false},
      {"an escape goes with its value", escapeAt160, 7, MessageTruncate, {159}, false},
      {"an escape goes with its value", escapeAt160, 7, MessageSplit, {159, 12}, false},
      {"an escape goes with its value", Letters(151) + u"[" + Letters(20), 7, MessageConcatenate, {151, 22}, true},
      {"an escape is a character elsewhere", Letters(69) + u"\x1B" + u"x", 16, MessageSplit, {70, 1}, false},
      {"a surrogate pair may be cut", Letters(66) + u"\U0001F600" + Letters(4), 16, MessageConcatenate, {67, 5}, true},
      {"an unknown coding", u"x", 12, MessageSplit, {}, false},
  };
  for (const CutCase& c : kCases) {
    const MessageParts parts = PrepareParts(c.text, c.coding, c.mode);
    std::vector<std::size_t> lengths;
    for (const auto& text : parts.texts) lengths.push_back(text.size());
    EXPECT_EQ(lengths, c.lengths) << c.name << ", mode " << c.mode;
    EXPECT_EQ(parts.concatenated, c.concatenated) << c.name;
    EXPECT_EQ(parts.Total(), c.concatenated ? static_cast<int>(c.lengths.size()) : 1) << c.name;
  }
}

TEST(MessagePartsTest, EndsWithTheLastPartThatCanBeCounted) {
  struct Case {
    std::int16_t mode;
    std::size_t partLength, length, count, lastLength;
  };
  const Case kCases[] = {{MessageSplit, 160, 160 * 255, 255, 160},
                         {MessageConcatenate, 152, 152 * 255, 255, 152},
                         {MessageFormattedSplit, 148, 148 * 9, 9, 158}};
  for (const Case& c : kCases) {
    const MessageParts parts = PrepareParts(Letters(c.length + 668), 7, c.mode);
    ASSERT_EQ(parts.texts.size(), c.count) << c.mode;
    EXPECT_EQ(parts.texts.back().size(), c.lastLength) << c.mode;

    // An escape at the end of every part makes each of them one shorter.
    std::u16string escapes = Letters(c.partLength - 1) + u"[";
    while (escapes.size() < c.length) escapes += Letters(c.partLength - 3) + u"[";
    for (const auto& text : PrepareParts(escapes, 7, c.mode).texts) EXPECT_NE(text.back(), u'\x1B');
    EXPECT_EQ(PrepareParts(escapes, 7, c.mode).texts.size(), c.mode == MessageSplit ? 257u : c.count) << c.mode;
  }
}

TEST(MessagePartsTest, MarksFormattedParts) {
  const MessageParts parts = PrepareParts(Letters(300), 7, MessageFormattedSplit);
  ASSERT_EQ(parts.texts.size(), 3u);
  EXPECT_EQ(parts.texts[1], Letters(148) + u"..\r-Msg 2/3-");
  EXPECT_EQ(parts.texts[2], Letters(4) + u"\r-Msg 3/3-");
}

}  // namespace
}  // namespace tavro
