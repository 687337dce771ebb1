// Reading, listing, deleting and clearing received messages in dialogue with a modem.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <random>

#include "engine_fixture.h"
#include "facade/gsm.h"
#include "incoming/listing_answer.h"
#include "outgoing/gsm_alphabet.h"

namespace tavro {
namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Not;
using testing::StartsWith;

using Reply = ModemReply;

// Published examples: "How are you?" and "hellohello".
const std::string kHow = "07911326040000F0040B911346610089F60000208062917314080CC8F71D14969741F977FD07";
const std::string kHello = "07917283010010F5040BC87238880900F10000993092516195800AE8329BFD4697D9EC37";
const std::string kReport = "07911326040000F006050B911346610089F6208062917314082080629173140800";
// A part by a 16-bit reference.
const std::string kLongReference =
    "0791947101670000440C91947110325476000042305041709040"
    "1806080401020201311B489CA683E46573595E768FCB";

// A part of one letter.
std::string Part(const std::string& reference, int total, int part, const std::string& letter) {
  return "0791947101670000440C91947110325476000842305041709040"
         "08050003" +
         reference + "0" + std::to_string(total) + "0" + std::to_string(part) + "00" + letter;
}

struct Connected : Engine {
  Connected() {
    EXPECT_TRUE(sms.Connect());
    modem.ForgetReceived();
    line->StartTranscript();
  }
};

// Read messages before unread ones; a status report and a part that is not understood go on the way.
TEST(Inbox, TheWholeDialogueOfARefresh) {
  Connected engine;
  engine.modem.Store(kReport, 1);
  engine.modem.Store(kHello, 0);
  engine.modem.Store(kHow, 1);
  engine.modem.Store(kLongReference, 0);
  engine.modem.Store(kHow, 2);  // to be sent
  const auto inbox = engine.sms.Inbox();
  EXPECT_TRUE(inbox->IsEmpty());
  ASSERT_TRUE(inbox->Refresh());
  EXPECT_EQ(engine.Transcript(), R"(
     0 log Reading incoming messages [Option-2]
     0 SetCommTimeouts 500 4294967295 4294967295 2 0
   100 PurgeComm 15
   100 WriteFile AT+CMGL=1<cr> -> 10
   100 log Modem Command: AT+CMGL=1<cr>
   601 log Modem Response: <cr><lf>+CMGL: 1,1,,25<cr><lf>)" +
                                     kReport + "<cr><lf>+CMGL: 3,1,,30<cr><lf>" + kHow + R"(<cr><lf><cr><lf>OK<cr><lf>
   601 log Deleting message at memory location 1: not a received message
   601 log Send AT command [AT+CMGD=1<cr>]
   601 SetCommTimeouts 500 4294967295 4294967295 2 0
   701 PurgeComm 15
   701 log Send: AT+CMGD=1<cr>
   701 WriteFile AT+CMGD=1<cr> -> 10
  1202 log Recv: <cr><lf>OK<cr><lf>
  1202 SetCommTimeouts 500 4294967295 4294967295 2 0
  1302 PurgeComm 15
  1302 WriteFile AT+CMGL=0<cr> -> 10
  1302 log Modem Command: AT+CMGL=0<cr>
  1803 log Modem Response: <cr><lf>+CMGL: 2,0,,28<cr><lf>)" +
                                     kHello + "<cr><lf>+CMGL: 4,0,,40<cr><lf>" + kLongReference +
                                     R"(<cr><lf><cr><lf>OK<cr><lf>
  1803 log Deleting message at memory location 4: its user-data header is not supported
  1803 log Send AT command [AT+CMGD=4<cr>]
  1803 SetCommTimeouts 500 4294967295 4294967295 2 0
  1903 PurgeComm 15
  1903 log Send: AT+CMGD=4<cr>
  1903 WriteFile AT+CMGD=4<cr> -> 10
  2404 log Recv: <cr><lf>OK<cr><lf>
  2404 log Processing incoming messages [2 Msgs]
error 0, connected
)");
  EXPECT_EQ(engine.Texts(), "How are you?|hellohello");
  EXPECT_THAT(engine.Locations(), ElementsAre(2, 3, 5));
  const auto message = inbox->Message(1);
  EXPECT_EQ(message->Index(), 1);
  EXPECT_EQ(message->Phone(), u"+31641600986");
  EXPECT_EQ(message->SMSC(), u"+31624000000");
  EXPECT_EQ(message->TimeStampRFC(), u"Mon, 26 Aug 2002 19:37:41 GMT");
  EXPECT_EQ(message->TimeZone(), 0);

  engine.modem.ForgetReceived();
  engine.modem.Store(kHello, 0, 9);
  EXPECT_TRUE(inbox->Refresh(0));
  EXPECT_EQ(inbox->Count(), 1);
  EXPECT_TRUE(inbox->HasMessages());
  EXPECT_FALSE(inbox->IsEmpty());
  EXPECT_TRUE(inbox->Refresh(1));
  EXPECT_EQ(inbox->Count(), 3);
  EXPECT_THAT(engine.modem.CommandTexts(), ElementsAre("AT+CMGL=0", "AT+CMGL=1"));
  for (const std::int16_t index : std::initializer_list<std::int16_t>{-1, 0, 4}) {
    EXPECT_EQ(inbox->Message(index), nullptr);
    EXPECT_EQ(engine.sms.ErrorCode(), 5007);
  }
  EXPECT_EQ(engine.ErrorText(), "Invalid message item index");
  EXPECT_EQ(inbox->Count(), 3);
  EXPECT_EQ(engine.sms.ErrorCode(), 0);
}

