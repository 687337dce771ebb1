#include "tavro_commands.h"

#include <algorithm>
#include <iostream>
#include <utility>
#include <vector>

#include "base/error_codes.h"
#include "end_signals.h"
#include "outgoing/encodings.h"
#include "tavro_output.h"

namespace {

using tavro::FromUtf8, tavro::ToUtf8;

tavro::Options OptionsFor(const ConnectionArguments& arguments, std::function<bool()> interrupted) {
  tavro::Options options;
  options.dialogue = arguments.classic ? tavro::Dialogue::kClassic : tavro::Dialogue::kPrompt;
  options.wideReferences = arguments.wideReferences;
  options.sendsPinOnLastAttempt = arguments.lastPinAttempt;
  if (!arguments.device.empty()) options.devices[1] = arguments.device;
  if (arguments.recovers) options.recovery = {.repeats = true, .restarts = true, .reopens = true};
  options.interrupted = std::move(interrupted);
  return options;
}

// The final result codes for a failure (3GPP TS 27.007, 9.2).
bool IsRefusal(const std::string& answer) {
  return answer.ends_with("ERROR") || answer.find("+CME ERROR:") != std::string::npos ||
         answer.find("+CMS ERROR:") != std::string::npos;
}

}  // namespace

Session::Session(const ConnectionArguments& arguments)
    : allMemories_(arguments.memory == ConnectionArguments::kAllMemories),
      sms_(OptionsFor(arguments, [this] { return interrupted_ ? interrupted_() : EndSignals::Received() != 0; })) {
  if (!arguments.logFolder.empty()) {
    sms_.SetLogFolderPath(FromUtf8(arguments.logFolder));
    Check();
    sms_.SetLogType(2);
    Check();
  }
  sms_.SetPort(arguments.device.empty() ? FromUtf8(arguments.port) : u"COM1");
  Check();
  sms_.SetBaudRate(arguments.baudRate);
  Check();
  sms_.SetTimeout(arguments.timeout);
  Check();
  sms_.SetModemInitString(FromUtf8(arguments.initString));
  if (!arguments.pin.empty()) sms_.SetPIN(FromUtf8(arguments.pin));
  Connect();
  if (!arguments.memory.empty() && !allMemories_) {
    sms_.SetMessageMemory(FromUtf8(arguments.memory));
    Check(false);
  }
}

void Session::Connect() { Check(sms_.Connect()); }

void Session::Check(bool isDone) {
  const std::int32_t code = sms_.ErrorCode();
  if (code == 0) return;
  const std::string error = "error " + std::to_string(code) + ": " + ToUtf8(sms_.ErrorDescription());
  if (code != tavro::kCannotOpenLog.code || !isDone) throw OperationFailed(error);
  std::cerr << "tavro: warning: " << PrintableLine(error) << '\n';
  sms_.SetLogType(0);
}

void Session::Info(bool json) {
  struct Item {
    const char* label;
    const char* key;
    std::function<Json()> read;
  };
  const std::vector<Item> items = {
      {"Manufacturer", "manufacturer", [&] { return ToUtf8(sms_.Manufacturer()); }},
      {"Model", "model", [&] { return ToUtf8(sms_.Model()); }},
      {"Revision", "revision", [&] { return ToUtf8(sms_.Revision()); }},
      {"IMEI", "imei", [&] { return ToUtf8(sms_.IMEI()); }},
      {"IMSI", "imsi", [&] { return ToUtf8(sms_.IMSI()); }},
      {"Own number", "ownNumber", [&] { return ToUtf8(sms_.OwnNumber()); }},
      {"Service centre", "serviceCentre", [&] { return ToUtf8(sms_.SMSC()); }},
      {"Operator", "operator", [&] { return ToUtf8(sms_.Network()); }},
      {"Signal (percent)", "signalPercent", [&] { return sms_.SignalStrength(); }},
      {"Signal (dB)", "signalDb", [&] { return sms_.SignalStrengthDB(); }},
      {"Battery (percent)", "batteryPercent", [&] { return sms_.BatteryLevel(); }},
      {"Message memory", "messageMemory", [&] { return ToUtf8(sms_.MessageMemory()); }},
      {"Memories", "memories",
       [&] {
         Json memories = Json::array();
         for (const auto& memory : sms_.MemoryUsage()) {
           memories.push_back({{"name", ToUtf8(memory.name)}, {"used", memory.used}, {"total", memory.total}});
         }
         return memories;
       }},
  };
  Json result = Json::object();
  std::string failure;
  for (const Item& item : items) {
    Json value = item.read();
    std::string shown = value.is_string() ? value.get<std::string>() : value.dump();
    try {
      Check(shown != "" && shown != "-1" && shown != "[]");
    } catch (const OperationFailed& error) {  // few modems know everything
      if (EndSignals::Received() != 0) throw;
      value = nullptr;
      failure = error.what();
      shown = "unknown (" + failure + ")";
    }
    result[item.key] = value;
    if (json) continue;
    if (!value.is_array()) std::cout << item.label << ": " << PrintableLine(shown) << '\n';
    for (const Json& memory : value.is_array() ? value : Json::array()) {
      std::cout << "Memory " << PrintableLine(memory["name"].get<std::string>()) << ": " << memory["used"] << " of "
                << memory["total"] << '\n';
    }
  }
  if (json) std::cout << Dump(result) << '\n';
  if (std::all_of(result.begin(), result.end(), [](const Json& value) { return value.is_null(); })) {
    throw OperationFailed(failure);
  }
}

