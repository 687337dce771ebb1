// A simulated modem in a thread of its own, behind a real pseudo-terminal or a real TCP port, in real time.
#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <thread>

#include "modem_line.h"
#include "pseudo_terminal.h"
#include "simulator/simulated_modem.h"
#include "tavro/sms.h"

namespace tavro {

enum class LineKind : std::uint8_t { kTerminal, kTcp };

// The modem and its line are touched in their thread alone.
class ModemThread {
 public:
  using Clock = std::chrono::steady_clock;
  using Action = std::function<void()>;

  explicit ModemThread(LineKind kind);
  ~ModemThread();

  // Which name the device at COM1 has: a symbolic link to the pseudo-terminal, or the host 127.0.0.1.
  Options DeviceOptions() const { return {.devices = {{1, device_}}}; }

  // Runs an action in the modem's thread: so many microseconds from now, or now, which is waited for.
  void In(std::int64_t microseconds, Action action);
  void Do(const Action& action);

  // For actions alone.

  SimulatedModem& Modem() { return modem_; }
  // Milliseconds of the modem's clock.
  std::int64_t Now() const;
  // What has the line open finds it gone. The next terminal has another number, and the next listener the same port.
  void Unplug();
  void PlugIn();
  bool IsPluggedIn() const { return line_ != nullptr; }

 private:
  void Run();
  void RunActions();
  void Serve(short ready);
  int TimeOut();
  std::unique_ptr<ModemLine> MakeLine();

  const LineKind kind_;
  const std::string link_;  // where a terminal is found
  const Clock::time_point start_ = Clock::now();
  SimulatedModem modem_;
  std::unique_ptr<ModemLine> line_;   // none while the modem is unplugged
  std::unique_ptr<ModemLine> spare_;  // keeps the next terminal from having the number of the last one
  std::optional<DeviceLink> linked_;
  std::string place_;     // of the TCP port
  std::string outgoing_;  // due and not yet taken by the line
  std::string device_;

  std::mutex mutex_;
  std::multimap<Clock::time_point, Action> actions_;
  bool hasEnded_ = false;
  const int wake_;
  std::thread thread_;
};

}  // namespace tavro
