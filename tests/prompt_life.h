// What a program does with a modem in the prompt manner, from the connection on, and what comes of it.
#pragma once

#include <string>

#include "engine_fixture.h"

namespace tavro {

inline constexpr char16_t kSomebody[] = u"+919812345678";

// With a message in the SIM.
struct PromptEngine : Engine {
  explicit PromptEngine(ModemSettings settings = {}) : Engine(std::move(settings), Dialogue::kPrompt) {
    modem.Store("0791947101670000040C919471214365870000423040707040800131", 1);
    sms.WapPush()->SetDestination(kSomebody);
    sms.WapPush()->SetText(u"Hi");
    sms.WapPush()->SetURL(u"a");
  }

  // Every kind of call once; each result or error code.
  std::string Live() {
    std::string results = sms.Connect() ? "connected" : "-" + std::to_string(sms.ErrorCode());
    const auto note = [&](const std::u16string& value) {
      results += " " + (sms.ErrorCode() == 0 ? line->ToCodePage(value) : "-" + std::to_string(sms.ErrorCode()));
    };
    note(sms.IMEI());
    note(sms.IMSI());
    note(sms.Model());
    note(sms.SMSC());
    note(sms.Network());
    note(sms.OwnNumber());
    note(sms.MessageMemory());
    note(sms.SignalStrengthDB() == -67 ? u"-67" : u"?");
    note(sms.SendSMS(kSomebody, u"hello").value_or(u"?"));
    note(sms.WapPush()->Send() ? u"pushed" : u"?");
    sms.Inbox()->Refresh();
    note(sms.Inbox()->Count() == 1 ? sms.Inbox()->Message(1)->Text() : u"?");
    if (sms.Inbox()->Count() == 1) sms.Inbox()->Message(1)->Delete();
    note(modem.Stored().empty() ? u"deleted" : u"?");
    return results;
  }
  // Of a life where all went well.
  static constexpr char kWell[] =
      "connected 490154203237518 262019876543210 Tavro Modem +491710760000 TAVRONET +491701234567 SM -67 1 pushed 1 "
      "deleted";
};

}  // namespace tavro