std::u16string Session::Send(const SendArguments& arguments) {
  const std::u16string text = FromUtf8(arguments.text);
  const std::int16_t fittingCoding = tavro::FitsGsmAlphabet(text) ? 7 : 16;  // what it lacks would be question marks
  sms_.SetCharacter(arguments.coding == 0 ? fittingCoding : arguments.coding);
  Check();
  sms_.SetLongMessage(arguments.longMessage);
  Check();
  if (!arguments.validity.empty()) {
    sms_.SetValidity(FromUtf8(arguments.validity));
    Check();
  }
  sms_.SetStatusReport(arguments.wantsReport);
  Check();
  const auto references = sms_.SendSMS(FromUtf8(arguments.number), text, arguments.flash);
  Check(references.has_value());
  std::cout << PrintableLine(references.value_or(u"")) << std::endl;
  return references.value_or(u"");
}

void Session::Push(const PushArguments& arguments) {
  const auto push = sms_.WapPush();
  push->SetDestination(FromUtf8(arguments.number));
  Check();
  push->SetText(FromUtf8(arguments.text));
  Check();
  push->SetURL(FromUtf8(arguments.url));
  Check();
  push->SetAction(arguments.action);
  Check();
  push->SetExpiry(FromUtf8(arguments.expiry));
  Check();
  Check(push->Send());
}

void Session::ReadInbox(const ListArguments& arguments) {
  sms_.Inbox()->SetConcatenate(arguments.joined);
  if (arguments.type == ListArguments::kAll) {
    // A listing puts the read messages first and then makes all of them read. Done twice, the order is the same each
    // time, and a number shown by `list` names the same message in `delete`.
    Check(sms_.Inbox()->Refresh(ListArguments::kUnread));
  }
  Check(sms_.Inbox()->Refresh(arguments.type));
}

void Session::ForEachMemory(const std::function<void(const std::string& memory)>& use) {
  if (!allMemories_) return use({});
  struct PutBack {
    ~PutBack() {
      if (!memory.empty()) sms.SetMessageMemory(memory);
    }
    tavro::SMS& sms;
    const std::u16string memory;
  };
  const PutBack putBack{sms_, sms_.MessageMemory()};
  std::string failure;
  bool found = false;
  for (const char* memory : {"SM", "ME"}) {
    sms_.SetMessageMemory(FromUtf8(memory));
    try {
      Check(false);
    } catch (const OperationFailed& error) {
      if (sms_.ErrorCode() != tavro::kMessageMemoryNotSupported.code || EndSignals::Received() != 0) throw;
      failure = error.what();
      std::cerr << "tavro: " << memory << " left out: " << PrintableLine(failure) << '\n';
      continue;
    }
    found = true;
    use(memory);
  }
  if (!found) throw OperationFailed(failure);
}

void Session::List(const ListArguments& arguments) {
  const bool numbered = arguments.type == ListArguments::kAll;
  Json list = Json::array();
  ForEachMemory([&](const std::string& memory) {
    ReadInbox(arguments);
    for (const tavro::Message& message : *sms_.Inbox()) {
      if (!arguments.json) {
        Print(message, numbered, memory);
        continue;
      }
      Json entry = Json::object();
      if (!memory.empty()) entry["memory"] = memory;
      if (numbered) entry["index"] = message.Index();
      entry.update(JsonOf(message));
      list.push_back(std::move(entry));
    }
  });
  if (arguments.json) std::cout << Dump(list) << '\n';
}

void Session::Delete(std::int16_t index, bool joined) {
  ListArguments all;
  all.joined = joined;
  ReadInbox(all);
  const auto message = sms_.Inbox()->Message(index);
  Check();
  Check(message->Delete());
  std::cout << "Deleted:\n";
  Print(*message, true);
}

void Session::Clear() {
  ForEachMemory([&](const std::string& memory) {
    ReadInbox({});
    const std::int16_t count = sms_.Inbox()->Count();
    if (count > 0) {
      Check(sms_.Inbox()->Clear());
    }
    if (!memory.empty()) std::cout << memory << ": ";
    std::cout << count << (count == 1 ? " message" : " messages") << " deleted\n";
  });
}

void Session::Ussd(const std::string& code, const std::vector<std::string>& replies, bool json) {
  Json answers = Json::array();
  bool expectsReply = true;
  auto reply = replies.begin();
  for (const std::string* sent = &code; sent != nullptr; sent = reply == replies.end() ? nullptr : &*reply++) {
    if (!expectsReply) throw OperationFailed("the session ended before " + *sent + " was sent");
    const auto answer = sms_.SendUSSD(FromUtf8(*sent));
    Check(answer.has_value());
    expectsReply = answer->expectsReply;
    if (!json) std::cout << Printable(answer->text) << std::endl;
    answers.push_back({{"text", ToUtf8(answer->text)}, {"expectsReply", expectsReply}});
  }
  if (json) std::cout << Dump(answers) << '\n';
  if (expectsReply) {
    Check(sms_.CancelUSSD());
  }
}

void Session::Command(std::string command) {
  if (command.empty() || command.back() != '\r') command += '\r';
  const std::string answer = ToUtf8(sms_.Command(FromUtf8(command)));
  Check(!answer.empty());
  if (IsRefusal(answer)) throw OperationFailed("the modem answered " + answer);
  std::cout << PrintableLine(answer) << '\n';
}
