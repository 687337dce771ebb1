// tavro push: a WAP push to a number.
#include <memory>
#include <string>

#include "command_line.h"
#include "platform/utf8.h"
#include "tavro_output.h"

namespace {

using tavro::FromUtf8;

struct PushArguments {
  std::string number;
  std::string text;
  std::string url;
  std::int16_t action = 2;
  std::string expiry = "0";
  OutputForm form = OutputForm::kText;
};

const Choices kActions = {{"low", 1}, {"medium", 2}, {"high", 3}};

void CheckText(const PushArguments& arguments) {
  CheckSetting("NUMBER", [&](tavro::SMS& sms) { sms.WapPush()->SetDestination(FromUtf8(arguments.number)); });
  CheckSetting("TEXT", [&](tavro::SMS& sms) { sms.WapPush()->SetText(FromUtf8(arguments.text)); });
  CheckSetting("URL", [&](tavro::SMS& sms) { sms.WapPush()->SetURL(FromUtf8(arguments.url)); });
  CheckSetting("--expiry", [&](tavro::SMS& sms) { sms.WapPush()->SetExpiry(FromUtf8(arguments.expiry)); });
}

void Push(Session& session, const PushArguments& arguments) {
  const auto push = session.Sms().WapPush();
  push->SetDestination(FromUtf8(arguments.number));
  session.Check();
  push->SetText(FromUtf8(arguments.text));
  session.Check();
  push->SetURL(FromUtf8(arguments.url));
  session.Check();
  push->SetAction(arguments.action);
  session.Check();
  push->SetExpiry(FromUtf8(arguments.expiry));
  session.Check();
  session.Check(push->Send());
  JsonPrinter(arguments.form).Print({{"number", arguments.number}, {"result", "sent"}});
}

}  // namespace

void AddPush(CommandLine& line) {
  const auto arguments = std::make_shared<PushArguments>();
  CLI::App* push = line.Add(
      "push", "Send a WAP push: a text and the address it leads to",
      [&line, arguments] {
        Session session(line.connection);
        Push(session, *arguments);
        return kDone;
      },
      [arguments] { CheckText(*arguments); });
  push->add_option("NUMBER", arguments->number, "Phone number")->type_name("")->required();
  push->add_option("TEXT", arguments->text, "The text shown")->type_name("")->required();
  push->add_option("URL", arguments->url, "The address to open")->type_name("")->required();
  AddChoice(*push, "--action", arguments->action, kActions, "When the phone shows it")->default_str("medium");
  push->add_option("--expiry", arguments->expiry, "When it expires: 0 never, 12H, 3D, 1M")->capture_default_str();
  AddOutputForm(*push, arguments->form);
}
