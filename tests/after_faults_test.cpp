// What a fault leaves behind harms nothing later, on a line that is clean again.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "engine_fixture.h"

namespace tavro {
namespace {

using testing::IsEmpty;
using testing::SizeIs;

using Reply = ModemReply;

// UCS2 messages of one letter.
const std::string kA = Letter("61");
const std::string kB = Letter("62");

// "\u00A1Hola", which the manners read differently.
const std::string kInverted = "0791947101670000040C91947110325476000042305041709040000540E49B1D06";

constexpr char16_t kNumber[] = u"+919812345678";

struct Connected : Engine {
  explicit Connected(Dialogue dialogue, ModemSettings settings = {}) : Engine(std::move(settings), dialogue) {
    EXPECT_TRUE(sms.Connect());
    sms.SetTimeout(2000);
    modem.ForgetReceived();
  }
  std::size_t CountOf(const std::string& command) const {
    const auto commands = modem.CommandTexts();
    return static_cast<std::size_t>(std::count(commands.begin(), commands.end(), command));
  }
};

class AfterAFault : public testing::TestWithParam<Dialogue> {};

TEST_P(AfterAFault, APlaceWhoseDeletionWasNotConfirmedIsLookedAtFirst) {
  const struct {
    Reply reply;
    const char* nowThere;  // at the place
    std::size_t kept;
  } kCases[] = {{Reply::Silence().Executed(), kB.c_str(), 1},
                {Reply::Bytes("\r\nO#\r\n").Executed(), kB.c_str(), 1},
                {Reply::Silence().Executed(), "", 0},
                {Reply::Silence(), "", 0},
                {Reply::Silence(), kInverted.c_str(), 0}};
  for (const auto& c : kCases) {
    Connected engine(GetParam());
    engine.modem.Store(c.nowThere == kInverted ? kInverted : kA, 1);
    ASSERT_TRUE(engine.sms.Inbox()->Refresh());
    engine.modem.Answer("AT+CMGD=1", c.reply, 1);
    EXPECT_FALSE(engine.sms.Inbox()->Message(1)->Delete());
    if (c.nowThere == kB) engine.modem.Store(c.nowThere, 0, 1);
    EXPECT_TRUE(engine.sms.Inbox()->Message(1)->Delete()) << engine.ErrorText();
    EXPECT_THAT(engine.modem.Stored(), SizeIs(c.kept));
    EXPECT_TRUE(engine.sms.Inbox()->IsEmpty());
  }
}

TEST_P(AfterAFault, AMemoryWhoseSelectionWasNotConfirmedIsSelectedAgain) {
  Connected engine(GetParam());
  engine.modem.Store(kA, 1, 1, "SM");
  engine.modem.Store(kB, 1, 1, "ME");
  ASSERT_TRUE(engine.sms.Inbox()->Refresh());
  engine.modem.Answer("AT+CPMS=*", Reply::Silence().Executed(), GetParam() == Dialogue::kClassic ? 2 : 4);
  engine.sms.SetMessageMemory(u"ME");
  EXPECT_NE(engine.sms.ErrorCode(), 0);
  EXPECT_TRUE(engine.sms.Inbox()->Message(1)->Delete()) << engine.ErrorText();
  EXPECT_THAT(engine.modem.Stored("SM"), IsEmpty());
  EXPECT_THAT(engine.modem.Stored("ME"), SizeIs(1));
}

TEST_P(AfterAFault, AModemThatIsAtItsPromptOrGivesNumbersIsConnectedTo) {
  for (const char* const left : {"AT+CMGS=20\r", "AT+CMGS=20\r0011", "AT+CM", "ATV0\r"}) {
    Engine engine({}, GetParam());
    engine.sms.SetTimeout(2000);
    engine.modem.Receive(left, 0);
    engine.sms.Connect();
    EXPECT_TRUE(engine.sms.Connect()) << left;
    EXPECT_TRUE(engine.sms.SendSMS(kNumber, u"hello")) << left;
    EXPECT_THAT(engine.modem.Pdus(), SizeIs(1)) << left;
  }
}

TEST_P(AfterAFault, AModemThatEchoesAgainIsInitialisedAnew) {
  Connected engine(GetParam());
  engine.sms.SetSendRetry(0);
  engine.modem.Settings().echo = true;
  engine.sms.SendSMS(kNumber, u"hello");
  EXPECT_TRUE(engine.sms.SendSMS(kNumber, u"hello")) << engine.ErrorText();
}

INSTANTIATE_TEST_SUITE_P(Manners, AfterAFault, testing::Values(Dialogue::kClassic, Dialogue::kPrompt),
                         [](const auto& test) { return test.param == Dialogue::kClassic ? "Classic" : "Prompt"; });

// A result that nobody waited for would be taken for the next command's, and so on for ever.
TEST(LateResult, OfWhatWasCancelled) {
  ModemSettings settings;
  settings.latencyMs = 30;
  Engine fresh(settings, Dialogue::kPrompt);
  fresh.modem.Output("\r\nOK\r\n", 10);  // of what a program before this one cancelled
  EXPECT_TRUE(fresh.sms.Connect()) << fresh.ErrorText();
  EXPECT_EQ(fresh.sms.Model(), u"Tavro Modem");

  Connected engine(Dialogue::kPrompt, settings);
  engine.modem.Store(kA, 1);
  engine.sms.SetSendRetry(0);
  engine.modem.Answer("AT+CMGS=*", Reply::Bytes("\r\n#> "));
  EXPECT_FALSE(engine.sms.SendSMS(kNumber, u"hello"));
  engine.modem.Output("\r\nOK\r\n", engine.line->Elapsed() + 5);
  EXPECT_TRUE(engine.sms.Inbox()->Refresh());
  EXPECT_EQ(engine.Texts(), "a");
}

// Octets of another answer, or noise, in front of one.
TEST(LateResult, NoiseInFrontOfAnAnswerIsNoneOfIt) {
  for (const char* const noise : {"\x0E", "\x1A\n", "#\r", "\r\n+CM"}) {
    Connected engine(Dialogue::kPrompt);
    engine.modem.Output(noise, engine.line->Elapsed());
    EXPECT_EQ(engine.sms.Revision(), u"1.0");
  }
}

TEST(DirectDelivery, OfAnEarlierConnectionIsNotAcknowledged) {
  Connected engine(Dialogue::kPrompt);
  engine.modem.Answer("AT+CNMI=?", Reply::Ok("+CNMI: (0,2),(0,2),(0),(0,1),(0)"));
  EXPECT_FALSE(engine.sms.Inbox()->Wait(0));
  engine.modem.Incoming(kA, engine.line->Elapsed());
  EXPECT_EQ(engine.sms.Model(), u"Tavro Modem");
  engine.sms.Disconnect();
  EXPECT_FALSE(engine.sms.Inbox()->Wait(0));
  EXPECT_EQ(engine.CountOf("AT+CNMA"), 0U);
  engine.line->Sleep(100000);
  EXPECT_TRUE(engine.sms.Inbox()->Wait(70000));
  EXPECT_EQ(engine.Texts(), "a");
}

// Which the modem stored in the end, and filled up.
TEST(DirectDelivery, IsTheMessageThatWasListedSince) {
  ModemSettings settings;
  settings.pduFilledTo = 176;
  Connected engine(Dialogue::kPrompt, settings);
  engine.modem.Answer("AT+CNMI=?", Reply::Ok("+CNMI: (0,2),(0,2),(0),(0,1),(0)"));
  EXPECT_FALSE(engine.sms.Inbox()->Wait(0));
  engine.modem.Incoming(kA, engine.line->Elapsed());
  engine.line->Sleep(100000);
  ASSERT_TRUE(engine.sms.Inbox()->Refresh());
  EXPECT_FALSE(engine.sms.Inbox()->Wait(0));
  EXPECT_EQ(engine.Texts(), "a");
}

TEST(DamagedListing, IsNoReasonToDeleteWhatStandsThere) {
  const std::string filled = kA + "FFFFFFFF";
  for (const std::string& pdu : {kA + "0", std::string(kA).replace(40, 1, "#"), filled + "#FFFFF"}) {
    Connected engine(Dialogue::kPrompt);
    engine.modem.Store(kB, 1);
    engine.modem.Answer("AT+CMGL=1", Reply::Ok("+CMGL: 1,1,,21\r\n" + pdu), 1);
    ASSERT_TRUE(engine.sms.Inbox()->Refresh());
    engine.sms.Inbox()->Clear();
    EXPECT_THAT(engine.modem.Stored(), SizeIs(1)) << pdu;
  }
}

TEST(Waiting, ForNothingEndsWhateverTheModemTells) {
  Connected engine(Dialogue::kPrompt);
  engine.modem.Store(kA, 1, 1);
  engine.modem.Interject({.moment = Interjection::Moment::kBehind, .text = "+CMTI: \"SM\",1"});
  EXPECT_TRUE(engine.sms.Inbox()->Wait(0));
  EXPECT_FALSE(engine.sms.Inbox()->Wait(0));
}

TEST(MemoryUsage, IsNotAskedForBehindADamagedName) {
  for (const char* const name : {"\"S\"", "\"CM\"", "\"ME\""}) {
    Connected engine(Dialogue::kPrompt);
    engine.modem.Answer("AT+CPMS?", Reply::Ok("+CPMS: " + std::string(name) + ",0,100,\"SM\",0,100,\"SM\",0,100"), 1);
    EXPECT_THAT(engine.sms.MemoryUsage(), IsEmpty());
    EXPECT_EQ(engine.sms.MessageMemory(), u"SM");
  }
}

}  // namespace
}  // namespace tavro
