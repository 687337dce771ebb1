// A Linux terminal device as a line: a serial port, a USB modem, a pseudo-terminal.
#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "platform/byte_line.h"
#include "platform/posix/wake_signal.h"
#include "platform/process.h"

namespace tavro {

// Error numbers are those of errno. A device that is gone (unplugged, or a pseudo-terminal whose other side was closed)
// fails every call with EIO. In a child made by fork the destructor leaves the device to the process that opened it.
class TerminalLine : public ByteLine {
 public:
  // Opens the device, shared with nobody and in binary mode. Null on failure: EBUSY when it is in use, ENOTTY when it
  // is no terminal. The signal must outlive the line.
  static std::unique_ptr<TerminalLine> Open(const std::string& path, WakeSignal& wake, std::uint32_t& error);
  ~TerminalLine() override;

  std::uint32_t Read(char* buffer, std::uint32_t size, std::uint32_t& count) override;
  std::uint32_t Write(const char* data, std::uint32_t size, std::uint32_t& count) override;
  bool Await(Direction direction, TimeLimit limit) override;
  std::uint32_t CountQueued(std::uint32_t& count) override;
  std::uint32_t Purge(bool received, bool written) override;
  std::uint32_t TakeLineErrors(std::uint32_t& flags) override;
  std::uint32_t GetLineState(LineState& state) override;
  std::uint32_t SetLineState(const LineState& state) override;
  std::uint32_t GetModemStatus(std::uint32_t& status) override;
  std::uint32_t Escape(std::uint32_t function) override;

 private:
  // The device's own counters, which only ever grow.
  struct LineErrors {
    int overrun = 0, parity = 0, frame = 0, lineBreak = 0, bufferOverrun = 0;
  };

  TerminalLine(int device, WakeSignal& wake) : device_(device), wake_(wake), reported_(CountLineErrors()) {}
  LineErrors CountLineErrors() const;
  void DropInput();

  const int device_;
  const std::uint64_t process_ = ProcessId();
  WakeSignal& wake_;
  LineErrors reported_;  // by the last TakeLineErrors
};

}  // namespace tavro
