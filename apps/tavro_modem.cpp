// A simulated GSM modem on a pseudo-terminal.
#include <poll.h>
#include <sys/signalfd.h>
#include <unistd.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdint>
#include <cstdio>
#include <exception>
#include <fstream>
#include <iostream>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <system_error>
#include <vector>

#include "pseudo_terminal.h"
#include "simulator/looped_message.h"
#include "simulator/printable.h"
#include "simulator/simulated_modem.h"

namespace {

using tavro::SimulatedModem;

constexpr int kLostLineDelayMs = 200;

struct Arguments {
  std::string link, pin, number, inbox, transcript;
  std::int64_t latencyMs = 0;
  bool keepsEcho = false;
  std::vector<std::string> faults;
};

std::string FaultList() {
  std::string text = "Faults (--fault may be given more than once; for one command the first one named counts):\n";
  for (const SimulatedModem::Fault& fault : SimulatedModem::Faults()) {
    text += "  " + std::string(fault.name);
    text.append(
        std::max<std::size_t>(21, std::string_view(fault.name).size() + 1) - std::string_view(fault.name).size(), ' ');
    text += std::string(fault.effect) + "\n";
  }
  text.pop_back();
  return text;
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

void Describe(CLI::App& app, Arguments& arguments) {
  std::vector<std::string> names;
  for (const SimulatedModem::Fault& fault : SimulatedModem::Faults()) names.emplace_back(fault.name);
  app.footer(FaultList());
  app.add_option("--link", arguments.link, "symbolic link to the device, removed at the end")->type_name("PATH");
  app.add_option("--number", arguments.number, "the SIM's own number; a message to it comes back")
      ->type_name("NUMBER")
      ->default_str(tavro::ModemSettings().ownNumber)
      ->check(CheckNumber);
  app.add_option("--pin", arguments.pin, "PIN that the SIM asks for; none by default")
      ->type_name("PIN")
      ->check(CheckPin);
  app.add_option("--inbox", arguments.inbox,
                 "file of received messages, one PDU in hexadecimal digits a line; # starts a comment")
      ->type_name("FILE");
  app.add_option("--latency", arguments.latencyMs, "milliseconds from a command to its answer")
      ->type_name("MS")
      ->check(CLI::Range(0, 600000));
  app.add_flag("--echo", arguments.keepsEcho, "keep the echo on whatever ATE says");
  app.add_option("--fault", arguments.faults, "make the modem fail, see below")
      ->type_name("NAME")
      ->allow_extra_args(false)
      ->check(CLI::IsMember(names).description(""));
  app.add_option("--transcript", arguments.transcript, "file that gets all bytes of both directions, with times")
      ->type_name("FILE");
}

// Throws std::runtime_error that names the file and the line.
void LoadInbox(SimulatedModem& modem, const std::string& path) {
  std::ifstream file(path);
  if (!file) throw std::runtime_error(path + ": cannot be read");
  std::string line;
  for (int number = 1; std::getline(file, line); ++number) {
    line.erase(std::min(line.find('#'), line.size()));
    line.erase(std::remove_if(line.begin(), line.end(), [](char c) { return c == ' ' || c == '\t' || c == '\r'; }),
               line.end());
    if (line.empty()) continue;
    const char* fault = nullptr;
    if (!tavro::OctetsFromHex(line)) {
      fault = "not pairs of hexadecimal digits";
    } else if (tavro::TpduLength(line) == 0) {
      fault = "the service centre field is longer than the PDU";
    } else if (modem.Store(line) == 0) {
      fault = "the message memory is full";
    }
    if (fault) throw std::runtime_error(path + ":" + std::to_string(number) + ": " + fault);
  }
}

class Transcript {
 public:
  explicit Transcript(const std::string& path) {
    if (path.empty()) return;
    file_.open(path);
    if (!file_) throw std::runtime_error(path + ": cannot be written");
  }
  // '>' to the modem, '<' from it; the time is in seconds from the start.
  void Note(std::int64_t ms, char direction, std::string_view bytes) {
    if (!file_.is_open() || bytes.empty()) return;
    char time[32];
    std::snprintf(time, sizeof time, "%9.3f %c ", static_cast<double>(ms) / 1000, direction);
    file_ << time << tavro::Printable(bytes) << std::endl;
  }

 private:
  std::ofstream file_;
};

// A descriptor that becomes readable when the program is to end.
int EndSignals() {
  sigset_t signals;
  sigemptyset(&signals);
  sigaddset(&signals, SIGINT);
  sigaddset(&signals, SIGTERM);
  sigaddset(&signals, SIGHUP);
  sigprocmask(SIG_BLOCK, &signals, nullptr);
  return signalfd(-1, &signals, SFD_CLOEXEC);
}

// Carries bytes between the terminal and the modem until a signal ends it or the line is lost.
void Run(SimulatedModem& modem, PseudoTerminal& terminal, Transcript& transcript, int endSignals) {
  const auto start = std::chrono::steady_clock::now();
  const auto now = [&] {
    return std::chrono::duration_cast<std::chrono::milliseconds>(std::chrono::steady_clock::now() - start).count();
  };
  std::string outgoing;  // due but not yet taken by the terminal
  while (!modem.IsLineLost() || !outgoing.empty()) {
    pollfd events[] = {{endSignals, POLLIN, 0}, {terminal.Descriptor(), POLLIN, 0}, {terminal.Closings(), POLLIN, 0}};
    int timeOut = -1;
    if (!outgoing.empty()) {
      events[1].events |= POLLOUT;
    } else if (const auto due = modem.NextOutput()) {
      timeOut = static_cast<int>(std::clamp<std::int64_t>(*due - now(), 0, 60000));
    }
    if (poll(events, 3, timeOut) < 0 && errno != EINTR) throw std::system_error(errno, std::generic_category(), "poll");
    if (events[0].revents != 0) return;
    if (events[2].revents != 0) terminal.UnlockAfterClosing();
    if ((events[1].revents & POLLIN) != 0) {
      const std::string bytes = terminal.Read();
      transcript.Note(now(), '>', bytes);
      modem.Receive(bytes, now());
    }
    if (outgoing.empty()) {
      outgoing = modem.TakeOutput(now());
      transcript.Note(now(), '<', outgoing);
    }
    if (!outgoing.empty()) outgoing.erase(0, terminal.Write(outgoing));
  }
  std::cerr << "tavro-modem: the line is lost\n";
  // Closing the terminal discards what the application has not read by then.
  pollfd end = {endSignals, POLLIN, 0};
  poll(&end, 1, kLostLineDelayMs);
}

}  // namespace

int main(int argc, char** argv) {
  CLI::App app(
      "A simulated GSM modem on a pseudo-terminal, whose path is the first line of the output.\n"
      "It runs until SIGINT or SIGTERM.",
      "tavro-modem");
  Arguments arguments;
  try {
    Describe(app, arguments);
    app.parse(argc, argv);
  } catch (const CLI::ParseError& error) {
    return app.exit(error) == 0 ? 0 : 2;
  }
  try {
    tavro::ModemSettings settings;
    settings.pin = arguments.pin;
    if (!arguments.number.empty()) settings.ownNumber = arguments.number;
    settings.latencyMs = arguments.latencyMs;
    settings.echoStuck = arguments.keepsEcho;
    settings.clockMs =
        std::chrono::duration_cast<std::chrono::milliseconds>(std::chrono::system_clock::now().time_since_epoch())
            .count();
    SimulatedModem modem(settings);
    for (const std::string& fault : arguments.faults) modem.ApplyFault(fault);
    if (!arguments.inbox.empty()) LoadInbox(modem, arguments.inbox);
    Transcript transcript(arguments.transcript);
    const int endSignals = EndSignals();
    PseudoTerminal terminal;
    DeviceLink link(arguments.link, terminal.Path());
    std::cout << terminal.Path() << std::endl;
    Run(modem, terminal, transcript, endSignals);
    return 0;
  } catch (const std::exception& error) {
    std::cerr << "tavro-modem: " << error.what() << "\n";
    return 1;
  }
}
