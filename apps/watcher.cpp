#include "watcher.h"

#include <algorithm>
#include <iostream>
#include <iterator>
#include <string_view>

#include "base/error_codes.h"
#include "base/text.h"
#include "console.h"
#include "end_signals.h"
#include "tavro_output.h"

namespace {

constexpr std::int32_t kReportInterval = 1000;      // ms, how often status reports are looked for
constexpr std::chrono::seconds kLongestPause(300);  // until a program gets the same again
constexpr std::chrono::seconds kSlowProgram(30);    // when it is said that one runs so long

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

}  // namespace

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
  if (std::any_of(items_.begin(), items_.end(), [](const Item& item) { return item.stage == Stage::kToDelete; })) {
    throw OperationFailed("not all that was printed is deleted yet");
  }
}

template <typename Source>
void Watcher::Add(const char* type, const Source& source) {
  Json fields = {{"type", type}};
  fields.update(JsonOf(source));
  items_.push_back({arguments_.json ? DumpLine(fields) : LineOf(source), EnvironmentOf(fields)});
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
    item.stage = Stage::kToDelete;
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
    if (std::size_t& count = taken_[item.look]; count > 0) --count;
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
    if (item.stage == Stage::kToDelete) {
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