TEST(Inbox, AnswersToTheListing) {
  const std::string entry = "+CMGL: 3,1,\"BROOK OF TERROR\",28\r\n" + kHello + "\r\n";
  const struct {
    Reply reply;
    const char* texts;
    int code;
  } cases[] = {
      {Reply::Line("OK"), "", 0},
      {Reply::Line("+CMS ERROR: 321"), "", 0},
      {Reply::Bytes("\r\n+CMS ERROR: 3").Then(700, "21\r\n"), "", 0},
      {Reply::Bytes("\r\nO").Then(700, "K\r\n"), "", 0},
      {Reply::Bytes("\r\n" + entry).Then(900, "\r\nOK\r\n"), "hellohello", 0},
      {Reply::Bytes("\r\n+CMGL: 3,1,\"A,28\r\n" + kHello + "\r\n\r\nOK\r\n"), "hellohello", 0},  // the quote ends there
      {Reply::Bytes("at+cmgl=1\r\r\n+cmgl: 3,1,,28\r\n07917283010010f5040bc87238880900f10000993092516195800ae8329bfd"
                    "4697d9ec37\r\n\r\nok\r\n"),
       "hellohello", 0},
      {Reply::Bytes("\r\nRING\r\n\r\n" + entry + "+CMTI: \"SM\",4\r\n\r\nOK\r\n"), "hellohello", 0},
      {Reply::Bytes("3,1,,28\r\n" + kHello + "\r\n" + entry + "\r\nOK\r\n"), "hellohello", 0},
      {Reply::Bytes("+CMGL: 3,1,,30\r\n" + kHow + "\r\n" + entry + "\r\nOK\r\n"), "hellohello", 0},  // replaces it
      {Reply::Bytes("\r\n" + entry).Then(100, "\r\n+CMS ERROR: 500\r\n"), "", 5006},
      {Reply::Line("ERROR"), "", 5006},
      {Reply::Bytes("\r\n" + entry + "\r\n+CMGL: 4,1,,28\r\n0791"), "", 5006},
  };
  for (const auto& c : cases) {
    Connected engine;
    engine.modem.Answer("AT+CMGL=1", c.reply);
    EXPECT_EQ(engine.sms.Inbox()->Refresh(1), c.code == 0);
    EXPECT_EQ(engine.sms.ErrorCode(), c.code);
    EXPECT_EQ(engine.ErrorText(), c.code == 0 ? "" : "Invalid response to read message command");
    EXPECT_TRUE(engine.sms.IsConnected());
    EXPECT_EQ(engine.Texts(), c.texts);
  }
}

