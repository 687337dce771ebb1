#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "engine_fixture.h"

namespace tavro {
namespace {

using testing::Contains;
using testing::ElementsAre;
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
  Check<std::int32_t>(
      &SMS::BaudRate, &SMS::SetBaudRate, 19200,
      {{110, 0, 110}, {14400, 0, 14400}, {921600, 0, 921600}, {28800, 1002, 921600}, {0, 1002, 921600}});
  Check<Text>(&SMS::Parity, &SMS::SetParity, u"N",
              {{u" even ", 0, u"E"},
               {u"mark", 0, u"M"},
               {u"S", 0, u"S"},
               {u"X", 1003, u"S"},
               {u"", 1003, u"S"},
               {u"NO", 1003, u"S"}});
  Check<std::int16_t>(&SMS::DataBits, &SMS::SetDataBits, 8, {{4, 0, 4}, {7, 0, 7}, {3, 1004, 7}, {9, 1004, 7}});
  Check<Text>(&SMS::StopBits, &SMS::SetStopBits, u"1",
              {{u"1.5", 0, u"1.5"}, {u"2", 0, u"2"}, {u"1.0", 1005, u"2"}, {u" 1", 1005, u"2"}});
  Check<std::int32_t>(&SMS::Timeout, &SMS::SetTimeout, 30000,
                      {{1, 0, 1}, {60000, 0, 60000}, {0, 1008, 60000}, {60001, 1008, 60000}});
  Check<std::int16_t>(&SMS::LongMessage, &SMS::SetLongMessage, 3, {{0, 0, 0}, {2, 0, 2}, {4, 4005, 2}, {-1, 4005, 2}});
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
  Check<std::int16_t>(&SMS::LogType, &SMS::SetLogType, 2, {{0, 0, 0}, {1, 0, 1}, {3, 8001, 1}, {-1, 8001, 1}});
  Check<Text>(&SMS::ModemInitString, &SMS::SetModemInitString, u"", {{u"AT&F", 0, u"AT&F"}, {u"", 0, u""}});
  Check<std::int32_t>(&SMS::ModemCommandDelay, &SMS::SetModemCommandDelay, 100,
                      {{50, 0, 50}, {5000, 0, 5000}, {49, 1041, 5000}, {5001, 1041, 5000}});
}

TEST(SettingsTest, LogNothingAtTheStartAndThenWhatIsAccepted) {
  auto line = std::make_shared<SimulatedLine>();
  EXPECT_EQ(SMS(line).LogType(), 0);

  Engine engine;
  engine.sms.ClearLog();
  engine.sms.SetPort(u"com1");
  engine.sms.SetBaudRate(9600);
  engine.sms.SetParity(u"even");
  engine.sms.SetDataBits(7);
  engine.sms.SetStopBits(u"2");
  engine.sms.SetTimeout(0);
  engine.sms.SetTimeout(2000);
  engine.sms.SetPIN(u"1234");
  engine.sms.SetDisableCheckPIN(true);
  engine.sms.SetDisableCheckPIN(false);
  engine.sms.SetSendDelay(5);
  engine.sms.SetSendRetry(3);
  engine.sms.SetSendRetry(11);
  engine.sms.SetSendDelay(0);
  engine.sms.SetCharacter(2);
  engine.sms.SetValidity(u"5W");
  engine.sms.SetLongMessage(1);
  engine.sms.SetDelayAfterPin(1);
  engine.sms.SetModemInitString(u"AT");
  engine.sms.SetModemCommandDelay(60);
  engine.sms.SetDebugMode(false);
  EXPECT_THAT(engine.folder.LogLines(),
              ElementsAre("Port: COM1", "BaudRate: 9600", "Parity: E", "DataBits: 7", "StopBits: 2",
                          "Set communication timeout = 0 milliseconds", "ERROR [1008] Invalid timeout setting",
                          "Set communication timeout = 2000 milliseconds", "Timeout: 2000ms", "PIN: 1234",
                          "Disable PIN status check", "Enable PIN status check", "Send Delay: 5ms", "Send Retry: 3",
                          "ERROR [4013] Invalid send retry value", "ERROR [4013] Invalid send delay value",
                          "Encoding: 16-Bit", "Setting validity period as 5W"));
  EXPECT_EQ(engine.sms.LogSize(), 19);
  EXPECT_TRUE(engine.sms.ClearLog(1));
  EXPECT_EQ(engine.sms.LogSize(), 3);
}

TEST(SettingsTest, PortSettingsAreLockedWhileConnected) {
  Engine engine;
  ASSERT_TRUE(engine.sms.Connect());
  const auto locked = [&] { return std::pair(engine.sms.ErrorCode(), engine.ErrorText()); };
  const std::pair<std::int32_t, std::string> kLocked{1009, "Cannot change port setting when connected"};
  engine.sms.SetPort(u"COM2");
  EXPECT_EQ(locked(), kLocked);
  engine.sms.SetPort(u"bad");  // locked before anything else is tested
  EXPECT_EQ(locked(), kLocked);
  engine.sms.SetBaudRate(9600);
  EXPECT_EQ(locked(), kLocked);
  engine.sms.SetParity(u"E");
  EXPECT_EQ(locked(), kLocked);
  engine.sms.SetDataBits(7);
  EXPECT_EQ(locked(), kLocked);
  engine.sms.SetStopBits(u"2");
  EXPECT_EQ(locked(), kLocked);
  engine.sms.SetTimeout(5000);
  EXPECT_EQ(engine.sms.ErrorCode(), 0);
  EXPECT_EQ(engine.sms.Port(), u"COM1");
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

TEST(SettingsTest, LogFolder) {
  Engine engine;
  const Text folder = engine.folder.Path().u16string() + u"/";
  EXPECT_EQ(engine.sms.LogFolderPath(), folder);
  engine.sms.SetLogFolderPath(u"");
  EXPECT_EQ(engine.sms.ErrorCode(), 8002);
  engine.sms.SetLogFolderPath(u"/no/such");
  EXPECT_EQ(engine.sms.ErrorCode(), 8003);
  EXPECT_EQ(engine.ErrorText(), "Cannot find log file path");
  EXPECT_EQ(engine.sms.LogFolderPath(), folder);
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
