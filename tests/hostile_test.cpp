// Texts that want to be more than texts: control characters, quotes and line ends in what the application sets, and in
// what the modem says.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>
#include <string>

#include "base/visible_text.h"
#include "engine_fixture.h"
#include "platform/utf8.h"

namespace tavro {
namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

// No octet of the log but its line ends is a control character, nor is a character of two octets.
void ExpectHarmless(const std::string& log) {
  for (const char16_t c : FromUtf8(RemoveAll(log, "\r\n"))) {
    EXPECT_FALSE(IsHidden(c)) << std::hex << unsigned{c} << " in " << log;
  }
}

TEST(Hostile, WhatTheModemSaysForgesNoLine) {
  constexpr char kText[] = "M\x1B[2J\v\f\x7F\x9B\xC2\x9B\xE2\x80\xA8\xE2\x80\xAE\xC3\xA4";
  for (const Dialogue manner : kManners) {
    Engine engine({}, manner);
    engine.modem.Answer("AT+GMI", ModemReply::Bytes(std::string("\r\n") + kText + "\r\n\r\nOK\r\n"));
    engine.sms.Manufacturer();
    const auto lines = engine.folder.LogLinesWith("Modem manufacturer: '");
    if (manner == Dialogue::kClassic) {
      EXPECT_THAT(lines, ElementsAre("Modem manufacturer: '" + std::string(kText) + "'"));
    } else {
      EXPECT_THAT(lines, ElementsAre("Modem manufacturer: 'M\\x1B[2J\\x0B\\x0C\\x7F\\x9B\\x9B\\u2028\\u202E\xC3\xA4'"));
      ExpectHarmless(engine.folder.Log());
    }
  }
}

// Each value that goes into a command, with a second command behind each character that could begin one.
TEST(Hostile, NothingSetSendsACommandOfItsOwn) {
  const struct {
    const char* what;
    std::function<void(SMS&, const std::u16string&)> set;
    bool classicToo;
  } kCases[] = {
      {"PIN", [](SMS& sms, auto& value) { sms.SetPIN(value), sms.Connect(); }, true},
      {"SMSC", [](SMS& sms, auto& value) { sms.SetSMSC(value); }, true},
      {"memory", [](SMS& sms, auto& value) { sms.SetMessageMemory(value); }, true},
      {"USSD", [](SMS& sms, auto& value) { sms.SendUSSD(value); }, true},
      {"number", [](SMS& sms, auto& value) { sms.SendSMS(value, value); }, true},
      {"text", [](SMS& sms, auto& value) { sms.SendSMS(u"+491701234567", value); }, true},
      {"validity", [](SMS& sms, auto& value) { sms.SetValidity(value); }, true},
      {"push", [](SMS& sms, auto& value) { sms.WapPush()->SetDestination(value), sms.WapPush()->Send(); }, true},
      {"init", [](SMS& sms, auto& value) { sms.SetModemInitString(value), sms.Connect(); }, false},
      {"command", [](SMS& sms, auto& value) { sms.Command(value); }, false},
  };
  for (const Dialogue manner : kManners) {
    for (const auto& c : kCases) {
      if (manner == Dialogue::kClassic && !c.classicToo) continue;
      for (const char16_t end : {u'"', u'\r', u'\n', u'\0', u'\x1A', u'\x1B', u'\x7F'}) {
        SCOPED_TRACE(c.what + (" " + std::to_string(int{end})));
        Engine engine({}, manner);
        if (std::string_view(c.what) == "PIN") engine.modem.Settings().pin = "1234";
        engine.modem.Answer("AT+CUSD=*", ModemReply::Line("ERROR"));
        c.set(engine.sms, std::u16string(u"1") + end + u"\rAT+INJECTED\r");
        EXPECT_THAT(engine.modem.CommandTexts(), Not(Contains(StartsWith("AT+INJECTED"))));
        if (manner == Dialogue::kPrompt) ExpectHarmless(engine.folder.Log());
      }
    }
  }
}

TEST(Hostile, ACommandMayOnlyEndInAControlCharacter) {
  const struct {
    const char16_t* command;
    std::int32_t error;
  } kCases[] = {{u"AT+CSQ\r", 0},      {u"AT+CSQ\r\n", 0},           {u"AT+CSQ\rAT\r", 1042},
                {u"AT\n+CSQ\r", 1042}, {u"AT+CSQ=\"\x1B\"\r", 1042}, {u"\x1B", 1012}};
  for (const auto& c : kCases) {
    Engine engine({}, Dialogue::kPrompt);
    engine.sms.SetTimeout(1000);
    engine.sms.Command(c.command);
    EXPECT_EQ(engine.sms.ErrorCode(), c.error) << ToUtf8(c.command);
    EXPECT_NE(engine.sms.IsConnected(), c.error == 1042) << "nothing is sent";
  }
}

TEST(Hostile, TheLogNamesNoPin) {
  const auto log = [](Dialogue manner) {
    Engine engine({}, manner);
    engine.modem.Settings().pin = "4711";
    engine.modem.Settings().echo = true;
    engine.sms.SetPIN(u"4711");
    engine.sms.Connect();
    for (const char16_t* command :
         {u"at+cpin = \"12345678\",\"4711\";+CSQ\r", u"AT+CPIN=4711", u"AT+CLCK=\"SC\",1,\"4711\"\r", u"AT+CLCK=?\r",
          u"AT+CLCK=\"SC\",2\r", u"AT+CPWD=\"SC\",\"4711\",\"12345678\"\r"}) {
      engine.sms.Command(command);
    }
    return engine.folder.Log();
  };
  const std::string shown = log(Dialogue::kPrompt);
  for (const char* secret : {"4711", "12345678"}) EXPECT_THAT(shown, Not(HasSubstr(secret)));
  for (const char* line : {": PIN: ****\r", ": Sending PIN [****]\r", ": Send: AT+CPIN=[****]<cr>\r",
                           "[at+cpin =[****];+CSQ<cr>]\r", "[AT+CPIN=[****]]\r", "AT+CLCK=\"SC\",1,[****]<cr>",
                           "AT+CLCK=?<cr>", "AT+CLCK=\"SC\",2<cr>", "AT+CPWD=\"SC\",[****]<cr>"}) {
    EXPECT_THAT(shown, HasSubstr(line));
  }
  const std::string kept = log(Dialogue::kClassic);
  for (const char* line : {": PIN: 4711\r", ": Sending PIN [4711]\r", ": Send: AT+CPIN=\"4711\"<cr>\r"}) {
    EXPECT_THAT(kept, HasSubstr(line));
  }
}

}  // namespace
}  // namespace tavro
