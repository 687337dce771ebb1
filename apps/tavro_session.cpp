#include "tavro_session.h"

#include <chrono>
#include <cstdio>
#include <iostream>
#include <map>
#include <optional>
#include <utility>

#include "base/error_codes.h"
#include "console.h"
#include "device_search.h"
#include "end_signals.h"
#include "platform/utf8.h"
#include "progress_line.h"
#include "tavro_output.h"

namespace {

using tavro::FromUtf8, tavro::ToUtf8;

// Two messages are the same to the user when they have it in common.
std::u16string LookOf(const tavro::Message& message) {
  const std::vector<std::uint8_t> data = message.Data();
  std::u16string look = message.Phone() + u'\n' + message.TimeStampRFC() + u'\n' + message.SMSC() + u'\n';
  look += message.Text() + u'\n';
  return look.append(data.begin(), data.end());
}

// Shows the lines of the dialogue, with the seconds since the program began it.
std::function<void(std::u16string_view)> Dialogue() {
  return [start = std::chrono::steady_clock::now()](std::u16string_view line) {
    const std::chrono::duration<double> time = std::chrono::steady_clock::now() - start;
    char seconds[32];
    std::snprintf(seconds, sizeof seconds, "%8.3f  ", time.count());
    ProgressLine::Clear();
    std::cerr << Coloured(Stream::kError, Colour::kDim, seconds + PrintableLine(line)) + '\n';
  };
}

tavro::Options OptionsFor(const ConnectionArguments& arguments, std::function<bool()> interrupted) {
  tavro::Options options;
  options.dialogue = arguments.classic ? tavro::Dialogue::kClassic : tavro::Dialogue::kPrompt;
  options.wideReferences = arguments.wideReferences;
  options.sendsPinOnLastAttempt = arguments.lastPinAttempt;
  if (!arguments.device.empty()) options.devices[1] = arguments.device;
  if (arguments.recovers) options.recovery = {.repeats = true, .restarts = true, .reopens = true};
  options.interrupted = std::move(interrupted);
  if (arguments.verbose) options.trace = Dialogue();
  return options;
}

}  // namespace

ConnectionArguments Session::Complete(ConnectionArguments arguments) {
  EndSignals::Watch();
  if (!IsOutputOpen()) throw OperationFailed("standard output is closed", "give it a place to go: > FILE or | PROGRAM");
  if (arguments.device.empty() && arguments.port.empty()) {
    const tavro::SerialDevice modem = FindModem();
    arguments.device = modem.Path();
    if (!arguments.baudRate) arguments.baudRate = modem.probe->baudRate;
  }
  return arguments;
}

Session::Session(ConnectionArguments arguments)
    : arguments_(Complete(std::move(arguments))),
      sms_(OptionsFor(arguments_, [this] { return interrupted_ ? interrupted_() : EndSignals::Received() != 0; })) {
  if (!arguments_.logFolder.empty()) {
    sms_.SetLogFolderPath(FromUtf8(arguments_.logFolder));
    Check();
    sms_.SetLogType(2);
    Check();
  }
  sms_.SetPort(arguments_.device.empty() ? FromUtf8(arguments_.port) : u"COM1");
  Check();
  sms_.SetBaudRate(arguments_.baudRate.value_or(ConnectionArguments::kUsualBaudRate));
  Check();
  sms_.SetTimeout(arguments_.timeout);
  Check();
  sms_.SetModemInitString(FromUtf8(arguments_.initString));
  if (!arguments_.pin.empty()) sms_.SetPIN(FromUtf8(arguments_.pin));
  Connect();
  if (!arguments_.memory.empty() && arguments_.memory != ConnectionArguments::kAllMemories) {
    sms_.SetMessageMemory(FromUtf8(arguments_.memory));
    Check(false);
  }
}

void Session::Connect() { Check(sms_.Connect()); }

void Session::Check(bool isDone) {
  const std::int32_t code = sms_.ErrorCode();
  if (code == 0) return;
  const std::string error = "error " + std::to_string(code) + ": " + ToUtf8(sms_.ErrorDescription());
  if (code != tavro::kCannotOpenLog.code || !isDone) throw OperationFailed(error, code, arguments_.device);
  ProgressLine::Clear();
  std::cerr << "tavro: warning: " << PrintableLine(error) << '\n';
  sms_.SetLogType(0);
}

std::vector<bool> Session::ReadInbox(const InboxChoice& choice) {
  ProgressLine progress;
  progress.Show("reading the messages");
  const auto inbox = sms_.Inbox();
  inbox->SetConcatenate(choice.joined);
  std::map<std::u16string, int> unread;  // by what they look like: they have no other name
  if (choice.type == InboxChoice::kAll) {
    // A listing puts the read messages first and then makes all of them read. Done twice, the order is the same each
    // time, and a number shown by `list` names the same message in `delete`.
    Check(inbox->Refresh(InboxChoice::kUnread));
    for (const tavro::Message& message : *inbox) ++unread[LookOf(message)];
  }
  Check(inbox->Refresh(choice.type));
  std::vector<bool> isUnread;
  for (const tavro::Message& message : *inbox) {
    isUnread.push_back(choice.type == InboxChoice::kUnread || (!unread.empty() && unread[LookOf(message)]-- > 0));
  }
  return isUnread;
}

void Session::ForEachMemory(const std::function<void(const std::string& memory)>& use) {
  if (arguments_.memory != ConnectionArguments::kAllMemories) return use({});
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
