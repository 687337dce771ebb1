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

#include "modem_options.h"
#include "pseudo_terminal.h"
#include "simulator/printable.h"
#include "simulator/simulated_modem.h"

namespace {

using tavro::SimulatedModem;

constexpr int kLostLineDelayMs = 200;

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
  std::string link, transcriptPath;
  ModemOptions options;
  try {
    app.add_option("--link", link, "symbolic link to the device, removed at the end")->type_name("PATH");
    app.add_option("--transcript", transcriptPath, "file that gets all bytes of both directions, with times")
        ->type_name("FILE");
    options.Describe(app);
    app.parse(argc, argv);
  } catch (const CLI::ParseError& error) {
    return app.exit(error) == 0 ? 0 : 2;
  }
  try {
    tavro::ModemSettings settings = options.Settings();
    settings.clockMs =
        std::chrono::duration_cast<std::chrono::milliseconds>(std::chrono::system_clock::now().time_since_epoch())
            .count();
    SimulatedModem modem(settings);
    options.Apply(modem);
    Transcript transcript(transcriptPath);
    const int endSignals = EndSignals();
    PseudoTerminal terminal;
    DeviceLink deviceLink(link, terminal.Path());
    std::cout << terminal.Path() << std::endl;
    Run(modem, terminal, transcript, endSignals);
    return 0;
  } catch (const std::exception& error) {
    std::cerr << "tavro-modem: " << error.what() << "\n";
    return 1;
  }
}
