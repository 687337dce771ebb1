// tavro watch: messages as they come.
#include <algorithm>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <iostream>
#include <iterator>
#include <list>
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
// A program that failed gets the message again, behind a pause that doubles each time.
constexpr std::chrono::seconds kFirstPause(10), kLongestPause(300);
constexpr std::chrono::seconds kSlowProgram(30);  // when it is said that one runs so long

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

// What cannot go on, and what to do about it.
struct Hopeless : std::runtime_error {
  Hopeless(const std::string& what, const char* todo) : std::runtime_error(what), hint(todo) {}
  const char* const hint;
};

constexpr char kReadItAgain[] = "give the output a place to go; what was not printed: tavro list";

class Watcher {
 public:
  // `isEnding`: whether no program is to run any more.
  Watcher(Session& session, const WatchArguments& arguments, std::function<bool()> isEnding)
      : session_(session), arguments_(arguments), isEnding_(std::move(isEnding)) {
    session_.Sms().Inbox()->SetConcatenate(true);
  }

  // Waits for what comes next and hands it over. Throws Hopeless, or OperationFailed, and goes on when it is called
  // again.
  void Receive();
  // Says on standard error what was not handed over, and what was not deleted.
  void SayLeftOver() const;

 private:
  using Clock = std::chrono::steady_clock;
  enum class Stage : std::uint8_t { kNew, kPrinted, kDone };

  // A message or a report that came, until all is done that is to be done about it.
  struct Item {
    const char* type;
    std::string line;  // to print
    std::vector<std::pair<std::string, std::string>> environment;
    std::shared_ptr<tavro::Message> message = {};  // none: a report, which the modem has no more
    std::string look = {};
    Stage stage = Stage::kNew;
    std::chrono::seconds pause = kFirstPause;  // until the program gets it again
    Clock::time_point due = {};
  };

  // Those in the memory are not done yet when done ones are deleted: a program that failed, or was killed, made none
  // of them unread again.
  bool TakesReadOnes() const { return arguments_.deletes && !arguments_.program.empty(); }

  template <typename Source>
  void Add(const char* type, const Source& source);
  void TakeMessages();
  void TakeReports();
  void HandOver();
  bool IsFinished(Item& item);
  void Print(const Item& item) const;
  bool RunProgramFor(const Item& item) const;
  bool Delete(const Item& item);
  void WarnOfFullMemory();

  Session& session_;
  const WatchArguments arguments_;
  const std::function<bool()> isEnding_;
  bool isRead_ = false;  // the whole memory, since the connection came up
  bool isFull_ = false;  // the memory, which was said
  // How many messages of the inbox were taken, by what they look like: they have no other name, and one that was joined
  // may stand anywhere in the inbox.
  std::map<std::string, std::size_t> taken_;
  std::list<Item> items_;
};

void Watcher::Receive() {
  std::optional<OperationFailed> failure;
  bool isInboxFull = false;
  try {
    if (TakesReadOnes() && !isRead_) {
      isRead_ = session_.Sms().Inbox()->Refresh(InboxChoice::kAll);
      session_.Check(isRead_);
    }
    session_.Sms().Inbox()->Wait(kReportInterval);
    isInboxFull = session_.Sms().ErrorCode() == tavro::kReadMessageError.code;
    session_.Check();
  } catch (const OperationFailed& error) {
    failure = error;
    isRead_ = isRead_ && session_.Sms().IsConnected();
  }
  // Also behind a failure: the modem says nothing of it again.
  TakeMessages();
  TakeReports();
  HandOver();
  if (isInboxFull) throw Hopeless(std::string(failure->what()) + ": the inbox is full", "delete messages: tavro clear");
  if (failure) throw *failure;
  WarnOfFullMemory();
  if (std::any_of(items_.begin(), items_.end(), [](const Item& item) { return item.stage == Stage::kDone; })) {
    throw OperationFailed("not all that was printed is deleted yet");
  }
}

template <typename Source>
void Watcher::Add(const char* type, const Source& source) {
  Json fields = {{"type", type}};
  fields.update(JsonOf(source));
  items_.push_back({type, arguments_.json ? DumpLine(fields) : LineOf(source), EnvironmentOf(fields)});
}

void Watcher::TakeMessages() {
  std::map<std::string, std::vector<std::shared_ptr<tavro::Message>>> there;
  const auto inbox = session_.Sms().Inbox();
  for (auto message = inbox->begin(); message != inbox->end(); ++message) {
    const std::string look = DumpLine(JsonOf(*message));
    there[look].push_back(message.Get());
    if (there[look].size() <= taken_[look]) continue;
    Add(kMessage, *message);
    items_.back().look = look;
    items_.back().message = message.Get();
  }
  taken_.clear();
  for (const auto& [look, messages] : there) taken_[look] = messages.size();
  // A memory that was read anew has others in place of those that are still in work.
  for (Item& item : items_) {
    const auto found = there.find(item.look);
    if (!item.message || found == there.end() || found->second.empty()) continue;
    item.message = found->second.back();
    found->second.pop_back();
  }
}

void Watcher::TakeReports() {
  if (!IsOutputOpen()) return;  // the modem loses them by that
  for (const tavro::StatusReport& report : session_.Sms().StatusReports()) Add(kStatusReport, report);
  session_.Sms().ClearStatusReports();
}

void Watcher::HandOver() {
  for (auto item = items_.begin(); item != items_.end();) {
    if (!arguments_.program.empty() && isEnding_()) return;
    item = IsFinished(*item) ? items_.erase(item) : std::next(item);
  }
}

