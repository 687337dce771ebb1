// SMS-DELIVER decoding. The PDUs were assembled from 3GPP TS 23.040 and 23.038, or are published examples; each reads
// the same in an independent decoder.
#include "incoming/deliver_decoding.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <random>

#include "base/calendar.h"
#include "incoming/user_data.h"
#include "outgoing/encodings.h"
#include "simulator/simulated_line.h"

namespace tavro {
namespace {

using Action = DecodedEntry::Action;

// <length> of the listing: the octets behind the service centre field.
std::string LengthOf(const std::string& pdu) {
  return std::to_string(static_cast<long>(pdu.size() / 2) - 1 - std::strtol(pdu.substr(0, 2).c_str(), nullptr, 16));
}

DecodedEntry DecodeEntry(const std::string& header, const std::string& pdu) {
  static const DateNames names = [] {
    SimulatedLine line;
    return LocalDateNames(line);
  }();
  return DecodeStoredMessage(header + "\r\n" + pdu + "\r\n\r\nOK\r\n", names);
}

DecodedEntry Decode(const std::string& pdu) { return DecodeEntry("7,1,," + LengthOf(pdu), pdu); }

// A message from +491701234567 by +491710760000 on 2024-03-05 14:07:09 +01:00: first octet, DCS, user data with length.
std::string Pdu(const std::string& first, const std::string& dcs, const std::string& userData,
                const std::string& timeStamp = "42305041709040") {
  return "0791947101670000" + first + "0C91947110325476" + "00" + dcs + timeStamp + userData;
}

std::u16string Text(const std::string& pdu) {
  const DecodedEntry entry = Decode(pdu);
  EXPECT_EQ(entry.action, Action::kStore) << pdu << ": " << entry.remark;
  return entry.record.content ? entry.record.content->text : u"";
}

TEST(DeliverDecoding, EveryFieldOfAMessage) {
  const struct {
    const char* pdu;
    std::u16string smsc, phone, text;
    DateTime date;
    int zone;
    std::u16string rfc;
  } cases[] = {
      {"07911326040000F0040B911346610089F60000208062917314080CC8F71D14969741F977FD07",
       u"+31624000000",
       u"+31641600986",
       u"How are you?",
       {2002, 8, 26, 19, 37, 41},
       0,
       u"Mon, 26 Aug 2002 19:37:41 GMT"},
      {"07917283010010F5040BC87238880900F10000993092516195800AE8329BFD4697D9EC37",
       u"+27381000015",
       u"27838890001",
       u"hellohello",
       {2099, 3, 29, 15, 16, 59},
       120,
       u"Sun, 29 Mar 2099 15:16:59 +02:00"},
      {"000405812143F50000002092329595000573F45B4E07",
       u"",
       u"12345",
       u"short",
       {2000, 2, 29, 23, 59, 59},
       0,
       u"Tue, 29 Feb 2000 23:59:59 GMT"},
      {"0581101770F60401A1F100004220920000000A00",
       u"0171076",
       u"1",
       u"",
       {2024, 2, 29, 0, 0, 0},
       -300,
       u"Thu, 29 Feb 2024 00:00:00 -05:00"},
      {"0791947101670000040C9194711032547600009921131020308B04F7F29C0E",
       u"+491710760000",
       u"+491701234567",
       u"west",
       {2099, 12, 31, 1, 2, 3},
       -570,
       u"Thu, 31 Dec 2099 01:02:03 -09:30"},
      {"0791947101670000040C9194711032547600008030504170902204E5F09C0E",
       u"+491710760000",
       u"+491701234567",
       u"east",
       {2008, 3, 5, 14, 7, 9},
       330,
       u"Wed, 05 Mar 2008 14:07:09 +05:30"},
  };
  for (const auto& c : cases) {
    const DecodedEntry entry = Decode(c.pdu);
    ASSERT_EQ(entry.action, Action::kStore) << c.pdu << ": " << entry.remark;
    const SIMMessage& record = entry.record;
    EXPECT_EQ(record.content->smsc, c.smsc);
    EXPECT_EQ(record.content->phone, c.phone);
    EXPECT_EQ(record.content->text, c.text);
    EXPECT_DOUBLE_EQ(record.content->timeStamp, ToOleDate(c.date));
    EXPECT_EQ(record.content->timeZone, c.zone);
    EXPECT_EQ(record.content->timeStampRFC, c.rfc);
    EXPECT_EQ(record.memoryIndex, 7);
    EXPECT_EQ(record.inboxIndex, 0);
    EXPECT_EQ(record.concatReference, 0);
    EXPECT_EQ(record.concatTotal, 1);
    EXPECT_EQ(record.concatPart, 1);
    EXPECT_EQ(entry.remark, "");
  }
}

TEST(DeliverDecoding, AlphanumericSenders) {
  const struct {
    const char* pdu;
    std::u16string phone;
  } cases[] = {
      {"07919471016700000409D0D4B05DFE060000423050417090400735D0181D96CF01", u"Tavro"},  // five spare bits
      {"0791947101670000040DD0D4F29C9E769F0100004230504170904001F8", u"Testing"},        // seven: no "@" behind it
      {"0791947101670000040DD1D4F29C9E769F0100004230504170904001F8", u"Testing"},        // whatever the numbering plan
      {"0791947101670000040DDFD4F29C9E769F0100004230504170904001F8", u"Testing"},
      {"0791947101670000040ED0D637396C7EBBCB0000423050417090400178", u"Vodafone"},  // no spare bits
      {"07919471016700000415D0C3B0B900DAA0829B1428060000423050417090400178", u"Caf\u00E9 {A} 1"},
  };
  for (const auto& c : cases) {
    const DecodedEntry entry = Decode(c.pdu);
    ASSERT_EQ(entry.action, Action::kStore) << c.pdu;
    EXPECT_EQ(entry.record.content->phone, c.phone);
  }
}

TEST(DeliverDecoding, OnlyAnInternationalNumberOfTheTelephonePlanHasAPlus) {
  for (const std::string type : {"91", "81", "90", "92", "99", "11", "A1", "B1"}) {
    const DecodedEntry entry =
        Decode("02" + type + "21040C" + type + "947110325476" + "0000" + "42305041709040" + "00");
    ASSERT_EQ(entry.action, Action::kStore) << type << ": " << entry.remark;
    const std::u16string plus = type == "91" ? u"+" : u"";
    EXPECT_EQ(entry.record.content->smsc, plus + u"12") << type;
    EXPECT_EQ(entry.record.content->phone, plus + u"491701234567") << type;
  }
}

TEST(DeliverDecoding, DataCodingSchemes) {
  const std::string gsm = "076376783E07C100", octets = "0600636166E9FF", ucs2 = "0400E920AC";
  const std::u16string latin(u"\0caf\u00E9\u00FF", 6);
  for (const char* dcs : {"00", "01", "10", "13", "F0", "F3"}) EXPECT_EQ(Text(Pdu("04", dcs, gsm)), u"class 0") << dcs;
  for (const char* dcs : {"04", "14", "17", "F4", "F7"}) EXPECT_EQ(Text(Pdu("04", dcs, octets)), latin) << dcs;
  for (const char* dcs : {"08", "18", "1B"}) EXPECT_EQ(Text(Pdu("04", dcs, ucs2)), u"\u00E9\u20AC") << dcs;
  for (const char* dcs : {"0C", "1F", "20", "3B", "40", "80", "C0", "C8", "D0", "E0", "E8", "F8", "FF"}) {
    const DecodedEntry entry = Decode(Pdu("04", dcs, gsm));
    EXPECT_EQ(entry.action, Action::kSkip) << dcs;
    EXPECT_EQ(entry.remark, std::string("data coding scheme ") + dcs + " is not supported");
  }
  EXPECT_EQ(Text(Pdu("04", "08", "1A041F04400438043204350442002C00204E16754C0020D83DDE00")),
            u"\u041F\u0440\u0438\u0432\u0435\u0442, \u4E16\u754C \U0001F600");
}

TEST(DeliverDecoding, TheLengthOfSevenBitText) {
  EXPECT_EQ(Text(Pdu("04", "00", "141BC586B2416D529BD786B7E96D7C1BE0A60C")), u"\f^{}\\[~]|\u20AC");
  EXPECT_EQ(Text(Pdu("04", "00", "0731D98C56B3DD00")), u"1234567");       // seven spare bits are no "@"
  EXPECT_EQ(Text(Pdu("04", "00", "0731D98C56DB9401")), u"12345\u20AC");   // nor behind an escape pair
  EXPECT_EQ(Text(Pdu("04", "00", "0831D98C56B36DCA")), u"123456\u20AC");  // a pair that fills the last octet
  EXPECT_EQ(Text(Pdu("04", "00", "0731D98C56B36D00")), u"123456");        // an escape without its character
  std::u16string digits, braces;
  std::string packedBraces;
  for (int i = 0; i < 16; ++i) digits += u"0123456789";
  for (int i = 0; i < 40; ++i) braces += u"{}";
  for (int i = 0; i < 20; ++i) packedBraces += "1BD426B5416D52";
  EXPECT_EQ(Text(Pdu("04", "00",
                     "A0B0986C46ABD96EB81C2C269BD16AB61B2E078BC966B49AED86CBC162B219AD66BBE172B0986C46ABD96EB81C2C269B"
                     "D16AB61B2E078BC966B49AED86CBC162B219AD66BBE172B0986C46ABD96EB81C2C269BD16AB61B2E078BC966B49AED86"
                     "CBC162B219AD66BBE172B0986C46ABD96EB81C2C269BD16AB61B2E078BC966B49AED86CBC162B219AD66BBE172")),
            digits);
  EXPECT_EQ(Text(Pdu("04", "00", "A0" + packedBraces)), braces);

  // An escape pair behind the text does not shorten it.
  const DecodedEntry surplus = Decode(Pdu("04", "00", "0373B80CB00100"));
  ASSERT_EQ(surplus.action, Action::kStore);
  EXPECT_EQ(surplus.record.content->text, u"sp2");
  EXPECT_EQ(surplus.remark, "3 octets stand behind the user data");
  // An odd length of UCS2 text is halved to the even number: 3 octets are 2 characters, 5 octets too.
  EXPECT_EQ(Text(Pdu("04", "08", "03004100420043")), u"AB");
  EXPECT_EQ(Text(Pdu("04", "08", "05004100420043")), u"AB");
  EXPECT_EQ(Text(Pdu("04", "08", "03004100")), u"A");
}

TEST(DeliverDecoding, ConcatenationHeaders) {
  std::string ideographs;
  for (int i = 0; i < 67; ++i) ideographs += "4E16";
  const struct {
    std::string pdu;
    int reference, total, part;
    std::u16string text;
  } cases[] = {
      {Pdu("44", "00", "16050003110302E6E5F1DB4D066D78F0B09CBEF101"), 17, 3, 2, u"second [part]"},
      {Pdu("44", "04", "0C050003FFFFFE6F6374657473"), 255, 255, 254, u"octets"},
      {Pdu("44", "08", "8C050003010201" + ideographs), 1, 2, 1, std::u16string(67, u'\u4E16')},
      // Specific to the service centre: read in the same layout, whatever the element's own length says.
      {Pdu("44", "00", "1205C003010203E663D01C5E1EA7CDE931"), 1, 2, 3, u"sc specific"},
      {Pdu("44", "00", "1205CF00010203E663D01C5E1EA7CDE931"), 1, 2, 3, u"sc specific"},
      {Pdu("44", "00", "1205DF09010203E663D01C5E1EA7CDE931"), 1, 2, 3, u"sc specific"},
      {Pdu("44", "00", "07050003000000" + std::string("00")), 0, 0, 0, u""},  // no text, and numbers without sense
  };
  for (const auto& c : cases) {
    const DecodedEntry entry = Decode(c.pdu);
    ASSERT_EQ(entry.action, Action::kStore) << c.pdu << ": " << entry.remark;
    EXPECT_EQ(entry.record.content->text, c.text);
    EXPECT_EQ(entry.record.concatReference, c.reference);
    EXPECT_EQ(entry.record.concatTotal, c.total);
    EXPECT_EQ(entry.record.concatPart, c.part);
  }
  EXPECT_EQ(Text(Pdu("44", "00",
                     "A00500031103016031D98C56B3DD7039584C36A3D56C375C0E1693CD6835DB0D9783C564335ACD76C3E56031D98C56B3"
                     "DD7039584C36A3D56C375C0E1693CD6835DB0D9783C564335ACD76C3E56031D98C56B3DD7039584C36A3D56C375C0E16"
                     "93CD6835DB0D9783C564335ACD76C3E56031D98C56B3DD7039584C36A3D56C375C0E1693CD6835DB0D970B8BC7"))
                .size(),
            153U);
}

TEST(DeliverDecoding, WhatIsDeletedAndWhatIsSkipped) {
  const std::string good = Pdu("04", "00", "076376783E07C100");
  const struct {
    std::string pdu;
    Action action;
    const char* remark;
  } cases[] = {
      {"07911326040000F006050B911346610089F6208062917314082080629173140800", Action::kDelete, "not a received message"},
      {Pdu("05", "00", "00"), Action::kDelete, "not a received message"},
      {Pdu("07", "00", "00"), Action::kDelete, "not a received message"},
      {Pdu("44", "00", "1806080401020201311B489CA683E46573595E768FCB"), Action::kDelete,
       "its user-data header is not supported"},
      {Pdu("44", "04", "0B0605040B8423F070757368"), Action::kDelete, "its user-data header is not supported"},
      {Pdu("44", "04", "09040402F0F170757368"), Action::kDelete, "its user-data header is not supported"},
      {Pdu("44", "04", "0A05BF030102034142434400"), Action::kDelete, "its user-data header is not supported"},
      {Pdu("44", "04", "0A05E0030102034142434400"), Action::kDelete, "its user-data header is not supported"},
      {Pdu("44", "04", "0C0A00030102010003010202" + std::string("41")), Action::kDelete,
       "its user-data header is not supported"},  // two concatenations
      {Pdu("44", "C0", "0A0525030102034142434400"), Action::kSkip, "data coding scheme C0 is not supported"},
      {Pdu("44", "04", "0A0500010B000041424344"), Action::kDelete, "its user-data header is not supported"},
      {Pdu("44", "04", "0A0500040102034142434400"), Action::kSkip, "the user-data header contradicts its length"},
      {Pdu("44", "04", "0A0A00030102034142434400"), Action::kSkip, "the user-data header contradicts its length"},
      {Pdu("44", "04", "050A00030102030103000000"), Action::kSkip, "the user-data header contradicts its length"},
      {Pdu("44", "04", "00"), Action::kSkip, "the user-data header contradicts its length"},
      {Pdu("44", "00", "0605000301020100"), Action::kSkip, "the user-data header contradicts its length"},
      {good + "0", Action::kSkip, "the PDU has an odd number of digits"},
      {"G" + good.substr(1), Action::kSkip, "the PDU has characters that are no hex digits"},
      {good.substr(0, 20) + "OK" + good.substr(22), Action::kSkip, "the PDU has characters that are no hex digits"},
      {"", Action::kSkip, "there is no PDU"},
      {"7", Action::kSkip, "there is no PDU"},
      {"FF" + good.substr(2), Action::kSkip, "the PDU is cut short"},
      {"0791947101670000"
       "04FF" +
           good.substr(20),
       Action::kSkip, "the PDU is cut short"},
      {Pdu("04", "00", "086376783E07C1"), Action::kSkip, "the user data is shorter than its length"},
  };
  for (const auto& c : cases) {
    const DecodedEntry entry = Decode(c.pdu);
    EXPECT_EQ(entry.action, c.action) << c.pdu;
    EXPECT_EQ(entry.remark, c.remark) << c.pdu;
    EXPECT_EQ(entry.location, 7);
  }
  // Cut anywhere, it is left in the modem.
  const std::string whole = Pdu("44", "00", "16050003110302E6E5F1DB4D066D78F0B09CBEF101");
  for (std::size_t size = 0; size < whole.size(); ++size) {
    const DecodedEntry entry = Decode(whole.substr(0, size));
    EXPECT_EQ(entry.action, Action::kSkip) << size;
    EXPECT_NE(entry.remark, "") << size;
  }
}

TEST(DeliverDecoding, TimeStamps) {
  const DateTime usual{2024, 3, 5, 14, 7, 9};
  const struct {
    const char* digits;
    int zone;
    DateTime date;
  } cases[] = {
      {"42305041709000", 0, usual},
      {"42305041709008", 0, usual},
      {"4230504170900A", -300, usual},
      {"42305041709084", 720, usual},
      {"4230504170908C", -720, usual},
      {"42305041709099", -285, usual},
      {"42305041709097", 1185, usual},
      {"42209241709000", 0, {2024, 2, 29, 14, 7, 9}},
      // What is no date runs over into the next month, day or hour.
      {"32209241709000", 0, {2023, 3, 1, 14, 7, 9}},
      {"42315041709000", 0, {2025, 1, 5, 14, 7, 9}},
      {"42300041709000", 0, {2024, 2, 29, 14, 7, 9}},
      {"42305042000000", 0, {2024, 3, 6, 0, 0, 0}},
      {"42305032950600", 0, {2024, 3, 6, 0, 0, 0}},
      {"00000000000000", 0, {1999, 11, 30, 0, 0, 0}},
      {"99999999999999", -285, {2107, 6, 11, 4, 40, 39}},
  };
  for (const auto& c : cases) {
    const DecodedEntry entry = Decode(Pdu("04", "00", "00", c.digits));
    ASSERT_EQ(entry.action, Action::kStore) << c.digits;
    EXPECT_DOUBLE_EQ(entry.record.content->timeStamp, ToOleDate(c.date)) << c.digits;
    EXPECT_EQ(entry.record.content->timeZone, c.zone) << c.digits;
  }
  EXPECT_EQ(Decode(Pdu("04", "00", "00", "32209241709000")).record.content->timeStampRFC,
            u"Wed, 29 Mar 2023 14:07:09 GMT");  // the digits as they came
  for (const char* digits : {"423050417090FF", "423050417090A0", "4A305041709000"}) {
    const DecodedEntry entry = Decode(Pdu("04", "00", "00", digits));
    EXPECT_EQ(entry.action, Action::kSkip) << digits;
    EXPECT_EQ(entry.remark, std::string("the time stamp ") + digits + " is no date");
  }
}

// A message that lost octets on the line, a UART's queue of 16 digits perhaps, may look like one of another kind: it
// must not be deleted for that.
TEST(DeliverDecoding, WhatIsNotAsLongAsAnnouncedIsNotDeleted) {
  const std::string whole = Pdu("04", "00", "076376783E07C100");
  for (const std::size_t digits : {2U, 16U}) {
    for (std::size_t lost = 0; lost + digits <= whole.size(); lost += 2) {
      EXPECT_NE(DecodeEntry("7,1,," + LengthOf(whole), whole.substr(0, lost) + whole.substr(lost + digits)).action,
                Action::kDelete)
          << lost;
    }
  }
  // Its 25 octets are counted without the service centre's, and without those that fill the record on the SIM.
  const std::string report = "07911326040000F006050B911346610089F6208062917314082080629173140800";
  for (const char* header : {"7,1,,25", "7,1,\"a,b\",25"}) {
    EXPECT_EQ(DecodeEntry(header, report).action, Action::kDelete) << header;
    EXPECT_EQ(DecodeEntry(header, report + "FFFF").action, Action::kDelete) << header;
  }
  for (const char* header : {"7,1,,24", "7,1,,26", "7,1,,33", "7,1", "7,1,,"}) {
    EXPECT_EQ(DecodeEntry(header, report).action, Action::kSkip) << header;
  }
  for (const char* header : {"7,1,,24", "7,1,,33"}) {
    const DecodedEntry stored = DecodeEntry(header, whole);
    EXPECT_EQ(stored.action, Action::kStore);
    EXPECT_EQ(stored.remark, "it is not as long as the modem says");
  }
}

TEST(DeliverDecoding, TheLocation) {
  const std::string good = Pdu("04", "00", "076376783E07C100");
  const struct {
    const char* header;
    int location;  // -1: none
  } cases[] = {
      {"7,1,,25", 7},   {"0,1,\"TOKYO, JP\",25", 0}, {" 12 ,0,,25", 12}, {"32767", 32767}, {"32768,1,,25", -1},
      {"-1,1,,25", -1}, {"1.5,1,,25", -1},           {"X,1,,25", -1},    {"", -1},         {",7,1", -1},
  };
  for (const auto& c : cases) {
    const DecodedEntry entry = DecodeEntry(c.header, good);
    EXPECT_EQ(entry.action, c.location < 0 ? Action::kSkip : Action::kStore) << c.header;
    EXPECT_EQ(entry.location, c.location) << c.header;
  }
}

// --- UnpackUserData
// ----------------------------------------------------------------------------------------------------

// 3GPP TS 23.038, 6.2.1, but for 0x40, which is "@" here.
const std::u16string kAlphabet =
    u"@\u00A3$\u00A5\u00E8\u00E9\u00F9\u00EC\u00F2\u00C7\n\u00D8\u00F8\r\u00C5\u00E5\u0394_\u03A6\u0393\u039B\u03A9"
    u"\u03A0\u03A8\u03A3\u0398\u039E\u001B\u00C6\u00E6\u00DF\u00C9 !\"#\u00A4%&'()*+,-./0123456789:;<=>?"
    u"@ABCDEFGHIJKLMNOPQRSTUVWXYZ\u00C4\u00D6\u00D1\u00DC\u00A7\u00BFabcdefghijklmnopqrstuvwxyz\u00E4\u00F6\u00F1"
    u"\u00FC\u00E0";

char16_t ExtensionCharacter(char16_t code) {
  const std::u16string codes = u"\u000A\u0014\u001B\u0028\u0029\u002F\u003C\u003D\u003E\u0040\u0065";
  const std::u16string characters = u"\f^ {}\\[~]|\u20AC";
  const auto found = codes.find(code);
  return found == std::u16string::npos ? u'?' : characters[found];
}

// The definition by bit strings: the last unit first, cut into characters from the front.
std::u16string TextByBitString(const std::string& hex, std::size_t width, bool header, std::int16_t& limit) {
  std::string bits;
  const std::size_t unit = width == 16 ? 4 : 2;
  for (std::size_t i = 0; i < hex.size(); i += unit) bits.insert(0, HexToBits(hex.substr(i, unit)));
  if (header && width == 7 && !bits.empty()) bits.pop_back();
  bits.erase(0, bits.size() % width);
  std::u16string codes, text;
  for (std::size_t end = bits.size(); end > 0; end -= width) {
    codes += static_cast<char16_t>(std::stoul(bits.substr(end - width, width), nullptr, 2));
  }
  if (width != 7) return codes;
  for (std::size_t i = 0; i < codes.size(); ++i) {
    if (codes[i] != 27) {
      text += kAlphabet[codes[i]];
    } else if (++i < codes.size()) {
      text += ExtensionCharacter(codes[i]);
      --limit;
    }
  }
  return text;
}

TEST(UnpackUserData, ReadsAnyDigitsAsTheBitStringDoes) {
  std::mt19937 random(5);
  std::u16string pairs;
  for (char16_t code = 0; code < 128; ++code) pairs += {27, code};
  for (int run = 0; run < 3000; ++run) {
    const std::string digits = run % 2 == 0 ? "0123456789ABCDEF" : "0123456789ABCDEFgG ";
    std::string hex(random() % 60, '0');
    for (char& c : hex) c = digits[random() % digits.size()];
    if (run == 0) hex = EncodeUserData(pairs, 7);
    const bool header = random() % 2 == 0;
    for (const int width : {7, 8, 16}) {
      std::int16_t limit = 100, expectedLimit = 100;
      ASSERT_EQ(UnpackUserData(hex, width, header ? "1" : "0", limit),
                TextByBitString(hex, static_cast<std::size_t>(width), header, expectedLimit))
          << hex;
      ASSERT_EQ(limit, expectedLimit) << hex;
    }
  }
  std::int16_t limit = 3;
  EXPECT_EQ(UnpackUserData("41", 9, "0", limit), u"");
}

}  // namespace
}  // namespace tavro
