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

// What came, "|" for <cr><lf>: lines of the modem's own accord stand in braces, echoes in brackets, and the rest is the
// answer with its result or prompt.
struct SorterCase {
  const char* name;
  std::string command, came;
  End end = End::kOk;
  std::string rest = {};  // what came behind the end
  bool numericResults = false;
};

void PrintTo(const SorterCase& c, std::ostream* out) { *out << c.name; }

// Lines without their ends.
struct Sorted {
  std::vector<std::string> own, unsolicited;
  std::string rest;
  End end = End::kNone;

  bool operator==(const Sorted&) const = default;
};

void PrintTo(const Sorted& sorted, std::ostream* out) {
  *out << "own " << testing::PrintToString(sorted.own) << " unsolicited " << testing::PrintToString(sorted.unsolicited)
       << " rest [" << sorted.rest << "] end " << static_cast<int>(sorted.end);
}

std::string Plain(std::string_view text) { return ReplaceAll(text, "|", "\r\n"); }

void AddLines(std::vector<std::string>& lines, std::string_view text) {
  const std::string plain = ReplaceAll(Plain(text), "\r", "\n");
  for (const auto line : Split(plain, "\n")) {
    if (!line.empty()) lines.emplace_back(line);
  }
}

// Unsolicited lines in any order: those of an unknown name are told apart at the end.
Sorted Expected(const SorterCase& c) {
  Sorted sorted;
  sorted.rest = Plain(c.rest);
  sorted.end = c.end;
  for (std::size_t at = 0; at < c.came.size();) {
    const std::size_t start = std::min(c.came.find_first_of("{[", at), c.came.size());
    const std::size_t end = std::min(c.came.find_first_of("}]", start), c.came.size());
    AddLines(sorted.own, std::string_view(c.came).substr(at, start - at));
    if (start < c.came.size() && c.came[start] == '{') {
      sorted.unsolicited.push_back(Plain(c.came.substr(start + 1, end - start - 1)));
    }
    at = end + 1;
  }
  std::sort(sorted.unsolicited.begin(), sorted.unsolicited.end());
  return sorted;
}

// All that comes.
std::string Octets(const SorterCase& c) {
  std::string octets = Plain(c.came + c.rest);
  for (const char* mark : {"{", "}", "[", "]"}) octets = RemoveAll(octets, mark);
  return octets;
}

// Cut into pieces of these lengths; the last piece is what is left.
Sorted SortInPieces(const SorterCase& c, const std::vector<std::size_t>& lengths) {
  AnswerSorter sorter(c.command, c.numericResults);
  Sorted sorted;
  const auto take = [&] {
    for (std::string& line : sorter.TakeUnsolicited()) sorted.unsolicited.push_back(std::move(line));
  };
  sorted.rest = Octets(c);
  std::string input;
  for (std::size_t i = 0; i <= lengths.size() && !sorted.rest.empty(); ++i) {
    const std::size_t length = i < lengths.size() ? lengths[i] : std::string::npos;
    input += sorted.rest.substr(0, length);
    sorted.rest.erase(0, length);
    input.erase(0, sorter.Append(input));
    take();
  }
  sorted.rest.insert(0, input);
  sorter.Finish();
  take();
  AddLines(sorted.own, sorter.Own());
  sorted.end = sorter.Ending();
  std::sort(sorted.unsolicited.begin(), sorted.unsolicited.end());
  return sorted;
}

class AnswerSorterTest : public testing::TestWithParam<SorterCase> {};

TEST_P(AnswerSorterTest, TellsTheLinesApartInWhateverPiecesTheyCome) {
  const SorterCase& c = GetParam();
  const Sorted expected = Expected(c);
  const std::size_t size = Octets(c).size();
  EXPECT_EQ(SortInPieces(c, std::vector<std::size_t>(size, 1)), expected) << "by the octet";
  for (std::size_t cut = 0; cut < size; ++cut) ASSERT_EQ(SortInPieces(c, {cut}), expected) << "cut at " << cut;
}

