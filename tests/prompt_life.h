// What a program does with a modem in the prompt manner, from the connection on, and what comes of it.
#pragma once

#include <string>
#include <vector>

#include "engine_fixture.h"

namespace tavro {

inline constexpr char16_t kSomebody[] = u"+919812345678";

// A message that says "1".
inline constexpr char kMessage[] = "0791947101670000040C919471214365870000423040707040800131";

// With that message in the SIM.
struct PromptEngine : Engine {
  explicit PromptEngine(ModemSettings settings = {}) : Engine(std::move(settings), Dialogue::kPrompt) {
    modem.Store(kMessage);
    sms.WapPush()->SetDestination(kSomebody);
    sms.WapPush()->SetText(u"Hi");
    sms.WapPush()->SetURL(u"a");
  }

  // Every kind of call once; each result or error code.
  std::vector<std::string> Live() {
    const std::size_t stored = modem.Stored().size();
    std::vector<std::string> results;
    const auto note = [&](const std::u16string& value) {
      const std::int32_t code = sms.ErrorCode();
      results.push_back(code == 0 ? line->ToCodePage(value) : "error " + std::to_string(code));
    };
    note(sms.Connect() ? u"connected" : u"?");
    note(sms.IMEI());
    note(sms.IMSI());
    note(sms.Model());
    note(sms.SMSC());
    note(sms.Network());
    note(sms.OwnNumber());
    note(sms.MessageMemory());
    note(sms.SignalStrengthDB() == -67 ? u"-67" : u"?");
    note(sms.SendSMS(kSomebody, u"hello") ? u"sent" : u"?");
    note(sms.WapPush()->Send() ? u"pushed" : u"?");
    note(sms.Inbox()->Refresh() ? u"read" : u"?");
    if (sms.Inbox()->Count() > 0) {
      note(sms.Inbox()->Message(1)->Text());
      note(sms.Inbox()->Message(1)->Delete() && modem.Stored().size() == stored - 1 ? u"deleted" : u"?");
    }
    return results;
  }
  // Of a life where all goes well.
  static std::vector<std::string> Well() {
    return {"connected",
            "490154203237518",
            "262019876543210",
            "Tavro Modem",
            "+491710760000",
            "TAVRONET",
            "+491701234567",
            "SM",
            "-67",
            "sent",
            "pushed",
            "read",
            "1",
            "deleted"};
  }
};

}  // namespace tavro