// Hundreds of kilobytes, however they are cut.
TEST(Inbox, ALongListing) {
  Connected engine;
  engine.sms.SetLogType(1);
  engine.modem.Settings().simCapacity = 3000;
  std::string expected;
  for (int i = 0; i < 3000; ++i) {
    engine.modem.Store(Letter(i % 2 == 0 ? "61" : "62"), 1);
    expected += expected.empty() ? "a" : i % 2 == 0 ? "|a" : "|b";
  }
  for (const std::size_t pieceSize : {0U, 64U, 777U}) {
    engine.line->LimitReads(pieceSize);
    ASSERT_TRUE(engine.sms.Inbox()->Refresh(1));
    EXPECT_EQ(engine.Texts(), expected);
  }
  ListingAnswer answer;
  std::string whole;
  for (int i = 0; i < 3000; ++i) {
    const std::string entry = "\n+CMGL: " + std::to_string(i) + std::string(60, '0');
    answer.Append(entry);
    whole += entry;
  }
  EXPECT_EQ(answer.Text(), whole);
  // Noise without a line end, and an error that is cut at its number.
  engine.modem.Answer("AT+CMGL=1", Reply::Bytes(std::string(200000, 'x') + "\r\n+CMS ERROR: 321\r\n"));
  EXPECT_TRUE(engine.sms.Inbox()->Refresh(1));
  EXPECT_TRUE(engine.sms.Inbox()->IsEmpty());
}

TEST(Inbox, RefreshReportsWhyItFails) {
  Connected engine;
  const auto inbox = engine.sms.Inbox();
  engine.modem.Store(kHello, 1);
  ASSERT_TRUE(inbox->Refresh());
  engine.modem.ForgetReceived();
  for (const std::int16_t type : std::initializer_list<std::int16_t>{-1, 3}) {
    EXPECT_FALSE(inbox->Refresh(type));
    EXPECT_EQ(engine.sms.ErrorCode(), 5001);
  }
  EXPECT_THAT(engine.modem.CommandTexts(), IsEmpty());

  // The second listing fails: the inbox stays as it was, its messages without their locations.
  engine.modem.Answer("AT+CMGL=0", Reply::Line("ERROR"), 1);
  EXPECT_FALSE(inbox->Refresh());
  EXPECT_EQ(engine.sms.ErrorCode(), 5006);
  EXPECT_EQ(engine.Texts(), "hellohello");
  EXPECT_FALSE(inbox->Message(1)->Delete());
  EXPECT_EQ(engine.sms.ErrorCode(), 6007);

  engine.line->ShortenWrite(0);
  EXPECT_FALSE(inbox->Refresh());
  EXPECT_EQ(engine.sms.ErrorCode(), 5005);
  EXPECT_FALSE(engine.sms.IsConnected());

  EXPECT_TRUE(inbox->Refresh());  // connects by itself
  engine.modem.Answer("AT+CMGL*", Reply::Silence(), 1);
  engine.modem.Settings().echo = false;
  const std::int64_t start = engine.line->Elapsed();
  EXPECT_FALSE(inbox->Refresh());
  EXPECT_EQ(engine.sms.ErrorCode(), 5006);
  EXPECT_NEAR(static_cast<double>(engine.line->Elapsed() - start), 30000, 1200);
  EXPECT_FALSE(engine.sms.IsConnected());

  engine.modem.LoseLine();
  EXPECT_FALSE(inbox->Refresh());
  EXPECT_EQ(engine.sms.ErrorCode(), 1006);  // the connection's own error came first
  EXPECT_THAT(engine.folder.LogLines(), Not(Contains(testing::HasSubstr("5004"))));
}

