// Received messages and alphabets as other projects read them: every row of tests/data is agreed with in the prompt
// manner, or its exception stands here with the reason.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <map>

#include "base/text.h"
#include "foreign_rows.h"
#include "incoming/deliver_decoding.h"
#include "incoming/septets.h"
#include "simulator/simulated_line.h"

namespace tavro {
namespace {

DecodedEntry Decode(const std::string& pdu) {
  static const DateNames names = [] {
    SimulatedLine line;
    return LocalDateNames(line);
  }();
  const long octets = static_cast<long>(pdu.size() / 2) - 1 - std::strtol(pdu.substr(0, 2).c_str(), nullptr, 16);
  return DecodeStoredMessage("7,1,," + std::to_string(octets) + "\r\n" + Upper(pdu) + "\r\n\r\nOK\r\n", names,
                             kPromptManner);
}

TEST(ForeignPdus, ReceivedMessages) {
  // By row, from 1.
  const std::map<int, std::string> otherTimes = {
      {26, "the source says 2098, as this does; the row has the year of the capture"},
  };
  int number = 0;
  for (const Row& row : Rows("deliver.tsv")) {
    SCOPED_TRACE(std::to_string(++number) + ": " + row.at("pdu"));
    const DecodedEntry entry = Decode(row.at("pdu"));
    ASSERT_EQ(entry.action, DecodedEntry::Action::kStore) << entry.remark;
    const SIMMessage& record = entry.record;
    const auto expectText = [&](const std::u16string& text, const char* column) {
      if (IsAsserted(row.at(column))) {
        EXPECT_EQ(text, Text(row.at(column)));
      }
    };
    expectText(record.content->phone, "sender");
    expectText(record.content->text, "text");
    expectText(record.content->smsc, "smsc");
    if (IsAsserted(row.at("ts"))) {
      EXPECT_EQ(record.content->details->sent == Seconds(row.at("ts")), !otherTimes.contains(number));
    }
    if (IsAsserted(row.at("concat"))) {
      char* rest = nullptr;
      EXPECT_EQ(record.concatReference & 0xFFFF, std::strtol(row.at("concat").c_str(), &rest, 16));
      EXPECT_EQ("/" + std::to_string(record.concatTotal) + "/" + std::to_string(record.concatPart), rest);
    }
  }
  EXPECT_EQ(number, 40);
}

TEST(ForeignPdus, StatusReports) {
  constexpr double kUnixStart = 25569;  // 1970-01-01 as an OLE Automation date
  const auto seconds = [](double date, int zone) { return std::llround((date - kUnixStart) * 86400) - zone * 60; };
  for (const Row& row : Rows("status-report.tsv")) {
    SCOPED_TRACE(row.at("pdu"));
    const DecodedEntry entry = Decode(row.at("pdu"));
    ASSERT_EQ(entry.action, DecodedEntry::Action::kReport);
    const StatusReport& report = *entry.report;
    int status = -1, reference = -1;
    char discharge[32];
    ASSERT_EQ(std::sscanf(row.at("text").c_str(), "status=%d ref=%d discharge=%31s", &status, &reference, discharge),
              3);
    EXPECT_EQ(report.status, status);
    EXPECT_EQ(report.state, DeliveryState::kDelivered);
    EXPECT_EQ(report.reference, reference);
    EXPECT_EQ(report.recipient, Text(row.at("sender")));
    EXPECT_EQ(report.smsc, Text(row.at("smsc")));
    EXPECT_EQ(seconds(report.sentTimeStamp, report.sentTimeZone), Seconds(row.at("ts")));
    EXPECT_EQ(seconds(report.dischargeTimeStamp, report.dischargeTimeZone), Seconds(discharge));
  }
}

std::vector<std::uint8_t> Octets(const std::string& hex) {
  std::vector<std::uint8_t> octets;
  for (std::size_t i = 0; i < hex.size(); i += 2) {
    octets.push_back(static_cast<std::uint8_t>(std::strtol(hex.substr(i, 2).c_str(), nullptr, 16)));
  }
  return octets;
}

// Where a row does not give the number of septets, its text does, as the length in a message would.
TEST(ForeignPdus, PackedTexts) {
  const auto rows = Rows("gsm7.tsv");
  EXPECT_EQ(rows.size(), 21U);
  for (const Row& row : rows) {
    ASSERT_EQ(row.at("locking") + row.at("single"), "DEFAULTDEFAULT");
    const std::u16string text = Text(row.at("text"));
    auto septets = static_cast<std::size_t>(std::atol(row.at("septets").c_str()));
    if (septets == 0) {
      const auto isPair = [](char16_t c) { return std::u16string_view(u"[]{}|~^\\\f\u20AC").find(c) < 10; };
      septets = text.size() + static_cast<std::size_t>(std::count_if(text.begin(), text.end(), isPair));
    }
    const auto fillBits = static_cast<std::size_t>(std::atol(row.at("fill_bits").c_str()));
    EXPECT_EQ(SeptetText(Octets(row.at("packed")), fillBits, septets), text) << row.at("packed");
  }
}

TEST(ForeignPdus, NationalTables) {
  // The source has the first three signs of Bengali in the Hindi table; 3GPP TS 23.038, A.3.6, has those of Devanagari.
  const std::map<std::string, char16_t> corrections = {
      {"6 locking 00", u'\u0901'}, {"6 locking 01", u'\u0902'}, {"6 locking 02", u'\u0903'}};
  int characters = 0;
  for (const Row& row : Rows("national-tables.tsv")) {
    const int language = std::atoi(row.at("id").c_str());
    const bool isLocking = row.at("table") == "locking";
    for (const auto cell : Split(row.at("characters"), " ")) {
      const std::string key = row.at("id") + " " + row.at("table") + " " + std::string(cell.substr(0, 2));
      const auto code = static_cast<unsigned>(std::strtol(std::string(cell).c_str(), nullptr, 16));
      auto expected = static_cast<char16_t>(std::strtol(std::string(cell.substr(3)).c_str(), nullptr, 16));
      if (corrections.contains(key)) {
        EXPECT_NE(expected, corrections.at(key));
        expected = corrections.at(key);
      }
      ++characters;
      if (code == 0x1B) continue;  // the escape, which Turkish and Portuguese list as itself
      // The septet alone, or behind an escape.
      const unsigned packed = isLocking ? code : 0x1B | code << 7;
      const std::uint8_t octets[] = {static_cast<std::uint8_t>(packed), static_cast<std::uint8_t>(packed >> 8)};
      const Languages languages{isLocking ? language : 0, isLocking ? 0 : language};
      EXPECT_EQ(SeptetText(octets, 0, isLocking ? 1 : 2, languages), std::u16string(1, expected)) << key;
    }
  }
  EXPECT_EQ(characters, 2299);
}

}  // namespace
}  // namespace tavro
