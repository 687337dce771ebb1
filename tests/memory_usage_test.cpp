// How full the modem's message memories are.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "engine_fixture.h"

namespace tavro {
namespace {

using Reply = ModemReply;

constexpr char kFull[] = "Message memory 'SM' is full (100 of 100): the modem takes no more messages";

// "SM 1/100 ME 0/255", or "error" and its number.
std::string UsageOf(Engine& engine) {
  std::string text;
  for (const auto& memory : engine.sms.MemoryUsage()) {
    text += (text.empty() ? "" : " ") + engine.line->ToCodePage(memory.name) + " " + std::to_string(memory.used) + "/" +
            std::to_string(memory.total);
  }
  const std::int32_t code = engine.sms.ErrorCode();
  EXPECT_EQ(text.empty(), code != 0);
  return code == 0 ? text : "error " + std::to_string(code);
}

TEST(MemoryUsageTest, SelectsWhatItCountsAndPutsBackWhatWasSelected) {
  Engine engine({}, Dialogue::kPrompt);
  engine.modem.Store("00", 0, 3);
  ASSERT_TRUE(engine.sms.Connect());
  engine.line->StartTranscript();
  EXPECT_EQ(UsageOf(engine), "SM 1/100 ME 0/255 MT 1/355");
  EXPECT_EQ(engine.Transcript(), R"(
     0 log Reading message memory usage
     0 AT+CPMS? - 0 > 0 |+CPMS: "SM",1,100,"SM",1,100,"SM",1,100||OK|
     0 AT+CPMS=? - 0 > 0 |+CPMS: ("SM","ME","MT"),("SM","ME","MT"),("SM","ME","MT")||OK|
     0 AT+CPMS="ME" - 0 > 0 |+CPMS: 0,255,1,100,1,100||OK|
     0 AT+CPMS="MT" - 0 > 0 |+CPMS: 1,355,1,100,1,100||OK|
     0 AT+CPMS="SM" - 0 > 0 |+CPMS: 1,100,1,100,1,100||OK|
     0 log Message memory 'SM': 1 of 100
     0 log Message memory 'ME': 0 of 255
     0 log Message memory 'MT': 1 of 355
error 0, connected
)");
  // It reads from no other memory where that cannot be put back.
  engine.modem.Answer("AT+CPMS=\"SM\"", Reply::Line("ERROR"), 2);
  EXPECT_EQ(UsageOf(engine), "error 2002");
  engine.modem.ForgetReceived();
  engine.sms.Inbox()->Refresh();
  EXPECT_EQ(engine.modem.CommandTexts().front(), "AT+CPMS=\"SM\",,\"SM\"");
}

TEST(MemoryUsageTest, TakesTheAnswersOfOtherModems) {
  const struct {
    const char *current, *names;
    ModemReply other;  // to the selection of ME
    const char* usage;
    std::vector<std::string> selections = {};
  } kCases[] = {
      {R"(+CPMS: "SM",1,5,"ME",2,6,"MT",3,11)",
       R"(+CPMS: ("ME","SM","MT"),("SM"),("SM"))",
       {},
       "ME 2/6 SM 1/5 MT 3/11"},
      {R"(+CPMS: "SM",1,5)", R"(+CPMS: "SM","ME")", Reply::Ok("+CPMS: 7,9"), "SM 1/5 ME 7/9", {"ME", "SM"}},
      {R"(+CPMS: "SM",1,5,"SM",1,5)", "ERROR", {}, "SM 1/5"},
      {R"(+CPMS: "SM",1,5)", R"(+CPMS: ("SM","ME"))", Reply::Line("+CMS ERROR: 302"), "SM 1/5", {"ME", "SM"}},
      {R"(+CPMS: "SM",1,5)", R"(+CPMS: ("SM","ME"))", Reply::Silence(), "error 2002", {"ME", "SM"}},
      {"ERROR", "", {}, "error 2002"},
  };
  for (const auto& c : kCases) {
    for (const Dialogue dialogue : kManners) {
      Engine engine({}, dialogue);
      ASSERT_TRUE(engine.sms.Connect());
      const auto reply = [](std::string_view text) { return text == "ERROR" ? Reply::Line(text) : Reply::Ok(text); };
      engine.modem.Answer("AT+CPMS?", reply(c.current));
      engine.modem.Answer("AT+CPMS=?", reply(c.names));
      engine.modem.Answer("AT+CPMS=\"ME\"", c.other);
      engine.modem.ForgetReceived();
      EXPECT_EQ(UsageOf(engine), c.usage) << c.current;
      std::vector<std::string> selections;
      for (const std::string& command : engine.modem.CommandTexts()) {
        if (command.starts_with("AT+CPMS=\"")) selections.push_back(command.substr(9, 2));
      }
      EXPECT_EQ(selections, c.selections) << c.current;
    }
  }
}

TEST(MemoryUsageTest, AFullMemoryIsNotedOnceInThePromptManner) {
  for (const Dialogue dialogue : kManners) {
    const bool prompt = dialogue == Dialogue::kPrompt;
    Engine engine({}, dialogue);
    ASSERT_TRUE(engine.sms.Connect());
    EXPECT_FALSE(engine.sms.IsMemoryFull());
    for (int i = 0; i < 100; ++i) engine.modem.Store("00");
    EXPECT_FALSE(engine.sms.IsMemoryFull()) << "it asks nothing";
    for (int i = 0; i < 2; ++i) EXPECT_EQ(UsageOf(engine), "SM 100/100 ME 0/255 MT 100/355");
    EXPECT_EQ(engine.sms.IsMemoryFull(), prompt);
    engine.sms.Disconnect();
    engine.sms.Connect();
    EXPECT_EQ(engine.sms.IsMemoryFull(), prompt) << "from the selection";
    EXPECT_EQ(engine.folder.LogLinesWith("is full"), std::vector<std::string>(prompt ? 2 : 0, kFull));
    // The memory that is received into counts.
    engine.modem.Answer("AT+CPMS?", Reply::Ok(R"(+CPMS: "SM",9,9,"SM",9,9,"ME",9,10)"), 1);
    engine.sms.MessageMemory();
    EXPECT_FALSE(engine.sms.IsMemoryFull());
  }
}

}  // namespace
}  // namespace tavro
