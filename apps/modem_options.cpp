#include "modem_options.h"

#include <algorithm>
#include <fstream>
#include <optional>
#include <stdexcept>
#include <string_view>

#include "modem_setting.h"
#include "simulator/looped_message.h"

namespace {

using tavro::Interjection;
using tavro::ModemReply;
using tavro::ModemSettings;
using tavro::SimulatedModem;
using Moment = Interjection::Moment;

std::string Footer() {
  std::string faults;
  for (const SimulatedModem::Fault& fault : SimulatedModem::Faults()) faults += TwoColumns(fault.name, fault.effect);
  return "TEXT and BYTES know \\r, \\n, \\\\ and \\xFE. COMMAND is a command line (AT+CSQ), the beginning of some "
         "(AT+CMGD=*)\n"
         "or PDU, which stands for a message behind the prompt. Options with \"...\" may be given more than once; for "
         "one\n"
         "command the first one named counts, --answer before --delay before --fault.\n"
         "\n"
         "Moments of --unsolicited, those of an answer with @COMMAND where not every answer is meant:\n"
         "  before behind         in front of the answer or the prompt, behind it\n"
         "  result                in front of the result code\n"
         "  line3                 in front of the third line of the information text\n"
         "  every500 at2000       every 500 ms, 2 s after the start\n"
         "\n"
         "Settings (--set NAME=VALUE, or NAME alone to switch it on):\n" +
         DescribeSettings() + "\nFaults:\n" + faults;
}

[[noreturn]] void Refuse(const std::string& what, const std::string& why) {
  throw std::runtime_error(what + ": " + why);
}

// "" is silence, a prompt stays one, anything else stands between line ends.
ModemReply ReplyFrom(const std::string& text) {
  const std::string bytes = Unescaped(text);
  if (bytes.empty()) return ModemReply::Silence();
  return bytes.ends_with("> ") ? ModemReply::Bytes("\r\n" + bytes) : ModemReply::Line(bytes);
}

void AddUnsolicited(SimulatedModem& modem, const std::string& moment, const std::string& line, std::int64_t gapMs) {
  const std::size_t at = std::min(moment.find('@'), moment.size());
  const std::string when = moment.substr(0, at), command = at < moment.size() ? moment.substr(at + 1) : "*";
  const auto numberBehind = [&](std::string_view word) {
    return when.starts_with(word) ? NumberFrom<std::int64_t>(std::string_view(when).substr(word.size())) : std::nullopt;
  };
  Interjection interjection{Moment::kBefore, line, 0, gapMs};
  if (const auto everyMs = numberBehind("every"); everyMs && *everyMs > 0)
    return modem.UnsolicitedEvery(line, *everyMs);
  if (const auto ms = numberBehind("at")) return modem.Unsolicited(line, *ms);
  if (const auto number = numberBehind("line"); number && *number > 0 && *number < 1000000) {
    interjection.moment = Moment::kBeforeLine;
    interjection.line = static_cast<int>(*number);
  } else if (when == "behind") {
    interjection.moment = Moment::kBehind;
  } else if (when == "result") {
    interjection.moment = Moment::kBeforeResult;
  } else if (when != "before") {
    Refuse("--unsolicited " + moment, "there is no such moment");
  }
  modem.Interject(std::move(interjection), command);
}

// Hands on the PDUs of a file; `use` says whether there was room for one. Throws std::runtime_error that names the file
// and the line.
template <typename Use>
void LoadPdus(const std::string& path, Use use) {
  std::ifstream file(path);
  if (!file) Refuse(path, "cannot be read");
  std::string line;
  for (int number = 1; std::getline(file, line); ++number) {
    line.erase(std::min(line.find('#'), line.size()));
    line.erase(std::remove_if(line.begin(), line.end(), [](char c) { return c == ' ' || c == '\t' || c == '\r'; }),
               line.end());
    if (line.empty()) continue;
    const std::string place = path + ":" + std::to_string(number);
    if (!tavro::OctetsFromHex(line)) Refuse(place, "not pairs of hexadecimal digits");
    if (tavro::TpduLength(line) == 0) Refuse(place, "the service centre field is longer than the PDU");
    if (!use(line)) Refuse(place, "the message memory is full");
  }
}

// "" when the text has at least `shortest` and at most `longest` digits.
std::string CheckDigits(std::string_view text, std::size_t shortest, std::size_t longest) {
  const bool isGood = text.size() >= shortest && text.size() <= longest &&
                      std::all_of(text.begin(), text.end(), [](char digit) { return digit >= '0' && digit <= '9'; });
  return isGood ? "" : "must be " + std::to_string(shortest) + " to " + std::to_string(longest) + " digits";
}

std::string CheckPin(const std::string& pin) { return CheckDigits(pin, 4, 8); }
std::string CheckNumber(const std::string& number) {
  return CheckDigits(std::string_view(number).substr(number.starts_with('+') ? 1 : 0), 1, 20);
}

}  // namespace

