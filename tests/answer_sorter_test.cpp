#include "link/answer_sorter.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <ostream>
#include <string>
#include <string_view>
#include <vector>

#include "base/text.h"

namespace tavro {
namespace {

using End = AnswerSorter::End;

// "|" stands for <cr><lf> in all of these.
struct SorterCase {
  const char* name;
  std::string command, came;
  std::string own;  // the result or prompt included
  std::vector<std::string> unsolicited = {};
  End end = End::kOk;
  std::string rest = {};  // what came behind the end
  bool numericResults = false;
};

void PrintTo(const SorterCase& c, std::ostream* out) { *out << c.name; }

struct Sorted {
  std::string own, rest;
  std::vector<std::string> unsolicited;
  End end = End::kNone;

  bool operator==(const Sorted&) const = default;
};

void PrintTo(const Sorted& sorted, std::ostream* out) {
  *out << "own [" << sorted.own << "] rest [" << sorted.rest << "] end " << static_cast<int>(sorted.end);
  for (const std::string& line : sorted.unsolicited) *out << " [" << line << "]";
}

std::string Plain(std::string_view text) { return ReplaceAll(text, "|", "\r\n"); }

// Cut into pieces of these lengths; the last piece is what is left.
Sorted SortInPieces(const SorterCase& c, const std::vector<std::size_t>& lengths) {
  AnswerSorter sorter(Plain(c.command), c.numericResults);
  Sorted sorted;
  const auto take = [&] {
    for (std::string& line : sorter.TakeUnsolicited()) sorted.unsolicited.push_back(ReplaceAll(line, "\r\n", "|"));
  };
  sorted.rest = Plain(c.came);
  std::string input;
  for (std::size_t i = 0; i <= lengths.size() && !sorted.rest.empty(); ++i) {
    input += sorted.rest.substr(0, i < lengths.size() ? lengths[i] : std::string::npos);
    sorted.rest.erase(0, i < lengths.size() ? lengths[i] : std::string::npos);
    input.erase(0, sorter.Append(input));
    take();
  }
  sorted.rest = ReplaceAll(input + sorted.rest, "\r\n", "|");
  sorter.Finish();
  take();
  sorted.own = ReplaceAll(sorter.Own(), "\r\n", "|");
  sorted.end = sorter.Ending();
  return sorted;
}

class AnswerSorterTest : public testing::TestWithParam<SorterCase> {};

TEST_P(AnswerSorterTest, TellsTheLinesApartInWhateverPiecesTheyCome) {
  const SorterCase& c = GetParam();
  const Sorted expected{c.own, c.rest, c.unsolicited, c.end};
  const std::size_t size = Plain(c.came).size();
  EXPECT_EQ(SortInPieces(c, std::vector<std::size_t>(size, 1)), expected) << "by the octet";
  for (std::size_t cut = 0; cut < size; ++cut) ASSERT_EQ(SortInPieces(c, {cut}), expected) << "cut at " << cut;
}

constexpr char kServiceText[] = "+CUSD: 0,\"You have|OK|ERROR|> 5 EUR\",15";

const SorterCase kCases[] = {
    // Results.
    {"Ok", "AT+CSQ\r", "|+CSQ: 9,0||OK||RING|", "|+CSQ: 9,0||OK|", {}, End::kOk, "|RING|"},
    {"SmallLetters", "at+csq\r", "+csq:9,0|ok|", "+csq:9,0|ok|"},
    {"Error", "AT+CSQ\r", "|ERROR|", "|ERROR|", {}, End::kError},
    {"EquipmentError", "AT+CSQ\r", "|+CME ERROR: 10|", "|+CME ERROR: 10|", {}, End::kError},
    {"MessageError", "0011\x1a", "|+CMS ERROR: SC busy|", "|+CMS ERROR: SC busy|", {}, End::kError},
    {"NoCarrier", "ATD1;\r", "|NO CARRIER|", "|NO CARRIER|", {}, End::kError},
    {"Busy", "ATD1;\r", "|BUSY|", "|BUSY|", {}, End::kError},
    {"NotSupported", "AT+CNUM\r", "|COMMAND NOT SUPPORT|", "|COMMAND NOT SUPPORT|", {}, End::kError},
    {"TooMany", "AT+CNMI=2,1,0,0,0\r", "|TOO MANY PARAMETERS|", "|TOO MANY PARAMETERS|", {}, End::kError},
    {"NumericOk", "AT+CSQ\r", "+CSQ: 9,0|0\rRING", "+CSQ: 9,0|0\r", {}, End::kOk, "RING", true},
    {"NumericNoCarrier", "ATD1;\r", "3\r", "3\r", {}, End::kError, "", true},
    {"NumericError", "AT\r", "AT\r4\r", "4\r", {}, End::kError, "", true},
    {"ANumberIsNoResultOnceWordsCame", "AT+X\r", "|0|4||OK|", "|0|4||OK|"},
    {"WordsWhileNumbersAreExpected", "AT\r", "|OK|", "|OK\r", {}, End::kOk, "\n", true},
    {"NoEndOfLine", "AT\r", "|OK", "|OK"},
    {"HalfAnAnswer", "AT+CSQ\r", "|+CSQ: 9", "|+CSQ: 9", {}, End::kNone},
    {"Nothing", "AT\r", "", "", {}, End::kNone},

    // Line ends and echoes.
    {"LineFeeds", "AT+CSQ\r", "\n+CSQ: 9,0\n\nOK\n", "\n+CSQ: 9,0\n\nOK\n"},
    {"TwoCarriageReturns", "AT+CSQ\r", "\r|+CSQ: 9,0\r|RING\r|OK\r|", "\r|+CSQ: 9,0\r|OK\r|", {"RING"}},
    {"CarriageReturns", "AT+CSQ\r", "+CSQ: 9,0\rRING\rOK\r", "+CSQ: 9,0\rOK\r", {"RING"}},
    {"Echo", "AT+CSQ\r", "at+csq\r|+CSQ: 9,0||OK|", "+CSQ: 9,0||OK|"},
    {"EchoOfAnEntry", "AT+CMGS=19\r", "AT+CMGS=19\r|> ", ">", {}, End::kPrompt, " "},
    {"EchoOfAPdu", "0011AB\x1a", "0011AB\x1a|+CMGS: 7||OK|", "+CMGS: 7||OK|"},
    {"EchoOfAPduBehindItsPrompt", "0011AB\x1a", " |> 0011AB|+CMGS: 7||OK|", "+CMGS: 7||OK|"},
    {"BlankOfThePrompt", "0011AB\x1a", " |+CMGS: 7||OK|", "|+CMGS: 7||OK|"},

    // OK that is none.
    {"QuotedOk", "AT+COPS?\r", "|+COPS: 0,0,\"OK\"||OK|", "|+COPS: 0,0,\"OK\"||OK|"},
    {"OkInWords", "AT+CGMM\r", "|BOOK-1|TOKYO|OKAY||OK|", "|BOOK-1|TOKYO|OKAY||OK|"},
    {"ErrorInWords", "AT+CGMM\r", "|NO ERROR 5||OK|", "|NO ERROR 5||OK|"},
    {"OpenQuote", "AT+CNUM\r", "|+CNUM: \"me,1||OK|", "|+CNUM: \"me,1||OK|"},
    {"TextOverLines",
     "AT+CSQ\r",
     std::string("|") + kServiceText + "||+CSQ: 9,0||OK|",
     "|+CSQ: 9,0||OK|",
     {kServiceText}},

    // Lines of the modem's own accord.
    {"Before", "AT+CSQ\r", "|RING||+CMTI: \"SM\",3||+CSQ: 9,0||OK|", "|+CSQ: 9,0||OK|", {"RING", "+CMTI: \"SM\",3"}},
    {"BeforeTheResult", "AT+CSQ\r", "|+CSQ: 9,0||^RSSI:17||OK|", "|+CSQ: 9,0||OK|", {"^RSSI:17"}},
    {"WithoutAnAnswer", "", "|OK||RING|", "", {"OK", "RING"}, End::kNone},
    {"MessageWithItsPdu", "AT+CIMI\r", "|+CMT: ,19|0011AB||26201||OK|", "|26201||OK|", {"+CMT: ,19|0011AB"}},
    {"ReportInAListing",
     "AT+CMGL=4\r",
     "|+CMGL: 1,1,,2|+CDS: 6|00AA||0011|+CMGL: 2,1,,2|0022||OK|",
     "|+CMGL: 1,1,,2||0011|+CMGL: 2,1,,2|0022||OK|",
     {"+CDS: 6|00AA"}},
    {"ImeiBetweenOthers",
     "AT+CGSN\r",
     "|^BOOT:490154203,0||490154203237518||*PSUTTZ: 1||Call Ready||OK|",
     "|490154203237518||OK|",
     {"^BOOT:490154203,0", "*PSUTTZ: 1", "Call Ready"}},
    {"OthersWhoseNameNobodyKnows",
     "AT+CGSN\r",
     "|^NEW:1||490154203237518||#X: 2||OK|",
     "|490154203237518||OK|",
     {"^NEW:1", "#X: 2"}},
    {"AnotherNameInPlaceOfItsOwn", "AT+CGSN\r", "|+XGSN: 490154203237518||OK|", "|+XGSN: 490154203237518||OK|"},
    {"ItsOwnNameAmongOthers",
     "AT+CGSN\r",
     "|#X: 2||noise||+CGSN: 490154203237518||OK|",
     "|+CGSN: 490154203237518||OK|",
     {"#X: 2", "noise"}},
    {"TheSiblingsName", "AT+GMI\r", "|+CGMI: X||#X: 2||OK|", "|+CGMI: X||OK|", {"#X: 2"}},
    {"OtherSiblingsName", "AT+CGSN\r", "|+GSN: 4||#X: 2||OK|", "|+GSN: 4||OK|", {"#X: 2"}},
    {"Words",
     "AT+CIMI\r",
     "|SMS Ready|PB DONE|NITZ 26,1|26201|rdy||OK|",
     "26201||OK|",
     {"SMS Ready", "PB DONE", "NITZ 26,1", "rdy"}},
    {"AnyNameWithoutAName", "ATI\r", "|X|+GCAP: +CGSM|+CREG: 1||OK|", "|X|+GCAP: +CGSM||OK|", {"+CREG: 1"}},
    {"SeveralCommands",
     "AT+CSQ;+CREG?\r",
     "|+CSQ: 9,0|#X: 1|+CREG: 0,1||+CPIN: READY||OK|",
     "|+CSQ: 9,0|+CREG: 0,1||OK|",
     {"+CPIN: READY", "#X: 1"}},
    {"NamesInQuotes", "AT+X=\";+CREG\"\r", "|+CREG: 0,1||+X: 1||OK|", "|+X: 1||OK|", {"+CREG: 0,1"}},
    {"PinState", "AT+CPIN?\r", "|+CPIN: READY||+CPAS: 0||OK|", "|+CPIN: READY||OK|", {"+CPAS: 0"}},
    {"ServiceAnswer", "AT+CUSD=1,\"*100#\"\r", "|+CUSD: 0,\"A\",15||OK|", "|OK|", {"+CUSD: 0,\"A\",15"}},
    {"ServiceState", "AT+CUSD?\r", "|+CUSD: 1||OK|", "|+CUSD: 1||OK|"},

    // Registrations: an answer has <n> in front of the status.
    {"Registration", "AT+CREG?\r", "|+CREG: 1||+CREG: 0,1||OK|", "|+CREG: 0,1||OK|", {"+CREG: 1"}},
    {"RegistrationWithPlace",
     "AT+CEREG?\r",
     "|+CEREG: 1,\"00C3\",\"0A1B\"||+CEREG: 2,5,\"00C3\",\"0A1B\",7||OK|",
     "|+CEREG: 2,5,\"00C3\",\"0A1B\",7||OK|",
     {"+CEREG: 1,\"00C3\",\"0A1B\""}},
    {"RegistrationWithPlainPlace",
     "AT+CGREG?\r",
     "|+CGREG: 5,0123,4567||+CGREG: 2,05||OK|",
     "|+CGREG: 2,05||OK|",
     {"+CGREG: 5,0123,4567"}},
    {"RegistrationForms", "AT+CREG=?\r", "|+CREG: (0-2)||OK|", "|+CREG: (0-2)||OK|"},
    {"AnotherRegistration", "AT+CREG?\r", "|+CGREG: 0,1||+CREG: 0,2||OK|", "|+CREG: 0,2||OK|", {"+CGREG: 0,1"}},

    // Prompts.
    {"Prompt",
     "AT+CMGS=19\r",
     "|RING||+CMTI: \"SM\",3||> |RING|",
     "|>",
     {"RING", "+CMTI: \"SM\",3"},
     End::kPrompt,
     " |RING|"},
    {"PromptWithoutItsBlank", "AT+CMGS=19\r", "|>", "|>", {}, End::kPrompt},
    {"UnexpectedPrompt", "AT+CSQ\r", "|> ", "|> ", {}, End::kPrompt},
    {"UnexpectedPromptWithoutItsBlank", "AT+CSQ\r", "|>", "|>", {}, End::kPrompt},
    {"NoPromptInALine", "AT+CGMM\r", "|a> ||OK|", "|a> ||OK|"},
    {"PromptRefused", "AT+CMGS=19\r", "|+CMS ERROR: 302|", "|+CMS ERROR: 302|", {}, End::kError},
    {"LinesAroundAReference",
     "0011\x1a",
     "|#X: 1||+CMGS: 7||+CMTI: \"SM\",3||OK|",
     "|+CMGS: 7||OK|",
     {"+CMTI: \"SM\",3", "#X: 1"}},
};

INSTANTIATE_TEST_SUITE_P(Answers, AnswerSorterTest, testing::ValuesIn(kCases),
                         [](const auto& instance) { return std::string(instance.param.name); });

// What is not ended when an answer is not waited for goes to the next sorter.
TEST(AnswerSorterRestTest, KeepsALineThatHasOnlyBegun) {
  const std::string came = "\r\nRING\r\n\r\n+CMT: ,19\r\n0011\r\n";
  for (std::size_t cut = 0; cut < came.size(); ++cut) {
    std::vector<std::string> lines;
    std::string rest;
    for (const std::string& piece : {came.substr(0, cut), came.substr(cut)}) {
      AnswerSorter sorter({}, false);
      rest += piece;
      ASSERT_EQ(sorter.Append(rest), rest.size());
      for (std::string& line : sorter.TakeUnsolicited()) lines.push_back(std::move(line));
      rest = sorter.TakeRest();
    }
    EXPECT_EQ(lines, (std::vector<std::string>{"RING", "+CMT: ,19\r\n0011"})) << cut;
  }
}

TEST(AnswerSorterRestTest, APauseEndsALineThatACarriageReturnEnds) {
  AnswerSorter sorter("AT\r", false);
  EXPECT_FALSE(sorter.IsUnderWay());
  sorter.Append("\r\nRING\r\n");
  EXPECT_FALSE(sorter.IsUnderWay());
  sorter.Append("O");
  sorter.Pause();
  EXPECT_TRUE(sorter.IsUnderWay());
  sorter.Append("K\r");
  EXPECT_EQ(sorter.Ending(), End::kNone);
  sorter.Pause();
  EXPECT_EQ(sorter.Ending(), End::kOk);
  EXPECT_TRUE(sorter.SawWords());
}

TEST(AnswerSorterRestTest, AQuoteThatIsNeverClosedEnds) {
  AnswerSorter sorter("AT\r", false);
  const std::string line = "+CUSD: 0,\"" + std::string(98, 'x') + "\r\n";
  sorter.Append(line);
  for (int i = 0; i < 200; ++i) sorter.Append(std::string(98, 'x') + "\r\n");
  sorter.Append("OK\r\n");
  EXPECT_EQ(sorter.Ending(), End::kOk);
}

}  // namespace
}  // namespace tavro
