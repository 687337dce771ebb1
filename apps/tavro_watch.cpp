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
#include <string_view>
#include <utility>
#include <vector>

#include "base/error_codes.h"
#include "base/text.h"
#include "command_line.h"
#include "console.h"
#include "end_signals.h"
#include "tavro_output.h"
#include "waiting.h"

namespace {

struct WatchArguments {
  bool json = false;                          // a line each
  std::string program;                        // run for each; empty: none
  std::vector<std::string> handed;            // to the program
  bool deletes = false;                       // what was printed, and the program did
  std::optional<std::chrono::seconds> limit;  // none: until a signal
};

constexpr std::int32_t kReportInterval = 1000;  // ms, how often status reports are looked for

constexpr const char *kMessage = "message", *kStatusReport = "statusReport";

// What is said of them in one line.
std::string LineOf(const tavro::Message& message) {
  return FullTime(message.TimeStamp(), message.TimeZone()) + "  " + PrintableLine(message.Phone()) + "  " +
         PrintableLine(message.Text());
}
std::string LineOf(const tavro::StatusReport& report) {
  return FullTime(report.dischargeTimeStamp, report.dischargeTimeZone) + "  " + PrintableLine(report.recipient) +
         "  [report on " + std::to_string(report.reference) + ": " + NameOf(report.state) + ": " +
         PrintableLine(report.text) + ']';
}

// A program finds the fields of the JSON in its environment, as TAVRO_ and their names: "serviceCentre" is
// TAVRO_SERVICE_CENTRE. Text is in UTF-8; a NUL, which cannot stand there, is the replacement character U+FFFD.
std::vector<std::pair<std::string, std::string>> EnvironmentOf(const Json& fields) {
  std::vector<std::pair<std::string, std::string>> environment;
  for (const auto& [key, value] : fields.items()) {
    std::string name = "TAVRO_";
    for (const char c : key) {
      const bool isCapital = c >= 'A' && c <= 'Z';
      if (isCapital) name += '_';
      name += isCapital ? std::string(1, c) : tavro::Upper(std::string_view(&c, 1));
    }
    const std::string text = value.is_null() ? "" : value.is_string() ? value.get<std::string>() : DumpLine(value);
    environment.emplace_back(std::move(name), tavro::ReplaceAll(text, std::string_view("\0", 1), "\xEF\xBF\xBD"));
  }
  return environment;
}

template <typename Item>
std::vector<std::pair<std::string, std::string>> EnvironmentFor(const char* type, const Item& item) {
  Json fields = {{"type", type}};
  fields.update(JsonOf(item));
  return EnvironmentOf(fields);
}

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
  // Prints it and runs the program for it. Whether it may be deleted.
  template <typename Item>
  bool Show(const char* type, const Item& item);
  template <typename Item>
  bool RunProgramFor(const char* type, const Item& item) const;

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
    if (!Show(kMessage, *message.second) || !arguments_.deletes) continue;
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
  for (const tavro::StatusReport& report : session_.Sms().StatusReports()) Show(kStatusReport, report);
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
bool Watcher::Show(const char* type, const Item& item) {
  if (arguments_.json) {
    Json line = {{"type", type}};
    line.update(JsonOf(item));
    std::cout << DumpLine(line) << '\n';
  } else {
    std::cout << LineOf(item) << '\n';
  }
  FlushOutput();
  return arguments_.program.empty() || RunProgramFor(type, item);
}

template <typename Item>
bool Watcher::RunProgramFor(const char* type, const Item& item) const {
  std::string failure = "was not run any more";
  if (EndSignals::Received() == 0) {
    std::vector<std::string> command = {arguments_.program};
    command.insert(command.end(), arguments_.handed.begin(), arguments_.handed.end());
    try {
      const ProgramEnd end = RunProgram(command, EnvironmentFor(type, item));
      if (end.IsSuccess()) return true;
      failure = end.signal != 0
                    ? "was ended by signal " + std::to_string(end.signal) + " (" + EndSignals::NameOf(end.signal) + ")"
                    : "failed with status " + std::to_string(end.status);
    } catch (const std::runtime_error& error) {
      failure = std::string("was not run: ") + error.what();
    }
  }
  std::cerr << "tavro: " << PrintableLine(arguments_.program + ' ' + failure)
            << (arguments_.deletes && std::string_view(type) == kMessage ? "; the message stays in the modem\n" : "\n");
  return false;
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
  watch->add_flag("--json,--jsonl", arguments->json, "Print JSON, one object a line");
  CLI::Option* program =
      watch
          ->add_option("--exec", arguments->program,
                       "Run this program for each, without a shell: its environment has TAVRO_TYPE (message or "
                       "statusReport), TAVRO_FROM (TAVRO_TO), TAVRO_TEXT, TAVRO_TIME and the other fields of the JSON")
          ->type_name("PROGRAM");
  watch->add_option("ARGUMENT", arguments->handed, "What the program is given; behind -- when it looks like an option")
      ->type_name("")
      ->needs(program);
  watch->add_flag("--delete", arguments->deletes,
                  "Delete each message once it is printed and the program, if any, has ended with status 0");
  AddSeconds(*watch, "--seconds", arguments->limit, 0, "End after so long; otherwise at SIGINT or SIGTERM");
}
