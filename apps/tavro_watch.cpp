// tavro watch: messages as they come.
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <iostream>
#include <map>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "base/error_codes.h"
#include "command_line.h"
#include "console.h"
#include "end_signals.h"
#include "tavro_output.h"
#include "waiting.h"

namespace {

struct WatchArguments {
  bool json = false;                          // a line each
  bool deletes = false;                       // what was printed
  std::optional<std::chrono::seconds> limit;  // none: until a signal
};

constexpr std::int32_t kReportInterval = 1000;  // ms, how often status reports are looked for

class Watcher {
 public:
  Watcher(Session& session, const WatchArguments& arguments) : session_(session), arguments_(arguments) {
    session_.Sms().Inbox()->SetConcatenate(true);
  }

  // Waits for what comes next and prints it. Throws OperationFailed, and goes on when it is called again.
  void Receive();
  // Printed messages that are still to be deleted.
  std::size_t LeftOver() const { return toDelete_.size(); }

 private:
  // A message and what it was printed as.
  using Printed = std::pair<std::string, std::shared_ptr<tavro::Message>>;

  std::vector<Printed> NewMessages();
  void PrintReports();
  void DeletePrinted();
  template <typename Item>
  void Show(const char* type, const Item& item);

  Session& session_;
  const WatchArguments arguments_;
  // How many messages of the inbox are printed, by what they look like: they have no other name, and one that was
  // joined may stand anywhere in the inbox.
  std::map<std::string, int> printed_;
  std::deque<Printed> toDelete_;
};

void Watcher::Receive() {
  DeletePrinted();
  session_.Sms().Inbox()->Wait(kReportInterval);
  const bool isFull = session_.Sms().ErrorCode() == tavro::kReadMessageError.code;
  std::optional<OperationFailed> failure;
  try {
    session_.Check();
  } catch (const OperationFailed& error) {
    failure = error;
  }
  // Also behind a failure: the modem says nothing of it again.
  for (Printed& message : NewMessages()) {
    Show("message", *message.second);
    if (!arguments_.deletes) continue;
    toDelete_.push_back(std::move(message));
    DeletePrinted();
  }
  PrintReports();
  if (isFull) throw std::runtime_error(std::string(failure->what()) + ": the inbox is full");
  if (failure) throw *failure;
  if (!toDelete_.empty()) throw OperationFailed("not all that was printed is deleted yet");
}

std::vector<Watcher::Printed> Watcher::NewMessages() {
  std::map<std::string, int> there;
  std::vector<Printed> messages;
  const auto inbox = session_.Sms().Inbox();
  for (auto message = inbox->begin(); message != inbox->end(); ++message) {
    std::string look = DumpLine(JsonOf(*message));
    if (++there[look] > printed_[look]) messages.emplace_back(std::move(look), message.Get());
  }
  printed_ = std::move(there);
  return messages;
}

void Watcher::PrintReports() {
  if (!IsOutputOpen()) return;  // they are deleted when they are handed over
  for (const tavro::StatusReport& report : session_.Sms().StatusReports()) Show("statusReport", report);
  session_.Sms().ClearStatusReports();
}

// Those that are left over have to wait for the modem.
void Watcher::DeletePrinted() {
  while (!toDelete_.empty() && session_.Sms().IsConnected()) {
    if (!IsOutputOpen()) throw std::runtime_error("standard output was closed");
    const bool isDeleted = toDelete_.front().second->Delete();
    try {
      session_.Check(isDeleted);
      --printed_[toDelete_.front().first];
    } catch (const OperationFailed& error) {
      if (!session_.Sms().IsConnected()) return;
      std::cerr << "tavro: a message was not deleted: " << PrintableLine(std::string(error.what())) << '\n';
    }
    toDelete_.pop_front();
  }
}

template <typename Item>
void Watcher::Show(const char* type, const Item& item) {
  if (arguments_.json) {
    Json line = {{"type", type}};
    line.update(JsonOf(item));
    std::cout << DumpLine(line) << '\n';
  } else {
    Print(item);
  }
  FlushOutput();
}

// Prints the messages, those that are unread first, and the status reports, until the time is over. Throws
// std::runtime_error when a signal or the end of standard output ended it, or the inbox is full.
void Watch(Session& session, const WatchArguments& arguments) {
  Watcher watcher(session, arguments);
  Waiting waiting(session, arguments.limit, true);
  waiting.Run([&] {
    watcher.Receive();
    return false;
  });
  if (watcher.LeftOver() > 0) std::cerr << "tavro: " << watcher.LeftOver() << " printed messages were not deleted\n";
  if (EndSignals::Received() != 0) throw std::runtime_error("ended by a signal");
  if (!IsOutputOpen()) throw std::runtime_error("standard output was closed");
}

}  // namespace

void AddWatch(CommandLine& line) {
  const auto arguments = std::make_shared<WatchArguments>();
  CLI::App* watch = line.Add(
      "watch", "Print the unread messages, then what comes, reports on sent ones too",
      [&line, arguments] {
        Session session(line.connection);
        Watch(session, *arguments);
        return kDone;
      },
      [&line, arguments] {
        line.RefuseAllMemories("messages come into one memory: SM or ME");
        if (arguments->deletes) line.RefuseClassic();
      });
  watch->add_flag("--json", arguments->json, "Print JSON, one object a line");
  watch->add_flag("--delete", arguments->deletes, "Delete each message once it is printed");
  AddSeconds(*watch, "--seconds", arguments->limit, 0, "End after so long; otherwise at SIGINT or SIGTERM");
}
