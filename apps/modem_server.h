// Carries bytes between a simulated modem and whoever has its line open, in real time.
#pragma once

#include <chrono>
#include <cstdint>
#include <fstream>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "modem_console.h"
#include "modem_line.h"
#include "pseudo_terminal.h"
#include "simulator/simulated_modem.h"

class ModemServer {
 public:
  struct Places {
    std::string link;        // symbolic link to the pseudo-terminal; empty: none
    std::string tcp;         // empty: a pseudo-terminal
    std::string transcript;  // file; empty: none
  };

  // The line is there from now on; where it is stands on the standard output. Throws std::exception.
  ModemServer(tavro::SimulatedModem& modem, Places places, bool endsWithInput);
  // Until a signal or the console ends it, the standard input does where that is wanted, or a fault loses the line.
  void Run();

 private:
  void Plug();
  void Unplug();
  std::int64_t Now() const;
  // The next thing that is due, in milliseconds from now for poll().
  int TimeOut() const;
  void Receive();
  void Send();
  // '>' to the modem, '<' from it.
  void Note(char direction, std::string_view bytes);

  tavro::SimulatedModem& modem_;
  Places places_;
  const bool endsWithInput_;
  const std::chrono::steady_clock::time_point start_ = std::chrono::steady_clock::now();
  std::ofstream transcript_;
  int endSignals_;
  ModemConsole console_;
  std::unique_ptr<ModemLine> line_;  // none while the modem is unplugged
  std::optional<DeviceLink> link_;
  std::string outgoing_;  // due but not yet taken by the line
  bool hasEnded_ = false;
};
