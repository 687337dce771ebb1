// Answers as modems were heard to give them, and what the prompt manner makes of them.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "engine_fixture.h"

namespace tavro {
namespace {

Engine PromptEngine() { return Engine({}, Dialogue::kPrompt); }

struct RecordedText {
  const char* name;
  std::u16string (SMS::*query)();
  const char* command;
  const char* answer;
  const char16_t* value;
};

TEST(RecordedAnswerTest, Texts) {
  const RecordedText kCases[] = {
      {"a revision of several lines", &SMS::Revision, "AT+GMR",
       "V ICPR72_08w44.1\r\n24-11-08\r\nRM-348\r\n(c) Nokia\r\n11.049\r\nOK\r\n",
       u"V ICPR72_08w44.1 24-11-08 RM-348 (c) Nokia 11.049"},
      {"the sibling's prefix", &SMS::Manufacturer, "AT+GMI", "\r\n+CGMI: huawei\r\n\r\nOK\r\n", u"huawei"},
      {"a prefix in small letters", &SMS::Revision, "AT+GMR", "\r\n+gmr:1.2\r\n\r\nOK\r\n", u"1.2"},
      {"a prefix and quotes", &SMS::IMEI, "AT+CGSN", "\r\n+GSN: \"490154203237518\"\r\n\r\nOK\r\n", u"490154203237518"},
      {"an echo with a line feed, blanks", &SMS::Model, "AT+GMM", "AT+GMM\n MULTIBAND  900E  1800 \nOK\n",
       u"MULTIBAND  900E  1800"},
      {"quotes within a text", &SMS::Model, "AT+GMM", "\r\n\"A\" or \"B\"\r\n\r\nOK\r\n", u"\"A\" or \"B\""},
      {"OK as a line that is not the last", &SMS::Model, "AT+GMM", "\r\n+GMM: OK 1\r\n\r\nOK\r\n", u"OK 1"},
      {"a national own number", &SMS::OwnNumber, "AT+CNUM", "+CNUM: something,\"1234567890\",161\r\n\r\nOK\r\n",
       u"1234567890"},
      {"an international own number", &SMS::OwnNumber, "AT+CNUM", "+CNUM: ,\"34600000001\",145\r\n\r\nOK\r\n",
       u"+34600000001"},
      {"a comma in the owner's name", &SMS::OwnNumber, "AT+CNUM", "+CNUM: \"Doe, J.\",\"+34600000001\",145\r\nOK\r\n",
       u"+34600000001"},
      {"a national service centre", &SMS::SMSC, "AT+CSCA?", "\r\n+CSCA: \"01710760000\",161\r\n\r\nOK\r\n",
       u"01710760000"},
      {"a comma in the operator's name", &SMS::Network, "AT+COPS?",
       "\r\n+COPS: 0,0,\"T-Mobile USA, In\",0\r\n\r\nOK\r\n", u"T-MOBILE USA, IN"},
      {"a comma in a listed name", &SMS::NetworkEx, "AT+COPS=?",
       "\r\n+COPS: (2,\"T-Mobile USA, In\",\"T-Mobile\",\"310260\",0),,(0,1,2),(0,1,2)\r\n\r\nOK\r\n",
       u"T-Mobile USA, In"},
      {"brackets in a listed name", &SMS::NetworkEx, "AT+COPS=?",
       "\r\n+COPS: (1,\"o2\",\"\",\"26207\"),(2,\"Telekom (DE)\",\"\",\"26201\"),,(0-2)\r\n\r\nOK\r\n",
       u"Telekom (DE)"},
      {"a listed operator without a name", &SMS::NetworkEx, "AT+COPS=?",
       "\r\n+COPS: (2,\"\",\"\",\"310410\",2),(1,\"AT&T\",\"AT&T\",\"310410\",0),,(0,1,2,3,4),(0,1,2)\r\n\r\nOK\r\n",
       u"310410"},
      {"a bracket too many", &SMS::NetworkEx, "AT+COPS=?",
       "\r\n+COPS: (2,\"T - Mobile\",\"T - Mobile\",\"310260\"),2),(1,\"AT&T\",\"AT&T\",\"310410\"),0)\r\n\r\nOK\r\n",
       u"T - Mobile"},
      {"only modes behind the operators", &SMS::NetworkEx, "AT+COPS=?",
       "\r\n+COPS: (3,\"C\",\"c\",\"3\"),,(1,2,3),(2,1,0)\r\n\r\nOK\r\n", u""},
      {"quotes that do not close", &SMS::NetworkEx, "AT+COPS=?",
       "\r\n+COPS: (2,\"Tele\"kom\",\"T\",\"26201\"),(1,\"A, B\",\"\",\"26207\"),,(0,1)\r\n\r\nOK\r\n", u"Telekom"},
  };
  for (const auto& c : kCases) {
    Engine engine = PromptEngine();
    ASSERT_TRUE(engine.sms.Connect());
    engine.modem.Answer(c.command, ModemReply::Bytes(c.answer));
    EXPECT_EQ((engine.sms.*c.query)(), c.value) << c.name;
    EXPECT_EQ(engine.sms.ErrorCode() == 0, *c.value != u'\0') << c.name;
    EXPECT_EQ(engine.line->Elapsed(), 0) << c.name;
  }
}

// Some modems end the answer to AT+CPIN? without a result code. What they say later is no answer to what comes next.
TEST(RecordedAnswerTest, PinStateWithoutAResult) {
  const struct {
    const char* name;
    ModemReply reply;
    std::int64_t atMost;
  } kCases[] = {
      {"none", ModemReply::Bytes("+CPIN: READY\r\n"), 3500},
      {"no line end either", ModemReply::Bytes("\r\n+CPIN: READY"), 30500},
      {"late", ModemReply::Bytes("\r\n+CPIN: READY\r\n").Then(1500, "\r\nOK\r\n"), 2500},
      {"in pieces", ModemReply::Bytes("\r\n+CPIN: READY\r").Then(900, "\n\r\nO").Then(900, "K\r\n"), 2500},
  };
  for (const auto& c : kCases) {
    Engine engine = PromptEngine();
    engine.modem.Answer("AT+CPIN?", c.reply);
    EXPECT_TRUE(engine.sms.Connect()) << c.name;
    EXPECT_LE(engine.line->Elapsed(), c.atMost) << c.name;
    EXPECT_EQ(engine.sms.Manufacturer(), u"Simulated") << c.name;
    EXPECT_EQ(engine.sms.SendSMS(u"+447700900123", u"Hello"), u"1") << c.name;
  }
  // A state that did not come is none.
  Engine engine = PromptEngine();
  engine.modem.Answer("AT+CPIN?", ModemReply::Bytes("\r\n+ZUSIMR:2\r\n"));
  EXPECT_FALSE(engine.sms.Connect());
  EXPECT_EQ(engine.sms.ErrorCode(), 2007);
}

// Statuses with leading zeros are numbers, and a location area of three digits is no status.
TEST(RecordedAnswerTest, Registration) {
  const struct {
    const char* answer;
    std::int32_t error;
  } kCases[] = {
      {"\r\n+CREG:002,001,\"18d8\",\"ffff\"\r\n\r\nOK\r\n", 0},
      {"\r\n+CREG:002,002\r\n\r\nOK\r\n", 3002},
      {"\r\n+CREG:002,003\r\n\r\nOK\r\n", 3003},
      {"\r\n+CREG: 1,123,81DE445\r\n\r\n+CREG: 2,1,123,81DE445\r\n\r\nOK\r\n", 0},
      {"\r\n+CREG: 2,1,  0 5, 2715\r\n\r\nOK\r\n", 0},
      {"AT+CREG?\n+CREG: 2,1,\"5E25\nOK\n", 0},
  };
  for (const auto& c : kCases) {
    Engine engine = PromptEngine();
    engine.modem.Settings().packetRegistration = {0};
    ASSERT_TRUE(engine.sms.Connect());
    engine.sms.SetTimeout(5000);
    engine.modem.Answer("AT+CREG?", ModemReply::Bytes(c.answer));
    engine.sms.SendSMS(u"+447700900123", u"Hello");
    EXPECT_EQ(engine.sms.ErrorCode(), c.error) << c.answer;
    EXPECT_EQ(engine.modem.Pdus().size(), c.error == 0 ? 1u : 0u) << c.answer;
  }
}

}  // namespace
}  // namespace tavro
