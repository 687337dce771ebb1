#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "engine_fixture.h"

namespace tavro {
namespace {

using testing::IsEmpty;

using Text = std::u16string;

// The value at the start; those that are accepted, which read back as they are or as the second of a pair; and those
// that are rejected with this error and leave the last accepted one.
template <typename T, typename Get, typename Set>
void Check(Get get, Set set, T start, std::initializer_list<T> accepted,
           std::initializer_list<std::pair<T, T>> aliases = {}, std::int32_t error = 0,
           std::initializer_list<T> rejected = {}) {
  Engine engine;
  SMS& sms = engine.sms;
  T last = start;
  const auto expect = [&](const T& value, std::int32_t code) {
    EXPECT_EQ(sms.ErrorCode(), code) << testing::PrintToString(value);
    EXPECT_EQ((sms.*get)(), last) << testing::PrintToString(value);
    EXPECT_EQ(sms.ErrorCode(), 0);  // the getter has cleared it
  };
  expect(start, 0);
  const auto accept = [&](const T& value, const T& readBack) {
    (sms.*set)(value);
    last = readBack;
    expect(value, 0);
  };
  for (const T& value : accepted) accept(value, value);
  for (const auto& [value, readBack] : aliases) accept(value, readBack);
  for (const T& value : rejected) {
    (sms.*set)(value);
    expect(value, error);
  }
}

TEST(SettingsTest, AcceptRejectAndReadBack) {
  Check<Text>(
      &SMS::Port, &SMS::SetPort, u"COM1", {u"COM9", u"COM10", u"COM256"}, {{u" com3 ", u"COM3"}}, 1001,
      {u"COM0", u"COM257", u"COM", u"COM1.5", u"COM1,2", u"LPT1", u"COMx", u"COM99999999999", u"", Text(u"COM1\0", 5)});
  Check<std::int32_t>(&SMS::BaudRate, &SMS::SetBaudRate, 19200,
                      {110, 300, 1200, 2400, 4800, 9600, 14400, 19200, 38400, 57600, 115200, 230400, 460800, 921600},
                      {}, 1002, {28800, 0});
  Check<Text>(&SMS::Parity, &SMS::SetParity, u"N", {u"O", u"E", u"M", u"S", u"N"},
              {{u" even ", u"E"}, {u"o", u"O"}, {u"mark", u"M"}, {u"Odd", u"O"}, {u"space", u"S"}, {u"none", u"N"}},
              1003, {u"X", u"", u"NO"});
  Check<std::int16_t>(&SMS::DataBits, &SMS::SetDataBits, 8, {4, 5, 6, 8, 7}, {}, 1004, {3, 9});
  Check<Text>(&SMS::StopBits, &SMS::SetStopBits, u"1", {u"1.5", u"1", u"2"}, {}, 1005, {u"1.0", u" 1"});
  Check<std::int32_t>(&SMS::Timeout, &SMS::SetTimeout, 30000, {1, 60000}, {}, 1008, {0, 60001});
  Check<std::int16_t>(&SMS::LongMessage, &SMS::SetLongMessage, 3, {0, 1, 3, 2}, {}, 4005, {4, -1});
  Check<bool>(&SMS::DisableCheckPIN, &SMS::SetDisableCheckPIN, false, {true, false});
  Check<std::int32_t>(&SMS::DelayAfterPin, &SMS::SetDelayAfterPin, 15000, {1, 60000}, {}, 2024, {0, 60001});
  Check<std::int32_t>(&SMS::SendDelay, &SMS::SetSendDelay, 1000, {1, 30000}, {}, 4013, {0, 30001});
  Check<std::int16_t>(&SMS::SendRetry, &SMS::SetSendRetry, 2, {0, 10}, {}, 4013, {11, -1});
  Check<std::int16_t>(&SMS::Character, &SMS::SetCharacter, 7, {16, 8, 7}, {{2, 16}, {1, 8}, {0, 7}}, 4015, {3, -8});
  Check<bool>(&SMS::DebugMode, &SMS::SetDebugMode, false, {true, false});
  Check<std::int16_t>(&SMS::LogType, &SMS::SetLogType, 2, {0, 2, 1}, {}, 8001, {3, -1});
  Check<Text>(&SMS::ModemInitString, &SMS::SetModemInitString, u"", {u"AT&F", u""});
  Check<std::int32_t>(&SMS::ModemCommandDelay, &SMS::SetModemCommandDelay, 100, {50, 5000}, {}, 1041, {49, 5001});
}

class Setting : public BothManners {};

INSTANTIATE_TEST_SUITE_P(Manners, Setting, testing::ValuesIn(kManners), MannerName);

TEST_P(Setting, LogWhatIsAcceptedAndWhatIsNot) {
  Engine engine({}, GetParam());
  SMS& sms = engine.sms;
  engine.line->StartTranscript();
  sms.SetPort(u"com1");
  sms.SetPort(u"LPT1");
  sms.SetBaudRate(9600);
  sms.SetBaudRate(9601);
  sms.SetParity(u"even");
  sms.SetParity(u"x");
  sms.SetDataBits(7);
  sms.SetDataBits(3);
  sms.SetStopBits(u"2");
  sms.SetStopBits(u"3");
  sms.SetTimeout(2000);
  sms.SetTimeout(0);
  sms.SetPIN(u"1234");
  sms.SetDisableCheckPIN(true);
  sms.SetDisableCheckPIN(false);
  sms.SetSendDelay(5);
  sms.SetSendDelay(0);
  sms.SetSendRetry(3);
  sms.SetSendRetry(11);
  sms.SetCharacter(2);
  sms.SetCharacter(3);
  sms.SetValidity(u"5W");
  sms.SetValidity(u"64W");
  sms.SetLongMessage(1);
  sms.SetLongMessage(4);
  sms.SetDelayAfterPin(1);
  sms.SetDelayAfterPin(0);
  sms.SetModemInitString(u"AT");
  sms.SetModemCommandDelay(60);
  sms.SetModemCommandDelay(49);
  sms.SetDebugMode(false);
  sms.SetLogFolderPath(u"");
  sms.SetLogFolderPath(u"/no/such");
  sms.SetLogType(2);
  sms.SetLogType(3);
  const std::string pin = GetParam() == Dialogue::kClassic ? "PIN: 1234" : "PIN: ****";
  EXPECT_EQ(ReplaceAll(engine.Transcript(), pin, "the PIN"), R"(
     0 log Port: COM1
     0 log ERROR [1001] Invalid COM port setting
     0 log BaudRate: 9600
     0 log ERROR [1002] Invalid baudrate setting
     0 log Parity: E
     0 log ERROR [1003] Invalid parity setting
     0 log DataBits: 7
     0 log ERROR [1004] Invalid data bits setting
     0 log StopBits: 2
     0 log ERROR [1005] Invalid stopbits setting
     0 log Set communication timeout = 2000 milliseconds
     0 log Timeout: 2000ms
     0 log Set communication timeout = 0 milliseconds
     0 log ERROR [1008] Invalid timeout setting
     0 log the PIN
     0 log Disable PIN status check
     0 log Enable PIN status check
     0 log Send Delay: 5ms
     0 log ERROR [4013] Invalid send delay value
     0 log Send Retry: 3
     0 log ERROR [4013] Invalid send retry value
     0 log Encoding: 16-Bit
     0 log ERROR [4015] Invalid character encoding
     0 log Setting validity period as 5W
     0 log Setting validity period as 64W
     0 log ERROR [4003] Unable to set validity period
     0 log ERROR [4005] Invalid long message action
     0 log ERROR [2024] Invalid value for delay after PIN
     0 log ERROR [1041] Invalid value for Modem Command Delay
     0 log ERROR [8002] Invalid log file path
     0 log ERROR [8003] Cannot find log file path
     0 log ERROR [8001] Invalid log type option
error 8001 Invalid log type option, disconnected
)");
  EXPECT_EQ(sms.LogFolderPath(), engine.folder.Path().u16string() + u"/");
  EXPECT_TRUE(sms.ClearLog(1));
  EXPECT_EQ(sms.LogSize(), 3);
  EXPECT_EQ(SMS(engine.line, Options{}).LogType(), 0);
}

TEST_P(Setting, PortSettingsAreLockedWhileConnectedWhateverTheValue) {
  Engine engine({}, GetParam());
  SMS& sms = engine.sms;
  ASSERT_TRUE(sms.Connect());
  const auto locked = [&] { return sms.ErrorCode() == 1009; };
  for (const char16_t* value : {u"COM2", u"E", u"2", u"bad"}) {
    sms.SetPort(value);
    EXPECT_TRUE(locked());
    sms.SetParity(value);
    EXPECT_TRUE(locked());
    sms.SetStopBits(value);
    EXPECT_TRUE(locked());
  }
  for (const std::int16_t value : {std::int16_t{9600}, std::int16_t{7}, std::int16_t{-1}}) {
    sms.SetBaudRate(value);
    EXPECT_TRUE(locked());
    sms.SetDataBits(value);
    EXPECT_TRUE(locked());
  }
  EXPECT_EQ(engine.ErrorText(), "Cannot change port setting when connected");
  sms.SetTimeout(5000);
  EXPECT_EQ(sms.ErrorCode(), 0);
  EXPECT_EQ(sms.Port(), u"COM1");
}

TEST_P(Setting, AnotherPortForgetsTheModemAndReplacesTheInbox) {
  SimulatedModem other;
  Engine engine({}, GetParam());
  other.Settings().serviceCentre = "+19175550100";
  engine.line->Attach(2, other);
  const auto inbox = engine.sms.Inbox();
  const auto wap = engine.sms.WapPush();
  EXPECT_EQ(engine.sms.SMSC(), u"+491710760000");
  engine.sms.SetCharacter(16);
  engine.sms.Disconnect();
  engine.sms.SetPort(u" com1");  // the same one
  EXPECT_EQ(engine.sms.Inbox(), inbox);
  engine.sms.SetPort(u"COM2");
  EXPECT_NE(engine.sms.Inbox(), inbox);
  EXPECT_EQ(inbox->Count(), 0);  // still alive
  EXPECT_EQ(engine.sms.WapPush(), wap);
  EXPECT_EQ(engine.sms.Character(), 16);
  ASSERT_TRUE(engine.sms.SendSMS(u"+919812345678", u"x"));
  EXPECT_EQ(other.Pdus()[0].text.substr(0, 16), "07919171550501F0");  // its own service centre
}

TEST_P(Setting, ErrorsAreReadWithoutClearingAndShownWhenAsked) {
  Engine engine({}, GetParam());
  engine.sms.SetBaudRate(1);
  EXPECT_TRUE(engine.sms.IsError());
  EXPECT_THAT(engine.line->MessageBoxes(), IsEmpty());
  EXPECT_TRUE(engine.sms.IsError(true));
  EXPECT_TRUE(engine.sms.IsError(true, u"My title"));
  ASSERT_EQ(engine.line->MessageBoxes().size(), 2u);
  EXPECT_EQ(engine.line->MessageBoxes()[0].text, u"ERROR 1002: Invalid baudrate setting");
  EXPECT_EQ(engine.line->MessageBoxes()[0].title, u"Tavro Error");
  EXPECT_EQ(engine.line->MessageBoxes()[1].title, u"My title");
  EXPECT_EQ(engine.sms.ErrorCode(), 1002);
  EXPECT_EQ(engine.sms.Timeout(), 30000);
  EXPECT_FALSE(engine.sms.IsError(true));
}

TEST(SettingsTest, About) {
  Engine engine;
  const Text about = engine.sms.About();
  EXPECT_EQ(about.substr(0, about.find(u"\r\n")), u"Tavro 1.8 SMS Component (Version 1.8.80)");
  EXPECT_GT(about.size(), about.find(u"\r\n") + 2);
}

}  // namespace
}  // namespace tavro