void ModemOptions::Describe(CLI::App& app) {
  std::vector<std::string> names;
  for (const SimulatedModem::Fault& fault : SimulatedModem::Faults()) names.emplace_back(fault.name);
  app.footer(Footer());
  app.add_option("--number", number_, "the SIM's own number; a message to it comes back")
      ->type_name("NUMBER")
      ->default_str(ModemSettings().ownNumber)
      ->check(CheckNumber);
  app.add_option("--pin", pin_, "PIN that the SIM asks for; none by default")->type_name("PIN")->check(CheckPin);
  app.add_option("--inbox", inboxes_,
                 "file of received messages, one PDU in hexadecimal digits a line; # starts a comment")
      ->type_name("FILE")
      ->allow_extra_args(false);
  app.add_option("--drafts", drafts_, "the same with messages that were stored and not sent")
      ->type_name("FILE")
      ->allow_extra_args(false);
  app.add_option("--incoming-when-freed", waiting_,
                 "file of messages, each of which takes the next place that a deletion leaves")
      ->type_name("FILE")
      ->allow_extra_args(false);
  app.add_option("--latency", latencyMs_, "milliseconds from a command to its answer")
      ->type_name("MS")
      ->check(CLI::Range(0, 600000));
  app.add_flag("--echo", keepsEcho_, "keep the echo on whatever ATE says");
  app.add_option("--set", settings_, "make the modem another one, see below")
      ->type_name("NAME[=VALUE]")
      ->allow_extra_args(false);
  app.add_option("--ussd", ussd_,
                 "what the network answers to a code of AT+CUSD; \"*101# 1\" is the reply 1 in the menu *101#")
      ->type_name("CODE TEXT")
      ->allow_extra_args(false);
  app.add_option("--ussd-menu", ussdMenus_, "the same with a text that asks for a reply")
      ->type_name("CODE TEXT")
      ->allow_extra_args(false);
  app.add_option("--fault", faults_, "make the modem fail, see below")
      ->type_name("NAME")
      ->allow_extra_args(false)
      ->check(CLI::IsMember(names).description(""));
  app.add_option("--answer", answers_, "answer a command with this, an empty text with silence")
      ->type_name("COMMAND TEXT")
      ->allow_extra_args(false);
  app.add_option("--answer-once", answersOnce_, "the same for the first such command")
      ->type_name("COMMAND TEXT")
      ->allow_extra_args(false);
  app.add_option("--delay", delays_, "milliseconds by which the answer to a command is late")
      ->type_name("COMMAND MS")
      ->allow_extra_args(false);
  app.add_option("--unsolicited", unsolicited_, "say a line of the modem's own accord, see below")
      ->type_name("MOMENT TEXT")
      ->allow_extra_args(false);
  app.add_option("--unsolicited-gap", unsolicitedGapMs_, "such a line at an answer comes in two pieces, so far apart")
      ->type_name("MS")
      ->check(CLI::Range(0, 600000));
  app.add_option("--earlier", earlier_, "what another application sent before, its answers being gone")
      ->type_name("BYTES");
}

ModemSettings ModemOptions::Settings() const {
  ModemSettings settings;
  settings.pin = pin_;
  if (!number_.empty()) settings.ownNumber = number_;
  settings.latencyMs = latencyMs_;
  settings.echoStuck = keepsEcho_;
  for (const std::string& option : settings_) {
    try {
      SetModemSetting(settings, option);
    } catch (const std::runtime_error& error) {
      throw std::runtime_error("--set " + std::string(error.what()));
    }
  }
  for (const bool isMenu : {false, true}) {
    for (const auto& [code, text] : isMenu ? ussdMenus_ : ussd_) {
      settings.ussd.insert(settings.ussd.begin(), {code, Unescaped(text), isMenu});
    }
  }
  return settings;
}

void ModemOptions::Apply(SimulatedModem& modem) const {
  if (!earlier_.empty()) modem.Earlier(Unescaped(earlier_));
  for (const auto& [command, text] : answersOnce_) modem.Answer(command, ReplyFrom(text), 1);
  for (const auto& [command, text] : answers_) modem.Answer(command, ReplyFrom(text));
  for (const auto& [command, ms] : delays_) {
    const std::optional<std::int64_t> delayMs = NumberFrom<std::int64_t>(ms);
    if (!delayMs) Refuse("--delay " + command + " " + ms, "not a number of milliseconds");
    modem.Answer(command, ModemReply::Own().Late(*delayMs));
  }
  for (const auto& [moment, line] : unsolicited_) AddUnsolicited(modem, moment, Unescaped(line), unsolicitedGapMs_);
  for (const std::string& fault : faults_) modem.ApplyFault(fault);
  constexpr int kReceivedUnread = 0, kStoredUnsent = 2;
  for (const std::string& path : inboxes_) {
    LoadPdus(path, [&](const std::string& pdu) { return modem.Store(pdu, kReceivedUnread) != 0; });
  }
  for (const std::string& path : drafts_) {
    LoadPdus(path, [&](const std::string& pdu) { return modem.Store(pdu, kStoredUnsent) != 0; });
  }
  for (const std::string& path : waiting_) {
    LoadPdus(path, [&](const std::string& pdu) {
      modem.IncomingWhenFreed(pdu);
      return true;
    });
  }
}
