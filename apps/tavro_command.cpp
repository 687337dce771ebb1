// tavro command: one AT command, and its answer.
#include <iostream>
#include <memory>
#include <string>

#include "command_line.h"
#include "platform/utf8.h"
#include "tavro_output.h"

namespace {

// The final result codes for a failure (3GPP TS 27.007, 9.2).
bool IsRefusal(const std::string& answer) {
  return answer.ends_with("ERROR") || answer.find("+CME ERROR:") != std::string::npos ||
         answer.find("+CMS ERROR:") != std::string::npos;
}

struct CommandArguments {
  std::string command;
  OutputForm form = OutputForm::kText;
};

void Command(Session& session, const CommandArguments& arguments) {
  std::string command = arguments.command;
  if (command.empty() || command.back() != '\r') command += '\r';
  const std::string answer = tavro::ToUtf8(session.Sms().Command(tavro::FromUtf8(command)));
  session.Check(!answer.empty());
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
  CLI::App* command = line.Add("command", "Send one AT command and print the answer", [&line, arguments] {
    Session session(line.connection);
    Command(session, *arguments);
    return kDone;
  });
  command->add_option("COMMAND", arguments->command, "The command, such as AT+CSQ")->type_name("")->required();
  AddOutputForm(*command, arguments->form);
}
