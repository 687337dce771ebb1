// What a simulated modem says when: at its start, around its answers and when things go wrong.
#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "simulator/printable.h"
#include "simulator/simulated_modem.h"

namespace tavro {
namespace {

// "hello" to 01701234567, assembled from 3GPP TS 23.040, 9.2.2.2.
constexpr char kSubmit[] =
    "0011000B811007214365F7"
    "0000A7"
    "05E8329BFD06";

// What is sent, and when, and what comes back until 10 s have passed.
struct Situation {
  const char* name;
  void (*prepare)(SimulatedModem& modem);
  std::vector<std::pair<std::int64_t, std::string>> sent;
  std::vector<std::string> heard;  // "<milliseconds> <bytes>"
};

void PrintTo(const Situation& situation, std::ostream* out) { *out << situation.name; }

class ModemSituation : public testing::TestWithParam<Situation> {};

TEST_P(ModemSituation, IsHeardAtItsTime) {
  SimulatedModem modem;
  modem.Settings().echo = false;
  GetParam().prepare(modem);
  std::vector<std::string> heard;
  const auto listenUntil = [&](std::int64_t ms) {
    for (auto due = modem.NextOutput(); due && *due < ms; due = modem.NextOutput()) {
      heard.push_back(std::to_string(*due) + " " + Printable(modem.TakeOutput(*due)));
    }
  };
  for (const auto& [ms, bytes] : GetParam().sent) {
    listenUntil(ms);
    modem.Receive(bytes, ms);
  }
  listenUntil(10000);
  EXPECT_EQ(heard, GetParam().heard);
}

using Moment = Interjection::Moment;

const Situation kSituations[] = {
    {"LinesOfItsOwnBeforeInsideAndBehindAnAnswer",
     [](SimulatedModem& modem) {
       modem.Interject({Moment::kBehind, "CALL"}, "AT+CSQ");
       modem.Interject({Moment::kBefore, "+CMT: ,19\r\n0011"}, "AT+CSQ", 1);
       modem.Interject({Moment::kBeforeResult, "RING"}, "at+c*", 1);
       modem.Interject({Moment::kBeforeResult, "NEVER"}, "PDU");
     },
     {{0, "AT+CSQ\r"}, {10, "AT+CSQ\r"}},
     {"0 <cr><lf>+CMT: ,19<cr><lf>0011<cr><lf><cr><lf>+CSQ: 23,0<cr><lf><cr><lf>RING<cr><lf><cr><lf>OK<cr><lf>"
      "<cr><lf>CALL<cr><lf>",
      "10 <cr><lf>+CSQ: 23,0<cr><lf><cr><lf>OK<cr><lf><cr><lf>CALL<cr><lf>"}},
    {"BetweenTheLinesOfAListingInTwoPieces",
     [](SimulatedModem& modem) {
       modem.Store("0001");
       modem.Store("0002", 2);
       modem.Interject({Moment::kBeforeLine, "RING", 3, 400}, "AT+CMGL=4");
       modem.Interject({Moment::kBeforeLine, "NEVER", 5}, "AT+CMGL=4");
     },
     {{0, "AT+CMGL=4\r"}},
     {"0 <cr><lf>+CMGL: 1,0,,1<cr><lf>0001<cr><lf><cr><lf>RI",
      "400 NG<cr><lf>+CMGL: 2,2,,1<cr><lf>0002<cr><lf><cr><lf>OK<cr><lf>"}},
    {"AroundThePromptAndTheResultOfAMessage",
     [](SimulatedModem& modem) {
       modem.Interject({Moment::kBefore, "A"}, "AT+CMGS=*");
       modem.Interject({Moment::kBehind, "B"}, "AT+CMGS=*");
       modem.Interject({Moment::kBefore, "C"}, "PDU");
       modem.Settings().sendMs = 3000;
     },
     {{0, "AT+CMGS=19\r"}, {100, kSubmit + std::string("\x1a")}},
     {"0 <cr><lf>A<cr><lf><cr><lf>> <cr><lf>B<cr><lf>",
      "3100 <cr><lf>C<cr><lf><cr><lf>+CMGS: 1<cr><lf><cr><lf>OK<cr><lf>"}},
    {"PeriodicLinesNeverWithinAnother",
     [](SimulatedModem& modem) {
       modem.UnsolicitedEvery("^RSSI: 17", 4000, 1000);
       modem.Settings().pieceSize = 8;
       modem.Settings().pieceGapMs = 1500;
     },
     {{4000, "AT+CSQ\r"}},
     {"1000 <cr><lf>^RSSI: 17<cr><lf>", "4000 <cr><lf>+CSQ: ", "5500 23,0<cr><lf><cr><lf><cr><lf>^RSSI: 17<cr><lf>",
      "7000 OK<cr><lf>", "9000 <cr><lf>^RSSI: 17<cr><lf>"}},
    {"ResultLateLostAndFirst",
     [](SimulatedModem& modem) {
       modem.Answer("AT+CSQ", ModemReply::Own().ResultLate(2000), 1);
       modem.Answer("AT+CSQ", ModemReply::Own().WithoutResult(), 1);
       modem.Settings().resultFirst = true;
       modem.Settings().lineEnd = "\r\r\n";
     },
     {{0, "AT+CPIN?\r"}, {1000, "AT+CSQ\r"}, {4000, "AT+CSQ\r"}},
     {"0 <cr><cr><lf>OK<cr><cr><lf><cr><cr><lf>+CPIN: READY<cr><cr><lf>",
      "3000 <cr><cr><lf>OK<cr><cr><lf><cr><cr><lf>+CSQ: 23,0<cr><cr><lf>", "4000 <cr><cr><lf>+CSQ: 23,0<cr><cr><lf>"}},
    {"EndlessAnswerEndsWithTheNextByte",
     [](SimulatedModem& modem) { modem.Answer("AT+CSQ", ModemReply::Endless("x", 300), 1); },
     {{0, "AT+CSQ\r"}, {700, "AT\r"}},
     {"0 x", "300 x", "600 x", "700 <cr><lf>OK<cr><lf>"}},
    {"PromptWithoutReason",
     [](SimulatedModem& modem) { modem.Answer("AT+CSQ", ModemReply::Bytes("\r\n> ")); },
     {{0, "AT+CSQ\r"}, {1, "AT\r"}, {2, "\x1b"}, {3, "AT+CSQ\r"}, {4, "00\x1a"}},
     {"0 <cr><lf>> ", "2 <cr><lf>OK<cr><lf>", "3 <cr><lf>> ", "4 <cr><lf>ERROR<cr><lf>"}},
    {"EchoesPdusWhateverItIsTold",
     [](SimulatedModem& modem) { modem.Settings().echo = modem.Settings().echoStuck = true; },
     {{0, "ATE0\r"}, {1, "AT+CMGS=19\r"}, {2, kSubmit}, {3, "\x1a"}},
     {"0 ATE0<cr><cr><lf>OK<cr><lf>", "1 AT+CMGS=19<cr><cr><lf>> ", std::string("2 ") + kSubmit,
      "3 <cr><lf>+CMGS: 1<cr><lf><cr><lf>OK<cr><lf>"}},
    {"LearnsTheBaudRate",
     [](SimulatedModem& modem) {
       modem.Settings().echo = true;
       modem.Settings().deafCommands = 2;
     },
     {{0, "AT\r\n"}, {1, "\r"}, {2, "AT\r\n"}, {3, "AT\r"}},
     {"3 AT<cr><cr><lf>OK<cr><lf>"}},
    {"StartsAndReadsItsSim",
     [](SimulatedModem& modem) {
       modem.Settings().startMs = 2000;
       modem.Settings().simBusyMs = 4000;
       modem.Settings().simBusyCommands = 1;
       modem.Unsolicited("^SYSSTART", 2500);
     },
     {{1000, "AT\r"}, {3000, "AT+CMEE=1\r"}, {4000, "AT+CPIN?\r"}, {4500, "AT+CMGL\r"}, {5000, "AT+CPIN?\r"}},
     {"2500 <cr><lf>^SYSSTART<cr><lf>", "3000 <cr><lf>OK<cr><lf>", "4000 <cr><lf>+CME ERROR: 14<cr><lf>",
      "4500 <cr><lf>+CMS ERROR: 314<cr><lf>", "5000 <cr><lf>+CPIN: READY<cr><lf><cr><lf>OK<cr><lf>"}},
    {"LeftAtItsPrompt",
     [](SimulatedModem& modem) { modem.Earlier("AT+CMGS=19\r0011"); },
     {{0, "AT\r"}, {1, "\x1b"}, {2, "AT\r"}},
     {"1 <cr><lf>OK<cr><lf>", "2 <cr><lf>OK<cr><lf>"}},
    {"LeftWithHalfACommand",
     [](SimulatedModem& modem) { modem.Earlier("ATE0\rAT+CM"); },
     {{0, "AT\r"}, {1, "AT\r"}},
     {"0 <cr><lf>ERROR<cr><lf>", "1 <cr><lf>OK<cr><lf>"}},
    {"LeftWithNumbersForResults",
     [](SimulatedModem& modem) { modem.Earlier("ATV0\r"); },
     {{0, "AT\r"}, {1, "ATV1\r"}},
     {"0 0<cr>", "1 <cr><lf>OK<cr><lf>"}},
};

INSTANTIATE_TEST_SUITE_P(Situations, ModemSituation, testing::ValuesIn(kSituations),
                         [](const auto& instance) { return std::string(instance.param.name); });

}  // namespace
}  // namespace tavro
