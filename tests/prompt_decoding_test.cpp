// Received messages of every coding and form in the prompt manner. The PDUs were assembled from 3GPP TS 23.040 and
// 23.038 and each reads the same in an independent decoder, as far as that goes (reserved codes, national tables and
// broken PDUs are beyond it).
#include <gtest/gtest.h>

#include "incoming/deliver_decoding.h"
#include "simulator/simulated_line.h"

namespace tavro {
namespace {

using Action = DecodedEntry::Action;

DecodedEntry DecodeEntry(const std::string& entry) {
  static const DateNames names = [] {
    SimulatedLine line;
    return LocalDateNames(line);
  }();
  return DecodeStoredMessage(entry, names, kPromptManner);
}

DecodedEntry Decode(const std::string& pdu) {
  const int serviceCentre = pdu.size() < 2 ? 0 : std::stoi("0" + pdu.substr(0, 2), nullptr, 16);
  const std::string length = std::to_string(static_cast<int>(pdu.size() / 2) - 1 - serviceCentre);
  return DecodeEntry("7,1,," + length + "\r\n" + pdu + "\r\n\r\nOK\r\n");
}

std::string Utf8(const std::u16string& text) {
  SimulatedLine line;
  return line.ToCodePage(text);
}

// "text" and what else is not as in a plain message.
std::string Describe(const std::string& pdu) {
  const DecodedEntry entry = Decode(pdu);
  if (entry.action != Action::kStore) return entry.remark;
  const MessageDetails& details = *entry.record.content->details;
  std::string all = '"' + Utf8(entry.record.content->text) + '"';
  if (details.parts > 1) {
    all += " part " + std::to_string(entry.record.concatPart) + "/" + std::to_string(entry.record.concatTotal) +
           " of " + std::to_string(entry.record.concatReference);
  }
  if (details.ports) {
    all += " ports " + std::to_string(details.ports->destination) + " " + std::to_string(details.ports->source);
  }
  if (details.messageClass) all += " class " + std::to_string(*details.messageClass);
  if (details.isReplacement) all += " replaces";
  for (const WaitingMessages& waiting : details.waiting) {
    constexpr const char* kKinds[] = {"voice", "fax", "email", "other", "video"};
    all += std::string(" ") + kKinds[static_cast<int>(waiting.kind)] + (waiting.active ? " on" : " off");
    if (waiting.count) all += " " + std::to_string(*waiting.count);
  }
  if (!entry.remark.empty()) all += " (" + entry.remark + ")";
  return all;
}

std::string Hex(const std::vector<std::uint8_t>& octets) {
  std::string hex;
  for (const std::uint8_t octet : octets) {
    hex += "0123456789ABCDEF"[octet >> 4];
    hex += "0123456789ABCDEF"[octet & 15];
  }
  return hex;
}

// Up to the protocol identifier, without and with a header; and from the time stamp on.
const std::string kPlain = "0791947101670000040C9194711032547600", kHeader = "0791947101670000440C9194711032547600";
const std::string kTime = "42305041709040";
const std::string kHello = "05E8329BFD06";

TEST(PromptDecoding, CodingsHeadersAndAddresses) {
  const struct {
    std::string pdu, expected;
  } cases[] = {
      // Headers.
      {"0791947101670000440799A1CBEDF24510" + kTime + "160C05040B8423F008041234020182C221B1683C02",
       "\"ABCDEFG\" part 1/2 of 70196 ports 2948 9200 class 0 replaces"},
      {kHeader + "00" + kTime + "160E0A030004107002AABB00032A030280F8CD2603", "\"bold\" part 2/3 of 42"},
      {kHeader + "F5" + kTime + "08040402F0F101FF80", "\"\x01\xC3\xBF\xC2\x80\" ports 240 241 class 1"},
      {kHeader + "C9" + kTime + "100C010200030102810001020705F0", "\"x\" fax off 0 voice on 3 video on 5"},
      {kHeader + "04" + kTime + "0A05000301020074657874", "\"text\""},  // no such parts
      {kHeader + "04" + kTime + "0A05000301020374657874", "\"text\""},
      {kHeader + "04" + kTime + "09040005010274657874", "\"text\" (the user-data header contradicts its length)"},
      {kHeader + "00" + kTime + "00", "\"\""},
      // National tables: Turkish for both, with the escape of an escape; the Hindi extension of the default alphabet.
      {kHeader + "00" + kTime + "12062401012501019BE481B3296F829B0D",
       "\"\xC4\xB0\xC4\xB1\xC5\x9E\xE2\x82\xAC"
       "A \""},
      {kHeader + "00" + kTime + "0B03240106086E381B7005", "\"A\xE0\xA5\xA6\xC2\xBF\xCE\xA9\""},
      // Data coding schemes.
      {kPlain + "C0" + kTime + "0178", "\"x\" voice off"},
      {kPlain + "D9" + kTime + "0178", "\"x\" fax on"},
      {kPlain + "EA" + kTime + "0400E920AC", "\"\xC3\xA9\xE2\x82\xAC\" email on"},
      {kPlain + "80" + kTime + kHello, "\"hello\""},
      {kPlain + "BF" + kTime + kHello, "\"hello\""},
      {kPlain + "0C" + kTime + kHello, "\"hello\""},
      {kPlain + "48" + kTime + "0400E920AC", "\"\xC3\xA9\xE2\x82\xAC\""},
      {kPlain + "57" + kTime + "04636166E9", "\"caf\xC3\xA9\" class 3"},
      {kPlain + "FC" + kTime + "04636166E9", "\"caf\xC3\xA9\" class 0"},
      {kPlain + "20" + kTime + "03C8FF01", "\"\xC3\x88\xC3\xBF\x01\""},  // compressed
      {kPlain + "2B" + kTime + "03C8FF01", "\"\xC3\x88\xC3\xBF\x01\""},
      // The default alphabet: 40 is no "@"; behind an escape what has no place there is itself, and the last escape
      // nothing.
      {kPlain + "00" + kTime + "0A40406253DE08378D0D",
       "\"\xC2\xA1@\xC3\x87\xE2\x82\xAC"
       "B\r\""},
      // Octets that contradict the length, and fill.
      {kPlain + "00" + kTime + kHello + "FFFFFFFFFFFF", "\"hello\""},
      {kPlain + "00" + kTime + "05E8329B", "\"hel\" (the user data is shorter than its length)"},
      {kPlain + "08" + kTime + "0300E920AC", "\"\xC3\xA9\""},
      {kPlain + "00FFFFFFFFFFFFFF" + kHello, "\"hello\" (the time stamp FFFFFFFFFFFFFF is no date)"},
      // Message types.
      {"0791947101670000070C919471103254760000" + kTime + kHello, "\"hello\""},
      {"0791947101670000010C919471103254760000" + kHello, "not a received message"},
  };
  for (const auto& c : cases) EXPECT_EQ(Describe(c.pdu), c.expected) << c.pdu;

  const struct {
    const char *type, *sender;
  } senders[] = {{"0799A1CBEDF2", "+1*#abc2"}, {"05A12143F5", "12345"}, {"0950D4B05DFE06", "Tavro"}, {"0080", ""}};
  for (const auto& c : senders) {
    const DecodedEntry entry = Decode(std::string("0004") + c.type + "0000" + kTime + "0178");
    EXPECT_EQ(Utf8(entry.record.content->phone), c.sender);
    EXPECT_EQ(Utf8(entry.record.content->text), "x");
  }
}

TEST(PromptDecoding, DataIsWhatStandsBehindTheHeader) {
  EXPECT_EQ(Hex(Decode(kHeader + "F5" + kTime + "08040402F0F101FF80" + "FFFF").record.content->details->data),
            "01FF80");
  EXPECT_EQ(Hex(Decode(kPlain + "00" + kTime + kHello).record.content->details->data), kHello.substr(2));
  EXPECT_EQ(Decode(kPlain + "00" + kTime + kHello).record.content->details->sent, 1709644029);  // 13:07:09 UTC
}

TEST(PromptDecoding, WhatCannotBeDecodedSaysWhy) {
  const std::string whole = kHeader + "00" + kTime + "052000030102";  // a header that is longer than the user data
  for (std::size_t digits = 2; digits <= whole.size(); digits += 2) {
    const std::string pdu = whole.substr(0, digits);
    const DecodedEntry entry = Decode(pdu);
    ASSERT_EQ(entry.action, Action::kStore) << pdu;
    const bool hasNoUserData = digits == kHeader.size() + 18;
    const std::string reason =
        digits < whole.size() - 10 ? "the PDU is cut short" : "the user-data header contradicts its length";
    if (hasNoUserData) {
      EXPECT_EQ(entry.record.content->text, u"");
      continue;
    }
    EXPECT_EQ(Utf8(entry.record.content->text), "[This message cannot be decoded: " + reason + "]") << pdu;
    EXPECT_EQ(Hex(entry.record.content->details->data), pdu);
    EXPECT_EQ(entry.record.content->phone, digits < 34 ? u"" : u"+491701234567");
  }
  EXPECT_EQ(Describe("0791ZZ"),
            "\"[This message cannot be decoded: the PDU has characters that are no hex digits]\" (the "
            "PDU has characters that are no hex digits)");
  EXPECT_EQ(Utf8(DecodeEntry("7,1,,0\r\n\r\nOK\r\n").record.content->text),
            "[This message cannot be decoded: there is no PDU]");
}

TEST(PromptDecoding, FormsOfAnEntry) {
  const std::string pdu = kPlain + "00" + kTime + kHello;
  for (const std::string& entry :
       {"7,1,,24\r\n" + pdu + "\r\n\r\nOK\r\n", "7,1,,24\n" + pdu + "\nOK\n", "7,1,,24\r" + pdu, "7,1,,24\r\r\n" + pdu,
        "7,1,,24," + pdu + "\r\n", "7,1,\"\",24 " + pdu + "\n", "7,1,24\r\n" + pdu,
        " 7 , 0 ,\"A,B 12345\",24\r\n" + pdu, "7,1,,24\r\n\r\n" + pdu + "F\r\n"}) {
    const DecodedEntry decoded = DecodeEntry(entry);
    ASSERT_EQ(decoded.action, Action::kStore) << entry;
    EXPECT_EQ(decoded.location, 7) << entry;
    EXPECT_EQ(decoded.record.memoryIndex, 7);
    EXPECT_EQ(Utf8(decoded.record.content->text), "hello") << entry;
  }
  for (const char* stat : {"2", "3"}) {
    EXPECT_EQ(DecodeEntry(std::string("7,") + stat + ",,24\r\n" + pdu).action, Action::kDelete);
  }
  for (const char* location : {"", "x", "-1", "32768", "1.5"}) {
    EXPECT_EQ(DecodeEntry(std::string(location) + ",1,,24\r\n" + pdu).action, Action::kSkip);
  }
}

}  // namespace
}  // namespace tavro
