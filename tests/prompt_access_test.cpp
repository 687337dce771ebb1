// The SIM and the network in the prompt manner.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "prompt_life.h"

namespace tavro {
namespace {

using testing::Contains;
using testing::Not;
using testing::StartsWith;

// The statuses of +CREG, +CGREG, +CEREG and +C5GREG, the error of a send and how many questions it took.
struct NetworkCase {
  std::vector<int> circuits, packets, lte, fiveG;
  std::int32_t code;
  std::size_t questions;
};

TEST(PromptNetworkTest, AnyDomainCounts) {
  const NetworkCase kCases[] = {
      {{1}, {0}, {}, {}, 0, 1},       {{5}, {0}, {}, {}, 0, 1},         {{6}, {0}, {}, {}, 0, 1},
      {{7}, {0}, {}, {}, 0, 1},       {{9}, {0}, {}, {}, 0, 1},         {{10}, {0}, {}, {}, 0, 1},
      {{0}, {0}, {1}, {}, 0, 2},      {{3}, {0}, {6}, {}, 0, 2},        {{2}, {0}, {10}, {}, 0, 2},
      {{4}, {7}, {0}, {}, 0, 3},      {{0}, {0}, {0}, {9}, 0, 4},       {{0}, {5}, {}, {}, 0, 3},
      {{2, 2, 1}, {0}, {}, {}, 0, 9}, {{0}, {0}, {2, 2, 6}, {}, 0, 10}, {{3, 3, 5}, {0}, {}, {}, 0, 9},
      {{0}, {0}, {}, {}, 3002, 4},    {{2}, {0}, {}, {}, 3002, 40},     {{3}, {0}, {}, {}, 3003, 40},
      {{4}, {4}, {4}, {4}, 3004, 4},  {{8}, {8}, {11}, {8}, 3004, 4},
  };
  for (const NetworkCase& c : kCases) {
    PromptEngine engine;
    engine.sms.SetTimeout(10000);
    ModemSettings& settings = engine.modem.Settings();
    settings.registration = c.circuits;
    settings.packetRegistration = c.packets;
    settings.lteRegistration = c.lte;
    settings.fiveGRegistration = c.fiveG;
    const std::string what = testing::PrintToString(c.circuits) + testing::PrintToString(c.packets) +
                             testing::PrintToString(c.lte) + testing::PrintToString(c.fiveG);
    EXPECT_TRUE(engine.sms.Connect()) << what;
    engine.modem.ForgetReceived();
    EXPECT_EQ(engine.sms.SendSMS(kSomebody, u"hello").has_value(), c.code == 0) << what << engine.ErrorText();
    EXPECT_EQ(engine.sms.ErrorCode(), c.code) << what;
    EXPECT_EQ(engine.modem.Pdus().size(), c.code == 0 ? 1u : 0u) << what;
    const auto commands = engine.modem.CommandTexts();
    const auto questions = std::count_if(commands.begin(), commands.end(),
                                         [](const std::string& command) { return command.ends_with("REG?"); });
    EXPECT_EQ(questions, c.questions) << what;
  }
}

// The others are asked when it answers, and its silence is the error.
TEST(PromptNetworkTest, ASilentModemIsAskedOnce) {
  PromptEngine engine;
  ASSERT_TRUE(engine.sms.Connect());
  engine.modem.Answer("AT+CREG?", ModemReply::Silence());
  EXPECT_FALSE(engine.sms.SendSMS(kSomebody, u"hello"));
  EXPECT_EQ(engine.sms.ErrorCode(), 1012);
  EXPECT_EQ(engine.line->Elapsed(), 30000);

  PromptEngine other;  // silent about the packet domain alone
  other.modem.Settings().registration = {0};
  other.modem.Answer("AT+CGREG?", ModemReply::Silence());
  EXPECT_FALSE(other.sms.SendSMS(kSomebody, u"hello"));
  EXPECT_EQ(other.sms.ErrorCode(), 3002);

  PromptEngine gone;
  gone.modem.Settings().registration = {0};
  gone.modem.Answer("AT+CEREG?", ModemReply::Own().LineLostAfter(3));
  EXPECT_FALSE(gone.sms.SendSMS(kSomebody, u"hello"));
  EXPECT_THAT(gone.line->CallTexts(), Contains(StartsWith("CreateFile")).Times(1)) << "it is not opened again for more";
}

TEST(PromptNetworkTest, ReadsStatusesAsNumbers) {
  const std::pair<const char*, std::int32_t> kCases[] = {
      {"+CREG: 0,01", 0},    {"+CREG: 0, 006", 0},  {"+CREG: 2,5,\"00C3\",\"0A1B\"", 0},
      {"+CREG: 0,1x", 3005}, {"+CREG: 0,11", 3004}, {"+CREG: 0,", 3005}};
  for (const auto& [answer, code] : kCases) {
    PromptEngine engine;
    engine.modem.Settings().packetRegistration = {0};
    engine.modem.Answer("AT+CREG?", ModemReply::Ok(answer));
    engine.sms.SendSMS(kSomebody, u"hello");
    EXPECT_EQ(engine.sms.ErrorCode(), code) << answer;
  }
}

// Without one everything works but sending and the operator, and the radio is left alone.
TEST(PromptNetworkTest, OnlyWhatNeedsANetworkAsksForOne) {
  PromptEngine engine;
  engine.modem.Settings().registration = {0};
  std::vector<std::string> expected = PromptEngine::Well();
  expected[5] = expected[9] = expected[10] = "error 3002";
  EXPECT_EQ(engine.Live(), expected);
  engine.sms.NetworkEx();
  EXPECT_EQ(engine.sms.ErrorCode(), 3002);
  engine.sms.SetMessageMemory(u"ME");
  EXPECT_EQ(engine.sms.ErrorCode(), 0);
  EXPECT_EQ(engine.sms.Validity(), u"1D");
  EXPECT_EQ(engine.sms.ErrorCode(), 0);
  EXPECT_TRUE(engine.modem.Pdus().empty());
  const auto commands = engine.modem.CommandTexts();
  EXPECT_THAT(commands, Not(Contains(StartsWith("AT+CFUN="))));
  EXPECT_THAT(commands, Not(Contains(StartsWith("AT+COPS="))));
  EXPECT_EQ(std::count(commands.begin(), commands.end(), "AT+CREG?"), 4);

  engine.modem.Settings().registration = {1};
  EXPECT_EQ(engine.sms.Network(), u"TAVRONET");
  engine.modem.ForgetReceived();
  EXPECT_TRUE(engine.sms.SendSMS(kSomebody, u"hello"));
  EXPECT_THAT(engine.modem.CommandTexts(), testing::ElementsAre(StartsWith("AT+CMGS="))) << "known to be registered";
}

auto PinsSent(const SimulatedModem& modem) {
  const auto commands = modem.CommandTexts();
  return std::count_if(commands.begin(), commands.end(),
                       [](const std::string& command) { return command.starts_with("AT+CPIN=\""); });
}

TEST(PromptPinTest, ARefusedOneIsNeverSentAgain) {
  PromptEngine engine;
  engine.modem.Settings().pin = "1234";
  engine.sms.SetPIN(u"9999");
  SimulatedModem other;
  engine.line->Attach(2, other);
  for (int i = 0; i < 3; ++i) {
    EXPECT_FALSE(engine.sms.Connect());
    EXPECT_EQ(engine.ErrorText(), "Invalid PIN");
    EXPECT_FALSE(engine.sms.SendSMS(kSomebody, u"hello"));
    EXPECT_EQ(engine.sms.ErrorCode(), 2013);
    EXPECT_EQ(engine.sms.IMEI(), u"");
    EXPECT_EQ(engine.sms.ErrorCode(), 2013);
    EXPECT_FALSE(engine.line->IsAnyOpen());
  }
  EXPECT_EQ(PinsSent(engine.modem), 1);
  engine.sms.SetPort(u"COM2");
  EXPECT_TRUE(engine.sms.Connect());
  engine.sms.Disconnect();
  engine.sms.SetPort(u"COM1");
  EXPECT_FALSE(engine.sms.Connect());
  EXPECT_EQ(PinsSent(engine.modem), 2) << "another port is another SIM";
  engine.sms.SetPIN(u"1234");
  EXPECT_TRUE(engine.sms.Connect()) << engine.ErrorText();
  EXPECT_EQ(PinsSent(engine.modem), 3);
}

// No answer says nothing about the PIN.
TEST(PromptPinTest, OneWithoutAnAnswerIsSentAgainByTheNextCall) {
  PromptEngine engine;
  engine.modem.Settings().pin = "1234";
  engine.sms.SetPIN(u"1234");
  engine.modem.Answer("AT+CPIN=*", ModemReply::Silence(), 1);
  EXPECT_FALSE(engine.sms.Connect());
  EXPECT_EQ(engine.sms.ErrorCode(), 2012);
  EXPECT_TRUE(engine.sms.Connect()) << engine.ErrorText();
  EXPECT_EQ(PinsSent(engine.modem), 2);
}

TEST(PromptPinTest, ASimThatStaysBusyIsAnError) {
  PromptEngine engine;
  engine.modem.Settings().simBusyMs = 1000000;
  EXPECT_FALSE(engine.sms.Connect());
  EXPECT_EQ(engine.sms.ErrorCode(), 2006);
  EXPECT_LE(engine.line->Elapsed(), 31000);
}

TEST(PromptPinTest, TheLastAttemptIsTheUsers) {
  const struct {
    int attempts;
    bool told, allowed, sent;
  } kCases[] = {{1, true, false, false},
                {1, true, true, true},
                {1, false, false, true},
                {2, true, false, true},
                {3, true, false, true}};
  for (const auto& c : kCases) {
    Options options;
    options.sendsPinOnLastAttempt = c.allowed;
    Engine engine({}, options);
    engine.modem.Settings().pin = "1234";
    engine.modem.Settings().pinAttempts = c.attempts;
    engine.modem.Settings().tellsPinAttempts = c.told;
    engine.sms.SetPIN(u"1234");
    EXPECT_EQ(engine.sms.Connect(), c.sent) << c.attempts << c.told << c.allowed;
    EXPECT_EQ(PinsSent(engine.modem), c.sent ? 1 : 0);
    EXPECT_EQ(engine.sms.ErrorCode(), c.sent ? 0 : 2013);
    EXPECT_EQ(engine.ErrorText(), c.sent ? "" : "PIN not sent: the SIM takes only one more");
    EXPECT_EQ(engine.sms.Connect(), c.sent) << "nor is it by the next call";
  }
  PromptEngine other;  // that of another code
  other.modem.Settings().pin = "1234";
  other.modem.Answer("AT+CPINR=*", ModemReply::Ok("+CPINR: SIM PIN2,1,3"));
  other.sms.SetPIN(u"1234");
  EXPECT_TRUE(other.sms.Connect());
}

}  // namespace
}  // namespace tavro
