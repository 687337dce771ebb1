// The serial calls on a Linux terminal device, with the meaning that they have on Windows.
#pragma once

#include <cstdint>
#include <map>
#include <string>

#include "platform/posix/wake_signal.h"
#include "platform/serial_driver.h"

namespace tavro {

// Error numbers are those of errno. A device that is gone (unplugged, or a pseudo-terminal whose other side was closed)
// fails every call with EIO; a device that is in use fails Open with EBUSY.
//
// A transfer is never pending. A write is done when the system has taken the octets: their way over the line does not
// count into its time-out.
class PosixSerialDriver : public SerialDriver {
 public:
  // `devices` as in tavro::Options.
  explicit PosixSerialDriver(std::map<int, std::string> devices);
  ~PosixSerialDriver() override;
  PosixSerialDriver(const PosixSerialDriver&) = delete;
  PosixSerialDriver& operator=(const PosixSerialDriver&) = delete;

  Handle Open(const std::string& name) override;
  bool Close(Handle handle) override;
  bool SetupQueues(Handle handle, std::uint32_t inputSize, std::uint32_t outputSize) override;
  bool Purge(Handle handle, std::uint32_t flags) override;
  bool GetLineState(Handle handle, LineState& state) override;
  bool BuildLineState(const std::string& mode, LineState& state) override;
  bool SetLineState(Handle handle, const LineState& state) override;
  bool SetTimeOuts(Handle handle, const SerialTimeOuts& timeOuts) override;
  bool Read(Handle handle, char* buffer, std::uint32_t size, std::uint32_t& bytesRead) override;
  bool Write(Handle handle, const char* data, std::uint32_t size, std::uint32_t& bytesWritten) override;
  void Wake() override { wake_.Raise(); }
  bool TransferResult(Handle handle, std::uint32_t& transferred) override;
  bool ClearError(Handle handle, std::uint32_t& errorFlags, std::uint32_t& queued) override;
  bool GetModemStatus(Handle handle, std::uint32_t& status) override;
  bool Escape(Handle handle, std::uint32_t function) override;
  std::uint32_t LastError() const override { return lastError_; }
  std::string ErrorText(std::uint32_t code) override;

 private:
  // The device's own counters, which only ever grow.
  struct LineErrors {
    int overrun = 0, parity = 0, frame = 0, lineBreak = 0, bufferOverrun = 0;
  };
  struct Port {
    int device;
    SerialTimeOuts timeOuts;
    LineErrors reported;  // by the last ClearError
  };

  std::string DevicePath(const std::string& name) const;
  Port* Find(Handle handle);
  bool Fail(int error);
  bool FailWithErrno();
  static LineErrors CountLineErrors(int device);

  std::map<int, std::string> devices_;
  std::map<Handle, Port> ports_;
  WakeSignal wake_;
  std::uint32_t lastError_ = 0;
};

}  // namespace tavro