// States that a connection made through the public interface is never in.
TEST(PduModeAndRegistration, AreCheckedBeforeADialogue) {
  const struct {
    const char* command;
    Reply reply;
    int readCode, deleteCode, sendCode, pushCode;
  } cases[] = {
      {"AT+CMGF=0", Reply::Silence(), 5002, 6002, 1012, 1012},
      {"AT+CMGF=0", Reply::Line("ERROR"), 5003, 6003, 4007, 7009},
      {"AT+CREG?", Reply::Ok("+CREG: 0,3"), 3003, 3003, 0, 0},
  };
  for (const auto& c : cases) {
    SimulatedModem modem;
    GSM gsm(std::make_shared<SimulatedLine>(modem));
    gsm.settings.port = "COM1";
    gsm.settings.portNumber = 1;
    ASSERT_TRUE(gsm.connection.ConnectModem());
    modem.Answer(c.command, c.reply);
    const auto box = std::make_shared<SIMBox>(std::weak_ptr<IncomingServices>());
    const auto forget = [&] { gsm.state.pduSupportChecked = gsm.state.registered = false; };
    forget();
    gsm.state.memorySelected = false;
    EXPECT_FALSE(gsm.reader.ReadMessages(*box, 2, true));
    EXPECT_EQ(gsm.reader.Error().code, c.readCode);
    forget();
    box->SetMemory("SM");
    EXPECT_FALSE(gsm.deleter.DeleteStoredMessage(*box, 1, {1}));
    EXPECT_EQ(gsm.deleter.Error().code, c.deleteCode);
    EXPECT_THAT(modem.CommandTexts(), Contains("AT+CPMS=\"SM\",,\"SM\"").Times(2));
    forget();
    EXPECT_EQ(gsm.textSender.SendSMS("12", u"x", false).has_value(), c.sendCode == 0);
    EXPECT_EQ(gsm.errors.LastErrorCode(), c.sendCode);
    forget();
    EXPECT_EQ(gsm.pushSender.Send({"12", u"x", u"x", 2, {}, "0"}), c.pushCode == 0);
    EXPECT_EQ(gsm.errors.LastErrorCode(), c.pushCode);
  }
}

TEST(MessageReader, DeletesOnlyWhenAskedTo) {
  SimulatedModem modem;
  GSM gsm(std::make_shared<SimulatedLine>(modem));
  gsm.settings.port = "COM1";
  gsm.settings.portNumber = 1;
  modem.Store(kReport, 1);
  SIMBox box({});
  EXPECT_TRUE(gsm.reader.ReadMessages(box, 1, false));
  EXPECT_EQ(modem.Stored().size(), 1U);
  EXPECT_TRUE(gsm.reader.ReadMessages(box, 1, true));
  EXPECT_EQ(modem.Stored().size(), 0U);
}

TEST(Inbox, WhatIsBrokenIsLeftAndADeletionIsTriedAgain) {
  Connected engine;
  engine.modem.Store(kReport, 1);
  engine.modem.Store(kHow.substr(0, 70), 1);
  engine.modem.Store(kLongReference, 0);
  engine.modem.Answer("AT+CMGD=1", Reply::Line("+CMS ERROR: 515"), 2);
  engine.modem.Answer("AT+CMGD=3", Reply::Silence(), 1);
  const auto inbox = engine.sms.Inbox();
  ASSERT_TRUE(inbox->Refresh());
  EXPECT_EQ(engine.sms.ErrorCode(), 0);
  EXPECT_THAT(engine.modem.CommandTexts(),
              ElementsAre("AT+CMGL=1", "AT+CMGD=1", "AT+CMGD=1", "AT+CMGD=1", "AT+CMGL=0", "AT+CMGD=3"));
  EXPECT_THAT(engine.Locations(), ElementsAre(2, 3));
  ASSERT_TRUE(inbox->Refresh());
  EXPECT_THAT(engine.Locations(), ElementsAre(2));
  engine.modem.Answer("AT+CMGL=0", Reply::Ok("+CMGL: 3,1,,40\r\n" + kHello));
  ASSERT_TRUE(inbox->Refresh());
  EXPECT_EQ(engine.Texts(), "hellohello");
  EXPECT_THAT(engine.folder.LogLinesWith("essage at memory location"),
              ElementsAre("Deleting message at memory location 1: not a received message",
                          "Skipping message at memory location 2: the user data is shorter than its length",
                          "Deleting message at memory location 3: its user-data header is not supported",
                          "Skipping message at memory location 2: the user data is shorter than its length",
                          "Deleting message at memory location 3: its user-data header is not supported",
                          "Skipping message at memory location 2: the user data is shorter than its length",
                          "Message at memory location 3: it is not as long as the modem says"));
}

