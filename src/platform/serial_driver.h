// The serial calls of the component, in the shape of the Win32 communications API (kernel32).
//
// Three implementations: Win32 passes the calls through; POSIX gives them the same meaning with termios and poll; the
// simulated line runs them in virtual time. Every call but LastError and ErrorText returns false on failure (Open:
// kInvalidHandle) and leaves the system's error number in LastError.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>

namespace tavro {

// The five values of COMMTIMEOUTS, in milliseconds. A read ends when it is full, when `readInterval` passes between two
// bytes, or when `readTotalMultiplier` * size + `readTotalConstant` has passed since it began. 0 switches a limit off.
// With all bits set in both total fields and a finite interval the first byte is waited for without limit, and the read
// ends at the gap. With all bits set in `readInterval` and 0 in both total fields it returns at once with what is
// there; with all bits set in `readInterval` and `readTotalMultiplier` it returns with what is there as soon as there
// is anything, after `readTotalConstant` at the latest.
struct SerialTimeOuts {
  std::uint32_t readInterval = 0;
  std::uint32_t readTotalMultiplier = 0;
  std::uint32_t readTotalConstant = 0;
  std::uint32_t writeTotalMultiplier = 0;
  std::uint32_t writeTotalConstant = 0;

  bool operator==(const SerialTimeOuts&) const = default;
};

// The device-control block (DCB) as far as the component sets it; `native` is the driver's own copy of the rest.
struct LineState {
  enum class Parity : std::uint8_t { kNone, kOdd, kEven, kMark, kSpace };
  enum class StopBits : std::uint8_t { kOne, kOneAndHalf, kTwo };

  std::uint32_t baudRate = 0;  // bits per second
  std::uint8_t dataBits = 8;
  Parity parity = Parity::kNone;
  StopBits stopBits = StopBits::kOne;
  std::array<std::byte, 64> native{};
};

class SerialDriver {
 public:
  using Handle = std::intptr_t;  // above 0 while the device is open
  static constexpr Handle kInvalidHandle = -1;

  // Flags of Purge: abort and clear, transmit and receive.
  static constexpr std::uint32_t kPurgeAll = 15;
  // Functions of Escape.
  static constexpr std::uint32_t kSetRts = 3, kClearRts = 4, kSetDtr = 5, kClearDtr = 6, kSetBreak = 8, kClearBreak = 9;
  // Error numbers that a read or write may fail with while it goes on; TransferResult then waits for its end.
  static constexpr std::uint32_t kIoIncomplete = 996, kIoPending = 997;

  virtual ~SerialDriver() = default;

  // CreateFile: opens "\\.\COMn" for reading and writing, shared with nobody.
  virtual Handle Open(const std::string& name) = 0;
  // CloseHandle.
  virtual bool Close(Handle handle) = 0;
  // SetupComm: the queues' sizes in bytes, a recommendation.
  virtual bool SetupQueues(Handle handle, std::uint32_t inputSize, std::uint32_t outputSize) = 0;
  // PurgeComm.
  virtual bool Purge(Handle handle, std::uint32_t flags) = 0;
  // GetCommState.
  virtual bool GetLineState(Handle handle, LineState& state) = 0;
  // BuildCommDCB: sets what "baud=19200 parity=N data=8 stop=1" names and leaves the rest.
  virtual bool BuildLineState(const std::string& mode, LineState& state) = 0;
  // SetCommState. A setting that the device cannot have is a failure.
  virtual bool SetLineState(Handle handle, const LineState& state) = 0;
  // SetCommTimeouts.
  virtual bool SetTimeOuts(Handle handle, const SerialTimeOuts& timeOuts) = 0;
  // ReadFile: up to `size` bytes, within the time-outs; `bytesRead` may be 0.
  virtual bool Read(Handle handle, char* buffer, std::uint32_t size, std::uint32_t& bytesRead) = 0;
  // WriteFile: `bytesWritten` falls short when the time-outs end it.
  virtual bool Write(Handle handle, const char* data, std::uint32_t size, std::uint32_t& bytesWritten) = 0;
  // From any thread: a read that waits in another one returns at once with what is there, nothing perhaps; when none
  // waits, the next that would. Several calls before that count as one. Windows, whose reads are to be short, does
  // nothing.
  virtual void Wake() = 0;
  // GetOverlappedResult, waiting: the bytes of the read or write that is pending.
  virtual bool TransferResult(Handle handle, std::uint32_t& transferred) = 0;
  // ClearCommError: the line's error flags (CE_*), and the bytes waiting in the input queue.
  virtual bool ClearError(Handle handle, std::uint32_t& errorFlags, std::uint32_t& queued) = 0;
  // GetCommModemStatus: MS_CTS_ON 16, MS_DSR_ON 32, MS_RING_ON 64, MS_RLSD_ON 128.
  virtual bool GetModemStatus(Handle handle, std::uint32_t& status) = 0;
  // EscapeCommFunction.
  virtual bool Escape(Handle handle, std::uint32_t function) = 0;

  // GetLastError, of the last call that failed.
  virtual std::uint32_t LastError() const = 0;
  // FormatMessage: the system's text for an error number, in the code page; empty when it has none.
  virtual std::string ErrorText(std::uint32_t code) = 0;
};

}  // namespace tavro
