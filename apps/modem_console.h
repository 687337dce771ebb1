// What a person or a script tells a simulated modem while it runs: a command a line on the standard input.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>

#include "simulator/simulated_modem.h"

class ModemConsole {
 public:
  // What the modem cannot do by itself. They may throw std::exception.
  struct Host {
    std::function<void()> unplug, plug, quit;
  };

  ModemConsole(tavro::SimulatedModem& modem, Host host);

  // Readable when a command may have come in; -1 when none can come any more, or when the terminal is another program's
  // now, as it is while we run in the background.
  int Descriptor() const;
  // In the background the terminal may become ours again, which nothing tells.
  bool IsInBackground() const { return !isClosed_ && Descriptor() < 0; }
  // Whether no command can come any more.
  bool HasEnded() const { return isClosed_; }
  // Runs the commands that have come in. What is wrong with one stands on standard error.
  void Read(std::int64_t nowMs);

 private:
  void Run(const std::string& line, std::int64_t nowMs);
  void ShowHelp() const;

  tavro::SimulatedModem& modem_;
  Host host_;
  std::string incoming_;
  bool isClosed_ = false;
};
