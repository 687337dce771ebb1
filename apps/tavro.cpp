// tavro: short messages from the command line.
//
// Exit codes: 0 done; 1 the modem or the network refused, with the error's code and text on standard error; 2 the
// command line is not understood; 3 a message was not delivered, 4 that is not known yet (send --wait); 5 the SIM wants
// another PIN, or its PUK; 128 and the signal's number when SIGINT, SIGTERM or SIGHUP ended it early.
#include <algorithm>
#include <exception>
#include <iostream>
#include <sstream>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "command_line.h"
#include "console.h"
#include "end_signals.h"
#include "failure_hints.h"
#include "platform/utf8.h"
#include "progress_line.h"
#include "tavro_output.h"

namespace {

// "foo is no command: info, send, ..."; empty when something else is wrong.
std::string UnknownCommandIn(const CLI::App& app, const CLI::ParseError& error) {
  const std::vector<std::string> words = app.remaining(true);
  const auto word = std::find_if(words.begin(), words.end(), [](const auto& each) { return !each.starts_with('-'); });
  const CLI::App* parent = &app;
  while (!parent->get_subcommands().empty()) parent = parent->get_subcommands()[0];
  const auto commands = parent->get_subcommands([](const CLI::App* command) { return !command->get_name().empty(); });
  if (!dynamic_cast<const CLI::RequiredError*>(&error) || word == words.end() || commands.empty()) return {};
  std::string names;
  for (const CLI::App* command : commands) names += (names.empty() ? "" : ", ") + command->get_name();
  return *word + " is no command: " + names;
}

int Run(std::vector<std::string> arguments) {
  CommandLine line;
  for (const auto add :
       {AddInfo, AddSend, AddPush, AddList, AddWatch, AddDelete, AddClear, AddUssd, AddCommand, AddPorts, AddPdu}) {
    add(line);
  }
  try {
    std::reverse(arguments.begin(), arguments.end());  // as it takes them
    line.app.parse(std::move(arguments));
  } catch (const CLI::ParseError& error) {
    if (const std::string unknown = UnknownCommandIn(line.app, error); !unknown.empty()) {
      std::cerr << "tavro: " << PrintableLine(unknown) << '\n';
      return kUsage;
    }
    // What is wrong is shown as it was typed, or as somebody had it typed.
    std::ostringstream help, wrong;
    const int exitCode = line.app.exit(error, help, wrong);
    std::cout << help.str();
    FlushOutput();
    std::cerr << Printable(tavro::FromUtf8(wrong.str()));
    return exitCode == 0 ? kDone : kUsage;
  }
  const int exitCode = line.action();
  try {
    FlushOutput();
  } catch (const std::runtime_error& error) {
    throw OperationFailed(error.what(),
                          "only the output is lost, what was asked for is done: do not send a message again");
  }
  return exitCode;
}

}  // namespace

int main(int argc, char** argv) {
  const StandardStreams streams;
  try {
    return Run(ProgramArguments(argc, argv));
  } catch (const std::exception& error) {
    ProgressLine::Clear();
    if (const int signal = EndSignals::Received(); signal != 0) {
      std::cerr << "tavro: ended by signal " << signal << " (" << EndSignals::NameOf(signal) << ")\n";
      return kSignalled + signal;
    }
    std::cerr << Coloured(Stream::kError, Colour::kRed, "tavro: ") << PrintableLine(std::string(error.what())) << '\n';
    const auto* failure = dynamic_cast<const OperationFailed*>(&error);
    const std::string hint = failure ? HintFor(*failure) : "";
    if (!hint.empty()) std::cerr << "  hint: " << PrintableLine(hint) << '\n';
    return failure && IsSimLocked(failure->Code()) ? kSimLocked : kFailed;
  }
}