TEST(Message, DeleteNumbersTheRestAnew) {
  Connected engine;
  for (const char* letter : {"61", "62", "63"}) engine.modem.Store(Letter(letter), 1);
  const auto inbox = engine.sms.Inbox();
  ASSERT_TRUE(inbox->Refresh());
  const auto third = inbox->Message(3);
  EXPECT_TRUE(inbox->Message(1)->Delete());
  EXPECT_EQ(engine.Texts(), "b|c");
  EXPECT_EQ(inbox->Message(2)->Index(), 2);
  EXPECT_THAT(engine.folder.LogLines(), Contains("Deleting message 1 [Memory Loc: 1]"));
  EXPECT_FALSE(third->Delete());
  EXPECT_EQ(engine.sms.ErrorCode(), 6008);
  EXPECT_EQ(engine.ErrorText(), "Invalid message item index");
  EXPECT_EQ(third->Text(), u"c");
  EXPECT_EQ(engine.sms.ErrorCode(), 0);
  EXPECT_THAT(engine.Locations(), ElementsAre(2, 3));
}

TEST(Message, TheWholeDialogueOfDeletingAJoinedMessage) {
  Connected engine;
  engine.modem.Store(Part("11", 3, 2, "62"), 1, 3);
  engine.modem.Store(Part("11", 3, 1, "61"), 1, 4);
  engine.modem.Store(Letter("7A"), 1, 5);
  engine.modem.Store(Part("11", 3, 3, "63"), 1, 7);
  const auto inbox = engine.sms.Inbox();
  ASSERT_TRUE(inbox->Refresh());
  EXPECT_EQ(engine.Texts(), "b|a|z|c");
  inbox->SetConcatenate(true);
  ASSERT_TRUE(inbox->Refresh(1));
  EXPECT_EQ(engine.Texts(), "abc|z");
  engine.line->StartTranscript();
  EXPECT_TRUE(inbox->Message(1)->Delete());
  EXPECT_EQ(engine.Transcript(), R"(
     0 log Deleting message 1 [Memory Loc: 3,4,7]
   100 PurgeComm 15
   100 WriteFile AT+CMGD=3<cr> -> 10
   100 log Modem Command: AT+CMGD=3<cr>
   701 PurgeComm 15
   701 WriteFile AT+CMGD=4<cr> -> 10
   701 log Modem Command: AT+CMGD=4<cr>
  1302 PurgeComm 15
  1302 WriteFile AT+CMGD=7<cr> -> 10
  1302 log Modem Command: AT+CMGD=7<cr>
error 0, connected
)");
  EXPECT_EQ(engine.Texts(), "z");
  EXPECT_THAT(engine.Locations(), ElementsAre(5));
}

