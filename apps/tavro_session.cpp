#include "tavro_session.h"

#include <iostream>
#include <map>
#include <optional>
#include <utility>

#include "base/error_codes.h"
#include "end_signals.h"
#include "platform/utf8.h"
#include "progress_line.h"
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

}  // namespace

Session::Session(const ConnectionArguments& arguments)
    : allMemories_(arguments.memory == ConnectionArguments::kAllMemories),
      sms_(OptionsFor(arguments, [this] { return interrupted_ ? interrupted_() : EndSignals::Received() != 0; })) {
  EndSignals::Watch();
  if (arguments.device.empty() && arguments.port.empty()) {
    throw OperationFailed("no device is named: tavro ports --probe shows where a modem answers, --device takes it");
  }
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
  if (code != tavro::kCannotOpenLog.code || !isDone) throw OperationFailed(error, code);
  std::cerr << "tavro: warning: " << PrintableLine(error) << '\n';
  sms_.SetLogType(0);
}

std::vector<bool> Session::ReadInbox(const InboxChoice& choice) {
  ProgressLine progress;
  progress.Show("reading the messages");
  const auto inbox = sms_.Inbox();
  inbox->SetConcatenate(choice.joined);
  std::map<std::string, int> unread;  // by what they look like: they have no other name
  if (choice.type == InboxChoice::kAll) {
    // A listing puts the read messages first and then makes all of them read. Done twice, the order is the same each
    // time, and a number shown by `list` names the same message in `delete`.
    Check(inbox->Refresh(InboxChoice::kUnread));
    for (const tavro::Message& message : *inbox) ++unread[DumpLine(JsonOf(message))];
  }
  Check(inbox->Refresh(choice.type));
  std::vector<bool> isUnread;
  for (const tavro::Message& message : *inbox) {
    isUnread.push_back(choice.type == InboxChoice::kUnread ||
                       (choice.type == InboxChoice::kAll && unread[DumpLine(JsonOf(message))]-- > 0));
  }
  return isUnread;
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
  std::optional<OperationFailed> failure;
  bool found = false;
  for (const char* memory : {"SM", "ME"}) {
    sms_.SetMessageMemory(FromUtf8(memory));
    try {
      Check(false);
    } catch (const OperationFailed& error) {
      if (sms_.ErrorCode() != tavro::kMessageMemoryNotSupported.code || EndSignals::Received() != 0) throw;
      failure = error;
      std::cerr << "tavro: " << memory << " left out: " << PrintableLine(std::string(error.what())) << '\n';
      continue;
    }
    found = true;
    use(memory);
  }
  if (!found) throw OperationFailed(*failure);
}
