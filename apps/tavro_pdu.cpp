// tavro pdu: PDUs taken apart and built, without a modem.
#include <iostream>
#include <memory>
#include <string>
#include <vector>

#include "command_line.h"
#include "failure_hints.h"
#include "pdu_input.h"
#include "pdu_output.h"
#include "platform/utf8.h"
#include "tavro/pdu.h"
#include "tavro_output.h"
#include "text_options.h"

namespace {

using tavro::DecodedPdu, tavro::FromUtf8, tavro::ToUtf8;

// How either command shows what it made.
struct Shown {
  bool explained = false;
  bool json = false;
  bool jsonLines = false;

  bool IsJson() const { return json || jsonLines; }
};

void AddShown(CLI::App& command, Shown& shown) {
  command.add_flag("--explain", shown.explained, "Octet by octet, each field with its name in 3GPP TS 23.040");
  command.add_flag("--json", shown.json, "Print JSON");
  command.add_flag("--jsonl", shown.jsonLines, "Print JSON, one object a line")->excludes("--json");
}

void PrintJson(const Json& list, const Shown& shown) {
  if (shown.json) std::cout << Dump(list) << '\n';
  for (const Json& entry : shown.jsonLines ? list : Json::array()) std::cout << DumpLine(entry) << '\n';
}

struct DecodeArguments {
  std::vector<std::string> pdus;
  bool isBare = false;  // without a service centre's address
  std::string direction;
  Shown shown;
};

void ReportFault(const DecodedPdu& pdu, std::size_t number, std::size_t count) {
  std::cout << std::flush;
  std::cerr << "tavro: ";
  if (count > 1) std::cerr << "PDU " << number << ": ";
  std::cerr
      << PrintableLine(pdu.error)
      << "\n  hint: see that the PDU is whole, and whether --no-service-centre or --direction fits; --explain shows "
         "how far it goes\n";
}

int Decode(const DecodeArguments& arguments) {
  tavro::DecodeOptions options;
  options.hasServiceCentre = !arguments.isBare;
  if (arguments.direction == "received") options.direction = tavro::PduDirection::kReceived;
  if (arguments.direction == "sent") options.direction = tavro::PduDirection::kSent;
  const std::vector<PduText> texts = ReadPdus(arguments.pdus);
  if (texts.empty()) throw OperationFailed("there is no PDU on standard input", "give hex digits, a PDU a line");
  bool isWhole = true;
  Json list = Json::array();
  for (std::size_t i = 0; i < texts.size(); ++i) {
    const DecodedPdu pdu = Decode(texts[i], options);
    if (arguments.shown.IsJson()) {
      list.push_back(JsonOf(pdu, arguments.shown.explained));
    } else if (!pdu.octets.empty()) {
      if (i > 0) std::cout << '\n';
      (arguments.shown.explained ? PrintOctets : PrintFields)(pdu);
    }
    if (!pdu.HasError()) continue;
    isWhole = false;
    ReportFault(pdu, i + 1, texts.size());
  }
  PrintJson(list, arguments.shown);
  return isWhole ? kDone : kFailed;
}

struct EncodeArguments {
  std::string number;
  std::string text;
  TextOptions options;
  bool wantsReport = false;
  int reference = -1;  // below 0: by the time
  std::string serviceCentre;
  Shown shown;
};

tavro::EncodeOptions OptionsOf(const EncodeArguments& arguments, const ConnectionArguments& connection) {
  tavro::EncodeOptions options;
  if (arguments.options.coding != 0) options.coding = arguments.options.coding;
  options.longMessage = arguments.options.longMessage;
  if (!arguments.options.validity.empty()) options.validity = FromUtf8(arguments.options.validity);
  options.statusReport = arguments.wantsReport;
  options.flash = arguments.options.flash;
  options.wideReferences = connection.wideReferences;
  if (arguments.reference >= 0) options.reference = arguments.reference;
  options.serviceCentre = FromUtf8(arguments.serviceCentre);
  return options;
}

tavro::EncodedPdu EncodedOf(const EncodeArguments& arguments, const ConnectionArguments& connection) {
  const std::string text = TextOf(arguments.text);
  PartsOf("TEXT", text, arguments.options, connection.wideReferences);
  tavro::EncodedPdu encoded =
      tavro::EncodePdu(FromUtf8(arguments.number), FromUtf8(text), OptionsOf(arguments, connection));
  if (encoded.errorCode == 0) return encoded;
  const std::string error = "error " + std::to_string(encoded.errorCode) + ": " + ToUtf8(encoded.errorDescription);
  throw CLI::ValidationError(error + "; " + HintFor(OperationFailed(error, encoded.errorCode, {})));
}

int Encode(const EncodeArguments& arguments, const tavro::EncodedPdu& encoded) {
  Json list = Json::array();
  for (const tavro::EncodedPart& part : encoded.parts) {
    if (arguments.shown.IsJson()) {
      Json entry = {{"pdu", part.hex}, {"tpduLength", part.tpduLength}};
      if (arguments.shown.explained) entry.update(JsonOf(tavro::DecodePdu(part.hex), true));
      list.push_back(std::move(entry));
      continue;
    }
    if (arguments.shown.explained && &part != &encoded.parts.front()) std::cout << '\n';
    std::cout << "AT+CMGS=" << part.tpduLength << '\n' << part.hex << '\n';
    if (arguments.shown.explained) PrintOctets(tavro::DecodePdu(part.hex));
  }
  PrintJson(list, arguments.shown);
  return kDone;
}

void AddDecode(CommandLine& line, CLI::App& pdu) {
  const auto arguments = std::make_shared<DecodeArguments>();
  CLI::App* decode = line.AddTo(
      pdu, "decode", "Take PDUs apart: SMS-DELIVER, SMS-SUBMIT, SMS-STATUS-REPORT",
      [arguments] { return Decode(*arguments); },
      [&line, arguments] {
        line.RefuseDevice("pdu", "it works without a modem, and takes no device");
        for (const std::string& hex : arguments->pdus) {
          const bool hasDigits = hex.find_first_of("0123456789ABCDEFabcdef") != std::string::npos;
          if (hex != "-" && !hasDigits) throw CLI::ValidationError("HEX", "\"" + hex + "\" has no hex digits");
        }
      });
  decode->add_option("HEX", arguments->pdus, "PDUs in hex digits; - reads them, or a dialogue, from standard input")
      ->type_name("")
      ->required();
  decode->add_flag("--no-service-centre", arguments->isBare, "No service centre's address stands in front");
  decode
      ->add_option("--direction", arguments->direction,
                   "received or sent; when not given, as modems list what they store")
      ->check(CLI::IsMember({"received", "sent"}))
      ->type_name("");
  AddShown(*decode, arguments->shown);
}

void AddEncode(CommandLine& line, CLI::App& pdu) {
  const auto arguments = std::make_shared<EncodeArguments>();
  const auto encoded = std::make_shared<tavro::EncodedPdu>();
  CLI::App* encode = line.AddTo(
      pdu, "encode", "Build the PDUs of a text as they are sent",
      [arguments, encoded] { return Encode(*arguments, *encoded); },
      [&line, arguments, encoded] {
        line.RefuseDevice("pdu", "it works without a modem, and takes no device");
        *encoded = EncodedOf(*arguments, line.connection);
      });
  encode->add_option("NUMBER", arguments->number, "Phone number")->type_name("")->required();
  encode->add_option("TEXT", arguments->text, "The text; - reads it from standard input")->type_name("")->required();
  AddTextOptions(*encode, arguments->options);
  encode->add_flag("--report", arguments->wantsReport, "Ask for a report on the delivery");
  encode->add_option("--reference", arguments->reference, "What the parts of a long message share; else by the time")
      ->check(CLI::Range(0, 65535).description(""))
      ->type_name("NUMBER");
  encode->add_option("--service-centre", arguments->serviceCentre, "Its number; when not given, the modem's own")
      ->type_name("NUMBER");
  AddShown(*encode, arguments->shown);
}

}  // namespace

void AddPdu(CommandLine& line) {
  CLI::App* pdu = line.app.add_subcommand("pdu", "Take PDUs apart, or build them; needs no modem");
  pdu->require_subcommand(1);
  AddDecode(line, *pdu);
  AddEncode(line, *pdu);
}