TEST(Message, TheAnswerToADeletion) {
  constexpr char kInvalid[] = "Invalid response to delete message command";
  const struct {
    Reply reply;
    std::size_t shortWrite;
    int code;
    const char* text;
    bool connected;
    const char* logged;
  } cases[] = {
      {Reply::Line("ERROR"), 0, 6011, kInvalid, true, "Modem Response: <cr><lf>ERROR<cr><lf>\n"},
      {Reply::Bytes("OK\r\nError\r\n"), 0, 6011, kInvalid, true, "Modem Response: OK<cr><lf>Error<cr><lf>\n"},
      {Reply::Bytes("+CMS ERR").Then(700, "OR: 321"), 0, 6011, kInvalid, true, "Modem Response: +CMS ERROR: 321\n"},
      {Reply::Silence(), 0, 6011, kInvalid, false, "Modem Response: \n"},
      {Reply::Own(), 4, 6005, "Delete message command error", false, ""},
      {Reply::Bytes("\r\no").Then(700, "k\r\n").Executed(), 0, 0, "", true, ""},
  };
  for (const auto& c : cases) {
    Connected engine;
    for (int part = 1; part <= 3; ++part) engine.modem.Store(Part("11", 3, part, "6" + std::to_string(part)), 1);
    const auto inbox = engine.sms.Inbox();
    inbox->SetConcatenate(true);
    ASSERT_TRUE(inbox->Refresh(1));
    engine.modem.Answer("AT+CMGD=2", c.reply);
    if (c.shortWrite > 0) engine.line->ShortenWrite(c.shortWrite, 1);
    engine.line->StartTranscript();
    EXPECT_EQ(inbox->Message(1)->Delete(), c.code == 0);
    EXPECT_EQ(engine.sms.ErrorCode(), c.code);
    EXPECT_EQ(engine.ErrorText(), c.text);
    EXPECT_EQ(engine.sms.IsConnected(), c.connected);
    const std::string log = engine.line->Transcript("log Modem Response");
    EXPECT_THAT(log, StartsWith(*c.logged == '\0' ? "\nnothing\n" : std::string("\n     0 log ") + c.logged));
    EXPECT_EQ(engine.Locations(), c.code == 0 ? std::vector<int>() : std::vector({2, 3}));
    EXPECT_TRUE(inbox->IsEmpty());  // what is left of the message is not whole
  }
}

// A location means another message there.
TEST(Message, IsNotDeletedFromAnotherMemory) {
  Connected engine;
  engine.modem.Store(kHello, 1, 1, "SM");
  engine.modem.Store(kHow, 1, 1, "ME");
  const auto inbox = engine.sms.Inbox();
  ASSERT_TRUE(inbox->Refresh());
  engine.sms.SetMessageMemory(u"ME");
  EXPECT_FALSE(inbox->Message(1)->Delete());
  EXPECT_EQ(engine.sms.ErrorCode(), 6007);
  engine.sms.SetMessageMemory(u"SM");
  engine.sms.Disconnect();
  engine.modem.Answer("AT+CPMS=*", ModemReply::Line("ERROR"));  // it may be in any memory after this connect
  ASSERT_TRUE(engine.sms.Connect());
  EXPECT_FALSE(inbox->Clear());
  EXPECT_EQ(engine.modem.Stored("SM").size() + engine.modem.Stored("ME").size(), 2U);
  ASSERT_TRUE(inbox->Refresh());  // what the modem reads from by itself
  EXPECT_TRUE(inbox->Clear());
}

// The listing connects, and the modem then reads from whatever memory it likes.
TEST(Message, IsNotDeletedFromAMemoryThatTheListingWasNotOf) {
  Connected engine;
  engine.modem.Store(kHello, 1, 1, "SM");
  engine.modem.Store(kHow, 1, 1, "ME");
  engine.sms.Command(u"AT+CPMS=\"ME\",,\"ME\"\r");
  engine.sms.Disconnect();
  engine.modem.Answer("AT+CPMS=*", ModemReply::Line("ERROR"));
  const auto inbox = engine.sms.Inbox();
  ASSERT_TRUE(inbox->Refresh(1));
  EXPECT_EQ(engine.Texts(), "How are you?");
  engine.modem.ForgetAnswers();
  EXPECT_FALSE(inbox->Message(1)->Delete());
  EXPECT_EQ(engine.sms.ErrorCode(), 6007);
  EXPECT_EQ(engine.modem.Stored("SM").size() + engine.modem.Stored("ME").size(), 2U);
}

