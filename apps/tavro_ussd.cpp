// tavro ussd: a code to the network, and what it answers.
#include <iostream>
#include <memory>
#include <string>
#include <vector>

#include "command_line.h"
#include "console.h"
#include "platform/utf8.h"
#include "tavro_output.h"

namespace {

using tavro::FromUtf8, tavro::ToUtf8;

struct UssdArguments {
  std::string code;
  std::vector<std::string> replies;
  OutputForm form = OutputForm::kText;
};

// Sends the code, and the replies one by one while the network expects any; a session that expects another is
// cancelled.
void Ussd(Session& session, const UssdArguments& arguments) {
  tavro::SMS& sms = session.Sms();
  JsonPrinter json(arguments.form);
  bool expectsReply = true;
  auto reply = arguments.replies.begin();
  const auto end = arguments.replies.end();
  for (const std::string* sent = &arguments.code; sent; sent = reply == end ? nullptr : &*reply++) {
    if (!expectsReply) throw OperationFailed("the session ended before " + *sent + " was sent", "give fewer replies");
    const auto answer = sms.SendUSSD(FromUtf8(*sent));
    session.Check(answer.has_value());
    expectsReply = answer->expectsReply;
    if (json.IsText()) std::cout << Printable(answer->text) << '\n';
    PassOutputOn();
    json.Add({{"text", ToUtf8(answer->text)}, {"expectsReply", expectsReply}});
  }
  json.Finish();
  if (expectsReply) {
    session.Check(sms.CancelUSSD());
  }
}

}  // namespace

void AddUssd(CommandLine& line) {
  const auto arguments = std::make_shared<UssdArguments>();
  CLI::App* ussd = line.Add(
      "ussd", "Send a USSD code and print what the network answers",
      [&line, arguments] {
        Session session(line.connection);
        Ussd(session, *arguments);
        return kDone;
      },
      [arguments] {
        if (arguments->code.empty()) throw CLI::ValidationError("CODE", "it is empty; give one such as '*100#'");
      });
  ussd->add_option("CODE", arguments->code, "The code, such as '*100#'")->type_name("")->required();
  ussd->add_option("REPLY", arguments->replies,
                   "What to reply, in the same session, to each answer that expects a reply")
      ->type_name("");
  AddOutputForm(*ussd, arguments->form);
}
