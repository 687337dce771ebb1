// The serial calls on lines that only move octets: the time-outs of Windows, and whose handle is whose.
#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <string>

#include "platform/byte_line.h"
#include "platform/serial_driver.h"

namespace tavro {

// Handles are odd. A transfer is never pending. A write is done when the system has taken the octets: their way over
// the line does not count into its time-out.
class ByteLineDriver : public SerialDriver {
 public:
  bool Close(Handle handle) override;
  bool SetupQueues(Handle handle, std::uint32_t inputSize, std::uint32_t outputSize) override;
  bool Purge(Handle handle, std::uint32_t flags) override;
  bool GetLineState(Handle handle, LineState& state) override;
  bool BuildLineState(const std::string& mode, LineState& state) override;
  bool SetLineState(Handle handle, const LineState& state) override;
  bool SetTimeOuts(Handle handle, const SerialTimeOuts& timeOuts) override;
  bool Read(Handle handle, char* buffer, std::uint32_t size, std::uint32_t& bytesRead) override;
  bool Write(Handle handle, const char* data, std::uint32_t size, std::uint32_t& bytesWritten) override;
  bool TransferResult(Handle handle, std::uint32_t& transferred) override;
  bool ClearError(Handle handle, std::uint32_t& errorFlags, std::uint32_t& queued) override;
  bool GetModemStatus(Handle handle, std::uint32_t& status) override;
  bool Escape(Handle handle, std::uint32_t function) override;
  std::uint32_t LastError() const override { return lastError_; }
  std::string ErrorText(std::uint32_t code) override;

 protected:
  // The handle of a line that was opened; kInvalidHandle, with the error kept, when there is none.
  Handle Keep(std::unique_ptr<ByteLine> line, std::uint32_t error);

 private:
  struct Port {
    std::unique_ptr<ByteLine> line;
    SerialTimeOuts timeOuts;
  };

  Port* Find(Handle handle);
  // Keeps the error of a call; whether there was none.
  bool Check(std::uint32_t error);

  std::map<Handle, Port> ports_;
  Handle nextHandle_ = 1;
  std::uint32_t lastError_ = 0;
};

}  // namespace tavro