// The line breaks between the listings, and the modem that comes back may list another memory.
TEST(Inbox, IsNeverMadeOfTwoMemories) {
  Connected engine;
  engine.modem.Store(kReport, 1);
  engine.modem.Answer("AT+CPMS=*", ModemReply::Line("ERROR"));
  engine.line->FailCall("WriteFile", 1167, 1, 1);
  EXPECT_FALSE(engine.sms.Inbox()->Refresh());
  EXPECT_EQ(engine.sms.ErrorCode(), 2002);
  EXPECT_THAT(engine.modem.CommandTexts(), Not(Contains("AT+CMGL=0")));
}

TEST(Inbox, TheWholeDialogueOfClearingWithOneFailure) {
  Connected engine;
  const auto inbox = engine.sms.Inbox();
  EXPECT_FALSE(inbox->Clear());
  EXPECT_EQ(engine.sms.ErrorCode(), 6009);
  EXPECT_EQ(engine.ErrorText(), "Inbox is already empty");
  for (const char* letter : {"61", "62", "63"}) engine.modem.Store(Letter(letter), 1);
  ASSERT_TRUE(inbox->Refresh(1));
  engine.modem.Answer("AT+CMGD=2", Reply::Line("ERROR"), 1);
  engine.line->StartTranscript();
  EXPECT_FALSE(inbox->Clear());
  EXPECT_EQ(engine.Transcript(), R"(
     0 log Deleting message 3 [Memory Loc: 3]
   100 PurgeComm 15
   100 WriteFile AT+CMGD=3<cr> -> 10
   100 log Modem Command: AT+CMGD=3<cr>
   601 log Deleting message 2 [Memory Loc: 2]
   701 PurgeComm 15
   701 WriteFile AT+CMGD=2<cr> -> 10
   701 log Modem Command: AT+CMGD=2<cr>
  1202 log Modem Response: <cr><lf>ERROR<cr><lf>
  1202 log ERROR [6011] Invalid response to delete message command
  1202 log Deleting message 1 [Memory Loc: 1]
  1302 PurgeComm 15
  1302 WriteFile AT+CMGD=1<cr> -> 10
  1302 log Modem Command: AT+CMGD=1<cr>
  1803 log ERROR [6010] Unable to delete at least one message
error 6010 Unable to delete at least one message, connected
)");
  EXPECT_EQ(engine.Texts(), "b");
  EXPECT_TRUE(inbox->Clear());
  EXPECT_TRUE(inbox->IsEmpty());
  EXPECT_THAT(engine.Locations(), IsEmpty());
}

// A sender that numbers all its messages alike: they show the same second part, and only the last one has records.
// Deleting those leaves parts that were never seen.
TEST(Inbox, MessagesThatCannotBeToldApart) {
  Connected engine;
  for (const char* second : {"62", "63"}) {
    engine.modem.Store(Part("00", 2, 1, "61"), 1);
    engine.modem.Store(Part("00", 2, 2, second), 1);
  }
  const auto inbox = engine.sms.Inbox();
  inbox->SetConcatenate(true);
  ASSERT_TRUE(inbox->Refresh());
  EXPECT_EQ(engine.Texts(), "ab|ab");
  EXPECT_FALSE(inbox->Message(1)->Delete());
  EXPECT_EQ(engine.sms.ErrorCode(), 6007);
  EXPECT_EQ(engine.ErrorText(), "Cannot find the requested message for deletion");
  EXPECT_FALSE(inbox->Clear());
  EXPECT_EQ(engine.sms.ErrorCode(), 6010);
  EXPECT_EQ(engine.Texts(), "ac");
  EXPECT_TRUE(inbox->Clear());
  EXPECT_THAT(engine.Locations(), IsEmpty());
}

