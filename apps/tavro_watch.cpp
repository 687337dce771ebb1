// tavro watch: messages as they come.
#include <memory>
#include <string>

#include "command_line.h"
#include "console.h"
#include "end_signals.h"
#include "waiting.h"
#include "watcher.h"

namespace {

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
  if (!IsOutputOpen()) throw OperationFailed("standard output was closed", Watcher::kReadItAgain);
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
                  "Delete each message once it is printed and the program, if any, has ended with status 0; with a "
                  "program, those that are read already too");
  AddSeconds(*watch, "--seconds", arguments->limit, 0, "End after so long; otherwise at SIGINT or SIGTERM");
}
