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

void Command(Session& session, std::string command) {
  if (command.empty() || command.back() != '\r') command += '\r';
  const std::string answer = tavro::ToUtf8(session.Sms().Command(tavro::FromUtf8(command)));
  session.Check(!answer.empty());
  if (IsRefusal(answer))
    throw OperationFailed("the modem answered " + answer,
                          "see the modem's manual for its commands; with -v, see the dialogue");
  std::cout << PrintableLine(answer) << '\n';
}

}  // namespace

void AddCommand(CommandLine& line) {
  const auto text = std::make_shared<std::string>();
  CLI::App* command = line.Add("command", "Send one AT command and print the answer", [&line, text] {
    Session session(line.connection);
    Command(session, *text);
    return kDone;
  });
  command->add_option("COMMAND", *text, "The command, such as AT+CSQ")->type_name("")->required();
}