TEST(Inbox, OutlivesAChangeOfPortAndTheComponent) {
  SimulatedModem modem, other;
  auto line = std::make_shared<SimulatedLine>(modem);
  line->Attach(2, other);
  auto sms = std::make_unique<SMS>(line);
  sms->SetPort(u"COM1");
  modem.Store(Letter("61"), 1);
  other.Store(Letter("62"), 1);
  const auto inbox = sms->Inbox();
  inbox->SetConcatenate(true);
  ASSERT_TRUE(inbox->Refresh());
  const auto message = inbox->Message(1);
  ASSERT_TRUE(sms->Disconnect());
  sms->SetPort(u"COM2");
  EXPECT_NE(sms->Inbox(), inbox);
  EXPECT_TRUE(sms->Inbox()->Concatenate());
  EXPECT_EQ(inbox->Count(), 1);
  EXPECT_FALSE(message->Delete());  // not a location of the other modem
  EXPECT_EQ(sms->ErrorCode(), 6007);
  EXPECT_FALSE(inbox->Clear());
  EXPECT_EQ(sms->ErrorCode(), 6010);
  EXPECT_TRUE(inbox->Refresh());
  EXPECT_EQ(inbox->Message(1)->Text(), u"b");
  EXPECT_EQ(sms->Inbox()->Count(), 0);

  sms.reset();
  EXPECT_EQ(inbox->Count(), 1);
  EXPECT_EQ((*inbox->begin()).Text(), u"b");
  EXPECT_EQ(message->Text(), u"a");
  EXPECT_FALSE(inbox->Refresh());
  EXPECT_FALSE(inbox->Clear());
  EXPECT_FALSE(inbox->Message(1)->Delete());
  EXPECT_EQ(other.Stored().size(), 1U);
}

TEST(Inbox, AnIterationSeesTheMessagesOfItsBegin) {
  Connected engine;
  for (const char* letter : {"61", "62", "63"}) engine.modem.Store(Letter(letter), 1);
  const auto inbox = engine.sms.Inbox();
  ASSERT_TRUE(inbox->Refresh());
  std::vector<std::shared_ptr<Message>> kept;
  for (auto message = inbox->begin(); message != inbox->end(); ++message) {
    kept.push_back(message.Get());
    inbox->Clear();
  }
  EXPECT_EQ(kept.size(), 3U);
  EXPECT_EQ(kept[2]->Text(), u"c");
  EXPECT_TRUE(inbox->begin() == inbox->end());
}

// What is sent to the modem's own number comes back the same.
TEST(Inbox, TextsSurviveTheWayThroughTheModem) {
  Connected engine;
  engine.sms.SetSendDelay(1);
  const auto inbox = engine.sms.Inbox();
  inbox->SetConcatenate(true);
  std::u16string gsm;
  for (const auto& each : kGsmCharacters) gsm += each.character;
  for (const auto& each : kGsmExtension) gsm += each.character;
  for (char16_t c = 0; c < 128; ++c) {
    if (IsGsmSameAsAscii(c)) gsm += c;
  }
  std::mt19937 random(11);
  for (int run = 0; run < 60; ++run) {
    const int coding = run % 3 == 0 ? 7 : run % 3 == 1 ? 8 : 16;
    std::u16string text(1 + random() % (run < 30 ? 170 : 900), u' ');
    for (char16_t& c : text) {
      c = coding == 7 ? gsm[random() % gsm.size()] : static_cast<char16_t>(random() % (coding == 8 ? 256 : 65536));
    }
    engine.sms.SetCharacter(static_cast<std::int16_t>(coding));
    ASSERT_TRUE(engine.sms.SendSMS(u"+491701234567", text)) << engine.ErrorText();
    ASSERT_TRUE(inbox->Refresh()) << engine.ErrorText();
    ASSERT_EQ(inbox->Count(), 1) << coding << " " << text.size();
    ASSERT_EQ(inbox->Message(1)->Text(), text) << coding;
    ASSERT_EQ(inbox->Message(1)->Phone(), u"+491701234567");
    ASSERT_TRUE(inbox->Clear());
  }
}

}  // namespace
}  // namespace tavro