const SorterCase kCases[] = {
    // Results.
    {"Ok", "AT+CSQ\r", "|+CSQ: 9,0||OK|", End::kOk, "|RING|"},
    {"SmallLetters", "at+csq\r", "+csq:9,0|ok|"},
    {"Error", "AT+CSQ\r", "|ERROR|", End::kError},
    {"EquipmentError", "AT+CSQ\r", "|+CME ERROR: 10|", End::kError},
    {"MessageError", "0011\x1a", "|+CMS ERROR: SC busy|", End::kError},
    {"NoCarrier", "ATD1;\r", "|NO CARRIER|", End::kError},
    {"Busy", "ATD1;\r", "|BUSY|", End::kError},
    {"NotSupported", "AT+CNUM\r", "|COMMAND NOT SUPPORT|", End::kError},
    {"TooMany", "AT+CNMI=2,1,0,0,0\r", "|TOO MANY PARAMETERS|", End::kError},
    {"NumericOk", "AT+CSQ\r", "+CSQ: 9,0|0\r", End::kOk, "RING", true},
    {"NumericNoCarrier", "ATD1;\r", "3\r", End::kError, "", true},
    {"NumericError", "AT\r", "[AT]\r4\r", End::kError, "", true},
    {"ANumberIsNoResultOnceWordsCame", "AT+X\r", "|0|4||OK|"},
    {"WordsWhileNumbersAreExpected", "AT\r", "|OK|", End::kOk, "", true},
    {"NoEndOfLine", "AT\r", "|OK"},
    {"HalfAnAnswer", "AT+CSQ\r", "|+CSQ: 9", End::kNone},
    {"Nothing", "AT\r", "", End::kNone},
    // Line ends and echoes.
    {"LineInTheEcho", "AT+GMI\r", "[A|]{+CDSI: \"SM\",1}|[T+GMI\r]|Simulated||OK|"},
    {"LineFeeds", "AT+CSQ\r", "\n+CSQ: 9,0\n\nOK\n"},
    {"TwoCarriageReturns", "AT+CSQ\r", "\r|+CSQ: 9,0\r|{RING}\r|OK\r|"},
    {"CarriageReturns", "AT+CSQ\r", "+CSQ: 9,0\r{RING}\rOK\r"},
    {"Echo", "AT+CSQ\r", "[at+csq]\r|+CSQ: 9,0||OK|"},
    {"EchoOfAnEntry", "AT+CMGS=19\r", "[AT+CMGS=19]\r|>", End::kPrompt, " "},
    {"EchoOfAPdu", "0011AB\x1a", "[0011AB\x1a]|+CMGS: 7||OK|"},
    {"EchoOfAPduBehindItsPrompt", "0011AB\x1a", "[ ]|[> 0011AB]|+CMGS: 7||OK|"},
    {"BlankOfThePrompt", "0011AB\x1a", "[ ]|+CMGS: 7||OK|"},
    // OK that is none.
    {"QuotedOk", "AT+COPS?\r", "|+COPS: 0,0,\"OK\"||OK|"},
    {"OkInWords", "AT+CGMM\r", "|BOOK-1|TOKYO|OKAY||OK|"},
    {"ErrorInWords", "AT+CGMM\r", "|NO ERROR 5||OK|"},
    {"OpenQuote", "AT+CNUM\r", "|+CNUM: \"me,1||OK|"},
    {"TextOverLines", "AT+CSQ\r", "|{+CUSD: 0,\"You have|OK|ERROR|> 5 EUR\",15}||+CSQ: 9,0||OK|"},
    // Lines of the modem's own accord.
    {"Before", "AT+CSQ\r", "|{RING}||{+CMTI: \"SM\",3}||+CSQ: 9,0||OK|"},
    {"BeforeTheResult", "AT+CSQ\r", "|+CSQ: 9,0||{^RSSI:17}||OK|"},
    {"WithoutAnAnswer", "", "|{OK}||{RING}|", End::kNone},
    {"MessageWithItsPdu", "AT+CIMI\r", "|{+CMT: ,19|0011AB}||26201||OK|"},
    {"ReportInAListing", "AT+CMGL=4\r", "|+CMGL: 1,1,,2|{+CDS: 6|00AA}||0011|+CMGL: 2,1,,2|0022||OK|"},
    {"ImeiBetweenOthers", "AT+CGSN\r", "|{^BOOT:490154203,0}||490154203237518||{*PSUTTZ: 1}||{Call Ready}||OK|"},
    {"OthersWhoseNameNobodyKnows", "AT+CGSN\r", "|{^NEW:1}||490154203237518||{#X: 2}||OK|"},
    {"AnotherNameInPlaceOfItsOwn", "AT+CGSN\r", "|+XGSN: 490154203237518||OK|"},
    {"ItsOwnNameAmongOthers", "AT+CGSN\r", "|{#X: 2}||{noise}||+CGSN: 490154203237518||OK|"},
    {"TheSiblingsName", "AT+GMI\r", "|+CGMI: X||{#X: 2}||OK|"},
    {"OtherSiblingsName", "AT+CGSN\r", "|+GSN: 4||{#X: 2}||OK|"},
    {"Words", "AT+CIMI\r", "|{SMS Ready}|{PB DONE}|{NITZ 26,1}|26201|{rdy}||OK|"},
    {"AnyNameWithoutAName", "ATI\r", "|X|+GCAP: +CGSM|{+CREG: 1}||OK|"},
    {"SeveralCommands", "AT+CSQ;+CREG?\r", "|+CSQ: 9,0|{#X: 1}|+CREG: 0,1||{+CPIN: READY}||OK|"},
    {"NamesInQuotes", "AT+X=\";+CREG\"\r", "|{+CREG: 0,1}||+X: 1||OK|"},
    {"PinState", "AT+CPIN?\r", "|+CPIN: READY||{+CPAS: 0}||OK|"},
    {"ServiceAnswer", "AT+CUSD=1,\"*100#\"\r", "|{+CUSD: 0,\"A\",15}||OK|"},
    {"ServiceState", "AT+CUSD?\r", "|+CUSD: 1||OK|"},
    // Registrations: an answer has <n> in front of the status.
    {"Registration", "AT+CREG?\r", "|{+CREG: 1}||+CREG: 0,1||OK|"},
    {"RegistrationWithPlace", "AT+CEREG?\r", "|{+CEREG: 1,\"00C3\",\"0A1B\"}||+CEREG: 2,5,\"00C3\",\"0A1B\",7||OK|"},
    {"RegistrationWithPlainPlace", "AT+CGREG?\r", "|{+CGREG: 5,0123,4567}||+CGREG: 2,05||OK|"},
    {"RegistrationForms", "AT+CREG=?\r", "|+CREG: (0-2)||OK|"},
    {"AnotherRegistration", "AT+CREG?\r", "|{+CGREG: 0,1}||+CREG: 0,2||OK|"},
    // Prompts.
    {"Prompt", "AT+CMGS=19\r", "|{RING}||{+CMTI: \"SM\",3}||>", End::kPrompt, " |RING|"},
    {"UnknownLinesBeforeThePrompt", "AT+CMGS=19\r", "|{#X: 1}||{noise}||>", End::kPrompt, " "},
    {"PromptWithoutItsBlank", "AT+CMGS=19\r", "|>", End::kPrompt},
    {"UnexpectedPrompt", "AT+CSQ\r", "|> ", End::kPrompt},
    {"UnexpectedPromptWithoutItsBlank", "AT+CSQ\r", "|>", End::kPrompt},
    {"NoPromptInALine", "AT+CGMM\r", "|a> ||OK|"},
    {"PromptRefused", "AT+CMGS=19\r", "|+CMS ERROR: 302|", End::kError},
    {"LinesAroundAReference", "0011\x1a", "|{#X: 1}||+CMGS: 7||{+CMTI: \"SM\",3}||OK|"},
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

// What never ends is looked at once: again for each octet, even these would take minutes.
TEST(AnswerSorterRestTest, NoiseCostsNoMoreThanItsLength) {
  constexpr std::size_t kSize = 1 << 18;
  for (const std::string start : {"x", "> > ", "+CUSD: 0,\"", "+CMTI: ", "\r\n"}) {
    for (const char octet : {'\r', '\n', 'x', '"', '\0', ' '}) {
      for (const char* command : {"", "AT+CMGS=23\r", "AT+CSQ\r"}) {
        AnswerSorter sorter(command, true);
        const std::string noise = start + std::string(kSize, octet);
        std::size_t taken = 0;
        for (constexpr std::size_t kPiece = 64; taken < noise.size() && sorter.Ending() == End::kNone;) {
          taken += sorter.Append(std::string_view(noise).substr(taken, kPiece));
          EXPECT_LE(sorter.TakeUnsolicited().size(), kPiece);
        }
        EXPECT_LE(sorter.Size(), noise.size());
      }
    }
  }
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