// Does what can be done about it now.
bool Watcher::IsFinished(Item& item) {
  if (item.stage == Stage::kNew) {
    Print(item);
    item.stage = Stage::kPrinted;
  }
  if (item.stage == Stage::kPrinted) {
    if (Clock::now() < item.due) return false;
    if (!arguments_.program.empty() && !RunProgramFor(item)) {
      if (!isEnding_()) std::cerr << "; it gets this again in " << item.pause.count() << " s";
      std::cerr << '\n';
      item.due = Clock::now() + item.pause;
      item.pause = std::min(item.pause * 2, kLongestPause);
      return false;
    }
    item.stage = Stage::kDone;
  }
  return !item.message || !arguments_.deletes || Delete(item);
}

void Watcher::Print(const Item& item) const {
  std::cout << item.line << '\n';
  try {
    FlushOutput();
  } catch (const std::runtime_error& error) {
    throw Hopeless(error.what(), kReadItAgain);
  }
}

// Says why it did not succeed, in a line that is not ended.
bool Watcher::RunProgramFor(const Item& item) const {
  std::vector<std::string> command = {arguments_.program};
  command.insert(command.end(), arguments_.handed.begin(), arguments_.handed.end());
  const auto isToEnd = [&, isSaid = false, slow = Clock::now() + kSlowProgram]() mutable {
    if (!isSaid && Clock::now() >= slow) {
      isSaid = true;
      std::cerr << "tavro: " << PrintableLine(arguments_.program) << " has run for " << kSlowProgram.count()
                << " s; messages wait\n";
    }
    return isEnding_();
  };
  std::string failure;
  try {
    const ProgramEnd end = RunProgram(command, item.environment, isToEnd);
    if (end.IsSuccess()) return true;
    failure = end.signal != 0
                  ? "was ended by signal " + std::to_string(end.signal) + " (" + EndSignals::NameOf(end.signal) + ")"
                  : "failed with status " + std::to_string(end.status);
  } catch (const std::runtime_error& error) {
    failure = std::string("was not run: ") + error.what();
  }
  std::cerr << "tavro: " << PrintableLine(arguments_.program + ' ' + failure);
  return false;
}

// False when it has to wait for the modem.
bool Watcher::Delete(const Item& item) {
  if (!session_.Sms().IsConnected()) return false;
  if (!IsOutputOpen()) throw Hopeless("standard output was closed", kReadItAgain);
  const bool isDeleted = item.message->Delete();
  try {
    session_.Check(isDeleted);
    --taken_[item.look];
  } catch (const OperationFailed& error) {
    if (!session_.Sms().IsConnected()) return false;
    std::cerr << "tavro: a message was not deleted: " << PrintableLine(std::string(error.what())) << '\n';
  }
  return true;
}

// The modem counts in each wait; it is asked for the numbers only where it was full in one and not in the one before.
void Watcher::WarnOfFullMemory() {
  const bool wasFull = std::exchange(isFull_, session_.Sms().IsMemoryFull());
  if (!isFull_ || wasFull) return;
  const std::u16string name = session_.Sms().MessageMemory();  // counts anew
  isFull_ = session_.Sms().IsMemoryFull();
  if (!isFull_) return;  // what filled it was deleted just now
  std::string counts = " is full";
  for (const tavro::MemoryUsage& memory : session_.Sms().MemoryUsage()) {
    if (memory.name != name) continue;
    counts = ' ' + PrintableLine(name) + " is full (" + std::to_string(memory.used) + " of " +
             std::to_string(memory.total) + ')';
  }
  std::cerr << "tavro: the memory" << counts << ": no message can come; delete some: tavro list, tavro delete\n";
}

void Watcher::SayLeftOver() const {
  const char* const notDone = arguments_.program.empty() ? "not printed" : "not handed over";
  int messages = 0, undeleted = 0;
  for (const Item& item : items_) {
    if (item.stage == Stage::kDone) {
      ++undeleted;
    } else if (item.message) {
      ++messages;
    } else {
      std::cerr << "tavro: " << notDone << ", and no more in the modem: " << item.line << '\n';
    }
  }
  if (messages > 0) {
    std::cerr << "tavro: " << messages << (messages == 1 ? " message was " : " messages were ") << notDone
              << ": tavro list shows them" << (TakesReadOnes() ? ", and this command takes them up again\n" : "\n");
  }
  if (undeleted > 0) std::cerr << "tavro: " << undeleted << " printed messages were not deleted\n";
}

// Prints the messages, those that are unread first, and the status reports, until the time is over. Throws
// OperationFailed when a signal or the end of standard output ended it, or the inbox is full.
void Watch(Session& session, const WatchArguments& arguments) {
  Waiting waiting(session, arguments.limit, true);
  Watcher watcher(session, arguments, [&] { return waiting.IsOverdue(); });
  try {
    waiting.Run([&] {
      watcher.Receive();
      return false;
    });
  } catch (const Hopeless& failure) {
    watcher.SayLeftOver();
    throw OperationFailed(failure.what(), failure.hint);
  }
  watcher.SayLeftOver();
  if (EndSignals::Received() != 0) throw OperationFailed("ended by a signal");
  if (!IsOutputOpen()) throw OperationFailed("standard output was closed", kReadItAgain);
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
        const std::string reason = arguments->program.empty() ? "" : WhyNotRunnable(arguments->program);
        if (!reason.empty()) throw CLI::ValidationError("--exec", arguments->program + ": " + reason);
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
