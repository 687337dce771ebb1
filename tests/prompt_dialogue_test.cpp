// Whole dialogues in the prompt manner: each command as soon as the one before is answered.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "prompt_life.h"

namespace tavro {
namespace {

// The concatenation's reference, and 144 times "a", in brackets.
std::string WithoutTexts(std::string transcript, const SimulatedModem& modem) {
  std::string text;
  for (int i = 0; i < 18; ++i) text += "E170381C0E87C3";
  transcript = ReplaceAll(transcript, text, "(18 times E170381C0E87C3)");
  return ReplaceAll(transcript, "050003" + modem.Pdus().at(0).text.substr(50, 2), "050003(reference)");
}

TEST(PromptDialogueTest, ConnectsSendsAndAsks) {
  PromptEngine engine;
  engine.modem.Settings().latencyMs = 10;
  EXPECT_EQ(engine.sms.SendSMS(kSomebody, std::u16string(161, u'a')), u"1,2");
  EXPECT_EQ(engine.sms.SignalStrengthDB(), -67);
  EXPECT_EQ(WithoutTexts(engine.Transcript(), engine.modem), R"(
     0 log Sending message to +919812345678 [Option: 3; Encoding: 7 bits]
     0 log Opening port COM1 [baud=19200 parity=N data=8 stop=1]
     0 CreateFile \\.\COM1
     0 SetupComm 4096 1024
     0 PurgeComm 15
     0 SetCommTimeouts 0 0 750 2 0
     0 GetCommState
     0 BuildCommDCB baud=19200 parity=N data=8 stop=1
     0 SetCommState
     0 EscapeCommFunction 3
     0 EscapeCommFunction 5
     0 log Verifying if port connected
     0 log Port is connected
     0 log Verifying if modem is connected
     0 log Send AT command [AT<cr>]
     0 SetCommTimeouts 4294967295 4294967295 100 2 0
     0 log Send: AT<cr>
     0 WriteFile AT<cr> -> 3
    10 log Recv: <cr><lf>OK<cr><lf>
    10 log Modem is connected
    10 log Checking ME activity status
    10 AT+CPAS - 10 > 20 |+CPAS: 0||OK|
    20 log ME is in ready state
    20 AT+CMEE=1 - 20 > 30 |OK|
    30 log Checking PIN status
    30 AT+CPIN? - 30 > 40 |+CPIN: READY||OK|
    40 log Checking ME activity status
    40 AT+CPAS - 40 > 50 |+CPAS: 0||OK|
    50 log ME is in ready state
    50 log Disable modem echo
    50 ATE0 - 50 > 60 |OK|
    60 log Enable long result code format
    60 ATV1 - 60 > 70 |OK|
    70 AT+CMEE=1 - 70 > 80 |OK|
    80 log Disable network registration unsolicited result code
    80 AT+CREG=0 - 80 > 90 |OK|
    90 log Select character set GSM
    90 AT+CSCS="GSM" - 90 > 100 |OK|
   100 log Setting PDU mode in GSM modem
   100 AT+CMGF=0 - 100 > 110 |OK|
   110 log Disable new message indication
   110 AT+CNMI=2,0,0,0,0 - 110 > 120 |OK|
   120 log Setting message memory as 'SM'
   120 AT+CPMS="SM",,"SM" - 120 > 130 |+CPMS: 1,100,1,100,1,100||OK|
   130 log Message memory set as 'SM'
   130 log Port COM1 opened [baud=19200 parity=N data=8 stop=1]
   130 log Reading SMSC number
   130 AT+CSCA? - 130 > 140 |+CSCA: "+491710760000",145||OK|
   140 log SMSC: +491710760000
   140 log Checking network registration status
   140 AT+CREG? - 140 > 150 |+CREG: 0,1||OK|
   150 SetCommTimeouts 4294967295 4294967295 100 3 0
   150 log Modem Command: AT+CMGS=154<cr>
   150 WriteFile AT+CMGS=154<cr> -> 12
   160 log Recv: >
   160 WriteFile 079194710167000051000C911989214365870000A79F050003(reference)0201C2(18 times E170381C0E87C3)E170381C0E8701<sub> -> 325
   160 log PDU: 079194710167000051000C911989214365870000A79F050003(reference)0201C2(18 times E170381C0E87C3)E170381C0E8701
   170 log Modem Response: <cr><lf>+CMGS: 1<cr><lf><cr><lf>OK<cr><lf>
   170 log Modem Command: AT+CMGS=28<cr>
   170 WriteFile AT+CMGS=28<cr> -> 11
   180 log Recv: >
   180 WriteFile 079194710167000051000C911989214365870000A710050003(reference)0202C2E170381C0E87C3<sub> -> 73
   180 log PDU: 079194710167000051000C911989214365870000A710050003(reference)0202C2E170381C0E87C3
   190 log Modem Response: <cr><lf>+CMGS: 2<cr><lf><cr><lf>OK<cr><lf>
   190 log Message sent [Msg ID: 1,2]
   190 log Reading GSM signal strength in DB
   190 log Send AT command [AT+CSQ<cr>]
   190 SetCommTimeouts 4294967295 4294967295 100 2 0
   190 log Send: AT+CSQ<cr>
   190 WriteFile AT+CSQ<cr> -> 7
   200 log Recv: <cr><lf>+CSQ: 23,0<cr><lf><cr><lf>OK<cr><lf>
   200 log GSM signal strength: '-67dB'
error 0, connected
)");
}

TEST(PromptDialogueTest, HoldsThePausesThatWereSet) {
  PromptEngine engine;
  ASSERT_TRUE(engine.sms.Connect() && !engine.sms.SMSC().empty());
  engine.sms.SetModemCommandDelay(300);
  engine.sms.SetSendDelay(2000);
  engine.line->StartTranscript();
  EXPECT_EQ(engine.sms.SendSMS(kSomebody, std::u16string(161, u'a')), u"1,2");
  EXPECT_EQ(engine.sms.SignalStrengthDB(), -67);
  const std::string transcript = engine.Transcript();
  for (const char* line : {"   300 SetCommTimeouts", "   600 WriteFile AT+CMGS=154", "   600 log Recv: >",
                           "   900 WriteFile 0791", "   900 log Modem Response", "  2900 WriteFile AT+CMGS=28",
                           "  3200 WriteFile 0791", "  3500 WriteFile AT+CSQ", "  3500 log GSM signal"}) {
    EXPECT_THAT(transcript, testing::HasSubstr(line));
  }
}

TEST(PromptDialogueTest, HoldsThePauseBehindThePin) {
  PromptEngine engine;
  engine.modem.Settings().pin = "1234";
  engine.sms.SetPIN(u"1234");
  engine.sms.SetDelayAfterPin(4000);
  EXPECT_TRUE(engine.sms.Connect());
  EXPECT_EQ(engine.Transcript("Sending PIN", "Disable modem echo"), R"(
     0 log Sending PIN [****]
     0 log Send AT command [AT+CPIN=[****]<cr>]
     0 log Send: AT+CPIN=[****]<cr>
     0 WriteFile AT+CPIN="1234"<cr> -> 15
     0 log Recv: <cr><lf>OK<cr><lf>
    75 AT+CMEE=1 - 75 > 75 |OK|
    75 log Checking PIN status
    75 AT+CPIN? - 75 > 75 |+CPIN: READY||OK|
    75 log Modem unlocked with PIN
  4075 log Checking ME activity status
  4075 AT+CPAS - 4075 > 4075 |+CPAS: 0||OK|
  4075 log ME is in ready state
error 0, connected
)");
}

TEST(PromptDialogueTest, WakesTheModem) {
  PromptEngine engine;
  engine.modem.Settings().deafCommands = 3;
  EXPECT_TRUE(engine.sms.Connect());
  EXPECT_EQ(engine.Transcript("Verifying if modem", "Checking ME"), R"(
     0 log Verifying if modem is connected
     0 log Send AT command [AT<cr>]
     0 SetCommTimeouts 4294967295 4294967295 100 2 0
     0 log Send: AT<cr>
     0 WriteFile AT<cr> -> 3
  2000 log ERROR [1012] Cannot read modem response
  2000 log Recv: 
  2100 WriteFile <esc> -> 1
  2100 WriteFile <cr> -> 1
  2100 AT - 2100 > 4100 ERROR [1012] Cannot read modem response
  4100 ATV1 - 4100 > 6100 ERROR [1012] Cannot read modem response
  6100 ATE0 - 6100 > 6100 |OK|
  6100 AT - 6100 > 6100 |OK|
  6100 log Waiting for answers that are late
  6100 WriteFile AT+CMEE?<cr> -> 9
  6100 log Modem is connected
error 0, previous ERROR 1012: Cannot read modem response, connected
)");

  PromptEngine numeric;
  numeric.modem.Earlier("ATE0V0\r");
  EXPECT_TRUE(numeric.sms.Connect());
  EXPECT_EQ(numeric.Transcript("Verifying if modem", "Checking ME"), R"(
     0 log Verifying if modem is connected
     0 log Send AT command [AT<cr>]
     0 SetCommTimeouts 4294967295 4294967295 100 2 0
     0 log Send: AT<cr>
     0 WriteFile AT<cr> -> 3
     0 log Recv: 0<cr>
     0 ATV1 - 0 > 0 |OK|
     0 log Modem is connected
error 0, connected
)");
}

TEST(PromptDialogueTest, GivesUpAModemThatDoesNotAnswerOrRefuses) {
  const std::pair<ModemReply, std::int64_t> kCases[] = {
      {ModemReply::Line("ERROR"), 5000}, {ModemReply::Line("+CME ERROR: 515"), 5000}, {ModemReply::Silence(), 10100}};
  for (const auto& [reply, longestMs] : kCases) {
    PromptEngine engine;
    engine.sms.SetTimeout(5000);
    engine.modem.Answer("AT", reply);
    engine.modem.Answer("ATE0", reply);
    engine.modem.Answer("ATV1", reply);
    EXPECT_FALSE(engine.sms.Connect());
    EXPECT_EQ(engine.ErrorText(), "Modem not found on the specified serial port");
    EXPECT_GE(engine.line->Elapsed(), 4000);
    EXPECT_LE(engine.line->Elapsed(), longestMs + 500);
    EXPECT_LE(engine.modem.Commands().size(), 17u);
  }
}

// 100 ms behind a command without an answer, and then nothing that may still come is taken for another's.
TEST(PromptDialogueTest, WaitsForAnAnswerThatIsLate) {
  PromptEngine engine;
  ASSERT_TRUE(engine.sms.Connect());
  engine.modem.Answer("AT+CSQ", ModemReply::Own().Late(31000), 1);
  engine.line->StartTranscript();
  EXPECT_EQ(engine.sms.SignalStrengthDB(), -1);
  EXPECT_EQ(engine.sms.IMEI(), u"490154203237518");
  EXPECT_EQ(engine.sms.IMSI(), u"262019876543210");
  EXPECT_EQ(engine.Transcript(), R"(
     0 log Reading GSM signal strength in DB
     0 AT+CSQ - 0 > 30000 ERROR [1012] Cannot read modem response
 30000 log Reading modem IMEI
 30000 log Send AT command [AT+CGSN<cr>]
 30100 log Waiting for answers that are late
 30100 WriteFile AT+CMEE?<cr> -> 9
 31000 log Send: AT+CGSN<cr>
 31000 WriteFile AT+CGSN<cr> -> 8
 31000 log Recv: <cr><lf>490154203237518<cr><lf><cr><lf>OK<cr><lf>
 31000 log Modem IMEI: '490154203237518'
 31000 log Reading IMSI
 31000 AT+CIMI - 31000 > 31000 |262019876543210||OK|
 31000 log IMSI: '262019876543210'
error 0, previous ERROR 1012: Cannot read modem response, connected
)");
}

TEST(PromptDialogueTest, StaysInStepWhateverComesLate) {
  const ModemReply kReplies[] = {ModemReply::Silence(),
                                 ModemReply::Own().WithoutResult(),
                                 ModemReply::Own().Late(31000),
                                 ModemReply::Own().Late(50000),
                                 ModemReply::Own().ResultLate(31000),
                                 ModemReply::Line("ERROR").Late(31000),
                                 ModemReply::Line("+CME ERROR: 3").Late(31000),
                                 ModemReply::Line("OK").Late(31000)};
  for (const ModemReply& reply : kReplies) {
    for (const char* refused : {"", "AT+CMEE?"}) {
      PromptEngine engine;
      ASSERT_TRUE(engine.sms.Connect());
      engine.modem.Answer("AT+CSQ", reply, 1);
      engine.modem.Answer(refused, ModemReply::Line("ERROR"));
      EXPECT_EQ(engine.sms.SignalStrengthDB(), -1);
      EXPECT_EQ(engine.sms.ErrorCode(), 1012);
      EXPECT_EQ(engine.sms.IMEI(), u"490154203237518") << refused << reply.delayMs << reply.resultDelayMs;
      EXPECT_EQ(engine.sms.SMSC(), u"+491710760000") << refused << reply.delayMs << reply.resultDelayMs;
      EXPECT_LE(engine.line->Elapsed(), reply.delayMs > 40000 ? 52100 : 34100);
    }
  }
}

}  // namespace
}  // namespace tavro
