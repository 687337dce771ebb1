#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "engine_fixture.h"
#include "facade/network_info.h"
#include "facade/validity_period.h"

namespace tavro {
namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::IsSupersetOf;

struct TextQuery {
  const char* name;
  std::u16string (SMS::*query)();
  const char* command;
  const char* reply;  // nullptr: ERROR
  const char16_t* value;
  std::int32_t error;
};

TEST(DeviceQueryTest, TextAnswers) {
  const TextQuery kCases[] = {
      {"manufacturer", &SMS::Manufacturer, "AT+GMI", "Siemens OK", u"Siemens", 0},
      {"manufacturer", &SMS::Manufacturer, "AT+GMI", "Nokia Mobile Phones", u"NOKIA MOBILE PHONES", 0},
      {"manufacturer", &SMS::Manufacturer, "AT*", nullptr, u"", 2003},
      {"model", &SMS::Model, "AT+GMM", "+GMM: TC35", u"TC35", 0},
      {"model", &SMS::Model, "AT*", nullptr, u"", 2018},
      {"IMEI", &SMS::IMEI, "AT+CGSN", "+CGSN: 490154203237518", u"490154203237518", 0},
      {"IMEI", &SMS::IMEI, "AT*", nullptr, u"", 2017},
      {"IMSI", &SMS::IMSI, "AT+CIMI", "262011234567890", u"262011234567890", 0},
      {"IMSI", &SMS::IMSI, "AT*", nullptr, u"", 2025},
      {"revision", &SMS::Revision, "AT+GMR", "REVISION 02.08", u"REVISION 02.08", 0},
      {"revision", &SMS::Revision, "AT*", nullptr, u"", 2016},
      {"own number, type 145", &SMS::OwnNumber, "AT+CNUM", "+CNUM: \"me\",\"491701234567\",145", u"+491701234567", 0},
      {"own number, plus", &SMS::OwnNumber, "AT+CNUM", "+CNUM: \"\",\"+491701234567\",145", u"+491701234567", 0},
      {"own number, type 129", &SMS::OwnNumber, "AT+CNUM", "+CNUM: \"\",\"01701234567\",129", u"01701234567", 0},
      {"own number, no type", &SMS::OwnNumber, "AT+CNUM", "+CNUM: \"\",\"491701234567\",", u"+491701234567", 0},
      {"first own number", &SMS::OwnNumber, "AT+CNUM", "+CNUM: ,\"0170\",129\r\n+CNUM: ,\"0171\",129", u"0170", 0},
      {"no number", &SMS::OwnNumber, "AT+CNUM", "+CNUM: \"me\",\"12.5\",129", u"", 2023},
      {"no own number", &SMS::OwnNumber, "AT+CNUM", "", u"", 2023},
      {"operator", &SMS::Network, "AT+COPS?", "+COPS: 0,0,\"Vodafone.de\",2", u"VODAFONE.DE", 0},
      {"no operator", &SMS::Network, "AT+COPS?", "+COPS: 0", u"", 3007},
      {"empty operator", &SMS::Network, "AT+COPS?", "+COPS: 0,0,\"\"", u"", 3007},
      {"list, current", &SMS::NetworkEx, "AT+COPS=?",
       "+COPS: (1,\"o2 - "
       "de\",\"o2\",\"26207\"),(2,\"Telekom.de\",\"TDG\",\"26201\"),(3,\"E-Plus\",\"\",\"26203\"),,(0,1,"
       "2,3,4),(0,1,2)",
       u"Telekom.de", 0},
      {"list, last available", &SMS::NetworkEx, "AT+COPS=?",
       "+COPS: (1,\"A\",\"a\",\"1\"),(1,\"B\",\"b\",\"2\"),(3,\"C\",\"c\",\"3\"),,(1,3),(2)", u"B [Available Network]",
       0},
      {"list, short name", &SMS::NetworkEx, "AT+COPS=?", "+COPS: (2,\"\",\"short\",\"26201\")", u"short", 0},
      {"list, none", &SMS::NetworkEx, "AT+COPS=?", "+COPS: (3,\"C\",\"c\",\"3\")", u"", 3010},
      {"list, no bracket", &SMS::NetworkEx, "AT+COPS=?", "+COPS: 2", u"", 3010},
      {"service centre", &SMS::SMSC, "AT+CSCA?", "+CSCA: \"+491710760000\",145", u"+491710760000", 0},
      {"service centre, no plus", &SMS::SMSC, "AT+CSCA?", "+CSCA: \"491710760000\",145", u"+491710760000", 0},
      {"service centre, national", &SMS::SMSC, "AT+CSCA?", "+CSCA: \"01710760000\",129", u"01710760000", 0},
      {"no service centre", &SMS::SMSC, "AT+CSCA?", "+CSCA: \"\",129", u"", 4001},
      {"memory", &SMS::MessageMemory, "AT+CPMS?", "+CPMS: \"me\",1,255,\"SM\",0,10,\"SM\",0,10", u"ME", 0},
      {"memory refused", &SMS::MessageMemory, "AT+CPMS?", nullptr, u"", 2002},
  };
  for (const auto& c : kCases) {
    Engine engine;
    engine.sms.Connect();
    engine.modem.Answer(c.command, c.reply ? ModemReply::Ok(c.reply) : ModemReply::Line("ERROR"));
    EXPECT_EQ((engine.sms.*c.query)(), c.value) << c.name;
    EXPECT_EQ(engine.sms.ErrorCode(), c.error) << c.name;
  }
}

TEST(DeviceQueryTest, SecondCommandWhereTheFirstIsUnknown) {
  Engine engine;
  for (const char* first : {"AT+GMI", "AT+GMM", "AT+CGSN", "AT+GMR"})
    engine.modem.Answer(first, ModemReply::Line("ERROR"));
  EXPECT_EQ(engine.sms.Manufacturer(), u"Simulated");
  EXPECT_EQ(engine.sms.Model(), u"Tavro Modem");
  EXPECT_EQ(engine.sms.IMEI(), u"490154203237518");
  EXPECT_EQ(engine.sms.Revision(), u"1.0");
  EXPECT_EQ(engine.sms.ErrorCode(), 0);
  EXPECT_THAT(engine.modem.CommandTexts(), IsSupersetOf({"AT+CGMI", "AT+CGMM", "AT+GSN", "AT+CGMR"}));
  EXPECT_THAT(engine.folder.LogLines(),
              IsSupersetOf({"AT+GMI not supported. Trying AT+CGMI", "AT+CGSN not supported. Trying AT+GSN",
                            "Reading modem manufacturer information", "Modem manufacturer: 'Simulated'",
                            "Modem Firmware Revision: '1.0'"}));
}

TEST(DeviceQueryTest, Battery) {
  const struct {
    const char* reply;
    std::int16_t level;
    std::int32_t error;
    const char* text;
  } kCases[] = {
      {"+CBC: 0,80", 80, 0, ""},
      {"+CBC: 1,100", 100, 0, ""},
      {"+CBC: 2,0", -1, 2022, "No battery present in GSM modem"},
      {"+CBC: 3,0", -1, 2022, "Modem reported a power fault condition"},
      {"+CBC: 0,8.5", -1, 2022, "Cannot read battery charge level"},
      {"+CBC: 0", -1, 2022, "Cannot read battery charge level"},
      {"+CBC: 0,99999", -1, 2022, "Cannot read battery charge level"},
  };
  for (const auto& c : kCases) {
    Engine engine;
    engine.sms.Connect();
    engine.modem.Answer("AT+CBC", ModemReply::Ok(c.reply));
    EXPECT_EQ(engine.sms.BatteryLevel(), c.level) << c.reply;
    EXPECT_EQ(engine.sms.ErrorCode(), c.error);
    EXPECT_EQ(engine.ErrorText(), c.text);
  }
}

TEST(DeviceQueryTest, Signal) {
  const struct {
    int indication;
    std::int16_t db, percent;
  } kCases[] = {{31, -51, 100}, {0, -113, 0}, {15, -83, 48}, {1, -111, 3}, {30, -53, 97}};
  Engine engine;
  engine.sms.Connect();
  for (const auto& c : kCases) {
    engine.modem.Settings().signal = c.indication;
    EXPECT_EQ(engine.sms.SignalStrengthDB(), c.db);
    EXPECT_EQ(engine.sms.SignalStrength(), c.percent) << c.indication;
  }
  engine.modem.Settings().signal = 99;
  EXPECT_EQ(engine.sms.SignalStrength(), -1);
  EXPECT_EQ(engine.sms.ErrorCode(), 3001);
  EXPECT_EQ(engine.sms.SignalStrengthDB(), -1);
  EXPECT_EQ(engine.ErrorText(), "Signal strength not known or not detectable");
  EXPECT_EQ(NetworkInfo::SignalPercent(99), -1);
}

TEST(DeviceQueryTest, ServiceCentreIsSetAndNeverBecomesACommand) {
  Engine engine;
  engine.sms.Connect();
  engine.sms.SetSMSC(u"+919812345678");
  EXPECT_EQ(engine.sms.ErrorCode(), 0);
  EXPECT_EQ(engine.modem.CommandTexts().back(), "AT+CSCA=\"+919812345678\"");
  EXPECT_THAT(engine.folder.LogLines(),
              IsSupersetOf({"Setting SMSC as '+919812345678'", "SMSC number set as '+919812345678'"}));
  engine.modem.ForgetReceived();
  for (const char16_t* bad : {u"1\"", u"1\r", u"1\n"}) {
    engine.sms.SetSMSC(bad);
    EXPECT_EQ(engine.sms.ErrorCode(), 4002);
  }
  EXPECT_TRUE(engine.modem.Commands().empty());
  EXPECT_EQ(engine.sms.SMSC(), u"+919812345678");
}

TEST(DeviceQueryTest, MessageMemory) {
  Engine engine;
  engine.sms.Connect();
  engine.sms.SetMessageMemory(u" me ");
  EXPECT_EQ(engine.sms.ErrorCode(), 0);
  EXPECT_EQ(engine.modem.CommandTexts().back(), "AT+CPMS=\"ME\",,\"ME\"");
  EXPECT_EQ(engine.sms.MessageMemory(), u"ME");
  engine.sms.SetMessageMemory(u"XX");
  EXPECT_EQ(engine.sms.ErrorCode(), 2001);
  engine.modem.ForgetReceived();
  engine.modem.Answer("AT+CPMS=*", ModemReply::Line("ERROR"));
  engine.sms.SetMessageMemory(u"SM");
  EXPECT_EQ(engine.ErrorText(), "Modem does not support selected message memory");
  EXPECT_THAT(engine.modem.CommandTexts(), ElementsAre("AT+CPMS=\"SM\",,\"SM\"", "AT+CPMS=\"SM\",,\"SM\""));
}

TEST(DeviceQueryTest, SilenceGivesTheExchangesError) {
  Engine engine;
  engine.sms.Connect();
  engine.modem.Answer("AT+CSQ", ModemReply::Silence());
  EXPECT_EQ(engine.sms.SignalStrength(), -1);
  EXPECT_EQ(engine.sms.ErrorCode(), 1012);
}

TEST(ValidityTest, OctetsAndTheTextThatSetsThemAgain) {
  const struct {
    const char* text;
    int octet;  // -1: rejected
    const char* readBack;
  } kCases[] = {{"5M", 0, "5M"},      {"7m", 0, "5M"},     {"8M", 1, "10M"},    {"60M", 11, "1H"},
                {"65M", 12, "65M"},   {"11H", 131, "11H"}, {"12h", 143, "12H"}, {"13H", 145, "13H"},
                {"720M", 143, "12H"}, {"24H", 167, "1D"},  {"1D", 167, "1D"},   {"30D", 196, "30D"},
                {"1W", 173, "7D"},    {"4W", 194, "28D"},  {"5W", 197, "5W"},   {"63w", 255, "63W"},
                {"0D", -1, ""},       {"31D", -1, ""},     {"64W", -1, ""},     {"0W", -1, ""},
                {"25H", -1, ""},      {"0H", -1, ""},      {"721M", -1, ""},    {"4M", -1, ""},
                {"1.5D", -1, ""},     {"1,5D", -1, ""},    {"-1D", -1, ""},     {"D", -1, ""},
                {"5", -1, ""},        {"", -1, ""},        {"5X", -1, ""},      {"99999999999D", -1, ""}};
  for (const auto& c : kCases) {
    const auto octet = EncodeValidityPeriod(c.text);
    EXPECT_EQ(octet.value_or(-1), c.octet) << c.text;
    if (octet) {
      EXPECT_EQ(DecodeValidityPeriod(*octet), c.readBack);
      EXPECT_EQ(EncodeValidityPeriod(c.readBack), octet);
    }
  }
}

TEST(ValidityTest, IsSetWithoutAConnectionAndResetByAFailedRead) {
  Engine engine;
  engine.sms.SetValidity(u"5W");
  EXPECT_TRUE(engine.line->Calls().empty());
  EXPECT_EQ(engine.sms.Validity(), u"5W");  // connects
  engine.sms.SetValidity(u"6W");
  engine.sms.SetValidity(u"64W");
  EXPECT_EQ(engine.sms.ErrorCode(), 4003);
  EXPECT_EQ(engine.sms.Validity(), u"6W");

  Engine locked;
  locked.modem.Settings().pin = "1234";
  locked.sms.SetValidity(u"5W");
  EXPECT_EQ(locked.sms.Validity(), u"1D");
  EXPECT_NE(locked.sms.ErrorCode(), 0);
}

}  // namespace
}  // namespace tavro
