// tavro send: a text to a number.
#include <iostream>
#include <iterator>
#include <memory>
#include <string>

#include "command_line.h"
#include "outgoing/encodings.h"
#include "platform/utf8.h"
#include "tavro_delivery.h"
#include "tavro_output.h"

namespace {

using tavro::FromUtf8;

struct SendArguments {
  std::string number;
  std::string text;
  std::int16_t coding = 0;  // 7, 8 or 16; 0: 7 where that keeps the text, 16 otherwise
  std::int16_t longMessage = tavro::MessageConcatenate;
  std::string validity;  // empty: the component's own
  bool flash = false;
  bool wantsReport = false;                  // on the delivery
  std::optional<std::chrono::seconds> wait;  // for that report
};

const Choices kLongMessageActions = {{"truncate", tavro::MessageTruncate},
                                     {"split", tavro::MessageSplit},
                                     {"formatted", tavro::MessageFormattedSplit},
                                     {"concatenate", tavro::MessageConcatenate}};

std::string ReadStandardInput() {
  std::string text{std::istreambuf_iterator<char>(std::cin), {}};
  if (!text.empty() && text.back() == '\n') text.pop_back();
  return text;
}

// Returns the references that it printed.
std::u16string Send(Session& session, const SendArguments& arguments) {
  tavro::SMS& sms = session.Sms();
  const std::u16string text = FromUtf8(arguments.text);
  const std::int16_t fittingCoding = tavro::FitsGsmAlphabet(text) ? 7 : 16;  // what it lacks would be question marks
  sms.SetCharacter(arguments.coding == 0 ? fittingCoding : arguments.coding);
  session.Check();
  sms.SetLongMessage(arguments.longMessage);
  session.Check();
  if (!arguments.validity.empty()) {
    sms.SetValidity(FromUtf8(arguments.validity));
    session.Check();
  }
  sms.SetStatusReport(arguments.wantsReport || arguments.wait);
  session.Check();
  const auto references = sms.SendSMS(FromUtf8(arguments.number), text, arguments.flash);
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
  if (arguments.text == "-") arguments.text = ReadStandardInput();
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
  send->add_flag("--flash", arguments->flash, "Show it at once and store it nowhere");
  send->add_option("--coding", arguments->coding,
                   "7 the GSM alphabet, 8 octets, 16 UCS2; when not given, 7 if that has all characters, else 16")
      ->check(CLI::IsMember({7, 8, 16}));
  AddChoice(*send, "--long", arguments->longMessage, kLongMessageActions,
            "What to do with a text that does not fit one message")
      ->default_str("concatenate");
  send->add_option("--validity", arguments->validity, "How long to keep trying: 30M, 12H, 1D, 2W")->default_str("1D");
  send->add_flag("--report", arguments->wantsReport, "Ask for a report on the delivery, which watch prints");
  AddSeconds(*send, "--wait", arguments->wait, 1,
             "Ask for it, wait until it comes, print what it says: exit status 0 delivered, 3 failed, 4 not known yet");
}
