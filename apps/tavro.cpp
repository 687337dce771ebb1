// tavro: short messages from the command line.
//
// Exit codes: 0 done; 1 the modem or the network refused, with the error's code and text on standard error; 2 the
// command line is not understood; 3 a message was not delivered, 4 that is not known yet (send --wait); 128 and the
// signal's number when SIGINT, SIGTERM or SIGHUP ended it early.
#include <fcntl.h>
#include <unistd.h>

#include <CLI/CLI.hpp>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <exception>
#include <iostream>
#include <iterator>
#include <map>
#include <optional>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

#include "base/text.h"
#include "end_signals.h"
#include "platform/utf8.h"
#include "tavro_commands.h"
#include "tavro_delivery.h"
#include "tavro_output.h"
#include "tavro_ports.h"
#include "tavro_watch.h"

namespace {

constexpr int kDone = 0, kFailed = 1, kUsage = 2, kNotDelivered = 3, kDeliveryUnknown = 4, kSignalled = 128;
constexpr int kLongestWait = 2147483;  // s

using Choices = std::map<std::string, std::int16_t>;
const Choices kLongMessageActions = {{"truncate", tavro::MessageTruncate},
                                     {"split", tavro::MessageSplit},
                                     {"formatted", tavro::MessageFormattedSplit},
                                     {"concatenate", tavro::MessageConcatenate}};
const Choices kActions = {{"low", 1}, {"medium", 2}, {"high", 3}};

std::string ReadStandardInput() {
  std::string text{std::istreambuf_iterator<char>(std::cin), {}};
  if (!text.empty() && text.back() == '\n') text.pop_back();
  return text;
}

// An option that takes one of the names and stores its value.
CLI::Option* AddChoice(CLI::App& app, const char* name, std::int16_t& value, const Choices& choices,
                       const char* description) {
  const auto store = [&](const std::string& choice) { value = choices.at(choice); };
  return app.add_option_function<std::string>(name, store, description)->check(CLI::IsMember(&choices))->type_name("");
}

// An option that takes a time in seconds.
CLI::Option* AddSeconds(CLI::App& app, const char* name, std::optional<std::chrono::seconds>& value, int least,
                        const char* description) {
  const auto store = [&](int seconds) { value = std::chrono::seconds(seconds); };
  return app.add_option_function<int>(name, store, description)
      ->check(CLI::Range(least, kLongestWait).description(""))
      ->type_name("SECONDS");
}

// Returns the options of which one is needed.
CLI::Option_group* AddConnectionOptions(CLI::App& app, ConnectionArguments& arguments) {
  CLI::Option_group* line = app.add_option_group("Line", "Where the modem is");
  line->add_option("-d,--device", arguments.device,
                   "Device of the modem: /dev/ttyUSB0, tcp://host:port, rfc2217://host:port");
  line->add_option("-p,--port", arguments.port, "COM port of the modem; COM1 is /dev/ttyS0");
  line->require_option(1);
  app.add_option("-b,--baud", arguments.baudRate, "Bits per second")->capture_default_str();
  app.add_option("-t,--timeout", arguments.timeout, "How long to wait for an answer, in milliseconds")
      ->capture_default_str();
  app.add_option("--pin", arguments.pin, "PIN of the SIM; better given as TAVRO_PIN, which others cannot see")
      ->envname("TAVRO_PIN");
  app.add_option("--memory", arguments.memory,
                 "Message memory: SM (SIM), ME (modem), or ALL to list or clear one after the other")
      ->transform([](const std::string& name) { return tavro::Upper(name); });
  app.add_option("--init", arguments.initString, "Command to send while connecting");
  app.add_option("--log", arguments.logFolder, "Folder to write Tavro.log into");
  app.add_flag(
      "--classic", arguments.classic,
      "Talk to the modem as the COM component does: slower, and what is not understood is deleted while reading");
  app.add_flag("--wide-references", arguments.wideReferences, "Number long messages with 16 bits");
  app.add_flag("--last-pin-attempt", arguments.lastPinAttempt, "Send the PIN also when a wrong one would lock the SIM");
  app.add_flag("--recover", arguments.recovers,
               "When the modem does not answer any more: ask again, restart it, open the port anew");
  return line;
}

CLI::App* AddSend(CLI::App& app, SendArguments& arguments, std::optional<std::chrono::seconds>& wait) {
  CLI::App* send = app.add_subcommand("send", "Send a text and print its message references");
  send->add_option("NUMBER", arguments.number, "Phone number")->type_name("")->required();
  send->add_option("TEXT", arguments.text, "The text; - reads it from standard input")->type_name("")->required();
  send->add_flag("--flash", arguments.flash, "Show it at once and store it nowhere");
  send->add_option("--coding", arguments.coding,
                   "7 the GSM alphabet, 8 octets, 16 UCS2; when not given, 7 if that has all characters, else 16")
      ->check(CLI::IsMember({7, 8, 16}));
  AddChoice(*send, "--long", arguments.longMessage, kLongMessageActions,
            "What to do with a text that does not fit one message")
      ->default_str("concatenate");
  send->add_option("--validity", arguments.validity, "How long to keep trying: 30M, 12H, 1D, 2W")->default_str("1D");
  send->add_flag("--report", arguments.wantsReport, "Ask for a report on the delivery, which watch prints");
  AddSeconds(*send, "--wait", wait, 1,
             "Ask for it, wait until it comes, print what it says: exit status 0 delivered, 3 failed, 4 not known yet");
  return send;
}

CLI::App* AddPush(CLI::App& app, PushArguments& arguments) {
  CLI::App* push = app.add_subcommand("push", "Send a WAP push: a text and the address it leads to");
  push->add_option("NUMBER", arguments.number, "Phone number")->type_name("")->required();
  push->add_option("TEXT", arguments.text, "The text shown")->type_name("")->required();
  push->add_option("URL", arguments.url, "The address to open")->type_name("")->required();
  AddChoice(*push, "--action", arguments.action, kActions, "When the phone shows it")->default_str("medium");
  push->add_option("--expiry", arguments.expiry, "When it expires: 0 never, 12H, 3D, 1M")->capture_default_str();
  return push;
}

CLI::App* AddList(CLI::App& app, ListArguments& arguments) {
  CLI::App* list = app.add_subcommand("list", "List the received messages, which are read afterwards");
  list->add_flag("--joined", arguments.joined, "Show the parts of a long message as one");
  CLI::Option_group* which = list->add_option_group("Which", "Which messages; only all of them are numbered");
  which->add_flag_callback(
      "--all", [&] { arguments.type = ListArguments::kAll; }, "All (the default)");
  which->add_flag_callback(
      "--unread", [&] { arguments.type = ListArguments::kUnread; }, "Only unread ones");
  which->add_flag_callback(
      "--read", [&] { arguments.type = ListArguments::kRead; }, "Only read ones");
  which->require_option(0, 1);
  list->add_flag("--json", arguments.json, "Print JSON");
  return list;
}

CLI::App* AddWatch(CLI::App& app, WatchArguments& arguments) {
  CLI::App* watch = app.add_subcommand("watch", "Print the unread messages, then what comes, reports on sent ones too");
  watch->add_flag("--json", arguments.json, "Print JSON, one object a line");
  watch->add_flag("--delete", arguments.deletes, "Delete each message once it is printed");
  AddSeconds(*watch, "--seconds", arguments.limit, 0, "End after so long; otherwise at SIGINT or SIGTERM");
  return watch;
}

CLI::App* AddPorts(CLI::App& app, PortsArguments& arguments) {
  CLI::App* ports = app.add_subcommand("ports", "List the serial devices of this machine; needs no --device");
  ports->add_flag("--probe", arguments.probe, "Ask what answers at each, and say which one to use");
  ports->add_flag("--json", arguments.json, "Print JSON");
  return ports;
}

int StatusOf(tavro::DeliveryState state) {
  if (!tavro::IsFinal(state)) return kDeliveryUnknown;
  return state >= tavro::DeliveryState::kGivenUp ? kNotDelivered : kDone;
}

// A device must not be opened as a standard stream that is not there. What stands for it cannot be used.
void FillStandardStreams() {
  for (const int stream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
    if (fcntl(stream, F_GETFD) < 0) open("/dev/null", stream == STDIN_FILENO ? O_WRONLY : O_RDONLY);
  }
}

int Run(int argc, char** argv) {
  CLI::App app{"Send and receive short messages through a GSM modem on a serial port.", "tavro"};
  app.require_subcommand(1);
  app.fallthrough();
  app.set_version_flag("--version", TAVRO_VERSION);

  ConnectionArguments connection;
  SendArguments sendArguments;
  PushArguments pushArguments;
  ListArguments listArguments;
  WatchArguments watchArguments;
  PortsArguments portsArguments;
  std::optional<std::chrono::seconds> deliveryWait;
  bool infoAsJson = false, deleteJoined = false;
  std::int16_t deleteIndex = 0;
  bool ussdAsJson = false;
  std::string atCommand, ussdCode;
  std::vector<std::string> ussdReplies;

  CLI::Option_group* line = AddConnectionOptions(app, connection);
  CLI::App* info = app.add_subcommand("info", "Show what modem, SIM and network say of themselves");
  info->add_flag("--json", infoAsJson, "Print JSON");
  CLI::App* send = AddSend(app, sendArguments, deliveryWait);
  CLI::App* push = AddPush(app, pushArguments);
  CLI::App* list = AddList(app, listArguments);
  CLI::App* watch = AddWatch(app, watchArguments);
  CLI::App* remove = app.add_subcommand("delete", "Delete one received message");
  remove->add_option("INDEX", deleteIndex, "Its number in the list of all messages")->type_name("")->required();
  remove->add_flag("--joined", deleteJoined, "The number is from a list with --joined");
  CLI::App* clear = app.add_subcommand("clear", "Delete all received messages");
  CLI::App* ussd = app.add_subcommand("ussd", "Send a USSD code and print what the network answers");
  ussd->add_option("CODE", ussdCode, "The code, such as '*100#'")->type_name("")->required();
  ussd->add_option("REPLY", ussdReplies, "What to reply, in the same session, to each answer that expects a reply")
      ->type_name("");
  ussd->add_flag("--json", ussdAsJson, "Print JSON");
  CLI::App* command = app.add_subcommand("command", "Send one AT command and print the answer");
  command->add_option("COMMAND", atCommand, "The command, such as AT+CSQ")->type_name("")->required();
  CLI::App* ports = AddPorts(app, portsArguments);
  ports->preparse_callback([&](std::size_t) { line->require_option(0); });

  try {
    app.parse(argc, argv);
    sendArguments.wantsReport = sendArguments.wantsReport || deliveryWait;
    if (*ports && line->count_all() > 0) throw CLI::ValidationError("ports", "it lists all devices, and takes none");
    const bool isAllMemories = connection.memory == ConnectionArguments::kAllMemories;
    if (*remove && isAllMemories) {
      throw CLI::ValidationError("--memory", "a number stands for a message of one memory: SM or ME");
    }
    if (*watch && isAllMemories) throw CLI::ValidationError("--memory", "messages come into one memory: SM or ME");
    if (connection.classic && (sendArguments.wantsReport || watchArguments.deletes)) {
      throw CLI::ValidationError("--classic",
                                 "without --report, --wait and --delete: it deletes reports unread, and "
                                 "knows messages by numbers that change");
    }
  } catch (const CLI::ParseError& error) {
    // What is wrong is shown as it was typed, or as somebody had it typed.
    std::ostringstream help, wrong;
    const int exitCode = app.exit(error, help, wrong);
    std::cout << help.str();
    std::cerr << Printable(tavro::FromUtf8(wrong.str()));
    return exitCode == 0 ? kDone : kUsage;
  }

  // Whoever types the text keeps no modem waiting, and may end the program as any other.
  if (*send && sendArguments.text == "-") sendArguments.text = ReadStandardInput();
  EndSignals::Watch();
  if (*ports) {
    ListPorts(portsArguments);
    return kDone;
  }
  Session session(connection);
  if (*info) session.Info(infoAsJson);
  if (*send) {
    const std::u16string references = session.Send(sendArguments);
    if (deliveryWait) return StatusOf(AwaitDelivery(session, references, *deliveryWait));
  }
  if (*watch) Watch(session, watchArguments);
  if (*push) session.Push(pushArguments);
  if (*list) session.List(listArguments);
  if (*remove) session.Delete(deleteIndex, deleteJoined);
  if (*clear) session.Clear();
  if (*ussd) session.Ussd(ussdCode, ussdReplies, ussdAsJson);
  if (*command) session.Command(atCommand);
  return kDone;
}

}  // namespace

int main(int argc, char** argv) {
  FillStandardStreams();
  try {
    const int exitCode = Run(argc, argv);
    if (!std::cout.flush()) throw std::runtime_error("cannot write the output");
    return exitCode;
  } catch (const std::exception& error) {
    if (const int signal = EndSignals::Received(); signal != 0) {
      std::cerr << "tavro: ended by signal " << signal << " (" << strsignal(signal) << ")\n";
      return kSignalled + signal;
    }
    std::cerr << "tavro: " << PrintableLine(std::string(error.what())) << '\n';
    return kFailed;
  }
}
