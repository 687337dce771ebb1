// The serial calls of Windows, passed through.
#pragma once

#include <windows.h>

#include <map>
#include <string>

#include "platform/serial_driver.h"
#include "platform/system_errors.h"

namespace tavro {

class Win32SerialDriver : public SerialDriver {
 public:
  // `devices` as in tavro::Options.
  explicit Win32SerialDriver(std::map<int, std::string> devices);
  Win32SerialDriver(const Win32SerialDriver&) = delete;
  Win32SerialDriver& operator=(const Win32SerialDriver&) = delete;

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
  void Wake() override {}  // a read that waits is not pending: nothing could end it
  bool TransferResult(Handle handle, std::uint32_t& transferred) override;
  bool ClearError(Handle handle, std::uint32_t& errorFlags, std::uint32_t& queued) override;
  bool GetModemStatus(Handle handle, std::uint32_t& status) override;
  bool Escape(Handle handle, std::uint32_t function) override;
  std::uint32_t LastError() const override { return lastError_; }
  std::string ErrorText(std::uint32_t code) override { return SystemErrorText(code); }

 private:
  // Keeps the error number of a call that failed: a later call may change the thread's own.
  bool Check(BOOL result);

  std::map<int, std::string> devices_;
  OVERLAPPED overlapped_{};  // zero-filled, without an event; shared by all reads and writes
  DWORD lastError_ = 0;
};

}  // namespace tavro
