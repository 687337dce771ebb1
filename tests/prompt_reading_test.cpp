// Reading and deleting in dialogue with a modem, in the prompt manner.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "engine_fixture.h"

namespace tavro {
namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;

using Reply = ModemReply;

const std::string kReport = "07911326040000F006050B911346610089F6208062917314082080629173140800";
const std::string kPortMessage = "0791947101670000440C9194711032547600F54230504170904008040402F0F101FF80";

// A part of one letter.
std::string Part(int total, int part, const std::string& letter, const std::string& time = "42305041709040") {
  return "0791947101670000440C919471103254760008" + time + "0805000311" + "0" + std::to_string(total) + "0" +
         std::to_string(part) + "00" + letter;
}

struct Connected : Engine {
  Connected() : Engine({}, Dialogue::kPrompt) {
    EXPECT_TRUE(sms.Connect());
    modem.ForgetReceived();
  }
};

TEST(PromptReading, DeletesNothingAndShowsAllThatWasReceived) {
  Connected engine;
  engine.modem.Store(kReport, 1);
  engine.modem.Store(Letter("61"), 1);
  engine.modem.Store(kPortMessage, 0);
  engine.modem.Store(Letter("62").substr(0, 40), 0);
  engine.modem.Store(Letter("63"), 2);
  // A modem that lists its drafts as well, the PDU on the same line.
  engine.modem.Answer("AT+CMGL=1", Reply::Ok("+CMGL: 1,1,,25\n" + kReport + "\n+CMGL: 2,1,,22\n" + Letter("61") +
                                             "\n+CMGL: 5,2,,22," + Letter("63")));
  const auto inbox = engine.sms.Inbox();
  ASSERT_TRUE(inbox->Refresh()) << engine.ErrorText();
  EXPECT_THAT(engine.modem.CommandTexts(), ElementsAre("AT+CMGL=1", "AT+CMGL=0"));
  EXPECT_THAT(engine.Locations(), ElementsAre(1, 2, 3, 4, 5));
  ASSERT_EQ(inbox->Count(), 3);
  EXPECT_EQ(inbox->Message(1)->Text(), u"a");
  EXPECT_FALSE(inbox->Message(1)->Ports());
  EXPECT_EQ(inbox->Message(1)->Parts(), 1);
  EXPECT_THAT(inbox->Message(1)->MissingParts(), IsEmpty());
  const auto push = inbox->Message(2);
  EXPECT_THAT(push->Data(), ElementsAre(0x01, 0xFF, 0x80));
  EXPECT_EQ(push->Ports()->destination, 240);
  EXPECT_EQ(push->MessageClass(), 1);
  EXPECT_THAT(push->Waiting(), IsEmpty());
  EXPECT_FALSE(push->IsReplacement());
  EXPECT_EQ(inbox->Message(3)->Text(), u"[This message cannot be decoded: the PDU is cut short]");
  for (const char* line :
       {"Status report at memory location 1: message 5 to +31641600986: Short message received by the SME",
        "Skipping message at memory location 5: not a received message",
        "Message at memory location 4: the PDU is cut short"}) {
    EXPECT_THAT(engine.folder.LogLines(), Contains(line));
  }
}

TEST(PromptReading, AnIncompleteMessageIsShownAfterADay) {
  Connected engine;
  engine.modem.Store(Part(3, 1, "61"), 1);
  engine.modem.Store(Part(3, 3, "63"), 1);
  const auto inbox = engine.sms.Inbox();
  inbox->SetConcatenate(true);
  ASSERT_TRUE(inbox->Refresh());
  EXPECT_EQ(engine.Texts(), "");
  constexpr std::int64_t kDue = 1709644029 + 86400;  // a day behind the time stamp
  engine.line->SetWallClock((kDue - 10) * 1000);
  ASSERT_TRUE(inbox->Refresh());
  EXPECT_EQ(engine.Texts(), "");
  engine.line->SetWallClock(kDue * 1000);
  ASSERT_TRUE(inbox->Refresh());
  EXPECT_EQ(engine.Texts(), "a[...]c");
  EXPECT_THAT(inbox->Message(1)->MissingParts(), ElementsAre(2));
  EXPECT_TRUE(inbox->Message(1)->Delete());
  EXPECT_THAT(engine.Locations(), IsEmpty());
}

// An object kept while the inbox was built anew, or another message has its place.
TEST(PromptReading, AKeptMessageDeletesWhatItShows) {
  Connected engine;
  for (const char* letter : {"61", "62", "63", "64"}) engine.modem.Store(Letter(letter), 1);
  const auto inbox = engine.sms.Inbox();
  ASSERT_TRUE(inbox->Refresh());
  const auto a = inbox->Message(1), b = inbox->Message(2), c = inbox->Message(3), d = inbox->Message(4);
  EXPECT_TRUE(a->Delete());
  EXPECT_TRUE(c->Delete());  // now the second
  EXPECT_EQ(engine.Texts(), "b|d");
  EXPECT_FALSE(c->Delete());
  EXPECT_EQ(engine.sms.ErrorCode(), 6007);
  ASSERT_TRUE(inbox->Refresh());
  EXPECT_TRUE(d->Delete());  // the same message, read again
  engine.modem.Store(Letter("78"), 1, 2);
  ASSERT_TRUE(inbox->Refresh());
  EXPECT_FALSE(b->Delete());
  EXPECT_EQ(engine.sms.ErrorCode(), 6007);
  EXPECT_EQ(engine.Texts(), "x");
  EXPECT_THAT(engine.Locations(), ElementsAre(2));
  EXPECT_THAT(engine.modem.CommandTexts(), testing::IsSupersetOf({"AT+CMGD=1", "AT+CMGD=3", "AT+CMGD=4"}));
}

TEST(PromptReading, MessagesOfOneReferenceAreDeletedEachByItself) {
  Connected engine;
  const std::string later = "42305041909040";  // 20 s
  engine.modem.Store(Part(2, 1, "61"), 1);
  engine.modem.Store(Part(2, 1, "63", later), 1);
  engine.modem.Store(Part(2, 2, "64", later), 1);
  engine.modem.Store(Part(2, 2, "62"), 1);
  engine.modem.Store(Part(2, 2, "62"), 1);  // received twice
  const auto inbox = engine.sms.Inbox();
  inbox->SetConcatenate(true);
  ASSERT_TRUE(inbox->Refresh());
  EXPECT_EQ(engine.Texts(), "ab|cd");
  engine.modem.ForgetReceived();
  EXPECT_TRUE(inbox->Message(1)->Delete());
  EXPECT_THAT(engine.modem.CommandTexts(), ElementsAre("AT+CMGD=1", "AT+CMGD=4", "AT+CMGD=5"));
  EXPECT_TRUE(inbox->Clear());
  EXPECT_THAT(engine.Locations(), IsEmpty());
}

// A deletion that gets no answer may have taken effect, and another message have come to its place.
TEST(PromptReading, APlaceIsReadBeforeItIsDeletedAgain) {
  const struct {
    const char* what;
    Reply first;            // to AT+CMGD=1
    const char* there;      // the letter that is then stored there, or nothing
    Reply second;           // to AT+CMGR=1
    int code;               // of the second deletion
    std::vector<int> left;  // locations
    bool isDeletedAgain;
  } cases[] = {
      {"not deleted", Reply::Silence(), nullptr, Reply::Own(), 0, {2}, true},
      {"deleted", Reply::Silence().Executed(), nullptr, Reply::Own(), 0, {2}, false},
      {"an empty entry", Reply::Silence().Executed(), nullptr, Reply::Ok("+CMGR: 0,,0"), 0, {2}, false},
      {"a plain OK", Reply::Silence().Executed(), nullptr, Reply::Line("OK"), 0, {2}, false},
      {"taken by another", Reply::Silence().Executed(), "78", Reply::Own(), 0, {1, 2}, false},
      {"the line lost before the answer", Reply::Own().LineLostAfter(0), "78", Reply::Own(), 0, {1, 2}, false},
      {"a refusal leaves no doubt", Reply::Line("ERROR"), nullptr, Reply::Own(), 0, {2}, true},
      {"no answer", Reply::Silence(), nullptr, Reply::Silence(), 6011, {1, 2}, false},
      {"half an answer", Reply::Silence(), nullptr, Reply::Line("+CMGR: 1,,22\r\n0791"), 6011, {1, 2}, false},
      {"refused", Reply::Silence(), nullptr, Reply::Line("+CMS ERROR: 500"), 6011, {1, 2}, false},
  };
  for (const bool byClear : {false, true}) {
    for (const auto& c : cases) {
      SCOPED_TRACE(c.what);
      Connected engine;
      engine.modem.Settings().echo = false;
      engine.modem.Store(Letter("61"), 1);
      engine.modem.Store(Letter("62"), 1);
      const auto inbox = engine.sms.Inbox();
      ASSERT_TRUE(inbox->Refresh());
      engine.modem.Answer("AT+CMGD=1", c.first, 1);
      const auto message = inbox->Message(1);
      EXPECT_FALSE(message->Delete());
      EXPECT_EQ(engine.sms.ErrorCode(), 6011);
      if (engine.modem.IsLineLost()) engine.modem.RestoreLine();
      if (c.there != nullptr) engine.modem.Store(Letter(c.there), 1, 1);
      engine.modem.Answer("AT+CMGR=1", c.second);
      engine.modem.ForgetReceived();
      std::vector<int> left = c.left;
      if (byClear) {
        left.pop_back();
        EXPECT_EQ(inbox->Clear(), c.code == 0);
        EXPECT_EQ(engine.sms.ErrorCode(), c.code == 0 ? 0 : 6010);
      } else {
        EXPECT_EQ(message->Delete(), c.code == 0);
        EXPECT_EQ(engine.sms.ErrorCode(), c.code);
        EXPECT_EQ(inbox->Count(), c.code == 0 ? 1 : 2);
      }
      EXPECT_EQ(engine.Locations(), left);
      const auto commands = engine.modem.CommandTexts();
      EXPECT_EQ(std::count(commands.begin(), commands.end(), "AT+CMGD=1"), c.isDeletedAgain ? 1 : 0);
      const bool isInDoubt = std::string(c.what) != "a refusal leaves no doubt";
      EXPECT_EQ(std::count(commands.begin(), commands.end(), "AT+CMGR=1") > 0, isInDoubt);
    }
  }
}

// What stands at a place may be another message by the time it is deleted: the place is read first, and nothing but
// what the message shows is removed.
TEST(PromptReading, NothingIsDeletedUnseen) {
  const std::string listed = "+CMGL: 1,1,,22\r\n";
  const struct {
    const char* name;
    void (*prepare)(Connected&);  // behind the listing
    std::string listing;          // "": the modem's own
    std::vector<int> left;        // places behind Delete of message 1
  } kCases[] = {
      {"nothing new", [](Connected&) {}, "", {2}},
      {"another connection, the same message", [](Connected& e) { e.sms.Disconnect(); }, "", {2}},
      {"another connection and message",
       [](Connected& e) {
         e.sms.Disconnect();
         e.modem.Store(Letter("78"), 1, 1);
       },
       "",
       {1, 2}},
      {"a place that was listed twice",
       [](Connected&) {},
       listed + Letter("61") + "\r\n" + listed + Letter("62"),
       {1, 2}},
      {"an octet that was lost",
       [](Connected&) {},
       listed + Letter("61").substr(0, 30) + Letter("61").substr(32),
       {1, 2}},
      {"a PDU that was lost", [](Connected&) {}, listed, {1, 2}},
      {"a text that speaks of an error",
       [](Connected& e) { e.modem.Answer("AT+CMGD=1", Reply::Bytes("\r\nno ERROR\r\n\r\nOK\r\n").Executed()); },
       "",
       {2}},
  };
  for (const auto& c : kCases) {
    Connected engine;
    engine.modem.Store(Letter("61"), 1);
    engine.modem.Store(Letter("62"), 1);
    if (!c.listing.empty()) engine.modem.Answer("AT+CMGL=1", Reply::Ok(c.listing));
    ASSERT_TRUE(engine.sms.Inbox()->Refresh()) << c.name;
    c.prepare(engine);
    const auto message = engine.sms.Inbox()->Message(1);
    ASSERT_TRUE(message) << c.name;
    EXPECT_TRUE(message->Delete()) << c.name << engine.ErrorText();
    EXPECT_EQ(engine.Locations(), c.left) << c.name;
  }
}

// A listing that was cut off is none, whatever its names say.
TEST(PromptReading, AListingEndsAtItsResult) {
  Connected engine;
  engine.modem.Answer("AT+CMGL=1", Reply::Bytes("\r\n+CMGL: 1,1,BOOK,22\r\n" + Letter("61") + "\r\n"));
  EXPECT_FALSE(engine.sms.Inbox()->Refresh());
  EXPECT_EQ(engine.sms.ErrorCode(), 5006);
}

}  // namespace
}  // namespace tavro
