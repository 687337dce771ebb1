// tavro send: a text to a number.
#include <iostream>
#include <memory>
#include <string>

#include "command_line.h"
#include "outgoing/encodings.h"
#include "platform/utf8.h"
#include "tavro_delivery.h"
#include "tavro_output.h"
#include "text_options.h"

namespace {

using tavro::FromUtf8;

struct SendArguments {
  std::string number;
  std::string text;
  TextOptions options;
  bool wantsReport = false;                  // on the delivery
  std::optional<std::chrono::seconds> wait;  // for that report
};

// Returns the references that it printed.
std::u16string Send(Session& session, const SendArguments& arguments) {
  tavro::SMS& sms = session.Sms();
  const std::u16string text = FromUtf8(arguments.text);
  const std::int16_t fittingCoding = tavro::FitsGsmAlphabet(text) ? 7 : 16;  // what it lacks would be question marks
  sms.SetCharacter(arguments.options.coding == 0 ? fittingCoding : arguments.options.coding);
  session.Check();
  sms.SetLongMessage(arguments.options.longMessage);
  session.Check();
  if (!arguments.options.validity.empty()) {
    sms.SetValidity(FromUtf8(arguments.options.validity));
    session.Check();
  }
  sms.SetStatusReport(arguments.wantsReport || arguments.wait);
  session.Check();
  const auto references = sms.SendSMS(FromUtf8(arguments.number), text, arguments.options.flash);
  session.Check(references.has_value());
  std::cout << PrintableLine(references.value_or(u"")) << std::endl;
  return references.value_or(u"");
}

int StatusOf(tavro::DeliveryState state) {
  if (!tavro::IsFinal(state)) return kDeliveryUnknown;
  return state >= tavro::DeliveryState::kGivenUp ? kNotDelivered : kDone;
}

int Run(const ConnectionArguments& connection, SendArguments arguments) {
  // Whoever types the text keeps no modem waiting, and may end the program as any other.
  arguments.text = TextOf(arguments.text);
  Session session(connection);
  const std::u16string references = Send(session, arguments);
  return arguments.wait ? StatusOf(AwaitDelivery(session, references, *arguments.wait)) : kDone;
}

}  // namespace

void AddSend(CommandLine& line) {
  const auto arguments = std::make_shared<SendArguments>();
  CLI::App* send = line.Add(
      "send", "Send a text and print its message references",
      [&line, arguments] { return Run(line.connection, *arguments); },
      [&line, arguments] {
        if (arguments->wantsReport || arguments->wait) line.RefuseClassic();
      });
  send->add_option("NUMBER", arguments->number, "Phone number")->type_name("")->required();
  send->add_option("TEXT", arguments->text, "The text; - reads it from standard input")->type_name("")->required();
  AddTextOptions(*send, arguments->options);
  send->add_flag("--report", arguments->wantsReport, "Ask for a report on the delivery, which watch prints");
  AddSeconds(*send, "--wait", arguments->wait, 1,
             "Ask for it, wait until it comes, print what it says: exit status 0 delivered, 3 failed, 4 not known yet");
}
