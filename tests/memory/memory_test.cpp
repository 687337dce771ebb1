// Every allocation of every call fails once, alone and with all behind it. Nothing is thrown, the call says that it
// failed, the object goes on as if nothing had been, and the modem gets no message but those that were sent.
#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "base/error_codes.h"
#include "engine_fixture.h"
#include "failing_new.h"

namespace tavro {
namespace {

// What the calls are given has its memory already.
const std::u16string kNumber = u"+919812345678", kText = u"a text that is longer than a short one", kValidity = u"1D",
                     kInit = u"AT+CSQ;+CSQ;+CSQ;+CSQ;+CSQ", kLongText(200, u'a'), kUssdCode = u"*100#", kOne = u"1";
constexpr char kStored[] = "0791947101670000040C919471214365870000423040707040800131";

// A line whose own memory never runs out.
class RichLine : public SimulatedLine {
 public:
  using SimulatedLine::SimulatedLine;

  void Sleep(std::uint32_t milliseconds) override {
    const FailingNew::Pause pause;
    SimulatedLine::Sleep(milliseconds);
  }
  Handle Open(const std::string& name) override {
    const FailingNew::Pause pause;
    return SimulatedLine::Open(name);
  }
  bool Close(Handle handle) override {
    const FailingNew::Pause pause;
    return SimulatedLine::Close(handle);
  }
  bool Read(Handle handle, char* buffer, std::uint32_t size, std::uint32_t& count) override {
    const FailingNew::Pause pause;
    return SimulatedLine::Read(handle, buffer, size, count);
  }
  bool Write(Handle handle, const char* data, std::uint32_t size, std::uint32_t& count) override {
    const FailingNew::Pause pause;
    return SimulatedLine::Write(handle, data, size, count);
  }
  bool ClearError(Handle handle, std::uint32_t& flags, std::uint32_t& queued) override {
    const FailingNew::Pause pause;
    return SimulatedLine::ClearError(handle, flags, queued);
  }
  bool Escape(Handle handle, std::uint32_t function) override {
    const FailingNew::Pause pause;
    return SimulatedLine::Escape(handle, function);
  }
};

struct Life {
  explicit Life(Dialogue manner) : sms(line, Options{.dialogue = manner}) {
    line->RecordCalls(false);
    sms.SetPort(u"COM1");
    sms.SetLogFolderPath(folder.Path().u16string());
    sms.SetLogType(2);
    sms.SetTimeout(2000);
    modem.Settings().echo = true;
  }

  TempFolder folder;
  SimulatedModem modem;
  std::shared_ptr<RichLine> line = std::make_shared<RichLine>(modem);
  SMS sms;
};

struct Call {
  const char* name;
  std::function<void(Life&)> prepare;
  std::function<void(Life&)> make;
};

void Nothing(Life&) {}
void GetMessage(Life& life) {
  while (life.modem.Stored().size() < 2) life.modem.Store(kStored);
  life.sms.Inbox()->SetConcatenate(true);
  life.sms.Inbox()->Refresh();
}

const Call kCalls[] = {
    {"Connect",
     [](Life& life) {
       life.sms.Disconnect();
       life.modem.Settings().echo = true;
     },
     [](Life& life) { life.sms.Connect(); }},
    {"settings", Nothing,
     [](Life& life) {
       life.sms.SetValidity(kValidity);
       if (life.sms.ErrorCode() == 0) life.sms.SetPIN(kText);
       if (life.sms.ErrorCode() == 0) life.sms.SetModemInitString(kInit);
       if (life.sms.ErrorCode() == 0) life.sms.About();
     }},
    {"SendSMS", Nothing, [](Life& life) { life.sms.SendSMS(kNumber, kText); }},
    {"a long message", Nothing, [](Life& life) { life.sms.SendSMS(kNumber, kLongText); }},
    {"a push",
     [](Life& life) {
       life.sms.WapPush()->SetURL(u"a");
       life.sms.WapPush()->SetDestination(kNumber);
     },
     [](Life& life) {
       life.sms.WapPush()->SetText(kText);
       if (life.sms.ErrorCode() == 0) life.sms.WapPush()->Send();
     }},
    {"Refresh", GetMessage, [](Life& life) { life.sms.Inbox()->Refresh(); }},
    {"Wait",
     [](Life& life) {
       GetMessage(life);
       life.sms.Inbox()->Clear();
       life.modem.IncomingText("+49111", "comes", life.line->Elapsed());
     },
     [](Life& life) { life.sms.Inbox()->Wait(0); }},
    {"a message", GetMessage,
     [](Life& life) {
       for (auto& message : *life.sms.Inbox()) message.Data();
     }},
    {"Delete", GetMessage,
     [](Life& life) {
       if (const auto message = life.sms.Inbox()->Message(1)) message->Delete();
     }},
    {"Clear", GetMessage, [](Life& life) { life.sms.Inbox()->Clear(); }},
    {"SendUSSD", Nothing, [](Life& life) { life.sms.SendUSSD(kUssdCode); }},
    {"queries", Nothing,
     [](Life& life) {
       life.sms.NetworkEx();
       if (life.sms.ErrorCode() == 0) life.sms.OwnNumber();
       if (life.sms.ErrorCode() == 0) life.sms.MemoryUsage();
       if (life.sms.ErrorCode() == 0) life.sms.SMSC();
     }},
    {"reports", Nothing,
     [](Life& life) {
       life.sms.DeliveryOf(kOne);
       if (life.sms.ErrorCode() == 0) life.sms.StatusReports();
     }},
    {"the log", Nothing,
     [](Life& life) {
       life.sms.LogSize();
       if (life.sms.ErrorCode() == 0) life.sms.ClearLog(2);
     }},
};

class Memory : public testing::TestWithParam<Dialogue> {};
INSTANTIATE_TEST_SUITE_P(Manners, Memory, testing::ValuesIn(kManners), MannerName);

TEST_P(Memory, NoneIsLeftForAnyAllocationOfAnyCall) {
  for (const Call& call : kCalls) {
    Life life(GetParam());
    ASSERT_TRUE(life.sms.Connect());
    for (const bool forGood : {false, true}) {
      long after = 0;
      for (bool fails = true; fails; after += forGood ? 1 + after / 8 : 1) {
        SCOPED_TRACE(call.name + (" at " + std::to_string(after)));
        call.prepare(life);
        FailingNew::Arm(after, forGood);
        call.make(life);
        fails = FailingNew::Disarm();
        const std::int32_t code = life.sms.ErrorCode();
        const std::string error = life.line->ToCodePage(life.sms.ErrorDescription());
        if (forGood || !fails) {
          ASSERT_EQ(code, fails ? kOutOfMemory.code : 0) << error;
        }
        const std::u16string imei = life.sms.IMEI();
        ASSERT_EQ(imei, u"490154203237518") << life.folder.Log();
        ASSERT_FALSE(life.modem.Settings().echo);
      }
    }
    for (const auto& pdu : life.modem.Pdus()) {
      EXPECT_TRUE(Contains(pdu.text, "0C91198921436587")) << pdu.text;
      EXPECT_EQ(pdu.text.find_first_not_of("0123456789ABCDEF"), std::string::npos) << pdu.text;
    }
  }
}

}  // namespace
}  // namespace tavro
