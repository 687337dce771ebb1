#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "engine_fixture.h"
#include "facade/network_info.h"
#include "outgoing/validity_period.h"

namespace tavro {
namespace {

using testing::ElementsAre;

struct TextQuery {
  const char* name;
  std::u16string (SMS::*query)();
  const char* command;
  const char* reply;  // nullptr: ERROR
  const char16_t* value;
  std::int32_t error;
  const char16_t* promptValue = nullptr;  // in the prompt manner, where it is another
};

class DeviceQuery : public BothManners {};

INSTANTIATE_TEST_SUITE_P(Manners, DeviceQuery, testing::ValuesIn(kManners), MannerName);

TEST_P(DeviceQuery, TextAnswers) {
  const TextQuery kCases[] = {
      {"manufacturer", &SMS::Manufacturer, "AT+GMI", "Siemens OK", u"Siemens", 0, u"Siemens OK"},
      {"manufacturer", &SMS::Manufacturer, "AT+GMI", "Nokia Mobile Phones", u"NOKIA MOBILE PHONES", 0,
       u"Nokia Mobile Phones"},
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
       "+COPS: (2,\"First\",\"F\",\"26299\"),(1,\"o2 - "
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
    Engine engine({}, GetParam());
    engine.sms.Connect();
    engine.modem.Answer(c.command, c.reply ? ModemReply::Ok(c.reply) : ModemReply::Line("ERROR"));
    const bool differs = GetParam() == Dialogue::kPrompt && c.promptValue;
    EXPECT_EQ((engine.sms.*c.query)(), differs ? c.promptValue : c.value) << c.name;
    EXPECT_EQ(engine.sms.ErrorCode(), c.error) << c.name;
  }
}

// By the second command where there is one.
TEST(DeviceQueryTest, AllDialogues) {
  Engine engine;
  SMS& sms = engine.sms;
  for (const char* lacking : {"AT+GMI", "AT+GMM", "AT+CGSN", "AT+GMR"}) {
    engine.modem.Answer(lacking, ModemReply::Line("ERROR"));
  }
  sms.Connect();
  engine.line->StartTranscript();
  EXPECT_EQ(sms.Manufacturer(), u"Simulated");
  EXPECT_EQ(sms.Model(), u"Tavro Modem");
  EXPECT_EQ(sms.IMEI(), u"490154203237518");
  EXPECT_EQ(sms.Revision(), u"1.0");
  EXPECT_EQ(sms.IMSI(), u"262019876543210");
  EXPECT_EQ(sms.BatteryLevel(), 80);
  EXPECT_EQ(sms.OwnNumber(), u"+491701234567");
  EXPECT_EQ(sms.SignalStrength(), 74);  // 46 of 62 dB: 74.2
  EXPECT_EQ(sms.SignalStrengthDB(), -67);
  sms.SetSMSC(u"+919812345678");
  EXPECT_EQ(sms.SMSC(), u"+919812345678");
  EXPECT_EQ(sms.Network(), u"TAVRONET");
  EXPECT_EQ(sms.NetworkEx(), u"Tavronet");
  sms.SetMessageMemory(u" me ");
  EXPECT_EQ(sms.MessageMemory(), u"ME");
  EXPECT_EQ(engine.Transcript(), R"(
     0 log Reading modem manufacturer information
     0 AT+GMI > 100 > 601 |ERROR|
   601 log AT+GMI not supported. Trying AT+CGMI
   601 AT+CGMI > 701 > 1202 |Simulated||OK|
  1202 log Modem manufacturer: 'Simulated'
  1202 log Reading modem model information
  1202 AT+GMM > 1302 > 1803 |ERROR|
  1803 log AT+GMM not supported. Trying AT+CGMM
  1803 AT+CGMM > 1903 > 2404 |Tavro Modem||OK|
  2404 log Modem model: 'Tavro Modem'
  2404 log Reading modem IMEI
  2404 AT+CGSN > 2504 > 3005 |ERROR|
  3005 log AT+CGSN not supported. Trying AT+GSN
  3005 AT+GSN > 3105 > 3606 |490154203237518||OK|
  3606 log Modem IMEI: '490154203237518'
  3606 log Reading modem firmware revision
  3606 AT+GMR > 3706 > 4207 |ERROR|
  4207 log AT+GMR not supported. Trying AT+CGMR
  4207 AT+CGMR > 4307 > 4808 |1.0||OK|
  4808 log Modem Firmware Revision: '1.0'
  4808 log Reading IMSI
  4808 AT+CIMI > 4908 > 5409 |262019876543210||OK|
  5409 log IMSI: '262019876543210'
  5409 log Reading battery charge level
  5409 AT+CBC > 5509 > 6010 |+CBC: 0,80||OK|
  6010 log Battery charge level: '80%'
  6010 log Reading own number
  6010 AT+CNUM > 6110 > 6611 |+CNUM: "Own","+491701234567",145||OK|
  6611 log Own Number: +491701234567
  6611 log Reading GSM signal strength in DB
  6611 AT+CSQ > 6711 > 7212 |+CSQ: 23,0||OK|
  7212 log GSM signal strength: '-67dB'
  7212 log Reading GSM signal strength in DB
  7212 AT+CSQ > 7312 > 7813 |+CSQ: 23,0||OK|
  7813 log GSM signal strength: '-67dB'
  7813 log Setting SMSC as '+919812345678'
  7813 AT+CSCA="+919812345678" > 7913 > 8414 |OK|
  8414 log SMSC number set as '+919812345678'
  8414 log Reading SMSC number
  8414 AT+CSCA? > 8514 > 9015 |+CSCA: "+919812345678",145||OK|
  9015 log SMSC: +919812345678
  9015 log Reading network information
  9015 AT+COPS? > 9115 > 9616 |+COPS: 0,0,"Tavronet"||OK|
  9616 log Network: TAVRONET
  9616 log Reading network information (NetworkEx)
  9616 AT+COPS=? > 9716 > 10217 |+COPS: (2,"Tavronet","Tavro","26299"),(1,"Othernet","Other","26298"),,(0,1,3),(0-2)||OK|
 10217 log Network: Tavronet
 10217 log Setting message memory as 'ME'
 10217 AT+CPMS="ME",,"ME" > 10317 > 10818 |+CPMS: 0,255,0,100,0,255||OK|
 10818 log Message memory set as 'ME'
 10818 log Reading message memory setting
 10818 AT+CPMS? > 10918 > 11419 |+CPMS: "ME",0,255,"SM",0,100,"ME",0,255||OK|
 11419 log Message memory type: 'ME'
error 0, connected
)");
}

// Those that need the SIM ask for its state when the port is closed, and raise its error.
TEST(DeviceQueryTest, SomeNeedAModemThatIsReady) {
  const std::pair<const char*, void (*)(SMS&)> kCalls[] = {
      {"AT+CNUM", [](SMS& sms) { sms.OwnNumber(); }},
      {"AT+CSQ", [](SMS& sms) { sms.SignalStrength(); }},
      {"AT+CSQ", [](SMS& sms) { sms.SignalStrengthDB(); }},
      {"AT+CSCA?", [](SMS& sms) { sms.SMSC(); }},
      {"AT+CSCA=\"1\"", [](SMS& sms) { sms.SetSMSC(u"1"); }},
      {"AT+COPS?", [](SMS& sms) { sms.Network(); }},
      {"AT+COPS=?", [](SMS& sms) { sms.NetworkEx(); }},
      {"AT+CPMS?", [](SMS& sms) { sms.MessageMemory(); }},
      {"AT+CPMS=\"ME\",,\"ME\"", [](SMS& sms) { sms.SetMessageMemory(u"ME"); }},
      {"AT+CREG?", [](SMS& sms) { sms.Validity(); }},
  };
  for (const auto& [command, call] : kCalls) {
    Engine engine;
    engine.line->StartTranscript();
    call(engine.sms);
    EXPECT_EQ(engine.modem.CommandTexts().back(), command);
    EXPECT_THAT(engine.Transcript(), testing::StartsWith("\n     0 log Send AT command [AT+CMEE=1<cr>]\n")) << command;
    Engine locked;
    locked.modem.Settings().pin = "1234";
    call(locked.sms);
    EXPECT_EQ(locked.ErrorText(), "Blank PIN is not allowed (Modem is waiting for PIN)") << command;
  }
}

TEST_P(DeviceQuery, Battery) {
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
    Engine engine({}, GetParam());
    engine.sms.Connect();
    engine.modem.Answer("AT+CBC", ModemReply::Ok(c.reply));
    EXPECT_EQ(engine.sms.BatteryLevel(), c.level) << c.reply;
    EXPECT_EQ(engine.sms.ErrorCode(), c.error);
    EXPECT_EQ(engine.ErrorText(), c.text);
  }
}

TEST_P(DeviceQuery, Signal) {
  const struct {
    int indication;
    std::int16_t db, percent;
  } kCases[] = {{31, -51, 100}, {0, -113, 0},  {15, -83, 48}, {1, -111, 3},
                {30, -53, 97},  {11, -91, 36}, {20, -73, 64}, {24, -65, 77}};
  Engine engine({}, GetParam());
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

// Some modems tell more of other networks, or the battery's voltage: 56 would be -1 dB, as if it were not known.
TEST_P(DeviceQuery, LevelsThatTheStandardDoesNotKnow) {
  const bool isClassic = GetParam() == Dialogue::kClassic;
  Engine engine({}, GetParam());
  engine.sms.Connect();
  engine.modem.Answer("AT+CSQ", ModemReply::Ok("+CSQ: 56,99"));
  engine.modem.Answer("AT+CBC", ModemReply::Ok("+CBC: 0,3900"));
  EXPECT_EQ(engine.sms.SignalStrengthDB(), -1);
  EXPECT_EQ(engine.sms.ErrorCode(), isClassic ? 0 : 3001);
  EXPECT_EQ(engine.sms.SignalStrength(), isClassic ? 100 : -1);
  EXPECT_EQ(engine.sms.BatteryLevel(), isClassic ? 3900 : -1);
  EXPECT_EQ(engine.sms.ErrorCode(), isClassic ? 0 : 2022);
}

TEST_P(DeviceQuery, WhatCannotBeSet) {
  Engine engine({}, GetParam());
  engine.sms.Connect();
  engine.modem.ForgetReceived();
  for (const char16_t* bad : {u"1\"", u"1\r", u"1\n", u"12\b", u"1\x7F", u"\x1A", u"1\x1F"}) {
    engine.sms.SetSMSC(bad);
    EXPECT_EQ(engine.ErrorText(), "Unable to save SMSC");
  }
  for (const char16_t* bad : {u"XX", u"MT", u"", u"SME"}) {
    engine.sms.SetMessageMemory(bad);
    EXPECT_EQ(engine.ErrorText(), "Invalid message memory setting");
  }
  EXPECT_TRUE(engine.modem.Commands().empty());
  engine.modem.Answer("AT+CSCA=*", ModemReply::Line("ERROR"));
  engine.sms.SetSMSC(u"12345");
  EXPECT_EQ(engine.sms.ErrorCode(), 4002);
  EXPECT_EQ(engine.sms.SMSC(), u"+491710760000");
  engine.modem.ForgetReceived();
  engine.modem.Answer("AT+CPMS=*", ModemReply::Line("ERROR"));
  engine.sms.SetMessageMemory(u"ME");
  EXPECT_EQ(engine.ErrorText(), "Modem does not support selected message memory");
  std::vector<std::string> commands(2, "AT+CPMS=\"ME\",,\"ME\"");
  if (GetParam() == Dialogue::kPrompt) {
    commands.insert(commands.end(), {"AT+CPMS=\"ME\",\"ME\",\"ME\"", "AT+CPMS=\"ME\""});
  }
  EXPECT_EQ(engine.modem.CommandTexts(), commands);
}

// A modem that is set to MT by other means keeps it.
TEST_P(DeviceQuery, MemoryThatTheModemReportsIsRestored) {
  for (const char* memory : {"MT", "SR"}) {
    Engine engine({}, GetParam());
    engine.modem.Answer("AT+CPMS?", ModemReply::Ok("+CPMS: \"" + std::string(memory) + "\" , 1,255,\"SM\",0,10,,,"));
    EXPECT_EQ(engine.line->ToCodePage(engine.sms.MessageMemory()), memory);
    engine.sms.Disconnect();
    engine.sms.Connect();
    EXPECT_EQ(engine.modem.CommandTexts().back(),
              memory == std::string("MT") ? "AT+CPMS=\"MT\",,\"MT\"" : "AT+CPMS=\"SM\",,\"SM\"");
  }
}

TEST_P(DeviceQuery, SilenceGivesTheExchangesError) {
  Engine engine({}, GetParam());
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
