#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "base/calendar.h"
#include "engine_fixture.h"
#include "outgoing/service_indication.h"

namespace tavro {
namespace {

using namespace std::string_literals;
using testing::ElementsAre;
using testing::IsEmpty;

// What stands around the length of the user data, and in front of the indication's attributes, in a push to
// +919812345678. Wireshark's dissector reads: first octet 51, class 1, valid 24 hours; ports 2948 from 9200; WSP Push
// of application/vnd.wap.sic in UTF-8; SI 1.0.
constexpr char kPduStart[] = "079194710167000051000C9119892143658700F5A7";
constexpr char kDocumentStart[] = "0605040B8423F025060803AE81EAAF82B48401056A0045C6";

constexpr DateTime kAutumn{2009, 11, 15, 16, 30, 0}, kFullHour{2009, 11, 15, 16, 0, 0},
    kMidnight{2009, 11, 1, 0, 0, 59}, kNewYearsEve{2009, 12, 31, 23, 30, 0}, kJanuary{2010, 1, 31, 9, 5, 0};

struct PushCase {
  const char* decoded;  // the indication, as the dissector reads it
  std::u16string url, text;
  std::int16_t action;
  DateTime created;
  std::u16string expiry;
  const char *length, *document;
};

const PushCase kPushes[] = {
    {"signal-medium, http://www. 'a' .com/ 'b', created 2009-11-15T16:30:00, 'Hi'", u"http://www.a.com/b", u"Hi", 2,
     kAutumn, u"0", "31", "070D036100850362000AC30620091115163001034869000101"},
    {"signal-low, http:// 'a' .org/, created 2009-11-01T00:00:00, expires 2010-02-01T00:00:00, 'Grüße €'",
     u"HTTP://a.ORG", u"Grüße €", 1, kMidnight, u"3M", "3C",
     "060C036100880AC3042009110110C3042010020101034772C3BCC39F6520E282AC000101"},
    {"signal-high, https:// 'a.b/c', created 2009-11-15T16:00:00, expires 2009-11-16T16:00:00, 'x'", u"https://a.b/c",
     u"x", 3, kFullHour, u"1d", "37", "080E03612E622F63000AC305200911151610C3052009111616010378000101"},
    {"https://www. 'A.B' .net/ 'x', created 2009-12-31T23:30:00, expires 2010-01-01T01:30:00, 'x'",
     u"https://WWW.A.B.net/x", u"x", 3, kNewYearsEve, u"2h", "3B",
     "080F03412E4200870378000AC30620091231233010C306201001010130010378000101"},
    {"no prefix, 'u' .edu/, created 2010-01-31T09:05:00, U+1F600", u"u.edu", u"\U0001F600", 2, kJanuary, u"0", "30",
     "070B037500860AC3062010013109050103F09F9880000101"},
    {"http:// 'a' .net/, created 2009-11-15T16:30:00, 'Hi'", u"http://a.Net", u"Hi", 2, kAutumn, u"0", "2E",
     "070C036100870AC30620091115163001034869000101"},
    // .com/ comes first of the domains, wherever it stands.
    {"http:// 'a.org/b' .com/, created 2009-11-15T16:30:00, 'Hi'", u"http://a.org/b.com", u"Hi", 2, kAutumn, u"0", "34",
     "070C03612E6F72672F6200850AC30620091115163001034869000101"},
    // An address that is not ASCII: the character's code, or UTF-8 where that is no octet. A NUL would end the string.
    {"http:// 'a/', E9, 'Ω', created 2009-11-15T16:30:00, 'Hi'", u"http://a/\u00E9Ω", u"H\0i"s, 2, kAutumn, u"0", "31",
     "070C03612FE9CEA9000AC30620091115163001034869000101"},
};

// Connected and with the service centre known, so that the next command is a push's.
struct Pusher : Engine {
  explicit Pusher(Dialogue dialogue = Dialogue::kClassic) : Engine({}, dialogue) {
    sms.SetTimeout(5000);
    sms.SetSendRetry(0);
    if (!sms.Connect() || sms.SMSC().empty()) throw std::runtime_error("not connected");
    modem.ForgetReceived();
    wap->SetDestination(u"+919812345678");
    wap->SetText(u"Hi");
    wap->SetURL(u"http://www.a.com/b");
  }
  std::shared_ptr<Wap> wap = sms.WapPush();
};

class WapPush : public BothManners {};

INSTANTIATE_TEST_SUITE_P(Manners, WapPush, testing::ValuesIn(kManners), MannerName);

TEST_P(WapPush, IsWhatTheStandardsDecode) {
  for (const PushCase& c : kPushes) {
    Pusher pusher(GetParam());
    pusher.wap->SetURL(c.url);
    pusher.wap->SetText(c.text);
    pusher.wap->SetAction(c.action);
    pusher.wap->SetCreated(ToOleDate(c.created));
    pusher.wap->SetExpiry(c.expiry);
    EXPECT_TRUE(pusher.wap->Send()) << pusher.ErrorText();
    ASSERT_EQ(pusher.modem.Pdus().size(), 1u);
    EXPECT_EQ(pusher.modem.Pdus()[0].text, kPduStart + std::string(c.length) + kDocumentStart + c.document)
        << c.decoded;
  }
}

// Created at the time of sending, which is midnight; valid for 4 days.
TEST(WapPushTest, TheWholeDialogue) {
  Engine engine;
  ASSERT_TRUE(engine.sms.Connect());
  engine.sms.SetValidity(u"4D");
  const auto wap = engine.sms.WapPush();
  wap->SetDestination(u"+919812345678");
  wap->SetText(u"Hi");
  wap->SetURL(u"http://www.a.com/b");
  wap->SetAction(3);
  wap->SetExpiry(u"24H");
  engine.line->SetWallClock(1257206400000);  // 2009-11-03 00:00:00
  engine.line->StartTranscript();
  EXPECT_TRUE(wap->Send());
  const std::string pdu = "079194710167000051000C9119892143658700F5AA36"s + kDocumentStart +
                          "080D036100850362000AC3042009110310C30420091104010348690001"
                          "01";
  EXPECT_EQ(engine.Transcript(), R"(
     0 log Sending WAP push to +919812345678 [Action: 3; Create: 2009-11-03 00:00:00; Expiry: 2009-11-04 00:00:00]
     0 log Reading SMSC number
     0 AT+CSCA? > 100 > 601 |+CSCA: "+491710760000",145||OK|
   601 log SMSC: +491710760000
   601 SetCommTimeouts 500 4294967295 4294967295 3 0
   701 PurgeComm 15
   701 log Modem Command: AT+CMGS=68<cr>
   701 WriteFile AT+CMGS=68<cr> -> 11
  1202 log Recv: >
  1202 WriteFile )" + pdu + R"(<sub> -> 153
  1202 log PDU: )" + pdu + R"(
  2202 log Modem Response: <cr><lf>+CMGS: 1<cr><lf><cr><lf>OK<cr><lf>
  2202 log Wap push sent
error 0, connected
)");
}

TEST_P(WapPush, HoldsTheLengthOfOneMessage) {
  Pusher pusher(GetParam());
  pusher.wap->SetCreated(ToOleDate({2009, 11, 15, 16, 30, 0}));
  pusher.wap->SetText(std::u16string(93, u'x'));
  EXPECT_TRUE(pusher.wap->IsLengthOK());
  EXPECT_TRUE(pusher.wap->Send());
  EXPECT_TRUE(pusher.modem.Pdus().at(0).text.starts_with(kPduStart + "8C"s));
  pusher.modem.ForgetReceived();
  pusher.wap->SetText(std::u16string(94, u'x'));
  EXPECT_FALSE(pusher.wap->IsLengthOK());
  EXPECT_FALSE(pusher.wap->Send());
  EXPECT_EQ(pusher.sms.ErrorCode(), 7018);
  EXPECT_EQ(pusher.ErrorText(), "WAP push data length overflow");
  EXPECT_EQ(pusher.folder.LogLines().back(), "ERROR [7018] WAP push data length overflow");
  EXPECT_EQ(pusher.folder.LogLinesWith("Wap push sending failed").size(), 1u);
  EXPECT_THAT(pusher.modem.CommandTexts(), IsEmpty());
}

struct PushFault {
  void (*prepare)(Pusher&);
  std::int32_t code;
  const char* text;
};

TEST(WapPushTest, ReportsFailuresWithItsOwnCodes) {
  const PushFault kFaults[] = {
      {[](Pusher& p) { p.wap->SetDestination(u"1e5"); }, 7011, "Error generating PDU for WAP push"},
      {[](Pusher& p) { p.line->ShortenWrite(3); }, 7012, "Send WAP push command error"},
      {[](Pusher& p) { p.modem.ApplyFault("no-prompt"); }, 7013, "Invalid response to WAP push command"},
      {[](Pusher& p) { p.line->ShortenWrite(9, 1); }, 7014, "Submit WAP push PDU error"},
      {[](Pusher& p) { p.modem.AnswerPdu(ModemReply::Line("+CMS ERROR: 38")); }, 7015,
       "Invalid response to submit WAP push PDU [Response: <cr><lf>+CMS ERROR: 38<cr><lf>]"},
      {[](Pusher& p) {
         p.sms.Disconnect();
         p.modem.LoseLine();
       },
       1006, "Error (2): CommOpen (CreateFile) - The system cannot find the file specified."},
      {[](Pusher& p) {
         p.modem.Settings().serviceCentre.clear();
         p.sms.Disconnect();
         p.sms.SetPort(u"COM2");
         p.line->Attach(2, p.modem);
       },
       7022, "SMSC not specified"},
  };
  for (const PushFault& fault : kFaults) {
    Pusher pusher;
    pusher.line->SetErrorText(2, "The system cannot find the file specified.");
    fault.prepare(pusher);
    EXPECT_FALSE(pusher.wap->Send());
    EXPECT_EQ(pusher.sms.ErrorCode(), fault.code);
    EXPECT_EQ(pusher.ErrorText(), fault.text);
    EXPECT_EQ(pusher.folder.LogLinesWith("Wap push sending failed").size(), 1u) << fault.code;
  }
  Pusher retried;
  retried.sms.SetSendRetry(2);
  retried.modem.AnswerPdu(ModemReply::Line("ERROR"), 1);
  EXPECT_TRUE(retried.wap->Send());
  EXPECT_THAT(retried.folder.LogLinesWith("[Send Attempt: "),
              ElementsAre("ERROR [7015] Invalid response to submit WAP push PDU [Response: <cr><lf>ERROR<cr><lf>] "
                          "[Send Attempt: 1]"));
}

TEST_P(WapPush, RejectsValuesAndKeepsTheOldOnes) {
  Engine engine({}, GetParam());
  const auto wap = engine.sms.WapPush();
  const auto expectError = [&](std::int32_t code, const char* text) {
    EXPECT_EQ(engine.sms.ErrorCode(), code);
    EXPECT_EQ(engine.ErrorText(), text);
  };
  EXPECT_FALSE(wap->Send());
  expectError(7005, "Text message not specified");
  wap->SetText(u"");
  expectError(7001, "Text message cannot be zero length");
  wap->SetText(u"Hi");
  EXPECT_EQ(engine.sms.ErrorCode(), 0);  // a call clears the error of the one before
  EXPECT_FALSE(wap->Send());
  expectError(7006, "Push URL not specified");
  wap->SetURL(u"");
  expectError(7002, "Push URL cannot be zero length");
  wap->SetURL(u"a");
  EXPECT_FALSE(wap->Send());
  expectError(7007, "Destination mobile not specified");
  wap->SetDestination(u"0981");
  wap->SetDestination(u"09\u0669");  // an Arabic digit
  expectError(7004, "Invalid destination mobile number");
  EXPECT_EQ(wap->Destination(), u"0981");

  wap->SetAction(3);
  EXPECT_EQ(wap->Action(), 3);
  wap->SetAction(4);
  expectError(7017, "Invalid action attribute");
  EXPECT_EQ(wap->Action(), 2);

  EXPECT_EQ(wap->Created(), std::nullopt);
  wap->SetCreated(40132.5);
  for (const std::optional<double> none : {std::optional<double>(), std::optional(1e9), std::optional(0.0 / 0.0)}) {
    wap->SetCreated(none);
    expectError(7019, "Invalid create date value");
  }
  EXPECT_EQ(wap->Created(), 40132.5);

  for (const char16_t* expiry : {u"1H", u"24H", u"31d", u"12M", u"0"}) {
    wap->SetExpiry(expiry);
    EXPECT_EQ(wap->Expiry(), expiry);
  }
  for (const char16_t* expiry :
       {u"", u"25H", u"0D", u"32D", u"13M", u"1", u"H", u"1.5H", u"+1H", u"1 H", u"1e1H", u"1W"}) {
    wap->SetExpiry(expiry);
    expectError(7003, "Invalid expiry time");
  }
  EXPECT_EQ(wap->Expiry(), u"0");
}

TEST(WapPushTest, ExpiresByTheCalendar) {
  struct Case {
    DateTime created;
    const char* expiry;
    DateTime expires;
  };
  const Case kCases[] = {
      {{2010, 1, 31, 9, 5, 7}, "1M", {2010, 2, 28, 9, 5, 7}},
      {{2008, 1, 31, 0, 0, 0}, "1m", {2008, 2, 29, 0, 0, 0}},
      {{2008, 2, 29, 0, 0, 0}, "12M", {2009, 2, 28, 0, 0, 0}},
      {{2009, 12, 1, 0, 0, 0}, "12M", {2010, 12, 1, 0, 0, 0}},
      {{2009, 12, 31, 0, 0, 0}, "31D", {2010, 1, 31, 0, 0, 0}},
      {{2010, 1, 31, 0, 0, 0}, "31D", {2010, 3, 3, 0, 0, 0}},
      {{2009, 2, 28, 1, 0, 0}, "24h", {2009, 3, 1, 1, 0, 0}},
      {{2009, 2, 28, 23, 0, 0}, "1h", {2009, 3, 1, 0, 0, 0}},
      {{9999, 12, 31, 0, 0, 0}, "1D", {9999, 12, 31, 23, 59, 59}},
  };
  for (const Case& c : kCases) {
    const auto expires = ExpiryDate(c.created, c.expiry);
    ASSERT_TRUE(expires);
    EXPECT_EQ(ToOleDate(*expires), ToOleDate(c.expires)) << c.expiry;
  }
  EXPECT_FALSE(ExpiryDate({}, "0"));
}

TEST(WapPushTest, OutlivesItsComponent) {
  auto pusher = std::make_unique<Pusher>();
  const auto wap = pusher->wap;
  const auto line = pusher->line;
  pusher.reset();
  wap->SetText(u"later");
  EXPECT_EQ(wap->Text(), u"later");
  EXPECT_TRUE(wap->IsLengthOK());
  EXPECT_FALSE(wap->Send());
}

}  // namespace
}  // namespace tavro
