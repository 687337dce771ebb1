// Messages and status reports as they come, in dialogue with a modem.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <set>

#include "engine_fixture.h"

namespace tavro {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

using Reply = ModemReply;

constexpr char16_t kOwnNumber[] = u"+491701234567";  // of the simulated SIM: what is sent there comes back

// A part of a UCS2 message of two, one letter.
std::string Part(int part, const std::string& letter) {
  return "0791947101670000440C919471103254760008423050417090400805000311020" + std::to_string(part) + "00" + letter;
}
// On message 5 to +31641600986: delivered, or with another status.
std::string Report(const std::string& status = "00", const std::string& reference = "05") {
  return "07911326040000F006" + reference + "0B911346610089F62080629173140820806291731408" + status;
}
std::string Direct(const std::string& prefix, const std::string& pdu) {
  return prefix + std::to_string(pdu.size() / 2 - 8) + "\r\n" + pdu;
}

struct Live : Engine {
  explicit Live(ModemSettings settings = {}, Options options = {}) : Engine(std::move(settings), options) {
    sms.Inbox()->SetConcatenate(true);
    EXPECT_TRUE(sms.Connect());
    modem.ForgetReceived();
    line->StartTranscript();
  }
  bool Wait(int ms) { return sms.Inbox()->Wait(ms); }
  void After(std::int64_t ms, std::function<void()> action) { line->At(line->Elapsed() + ms, std::move(action)); }
  void Comes(const std::string& pdu) { modem.Incoming(pdu, line->Elapsed()); }
  void Says(const std::string& text) { modem.Unsolicited(text, line->Elapsed()); }
};

TEST(LiveInbox, TheWholeDialogue) {
  Live live;
  live.modem.Store(Letter("61"));     // unread
  live.modem.Store(Letter("62"), 1);  // read before
  EXPECT_TRUE(live.Wait(1000));
  live.After(300, [&] { live.Comes(Letter("63")); });
  EXPECT_TRUE(live.Wait(1000));
  EXPECT_FALSE(live.Wait(500));
  EXPECT_EQ(live.Transcript(), R"(
     0 log Waiting for messages [1000 ms]
     0 log Enable new message indication
     0 AT+CNMI=? - 0 > 0 |+CNMI: (0-3),(0-3),(0-3),(0-2),(0,1)||OK|
     0 AT+CNMI=2,1,0,2,0 - 0 > 0 |OK|
     0 AT+CNMI? - 0 > 0 |+CNMI: 2,1,0,2,0||OK|
     0 SetCommTimeouts 4294967295 4294967295 100 2 0
     0 WriteFile AT+CMGL=0<cr> -> 10
     0 log Modem Command: AT+CMGL=0<cr>
     0 log Modem Response: <cr><lf>+CMGL: 1,0,,21<cr><lf>0791947101670000040C91947110325476000842305041709040020061<cr><lf><cr><lf>OK<cr><lf>
     0 log Send AT command [AT+CPMS?<cr>]
     0 SetCommTimeouts 4294967295 4294967295 100 2 0
     0 log Send: AT+CPMS?<cr>
     0 WriteFile AT+CPMS?<cr> -> 9
     0 log Recv: <cr><lf>+CPMS: "SM",2,100,"SM",2,100,"SM",2,100<cr><lf><cr><lf>OK<cr><lf>
     0 log Waiting for messages [1000 ms]
   300 log Unsolicited: +CMTI: "SM",3
   300 AT+CMGR=3 - 300 > 300 |+CMGR: 0,,21|0791947101670000040C91947110325476000842305041709040020063||OK|
   300 AT+CPMS? - 300 > 300 |+CPMS: "SM",3,100,"SM",3,100,"SM",3,100||OK|
   300 log Waiting for messages [500 ms]
error 0, connected
)");
  EXPECT_EQ(live.Texts(), "a|c");
  EXPECT_EQ(live.line->Elapsed(), 800);
}

// What each modem does, whatever way it tells of a message, and what the inbox has in the end.
TEST(LiveInbox, EveryWayOfTelling) {
  const auto acknowledgements = [](Live& live) {
    const auto commands = live.modem.CommandTexts();
    return std::count(commands.begin(), commands.end(), "AT+CNMA");
  };
  const struct {
    const char* name;
    void (*prepare)(Live&);
    void (*happen)(Live&);  // 100 ms behind the start of a wait of 20 s
    std::int64_t ms;        // that the wait takes
    const char* texts;
    int acknowledged;
  } kCases[] = {
      {"stored", [](Live&) {}, [](Live& l) { l.Comes(Letter("61")); }, 100, "a", 0},
      {"mode 3 alone", [](Live& l) { l.modem.Answer("AT+CNMI=?", Reply::Ok("+CNMI: (0,3),(0,1),(0),(0,1),(1)")); },
       [](Live& l) { l.Comes(Letter("61")); }, 100, "a", 0},
      {"it does not say what it can", [](Live& l) { l.modem.Answer("AT+CNMI=?", Reply::Line("ERROR")); },
       [](Live& l) { l.Comes(Letter("61")); }, 100, "a", 0},
      {"given directly", [](Live& l) { l.modem.Answer("AT+CNMI=?", Reply::Ok("+CNMI: (2),(0,2),(0),(0,1),(0)")); },
       [](Live& l) { l.Comes(Letter("61")); }, 100, "a", 1},
      {"no indications", [](Live& l) { l.modem.Answer("AT+CNMI*", Reply::Line("ERROR")); },
       [](Live& l) { l.Comes(Letter("61")); }, 5000, "a", 0},
      {"not understood", [](Live&) {},
       [](Live& l) {
         l.modem.Store(Letter("61"));
         l.Says("+CMTI: \"SM\"");
       },
       100, "a", 0},
      {"a place far away", [](Live&) {},
       [](Live& l) {
         l.modem.Store(Letter("61"));
         l.Says("+CMTI: \"SM\",99999");
       },
       100, "a", 0},
      {"told of twice", [](Live&) {},
       [](Live& l) {
         l.Comes(Letter("61"));
         l.Says("+CMTI: \"SM\",1");
       },
       100, "a", 0},
      {"the line was lost on the way", [](Live&) {}, [](Live& l) { l.modem.Store(Letter("61")); }, 20100, "", 0},
      {"another memory", [](Live&) {},
       [](Live& l) {
         l.modem.Store(Letter("61"), 0, 3, "ME");
         l.Says("+CMTI: \"ME\",3");
       },
       100, "a", 0},
      {"an empty place", [](Live&) {}, [](Live& l) { l.Says("+CMTI: \"SM\",7"); }, 20000, "", 0},
      {"a report behind +CMT", [](Live&) {}, [](Live& l) { l.Says(Direct("+CMT: ,", Report())); }, 20000, "", 1},
      {"a message behind +CDS", [](Live&) {}, [](Live& l) { l.Says(Direct("+CDS: ", Letter("61"))); }, 100, "a", 1},
      {"a message of one's own", [](Live&) {},
       [](Live& l) { l.Says(Direct("+CMT: ,", "0791947101670000010C919471103254760000" + std::string("0161"))); }, 100,
       "[This message cannot be decoded: not a received message]", 1},
      {"half a PDU", [](Live&) {}, [](Live& l) { l.Says(Direct("+CMT: ,", Letter("61").substr(0, 20))); }, 100,
       "[This message cannot be decoded: the PDU is cut short]", 0},
      {"no PDU", [](Live&) {}, [](Live& l) { l.Says("+CMT: ,24"); }, 3100,
       "[This message cannot be decoded: there is no PDU]", 0},
      {"a part alone", [](Live&) {}, [](Live& l) { l.Comes(Part(1, "61")); }, 20000, "", 0},
      {"both parts", [](Live&) {},
       [](Live& l) {
         l.Comes(Part(2, "62"));
         l.After(200, [&l] { l.Comes(Part(1, "61")); });
       },
       300, "ab", 0},
  };
  for (const auto& c : kCases) {
    SCOPED_TRACE(c.name);
    Live live;
    c.prepare(live);
    EXPECT_FALSE(live.Wait(0));
    const std::int64_t start = live.line->Elapsed();
    live.After(100, [&] { c.happen(live); });
    EXPECT_EQ(live.Wait(20000), *c.texts != '\0');
    EXPECT_EQ(live.sms.ErrorCode(), 0) << live.ErrorText();
    EXPECT_EQ(live.line->Elapsed() - start, std::min<std::int64_t>(c.ms, 20000));
    EXPECT_EQ(live.Texts(), c.texts);
    EXPECT_EQ(acknowledgements(live), c.acknowledged);
    // What was not told of is listed once a minute.
    EXPECT_EQ(live.Wait(60000), c.ms > 20000);
  }
}

// At every millisecond of a life in which each octet takes one.
TEST(LiveInbox, AMessageAtEachPointOfAnotherDialogue) {
  std::int64_t length = 0;
  for (std::int64_t ms = -1; ms < length; ms += 7) {
    ModemSettings settings;
    settings.pieceSize = settings.pieceGapMs = 1;
    Live live(settings);
    live.modem.Store(Letter("61"), 1);
    EXPECT_FALSE(live.Wait(0));
    const std::int64_t start = live.line->Elapsed();
    if (ms >= 0) live.After(ms, [&] { live.Comes(Letter("62")); });
    EXPECT_TRUE(live.sms.SendSMS(u"+919812345678", u"hello")) << ms;
    EXPECT_TRUE(live.sms.Inbox()->Refresh()) << ms;
    EXPECT_TRUE(live.sms.Inbox()->Message(1)->Delete()) << ms;
    EXPECT_EQ(live.sms.SignalStrengthDB(), -67) << ms;
    length = std::max(length, live.line->Elapsed() - start);
    if (ms < 0) continue;
    const bool wasListed = live.sms.Inbox()->Count() > 0;
    EXPECT_EQ(live.Wait(100), !wasListed) << ms;
    EXPECT_EQ(live.Texts(), "b") << ms;
    EXPECT_EQ(live.modem.Pdus().size(), 1U) << ms;
  }
  EXPECT_GT(length, 200);
}

TEST(LiveInbox, AThousandMessagesComeWhileAThousandAreSent) {
  ModemSettings settings;
  settings.latencyMs = 1;
  settings.simCapacity = 150;
  Live live(settings);
  EXPECT_FALSE(live.Wait(0));
  std::multiset<std::u16string> sent, received;
  for (int i = 0; i < 1000; ++i) {
    std::u16string text = u"message ";
    for (const char c : std::to_string(i)) text += static_cast<char16_t>(c);
    ASSERT_TRUE(live.sms.SendSMS(kOwnNumber, text));
    sent.insert(text);
    while (i % 100 == 99 && live.Wait(0)) {
      while (live.sms.Inbox()->Count() > 0) {
        const auto message = live.sms.Inbox()->Message(1);
        received.insert(message->Text());
        ASSERT_TRUE(message->Delete());
      }
    }
  }
  EXPECT_EQ(received, sent);
  EXPECT_EQ(live.modem.Pdus().size(), 1000U);
  EXPECT_THAT(live.Locations(), IsEmpty());
}

// Each octet takes a millisecond; the device is away for a second.
TEST(LiveInbox, TheDeviceIsUnpluggedAtEachOctet) {
  std::int64_t length = 0;
  for (std::int64_t ms = -1; ms < length; ms += 5) {
    SCOPED_TRACE(ms);
    ModemSettings settings;
    settings.pieceSize = settings.pieceGapMs = 1;
    Live live(settings);
    const std::int64_t start = live.line->Elapsed();
    live.After(0, [&] { live.Comes(Letter("61")); });
    bool isUnplugged = false;
    std::int64_t unpluggedMs = 0, plugged = 0;
    if (ms >= 0) {
      live.After(ms, [&] {
        isUnplugged = true;
        unpluggedMs = live.line->Elapsed();
        live.modem.LoseLine();
      });
    }
    bool isSent = false, isDeleted = false;
    for (int attempt = 1; !(isSent && isDeleted) && attempt <= 3; ++attempt) {
      const bool done = (live.sms.Inbox()->Count() > 0 || isDeleted || live.Wait(5000)) &&
                        (isDeleted || (isDeleted = live.sms.Inbox()->Message(1)->Delete())) &&
                        (isSent || (isSent = live.sms.SendSMS(u"+919812345678", u"hello").has_value()));
      if (done) break;
      // The call that failed ended at once.
      EXPECT_LT(live.line->Elapsed(), unpluggedMs + 200);
      EXPECT_NE(live.sms.ErrorCode(), 0);
      ASSERT_TRUE(isUnplugged);
      if (live.modem.IsLineLost()) live.modem.RestoreLine();
      ++plugged;
      if (Contains(live.ErrorText(), "Result unknown")) isSent = true;
    }
    EXPECT_TRUE(isSent && isDeleted);
    EXPECT_LE(plugged, 1);
    EXPECT_THAT(live.Locations(), IsEmpty());
    EXPECT_LE(live.modem.Pdus().size(), 1U);
    if (ms < 0) length = live.line->Elapsed() - start;
  }
  EXPECT_GT(length, 200);
}

TEST(LiveInbox, WaitEndsWhenItIsToldTo) {
  Live live;
  live.sms.Cancel();  // the next wait
  EXPECT_FALSE(live.Wait(60000));
  EXPECT_EQ(live.line->Elapsed(), 0);
  live.After(1000, [&] { live.sms.Inbox()->Cancel(); });
  EXPECT_FALSE(live.Wait(60000));
  EXPECT_LE(live.line->Elapsed(), 1100);
  EXPECT_EQ(live.sms.ErrorCode(), 0);
  EXPECT_FALSE(live.Wait(-1));
  EXPECT_EQ(live.sms.ErrorCode(), 5009);
  // A modem that is not told to tell is asked, and that is ended too.
  Engine classic;
  classic.sms.Connect();
  classic.modem.Incoming(Letter("61"), classic.line->Elapsed());
  EXPECT_TRUE(classic.sms.Inbox()->Wait(0));
  EXPECT_EQ(classic.Texts(), "a");
  const std::int64_t start = classic.line->Elapsed();
  classic.line->At(start + 2000, [&] { classic.sms.Cancel(); });
  EXPECT_FALSE(classic.sms.Inbox()->Wait(60000));
  EXPECT_LE(classic.line->Elapsed() - start, 2100);
}

// The modem takes as read what it has listed, whether the listing arrived or not.
TEST(LiveInbox, ARefreshThatFailsTakesNothingAway) {
  int failures = 0;
  std::int64_t length = 0;
  for (std::int64_t ms = -1; ms < length; ms += 5) {
    SCOPED_TRACE(ms);
    ModemSettings settings;
    settings.pieceSize = settings.pieceGapMs = 1;
    Live live(settings);
    live.Comes(Letter("61"));
    EXPECT_TRUE(live.Wait(0));
    live.modem.Store(Letter("62"));
    const std::int64_t start = live.line->Elapsed();
    if (ms >= 0) live.After(ms, [&] { live.modem.LoseLine(); });
    const bool isRead = live.sms.Inbox()->Refresh();
    if (ms < 0) length = live.line->Elapsed() - start;
    EXPECT_EQ(live.Texts(), isRead ? "a|b" : "a");
    if (isRead) continue;
    ++failures;
    live.modem.RestoreLine();
    EXPECT_TRUE(live.sms.Inbox()->Message(1)->Delete()) << live.ErrorText();
    EXPECT_TRUE(live.Wait(0)) << live.ErrorText();
    EXPECT_EQ(live.Texts(), "b");
  }
  EXPECT_GT(failures, 20);
}

// Also when it is back at once: the next call connects anew and misses nothing.
TEST(LiveInbox, WaitReturnsOnLoss) {
  Live live;
  EXPECT_FALSE(live.Wait(0));
  live.After(1000, [&] {
    live.modem.LoseLine();
    live.modem.RestoreLine();
    live.modem.Store(Letter("61"));
  });
  EXPECT_FALSE(live.Wait(60000));
  EXPECT_EQ(live.sms.ErrorCode(), 1012);
  EXPECT_LE(live.line->Elapsed(), 1100);
  EXPECT_TRUE(live.Wait(0));
  EXPECT_EQ(live.Texts(), "a");
  // A modem that tells of its restart has forgotten all.
  live.After(1000, [&] { live.Says("RDY"); });
  EXPECT_FALSE(live.Wait(60000));
  EXPECT_EQ(live.sms.ErrorCode(), 1012);
  EXPECT_FALSE(live.Wait(0));
  EXPECT_EQ(live.sms.ErrorCode(), 0);
}

// A modem that restarts by itself tells of nothing any more.
TEST(LiveInbox, AModemThatForgotItsSettingsIsConnectedAnew) {
  Live live;
  EXPECT_FALSE(live.Wait(0));
  live.modem.Receive("AT+CNMI=2,0\r", live.line->Elapsed());
  live.After(1000, [&] { live.modem.Store(Letter("61")); });
  EXPECT_TRUE(live.Wait(90000));
  EXPECT_EQ(live.line->Elapsed(), 60000);
  EXPECT_EQ(live.Texts(), "a");
}

TEST(LiveInbox, WhatIsDeliveredDirectlyIsKeptAndComesOnce) {
  Live live;
  live.modem.Answer("AT+CNMI=?", Reply::Ok("+CNMI: (2),(0,2),(0),(0,1),(0)"));
  EXPECT_FALSE(live.Wait(0));
  live.modem.Answer("AT+CNMA*", Reply::Line("ERROR"), 2);
  live.Comes(Letter("61"));
  EXPECT_TRUE(live.Wait(0));
  ASSERT_TRUE(live.sms.Inbox()->Message(1)->Delete());
  live.Says(Direct("+CMT: ,", Letter("61")));  // the network has heard of no acknowledgement
  EXPECT_FALSE(live.Wait(0));
  live.Says(Direct("+CMT: ,", Letter("62")));
  live.After(100, [&] { live.Says(Direct("+CMT: ,", Letter("62"))); });
  EXPECT_TRUE(live.Wait(0));
  EXPECT_FALSE(live.Wait(200));
  live.modem.Store(Letter("63"), 1);
  EXPECT_TRUE(live.sms.Inbox()->Refresh());
  EXPECT_EQ(live.Texts(), "b|c");
  live.modem.ForgetReceived();
  EXPECT_TRUE(live.sms.Inbox()->Clear());
  EXPECT_THAT(live.modem.CommandTexts(), ElementsAre("AT+CMGD=1"));
}

TEST(LiveInbox, WhatCameIntoAnotherMemoryIsDeletedThere) {
  for (const bool isReplaced : {false, true}) {
    Live live;
    EXPECT_FALSE(live.Wait(0));
    live.modem.Store(Letter("61"), 0, 3, "ME");
    live.Says("+CMTI: \"ME\",3");
    EXPECT_TRUE(live.Wait(0));
    if (isReplaced) live.modem.Store(Letter("62"), 0, 3, "ME");  // another one is there by now
    EXPECT_TRUE(live.sms.Inbox()->Message(1)->Delete());
    EXPECT_EQ(live.Texts(), "");
    EXPECT_EQ(live.modem.Stored("ME").size(), isReplaced ? 1U : 0U);
    EXPECT_EQ(live.sms.MessageMemory(), u"SM");
  }
}

TEST(LiveInbox, AMessageThatIsListedAsUnreadAgainIsNotNew) {
  Engine engine;
  engine.modem.Answer("AT+CMGL=0", Reply::Ok("+CMGL: 1,0,,22\r\n" + Letter("61")));
  EXPECT_TRUE(engine.sms.Inbox()->Wait(0));
  EXPECT_FALSE(engine.sms.Inbox()->Wait(12000));
  EXPECT_FALSE(engine.sms.IsError());
  EXPECT_EQ(engine.Texts(), "a");
}

TEST(StatusReports, WaysInWhichTheyCome) {
  const struct {
    const char* name;
    void (*happen)(Live&);
    bool isDeleted;  // there is something to delete
  } kCases[] = {
      {"told of", [](Live& l) { l.Comes(Report()); }, true},
      {"given", [](Live& l) { l.Says(Direct("+CDS: ", Report())); }, false},
      {"listed", [](Live& l) { l.modem.Store(Report(), 1); }, true},
      {"in a memory of its own",
       [](Live& l) {
         l.modem.Store(Report(), 0, 3, "ME");
         l.Says("+CDSI: \"ME\",3");
       },
       true},
  };
  for (const auto& c : kCases) {
    SCOPED_TRACE(c.name);
    Live live;
    EXPECT_FALSE(live.Wait(0));
    c.happen(live);
    EXPECT_FALSE(live.Wait(0));
    EXPECT_TRUE(live.sms.Inbox()->Refresh());
    EXPECT_EQ(live.modem.Stored("SM").size() + live.modem.Stored("ME").size(), c.isDeleted ? 1U : 0U);
    const auto reports = live.sms.StatusReports();
    ASSERT_EQ(reports.size(), 1U);
    EXPECT_EQ(reports[0].reference, 5);
    EXPECT_EQ(reports[0].recipient, u"+31641600986");
    EXPECT_EQ(reports[0].sentTimeStampRFC, u"Mon, 26 Aug 2002 19:37:41 GMT");
    EXPECT_EQ(reports[0].text, u"Short message received by the SME");
    EXPECT_THAT(live.modem.Stored("SM"), IsEmpty());
    EXPECT_THAT(live.modem.Stored("ME"), IsEmpty());
    EXPECT_EQ(live.sms.MessageMemory(), u"SM");
    live.sms.ClearStatusReports();
    EXPECT_THAT(live.sms.StatusReports(), IsEmpty());
    EXPECT_EQ(live.sms.DeliveryOf(u"5").state, DeliveryState::kDelivered);
  }
}

TEST(StatusReports, AreGivenDirectlyWhereTheirMemoryCannotBeRead) {
  Live live;
  EXPECT_FALSE(live.Wait(0));
  live.Says("+CDSI: \"SR\",1");
  for (const std::int32_t error : {5006, 5006, 0}) {
    EXPECT_FALSE(live.Wait(0));
    EXPECT_EQ(live.sms.ErrorCode(), error);
  }
  live.Comes(Report());
  EXPECT_FALSE(live.Wait(0));
  EXPECT_THAT(live.Locations(), IsEmpty());
  EXPECT_EQ(live.sms.StatusReports().size(), 1U);
}

// The place may be another message's behind a new connection, until it is listed again.
TEST(StatusReports, AreDeletedFromThePlaceWhereTheyAre) {
  Live live;
  live.Comes(Report());
  EXPECT_FALSE(live.Wait(0));
  live.sms.Disconnect();
  EXPECT_TRUE(live.sms.Connect());
  live.modem.ForgetReceived();
  EXPECT_EQ(live.sms.StatusReports().size(), 1U);
  EXPECT_THAT(live.modem.CommandTexts(), IsEmpty());
  EXPECT_FALSE(live.Wait(0));
  EXPECT_EQ(live.sms.StatusReports().size(), 1U);
  EXPECT_THAT(live.Locations(), IsEmpty());
}

TEST(StatusReports, AreMatchedToTheMessage) {
  using S = DeliveryState;
  ModemSettings settings;
  settings.firstReference = 5;
  settings.reportsForeign = false;
  const struct {
    const char* name;
    std::vector<std::string> before;  // reports in front of the result of the message with reference 5,
    std::vector<std::string> behind;  // and behind it
    S state;
  } kCases[] = {
      {"nothing", {}, {}, S::kUnknown},
      {"delivered", {}, {Report()}, S::kDelivered},
      {"in front of the result", {Report()}, {}, S::kDelivered},
      {"twice", {Report()}, {Report()}, S::kDelivered},
      {"another message", {Report("00", "06")}, {Report("00", "04")}, S::kUnknown},
      {"still trying", {}, {Report("30")}, S::kTrying},
      {"trying and then delivered", {}, {Report("20"), Report("01")}, S::kForwarded},
      {"in the wrong order", {}, {Report("00"), Report("20")}, S::kDelivered},
      {"expired", {}, {Report("46")}, S::kFailed},
      {"given up", {}, {Report("62")}, S::kGivenUp},
      {"replaced", {}, {Report("02")}, S::kReplaced},
      {"to somebody else", {}, {"07911326040000F006050B911346610099F6208062917314082080629173140800"}, S::kUnknown},
  };
  for (const auto& c : kCases) {
    SCOPED_TRACE(c.name);
    Live live(settings);
    live.sms.SetStatusReport(true);
    EXPECT_FALSE(live.Wait(0));
    for (const std::string& report : c.before) {
      live.modem.Interject({Interjection::Moment::kBefore, Direct("+CDS: ", report)}, SimulatedModem::kPdu, 1);
    }
    EXPECT_EQ(live.sms.SendSMS(u"+31641600986", u"hello"), u"5");
    for (const std::string& report : c.behind) live.After(100, [&] { live.Says(Direct("+CDS: ", report)); });
    EXPECT_EQ(live.sms.WaitForDelivery(u"5", 1000), IsFinal(c.state));
    EXPECT_EQ(live.sms.DeliveryOf(u"5").state, c.state);
  }
}

TEST(StatusReports, OfALongMessageAndOfAnEarlierOneWithItsReference) {
  ModemSettings settings;
  settings.firstReference = 255;
  settings.reportsForeign = false;
  Live live(settings);
  EXPECT_FALSE(live.Wait(0));
  live.sms.SetStatusReport(true);
  const auto references = live.sms.SendSMS(u"0641600986", std::u16string(200, u'x'));
  ASSERT_EQ(references, u"255,0");
  // Every part asks for one (3GPP TS 23.040, 9.2.2.2: bit 5 of the first octet).
  for (const auto& pdu : live.modem.Pdus()) EXPECT_EQ(pdu.text.substr(16, 2), "71") << pdu.text;
  live.Says(Direct("+CDS: ", Report("00", "FF")));
  EXPECT_FALSE(live.sms.WaitForDelivery(*references, 1000));
  live.Says(Direct("+CDS: ", Report("00", "00")));
  EXPECT_TRUE(live.sms.WaitForDelivery(*references, 1000));
  EXPECT_EQ(live.sms.DeliveryOf(*references).parts.size(), 2U);
  EXPECT_EQ(live.sms.DeliveryOf(u"0").state, DeliveryState::kDelivered);
  Live later(settings);
  later.sms.SetStatusReport(true);
  EXPECT_FALSE(later.Wait(0));
  ASSERT_EQ(later.sms.SendSMS(u"+31641600986", u"first"), u"255");
  later.Says(Direct("+CDS: ", Report("46", "FF")));
  for (int i = 0; i < 255; ++i) ASSERT_TRUE(later.sms.SendSMS(u"+919812345678", u"others"));
  ASSERT_EQ(later.sms.SendSMS(u"+31641600986", u"second"), u"255");
  EXPECT_FALSE(later.Wait(0));
  EXPECT_EQ(later.sms.DeliveryOf(u"255").state, DeliveryState::kUnknown);
  later.sms.DeliveryOf(u"1,x");
  EXPECT_EQ(later.sms.ErrorCode(), 5010);
}

// A modem that falls silent, and the steps that are allowed.
TEST(Recovering, AModemThatHangs) {
  const struct {
    const char* name;
    Recovery allowed;
    int deaf;       // commands that get no answer
    int restarts;   // AT+CFUN=1,1
    bool isOpened;  // anew
    int failures;   // calls that fail
  } kCases[] = {
      {"none", {}, 2, 0, true, 2},
      {"asks again", {.repeats = true}, 1, 0, false, 0},
      {"wakes it", {.repeats = true}, 3, 0, false, 1},
      {"restarts it", {.restarts = true}, 2, 1, false, 1},
      {"asks, then restarts it", {.repeats = true, .restarts = true, .reopens = true}, 20, 1, false, 1},
      {"opens anew", {.reopens = true}, 2, 0, true, 1},
  };
  for (const auto& c : kCases) {
    SCOPED_TRACE(c.name);
    Live live({}, {.recovery = c.allowed});
    live.modem.Store(Letter("61"), 1);
    live.sms.SetTimeout(5000);
    live.modem.Settings().deafCommands = c.deaf;
    live.modem.Answer("AT+CFUN=1,1", Reply::Own().Executed());
    int failures = 0;
    while (live.sms.SignalStrengthDB() != -67 && failures < 5) ++failures;
    EXPECT_EQ(failures, c.failures);
    const auto commands = live.modem.CommandTexts();
    EXPECT_EQ(std::count(commands.begin(), commands.end(), "AT+CFUN=1,1"), c.restarts);
    EXPECT_EQ(Contains(live.Transcript(), "CreateFile"), c.isOpened);
    EXPECT_TRUE(live.sms.Inbox()->Refresh()) << live.ErrorText();
    EXPECT_EQ(live.Texts(), "a");
  }
}

// Each call fails or tells the truth, whatever it opens and asks meanwhile.
TEST(Recovering, AnAnswerThatIsVeryLate) {
  for (const std::int64_t late : {2500, 6000, 13000, 61000}) {
    for (const bool repeats : {false, true}) {
      SCOPED_TRACE(late);
      ModemSettings settings;
      settings.latencyMs = 400;
      Live live(settings, {.recovery = {.repeats = repeats}});
      live.modem.Store(Letter("61"), 1);
      live.sms.SetTimeout(1000);
      live.modem.Answer("AT+CIMI", Reply::Own().Late(late), 1);
      live.sms.IMSI();
      bool isTrue = false;
      for (int i = 0; i < 60 && !isTrue; ++i) {
        const auto model = live.sms.Model();
        EXPECT_TRUE(model.empty() || model == u"Tavro Modem");
        isTrue = live.sms.Inbox()->Refresh();
        EXPECT_EQ(live.Texts(), isTrue ? "a" : "");
      }
      EXPECT_TRUE(isTrue);
    }
  }
}

TEST(Recovering, ALineThatBeganBeforeTheCommandIsNoneOfItsAnswer) {
  Live live;
  live.modem.Output("\r\n+CM", live.line->Elapsed());
  EXPECT_EQ(live.sms.Revision(), u"1.0");
}

}  // namespace
}  // namespace tavro
