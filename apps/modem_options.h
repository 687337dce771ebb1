// The options of tavro-modem that make the simulated modem another one.
#pragma once

#include <CLI/CLI.hpp>
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "simulator/simulated_modem.h"

class ModemOptions {
 public:
  void Describe(CLI::App& app);
  // The modem to start with. Both throw std::runtime_error that names the option and what is wrong with it.
  tavro::ModemSettings Settings() const;
  void Apply(tavro::SimulatedModem& modem) const;

 private:
  using Pair = std::pair<std::string, std::string>;

  std::string pin_, number_;
  std::int64_t latencyMs_ = 0, unsolicitedGapMs_ = 0;
  bool keepsEcho_ = false;
  std::vector<std::string> settings_, faults_, inboxes_, drafts_, waiting_;
  std::vector<Pair> answers_, answersOnce_, delays_, unsolicited_, ussd_, ussdMenus_;
  std::string earlier_;
};
