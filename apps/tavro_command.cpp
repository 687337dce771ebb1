// tavro command: one AT command, and its answer.
#include <algorithm>
#include <cstdint>
#include <iostream>
#include <iterator>
#include <memory>
#include <string>
#include <string_view>

#include "base/text.h"
#include "command_line.h"
#include "platform/utf8.h"
#include "tavro_output.h"

namespace {

// The final result codes for a failure (3GPP TS 27.007, 9.2; ITU-T V.250, 5.7).
bool IsRefusal(const std::string& answer) {
  constexpr const char* kEnds[] = {"ERROR", "NO CARRIER", "NO DIALTONE", "NO DIAL TONE", "BUSY", "NO ANSWER"};
  return std::any_of(std::begin(kEnds), std::end(kEnds), [&](const char* end) { return answer.ends_with(end); }) ||
         answer.find("+CME ERROR:") != std::string::npos || answer.find("+CMS ERROR:") != std::string::npos;
}

// The modem wants more input.
bool IsPrompt(const std::string& answer) {
  const std::string_view end = tavro::Trim(answer);
  return end == ">" || end.ends_with("\n>") || end.ends_with("\r>");
}

struct CommandArguments {
  std::string command;
  OutputForm form = OutputForm::kText;
};

// What the prompt manner does by itself.
void CancelInput(tavro::SMS& sms) {
  constexpr std::int32_t kPatienceMs = 1000;  // few modems answer it
  sms.SetTimeout(kPatienceMs);
  sms.Command(u"\x1B");
}

void Command(Session& session, const CommandArguments& arguments, bool isClassic) {
  std::string command = arguments.command;
  if (command.empty() || command.back() != '\r') command += '\r';
  const std::string answer = tavro::ToUtf8(session.Sms().Command(tavro::FromUtf8(command)));
  session.Check(!answer.empty());
  if (IsPrompt(answer)) {
    if (isClassic) CancelInput(session.Sms());
    throw OperationFailed("the modem waits for more input than the command, which was cancelled",
                          "to send a message, use tavro send");
  }
  if (IsRefusal(answer)) {
    throw OperationFailed("the modem answered " + answer,
                          "see the modem's manual for its commands; with -v, see the dialogue");
  }
  JsonPrinter json(arguments.form);
  json.Print({{"command", arguments.command}, {"answer", answer}});
  if (json.IsText()) std::cout << PrintableLine(answer) << '\n';
}

}  // namespace

void AddCommand(CommandLine& line) {
  const auto arguments = std::make_shared<CommandArguments>();
  CLI::App* command = line.Add(
      "command", "Send one AT command and print the answer",
      [&line, arguments] {
        Session session(line.connection);
        Command(session, *arguments, line.connection.classic);
        return kDone;
      },
      [arguments] {
        if (tavro::Trim(arguments->command).empty()) throw CLI::ValidationError("COMMAND", "it is empty");
      });
  command->add_option("COMMAND", arguments->command, "The command, such as AT+CSQ")->type_name("")->required();
  AddOutputForm(*command, arguments->form);
}
