#include "modem_console.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <exception>
#include <iostream>
#include <stdexcept>
#include <utility>

#include "modem_setting.h"
#include "simulator/looped_message.h"

namespace {

constexpr std::pair<const char*, const char*> kHelp[] = {
    {"receive NUMBER TEXT", "a message from a number or a name; TEXT knows \\n, \\\\ and \\xFE"},
    {"pdu DIGITS", "an SMS-DELIVER or SMS-STATUS-REPORT from the network"},
    {"ussd TEXT", "USSD from the network"},
    {"ussd-menu TEXT", "the same, asking for a reply"},
    {"ring [NUMBER]", "a call that rings once"},
    {"say LINE", "a line of the modem's own accord"},
    {"signal NUMBER", "what AT+CSQ says: 0 to 31, or 99"},
    {"set NAME=VALUE", "any setting of --set"},
    {"fault NAME", "any fault of --fault"},
    {"echo TEXT", "TEXT on standard error, which tells that what stands above it is done"},
    {"unplug", "the device disappears"},
    {"plug", "it appears again, switched on anew"},
    {"quit", "the program ends"},
};

// The first word, and what stands behind the blanks behind it.
std::pair<std::string, std::string> FirstWord(std::string_view text) {
  constexpr std::string_view kBlanks = " \t\r";
  const std::size_t start = std::min(text.find_first_not_of(kBlanks), text.size());
  const std::size_t end = std::min(text.find_first_of(kBlanks, start), text.size());
  const std::size_t rest = std::min(text.find_first_not_of(kBlanks, end), text.size());
  std::string behind(text.substr(rest));
  if (behind.ends_with('\r')) behind.pop_back();
  return {std::string(text.substr(start, end - start)), std::move(behind)};
}

void Need(bool holds, const std::string& what) {
  if (!holds) throw std::runtime_error(what);
}

}  // namespace

ModemConsole::ModemConsole(tavro::SimulatedModem& modem, Host host) : modem_(modem), host_(std::move(host)) {
  isClosed_ = fcntl(STDIN_FILENO, F_GETFD) < 0;
  std::signal(SIGTTIN, SIG_IGN);  // a read in the background fails in place of stopping us
}

int ModemConsole::Descriptor() const {
  if (isClosed_) return -1;
  const pid_t foreground = tcgetpgrp(STDIN_FILENO);
  return foreground < 0 || foreground == getpgrp() ? STDIN_FILENO : -1;
}

void ModemConsole::Read(std::int64_t nowMs) {
  char buffer[4096];
  const ssize_t count = read(STDIN_FILENO, buffer, sizeof buffer);
  if (count < 0 && (errno == EINTR || errno == EAGAIN || Descriptor() < 0)) return;
  isClosed_ = count <= 0;
  if (isClosed_) {
    if (!incoming_.empty()) incoming_ += '\n';  // the last line may have none
  } else {
    incoming_.append(buffer, static_cast<std::size_t>(count));
  }
  for (std::size_t end = incoming_.find('\n'); end != std::string::npos; end = incoming_.find('\n')) {
    const std::string line = incoming_.substr(0, end);
    incoming_.erase(0, end + 1);
    try {
      Run(line, nowMs);
    } catch (const std::exception& error) {
      std::cerr << "tavro-modem: " << line << ": " << error.what() << std::endl;
    }
  }
}

void ModemConsole::Run(const std::string& line, std::int64_t nowMs) {
  const auto [command, rest] = FirstWord(line);
  if (command.empty() || command.starts_with('#')) return;
  if (command == "receive") {
    const auto [number, text] = FirstWord(rest);
    Need(!text.empty(), "a number and a text are needed");
    modem_.IncomingText(number, Unescaped(text), nowMs);
  } else if (command == "pdu") {
    Need(tavro::OctetsFromHex(rest) && tavro::TpduLength(rest) > 0, "no PDU in hexadecimal digits");
    modem_.Incoming(rest, nowMs);
  } else if (command == "ussd" || command == "ussd-menu") {
    Need(!rest.empty(), "a text is needed");
    modem_.NetworkUssd(Unescaped(rest), command == "ussd-menu", nowMs);
  } else if (command == "ring") {
    modem_.Ring(rest.empty() ? "+447700900123" : rest, nowMs);
  } else if (command == "say") {
    modem_.Unsolicited(Unescaped(rest), nowMs);
  } else if (command == "signal") {
    const std::optional<int> signal = NumberFrom<int>(rest);
    Need(signal && (*signal <= 31 || *signal == 99), "a number from 0 to 31 is needed, or 99");
    modem_.Settings().signal = *signal;
  } else if (command == "set") {
    SetModemSetting(modem_.Settings(), rest);
  } else if (command == "fault") {
    Need(modem_.ApplyFault(rest), "there is no such fault");
  } else if (command == "echo") {
    std::cerr << rest << std::endl;
  } else if (command == "unplug" || command == "plug") {
    const bool plugs = command == "plug";
    Need(modem_.IsPluggedIn() != plugs, plugs ? "it is plugged in" : "it is not plugged in");
    (plugs ? host_.plug : host_.unplug)();
  } else if (command == "quit") {
    host_.quit();
  } else if (command == "help") {
    ShowHelp();
  } else {
    throw std::runtime_error("there is no such command; \"help\" lists them");
  }
}

void ModemConsole::ShowHelp() const {
  for (const auto& [name, effect] : kHelp) std::cerr << TwoColumns(name, effect);
}
