// The serial calls on Windows for a program that names its own devices: COM ports and modems behind a network.
#pragma once

#include <functional>
#include <map>
#include <string>

#include "platform/byte_line_driver.h"
#include "platform/win32/win32_serial_driver.h"

namespace tavro {

class Win32DeviceDriver : public SerialDriver {
 public:
  // Both as in tavro::Options; `interrupted` ends what connecting to a network waits for.
  Win32DeviceDriver(std::map<int, std::string> devices, std::function<bool()> interrupted);

  Handle Open(const std::string& name) override;
  bool Close(Handle handle) override { return For(handle).Close(handle); }
  bool SetupQueues(Handle handle, std::uint32_t inputSize, std::uint32_t outputSize) override {
    return For(handle).SetupQueues(handle, inputSize, outputSize);
  }
  bool Purge(Handle handle, std::uint32_t flags) override { return For(handle).Purge(handle, flags); }
  bool GetLineState(Handle handle, LineState& state) override { return For(handle).GetLineState(handle, state); }
  // Of the port that was used last.
  bool BuildLineState(const std::string& mode, LineState& state) override { return last_->BuildLineState(mode, state); }
  bool SetLineState(Handle handle, const LineState& state) override { return For(handle).SetLineState(handle, state); }
  bool SetTimeOuts(Handle handle, const SerialTimeOuts& timeOuts) override {
    return For(handle).SetTimeOuts(handle, timeOuts);
  }
  bool Read(Handle handle, char* buffer, std::uint32_t size, std::uint32_t& bytesRead) override {
    return For(handle).Read(handle, buffer, size, bytesRead);
  }
  bool Write(Handle handle, const char* data, std::uint32_t size, std::uint32_t& bytesWritten) override {
    return For(handle).Write(handle, data, size, bytesWritten);
  }
  void Wake() override {}  // as Win32SerialDriver
  bool TransferResult(Handle handle, std::uint32_t& transferred) override {
    return For(handle).TransferResult(handle, transferred);
  }
  bool ClearError(Handle handle, std::uint32_t& errorFlags, std::uint32_t& queued) override {
    return For(handle).ClearError(handle, errorFlags, queued);
  }
  bool GetModemStatus(Handle handle, std::uint32_t& status) override {
    return For(handle).GetModemStatus(handle, status);
  }
  bool Escape(Handle handle, std::uint32_t function) override { return For(handle).Escape(handle, function); }
  std::uint32_t LastError() const override { return last_->LastError(); }
  std::string ErrorText(std::uint32_t code) override { return network_.ErrorText(code); }

 private:
  class Network : public ByteLineDriver {
   public:
    explicit Network(const Win32DeviceDriver& owner) : owner_(owner) {}
    // The address itself.
    Handle Open(const std::string& name) override;
    void Wake() override {}

   private:
    const Win32DeviceDriver& owner_;
  };

  // Whose handle it is: the system's are multiples of four, those of the network's lines odd.
  SerialDriver& For(Handle handle);

  const std::map<int, std::string> devices_;
  const std::function<bool()> interrupted_;
  Win32SerialDriver ports_{devices_};
  Network network_{*this};
  SerialDriver* last_ = &ports_;
};

}  // namespace tavro
