#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "engine_fixture.h"

namespace tavro {
namespace {

using testing::IsEmpty;

// Setting each value in turn gives the error (0: accepted) and reads back.
template <typename T>
struct SettingCase {
  T value;
  std::int32_t error;
  T readBack;
};

template <typename T, typename Get, typename Set>
void Check(Get get, Set set, T start, std::initializer_list<SettingCase<T>> cases) {
  Engine engine;
  EXPECT_EQ((engine.sms.*get)(), start);
  for (const auto& c : cases) {
    (engine.sms.*set)(c.value);
    EXPECT_EQ(engine.sms.ErrorCode(), c.error) << testing::PrintToString(c.value);
    EXPECT_EQ((engine.sms.*get)(), c.readBack) << testing::PrintToString(c.value);
    EXPECT_EQ(engine.sms.ErrorCode(), 0);  // the getter has cleared it
  }
}

using Text = std::u16string;

TEST(SettingsTest, AcceptRejectAndReadBack) {
  Check<Text>(&SMS::Port, &SMS::SetPort, u"COM1",
              {{u" com3 ", 0, u"COM3"},
               {u"COM256", 0, u"COM256"},
               {u"COM0", 1001, u"COM256"},
               {u"COM257", 1001, u"COM256"},
               {u"COM", 1001, u"COM256"},
               {u"COM1.5", 1001, u"COM256"},
               {u"COM1,2", 1001, u"COM256"},
               {u"LPT1", 1001, u"COM256"},
               {u"COMx", 1001, u"COM256"},
               {u"COM99999999999", 1001, u"COM256"},
               {u"", 1001, u"COM256"},
               {Text(u"COM1\0", 5), 1001, u"COM256"}});
  Check<std::int32_t>(&SMS::BaudRate, &SMS::SetBaudRate, 19200,
                      {{110, 0, 110},
                       {300, 0, 300},
                       {1200, 0, 1200},
                       {2400, 0, 2400},
                       {4800, 0, 4800},
                       {9600, 0, 9600},
                       {14400, 0, 14400},
                       {19200, 0, 19200},
                       {38400, 0, 38400},
                       {57600, 0, 57600},
                       {115200, 0, 115200},
                       {230400, 0, 230400},
                       {460800, 0, 460800},
                       {921600, 0, 921600},
                       {28800, 1002, 921600},
                       {0, 1002, 921600}});
  Check<Text>(&SMS::Parity, &SMS::SetParity, u"N",
              {{u" even ", 0, u"E"},
               {u"o", 0, u"O"},
               {u"E", 0, u"E"},
               {u"mark", 0, u"M"},
               {u"n", 0, u"N"},
               {u"M", 0, u"M"},
               {u"Odd", 0, u"O"},
               {u"space", 0, u"S"},
               {u"none", 0, u"N"},
               {u"S", 0, u"S"},
               {u"X", 1003, u"S"},
               {u"", 1003, u"S"},
               {u"NO", 1003, u"S"}});
  Check<std::int16_t>(&SMS::DataBits, &SMS::SetDataBits, 8,
                      {{4, 0, 4}, {5, 0, 5}, {6, 0, 6}, {8, 0, 8}, {7, 0, 7}, {3, 1004, 7}, {9, 1004, 7}});
  Check<Text>(&SMS::StopBits, &SMS::SetStopBits, u"1",
              {{u"1.5", 0, u"1.5"}, {u"1", 0, u"1"}, {u"2", 0, u"2"}, {u"1.0", 1005, u"2"}, {u" 1", 1005, u"2"}});
  Check<std::int32_t>(&SMS::Timeout, &SMS::SetTimeout, 30000,
                      {{1, 0, 1}, {60000, 0, 60000}, {0, 1008, 60000}, {60001, 1008, 60000}});
  Check<std::int16_t>(&SMS::LongMessage, &SMS::SetLongMessage, 3,
                      {{0, 0, 0}, {1, 0, 1}, {3, 0, 3}, {2, 0, 2}, {4, 4005, 2}, {-1, 4005, 2}});
  Check<bool>(&SMS::DisableCheckPIN, &SMS::SetDisableCheckPIN, false, {{true, 0, true}, {false, 0, false}});
  Check<std::int32_t>(&SMS::DelayAfterPin, &SMS::SetDelayAfterPin, 15000,
                      {{1, 0, 1}, {60000, 0, 60000}, {0, 2024, 60000}, {60001, 2024, 60000}});
  Check<std::int32_t>(&SMS::SendDelay, &SMS::SetSendDelay, 1000,
                      {{1, 0, 1}, {30000, 0, 30000}, {0, 4013, 30000}, {30001, 4013, 30000}});
  Check<std::int16_t>(&SMS::SendRetry, &SMS::SetSendRetry, 2, {{0, 0, 0}, {10, 0, 10}, {11, 4013, 10}, {-1, 4013, 10}});
  Check<std::int16_t>(
      &SMS::Character, &SMS::SetCharacter, 7,
      {{16, 0, 16}, {8, 0, 8}, {7, 0, 7}, {2, 0, 16}, {1, 0, 8}, {0, 0, 7}, {3, 4015, 7}, {-8, 4015, 7}});
  Check<bool>(&SMS::DebugMode, &SMS::SetDebugMode, false, {{true, 0, true}});
  Check<std::int16_t>(&SMS::LogType, &SMS::SetLogType, 2,
                      {{0, 0, 0}, {2, 0, 2}, {1, 0, 1}, {3, 8001, 1}, {-1, 8001, 1}});
  Check<Text>(&SMS::ModemInitString, &SMS::SetModemInitString, u"", {{u"AT&F", 0, u"AT&F"}, {u"", 0, u""}});
  Check<std::int32_t>(&SMS::ModemCommandDelay, &SMS::SetModemCommandDelay, 100,
                      {{50, 0, 50}, {5000, 0, 5000}, {49, 1041, 5000}, {5001, 1041, 5000}});
}

TEST(SettingsTest, LogWhatIsAcceptedAndWhatIsNot) {
  Engine engine;
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
  EXPECT_EQ(engine.Transcript(), R"(
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
     0 log PIN: 1234
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
  EXPECT_EQ(SMS(engine.line).LogType(), 0);
}

TEST(SettingsTest, PortSettingsAreLockedWhileConnectedWhateverTheValue) {
  Engine engine;
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

TEST(SettingsTest, AnotherPortForgetsTheModemAndReplacesTheInbox) {
  SimulatedModem other;
  Engine engine;
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

TEST(SettingsTest, ErrorsAreReadWithoutClearingAndShownWhenAsked) {
  Engine engine;
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
