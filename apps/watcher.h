// What `tavro watch` does with what comes: prints it, hands it to a program, deletes it.
#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <list>
#include <map>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "tavro_session.h"

struct WatchArguments {
  bool json = false;                          // a line each
  std::string program;                        // run for each; empty: none
  std::vector<std::string> handed;            // to the program
  bool deletes = false;                       // what was printed, and the program did
  std::optional<std::chrono::seconds> limit;  // none: until a signal
};

// A failure that trying again does not mend, and what to do about it.
struct Hopeless : std::runtime_error {
  Hopeless(const std::string& what, const char* todo) : std::runtime_error(what), hint(todo) {}
  const char* const hint;
};

class Watcher {
 public:
  // What to do where the output cannot be written.
  static constexpr const char* kReadItAgain = "give the output a place to go; what was not printed: tavro list";

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
  enum class Stage : std::uint8_t { kNew, kPrinted, kToDelete };

  // A message or a report that came, until all is done that is to be done about it.
  struct Item {
    std::string line;  // to print
    std::vector<std::pair<std::string, std::string>> environment;
    std::shared_ptr<tavro::Message> message = {};  // none: a report, which the modem has no more
    std::string look = {};
    Stage stage = Stage::kNew;
    std::chrono::seconds pause = std::chrono::seconds(10);  // until the program gets it again; doubles each time
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
