// PDUs taken apart field by field, and built, without a modem.
#include "tavro/pdu.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>
#include <random>

#include "engine_fixture.h"
#include "foreign_rows.h"
#include "incoming/deliver_decoding.h"
#include "simulator/simulated_line.h"

namespace tavro {
namespace {

// Why the fields are not all bits of the PDU in order, each once; empty when they are.
std::string Gap(const DecodedPdu& pdu) {
  std::size_t bit = 0;
  for (const PduField& field : pdu.fields) {
    const std::size_t first = field.offset * 8 + field.firstBit;
    const bool isWithin = field.length == (field.firstBit + field.bitCount + 7) / 8 && field.firstBit < 8;
    if (first != bit || field.bitCount == 0 || !isWithin) return field.name + " at bit " + std::to_string(first);
    bit += field.bitCount;
  }
  return bit == pdu.octets.size() * 8 ? "" : "the last field ends at bit " + std::to_string(bit);
}

// "0 SCA Length: ...", and for bits "8.2+1 TP-MMS: ..." with the octet, the first bit and the number of bits.
std::string Explained(const std::string& hex, std::size_t firstOctet = 0) {
  std::string text;
  const DecodedPdu pdu = DecodePdu(hex);
  for (const PduField& field : pdu.fields) {
    if (field.offset < firstOctet) continue;
    text += std::to_string(field.offset);
    if (field.bitCount % 8 != 0) text += "." + std::to_string(field.firstBit) + "+" + std::to_string(field.bitCount);
    text += " " + field.name + ": " + ToUtf8(field.value) + "\n";
  }
  return text + ToUtf8(pdu.error);
}

std::vector<Row> AllRows() {
  std::vector<Row> rows;
  for (const char* file : {"deliver.tsv", "submit.tsv", "status-report.tsv"}) {
    for (Row& row : Rows(file)) rows.push_back(std::move(row));
  }
  return rows;
}

bool HasServiceCentre(const Row& row) { return !Contains(row.at("note"), "no SMSC octet"); }

TEST(Pdu, ReadsWhatOtherProjectsHave) {
  constexpr double kUnixStart = 25569;                                         // 1970-01-01 as an OLE Automation date
  const std::map<std::string, std::string> corrections = {{"00999", "+999"}};  // as it is dialled
  int texts = 0, times = 0;
  for (const Row& row : AllRows()) {
    SCOPED_TRACE(row.at("pdu"));
    const DecodedPdu pdu = DecodePdu(row.at("pdu"), {.hasServiceCentre = HasServiceCentre(row)});
    EXPECT_EQ(ToUtf8(pdu.error), "");
    EXPECT_EQ(Gap(pdu), "");
    const std::string sender = row.at("sender"), text = row.at("text");
    if (IsAsserted(sender)) {
      EXPECT_EQ(ToUtf8(pdu.number), corrections.contains(sender) ? corrections.at(sender) : ToUtf8(Text(sender)));
    }
    if (IsAsserted(row.at("smsc"))) {
      EXPECT_EQ(pdu.serviceCentre, Text(row.at("smsc")));
    }
    if (IsAsserted(text) && pdu.kind != PduKind::kStatusReport) {
      EXPECT_EQ(pdu.text, Text(text));
      ++texts;
    }
    if (pdu.kind == PduKind::kStatusReport) {
      const auto hasReference = "status=" + std::to_string(pdu.status) + " ref=" + std::to_string(pdu.reference) + " ";
      EXPECT_TRUE(text.starts_with(hasReference)) << hasReference;
      EXPECT_TRUE(pdu.dischargeTime.has_value());
    }
    if (IsAsserted(row.at("ts")) && row.at("ts").starts_with("20") && pdu.time->rfcText.find(u"2098") > 99) {
      EXPECT_EQ(std::llround((pdu.time->date - kUnixStart) * 86400) - pdu.time->zone * 60, Seconds(row.at("ts")));
      ++times;
    }
    if (row.contains("concat") && IsAsserted(row.at("concat"))) {
      char* rest = nullptr;
      EXPECT_EQ(pdu.concatenation->reference, std::strtol(row.at("concat").c_str(), &rest, 16));
      EXPECT_EQ("/" + std::to_string(pdu.concatenation->parts) + "/" + std::to_string(pdu.concatenation->part), rest);
    }
  }
  EXPECT_GT(texts, 40);
  EXPECT_EQ(times, 14);
}

// As an independent decoder has them, bit for bit.
TEST(Pdu, NamesEveryBit) {
  EXPECT_EQ(Explained("0791947101670000640C917194214365870000423050417090400F0B0504158A00000003CC02012001"),
            R"(0 SCA Length: 7 octets
1 SCA Type-of-Address: international, ISDN/telephone
2 SCA Address-Value: +491710760000
8.0+2 TP-MTI: SMS-DELIVER
8.2+1 TP-MMS: no more messages wait
8.3+1 TP-LP: not forwarded or spawned
8.4+1 reserved: 0
8.5+1 TP-SRI: a status report to sender
8.6+1 TP-UDHI: TP-UD begins with a header
8.7+1 TP-RP: no reply path
9 TP-OA Address-Length: 12 semi-octets
10 TP-OA Type-of-Address: international, ISDN/telephone
11 TP-OA Address-Value: +174912345678
17 TP-PID: SME-to-SME
18 TP-DCS: GSM 7-bit default alphabet
19 TP-SCTS: Tue, 05 Mar 2024 14:07:09 +01:00
26 TP-UDL: 15 septets
27 UDHL: 11 octets of information elements
28 IEI: application port addressing scheme, 16 bit address
29 IEIDL: 4 octets
30 IED: destination port 5514
32 IED: source port 0
34 IEI: concatenated short messages, 8-bit reference number
35 IEIDL: 3 octets
36 IED: reference 204
37 IED: 2 parts
38 IED: part 1
39.0+2 fill bits: up to the next septet
39.2+7 TP-UD: H
40.1+7 fill bits: up to the end of the octet
)");
  // An absolute validity period.
  EXPECT_EQ(Explained("00B92A0C91719421436587001842305041709080060041263AD83D", 12),
            R"(12 TP-DCS: UCS2, class 0 (shown at once)
13 TP-VP: Tue, 05 Mar 2024 14:07:09 +02:00
20 TP-UDL: 6 octets
21 TP-UD: A☺?
)");
  EXPECT_EQ(Explained("00B92A", 1), R"(1.0+2 TP-MTI: SMS-SUBMIT
1.2+1 TP-RD: duplicates are accepted
1.3+2 TP-VPF: TP-VP in absolute format
1.5+1 TP-SRR: a status report is wanted
1.6+1 TP-UDHI: TP-UD has no header
1.7+1 TP-RP: reply path
2 TP-MR: 42
the PDU ends before TP-DA Address-Length at octet 3, which needs 1 octet)");
  // A report with the parameters that are not there as a rule.
  EXPECT_EQ(Explained("00066504812143423050417090404230504180904030070004024869", 14),
            R"(14 TP-DT: Tue, 05 Mar 2024 14:08:09 +01:00
21 TP-ST: Specific to the service centre (30), still trying
22.0+1 TP-PI TP-PID: there
22.1+1 TP-PI TP-DCS: there
22.2+1 TP-PI TP-UDL: there
22.3+4 TP-PI reserved: 0
22.7+1 TP-PI extension: not there
23 TP-PID: SME-to-SME
24 TP-DCS: 8 bit data
25 TP-UDL: 2 octets
26 TP-UD: Hi
)");
}

struct BrokenPdu {
  const char* hex;
  std::size_t octet;
  const char* error;
};

TEST(Pdu, SaysWhatIsBrokenAndWhere) {
  const BrokenPdu kBroken[] = {
      {"", 0, "there is no PDU"},
      {" \r\n", 0, "there is no PDU"},
      {"00 0", 1, "the last octet has one digit alone"},
      {"0004x5", 2, "character 5 is no hex digit"},
      {"0x04", 0, "character 2 is no hex digit"},
      {"00", 1, "the PDU ends before TP-MTI at octet 1, which needs 1 octet"},
      {"0791", 2, "the PDU ends before SCA Address-Value at octet 2, which needs 6 octets"},
      {"11000B918167", 0,
       "the service centre's address cannot have 17 octets: perhaps there is none in front of this PDU"},
      {"0004048121430000423050417090", 8, "the PDU ends in TP-SCTS at octet 8, which needs 7 octets and has 6"},
      {"00040481214300004230504170904003C8329B", 0, ""},
      {"00040481214300004230504170904004C83299", 19,
       "TP-UDL at octet 15 announces 4 octets of TP-UD, and the PDU has 3"},
      {"00440481214300044230504170904004050003CC", 16,
       "the user data header at octet 16 needs 6 octets, and TP-UD has 4"},
      {"0044048121430004423050417090400603000301CC41", 17,
       "the information element at octet 17 needs 3 octets of data, and the header has 1"},
      {"004404812143000442305041709040040108CC41", 17, "the information element at octet 17 has no length"},
  };
  for (const BrokenPdu& broken : kBroken) {
    SCOPED_TRACE(broken.hex);
    const DecodedPdu pdu = DecodePdu(broken.hex);
    EXPECT_EQ(ToUtf8(pdu.error), broken.error);
    EXPECT_EQ(pdu.errorOctet, broken.octet);
    EXPECT_EQ(Gap(pdu), "");
  }
  const auto refusal = [](const char* hex, PduDirection direction) {
    return ToUtf8(DecodePdu(hex, {.direction = direction}).error);
  };
  EXPECT_EQ(refusal("000100", PduDirection::kReceived),
            "the PDU at octet 1 is of the type SMS-SUBMIT-REPORT, which is not decoded");
  EXPECT_EQ(refusal("000200", PduDirection::kSent),
            "the PDU at octet 1 is of the type SMS-COMMAND, which is not decoded");
  EXPECT_EQ(refusal("000000", PduDirection::kSent),
            "the PDU at octet 1 is of the type SMS-DELIVER-REPORT, which is not decoded");
}

// Real PDUs with octets changed, lost and doubled. What the inbox makes of them is read the same here.
TEST(Pdu, CoversAndAgreesWhateverComes) {
  SimulatedLine line;
  const DateNames names = LocalDateNames(line);
  std::mt19937 random(20240229);
  const auto below = [&](std::size_t limit) { return random() % limit; };
  const std::vector<Row> rows = AllRows();
  int whole = 0;
  for (int round = 0; round < 5000; ++round) {
    const Row& row = rows[below(rows.size())];
    std::string hex = Upper(HasServiceCentre(row) ? row.at("pdu") : "00" + row.at("pdu"));
    for (std::size_t change = below(4); change > 0 && hex.size() > 2; --change) {
      const std::size_t at = below(hex.size());
      switch (below(4)) {
        case 0:
          hex.resize(at / 2 * 2);
          break;
        case 1:
          hex.insert(at / 2 * 2, hex.substr(0, 2));
          break;
        default:
          hex[at] = "0123456789ABCDEF"[below(16)];
      }
    }
    const DecodedPdu pdu = DecodePdu(hex);
    ASSERT_EQ(Gap(pdu), "") << hex;
    ASSERT_LE(pdu.errorOctet, hex.size() / 2) << hex;
    if (pdu.HasError() || pdu.kind == PduKind::kSubmit) continue;
    ++whole;
    const std::string length = std::to_string(static_cast<int>(pdu.octets.size()) - 1 - pdu.octets[0]);
    const DecodedEntry entry = DecodeStoredMessage("7,1,," + length + "\r\n" + hex, names, kPromptManner);
    ASSERT_FALSE(entry.isDamaged) << hex << " " << entry.remark;
    if (pdu.kind == PduKind::kStatusReport) {
      ASSERT_EQ(entry.report->recipient, pdu.number) << hex;
      ASSERT_EQ(entry.report->status, pdu.status) << hex;
      continue;
    }
    const MessageContent& content = *entry.record.content;
    ASSERT_EQ(content.phone, pdu.number) << hex;
    ASSERT_EQ(content.text, pdu.text) << hex;
    ASSERT_EQ(content.smsc, pdu.serviceCentre) << hex;
    ASSERT_EQ(content.details->data, pdu.data) << hex;
    ASSERT_EQ(content.details->messageClass, pdu.messageClass) << hex;
    ASSERT_EQ(content.details->ports.has_value(), pdu.ports.has_value()) << hex;
    ASSERT_EQ(entry.record.concatReference & 0xFFFF, pdu.concatenation ? pdu.concatenation->reference : 0) << hex;
  }
  EXPECT_GT(whole, 1000);
}

TEST(Pdu, BuildsWhatIsSent) {
  const std::u16string longText(200, u'x'), wideText(100, u'Ж');
  for (const bool isWide : {false, true}) {
    Engine engine({}, Options{.dialogue = Dialogue::kPrompt, .wideReferences = isWide});
    engine.sms.SetStatusReport(true);
    engine.sms.SetValidity(u"2W");
    for (const std::u16string& text : {std::u16string(u"hello [\u20AC]"), longText, wideText}) {
      for (const std::int16_t coding : std::initializer_list<std::int16_t>{7, 8, 16}) {
        for (const bool flash : {false, true}) {
          engine.sms.SetCharacter(coding);
          const std::size_t before = engine.modem.Pdus().size();
          ASSERT_TRUE(engine.sms.SendSMS(u"+491701234567", text, flash)) << engine.ErrorText();
          std::vector<std::string> sent;
          for (std::size_t i = before; i < engine.modem.Pdus().size(); ++i) {
            sent.push_back(engine.modem.Pdus()[i].text);
          }
          const auto part = DecodePdu(sent.front()).concatenation;
          const EncodedPdu built = EncodePdu(u"+491701234567", text,
                                             {.coding = coding,
                                              .validity = u"2W",
                                              .statusReport = true,
                                              .flash = flash,
                                              .wideReferences = isWide,
                                              .reference = part ? part->reference : 0,
                                              .serviceCentre = engine.sms.SMSC()});
          ASSERT_EQ(built.parts.size(), sent.size());
          for (std::size_t i = 0; i < sent.size(); ++i) EXPECT_EQ(built.parts[i].hex, sent[i]);
          EXPECT_EQ(DecodePdu(built.parts.front().hex).octets.size() - 8, built.parts.front().tpduLength);
        }
      }
    }
  }
}

TEST(Pdu, RefusesAsSendingDoes) {
  struct Case {
    const char16_t* number;
    std::u16string text;
    EncodeOptions options;
    std::int32_t code;
    const char* error;
  };
  const Case kCases[] = {
      {u"nobody", u"a", {}, 4004, "Invalid destination number"},
      {u"+", u"a", {}, 4004, "Invalid destination number"},
      {u"123456789012345678901", u"a", {}, 4017, "Error generating message PDU"},
      {u"123", u"a", {.coding = 5}, 4015, "Invalid character encoding"},
      {u"123", u"a", {.longMessage = 4}, 4005, "Invalid long message action"},
      {u"123", u"a", {.validity = u"25H"}, 4003, "Unable to set validity period"},
      {u"123", u"", {}, 4016, "Send message error"},
      {u"123", u"a", {.serviceCentre = u"none"}, 4018, "SMSC not specified"},
      {u"123", u"a", {.reference = 256}, 5010, "Invalid message references"},
      {u"123", u"a", {.wideReferences = true, .reference = 65535}, 0, ""},
  };
  for (const Case& c : kCases) {
    const EncodedPdu encoded = EncodePdu(c.number, c.text, c.options);
    EXPECT_EQ(encoded.errorCode, c.code);
    EXPECT_EQ(ToUtf8(encoded.errorDescription), c.error);
    EXPECT_EQ(encoded.parts.empty(), c.code != 0);
  }
  // The coding that keeps the text.
  EXPECT_EQ(EncodePdu(u"12", u"€").parts.front().hex, "0011000281210000A7029B32");
  EXPECT_EQ(EncodePdu(u"12", u"Ж").parts.front().hex, "0011000281210008A7020416");
}

}  // namespace
}  // namespace tavro
