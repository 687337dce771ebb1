// An open line to a modem as a serial driver uses it: a terminal device, or a connection through a network.
#pragma once

#include <chrono>
#include <cstdint>
#include <optional>

#include "platform/serial_driver.h"

namespace tavro {

// When a wait ends; none: without limit.
using TimeLimit = std::optional<std::chrono::steady_clock::time_point>;

// Every call but Await returns the system's error number, 0 for success. Once the line is lost, because the device was
// unplugged or the connection ended, every call that needs it fails, but the reading of what had come before. The
// destructor closes it.
class ByteLine {
 public:
  enum class Direction : std::uint8_t { kRead, kWrite };

  ByteLine() = default;
  virtual ~ByteLine() = default;
  ByteLine(const ByteLine&) = delete;
  ByteLine& operator=(const ByteLine&) = delete;

  // Neither waits; a `count` of 0 says that nothing could be moved now. `size` is not 0.
  virtual std::uint32_t Read(char* buffer, std::uint32_t size, std::uint32_t& count) = 0;
  virtual std::uint32_t Write(const char* data, std::uint32_t size, std::uint32_t& count) = 0;
  // Waits until a read or write may move something or would fail. False when the limit came first, or, of a read, when
  // the driver was woken (SerialDriver::Wake).
  virtual bool Await(Direction direction, TimeLimit limit) = 0;

  // The octets that can be read at once.
  virtual std::uint32_t CountQueued(std::uint32_t& count) = 0;
  // Drops what was received, or was written and has not gone out.
  virtual std::uint32_t Purge(bool received, bool written) = 0;
  // The line errors (CE_*) since this was asked last.
  virtual std::uint32_t TakeLineErrors(std::uint32_t& flags) = 0;
  virtual std::uint32_t GetLineState(LineState& state) = 0;
  virtual std::uint32_t SetLineState(const LineState& state) = 0;
  // As SerialDriver has them.
  virtual std::uint32_t GetModemStatus(std::uint32_t& status) = 0;
  virtual std::uint32_t Escape(std::uint32_t function) = 0;
};

}  // namespace tavro
