// Windows as the component's platform.
#pragma once

#include <windows.h>

#include <functional>
#include <memory>
#include <string>
#include <utility>

#include "platform/platform.h"
#include "platform/serial_driver.h"

namespace tavro {

class Win32Platform : public Platform {
 public:
  explicit Win32Platform(std::unique_ptr<SerialDriver> serial, std::function<bool()> interrupted = {})
      : serial_(std::move(serial)), interrupted_(std::move(interrupted)) {}

  std::uint32_t TickCount() override { return GetTickCount(); }
  std::int64_t WallClock() override;
  LocalTime ToLocal(std::int64_t wallClock) override;
  void Sleep(std::uint32_t milliseconds) override;
  bool IsInterrupted() override { return interrupted_ && interrupted_(); }
  void PumpMessages() override;
  void ShowMessageBox(std::u16string_view text, std::uint32_t style, std::u16string_view title) override;
  PathKind KindOf(std::u16string_view path) override;
  std::FILE* OpenFile(std::u16string_view path) override;
  bool WriteToFile(std::u16string_view path, std::string_view content, bool append) override;
  char16_t PathSeparator() const override { return u'\\'; }
  std::u16string ComponentFolder() override;
  std::string ToCodePage(std::u16string_view text) override;
  std::u16string FromCodePage(std::string_view text) override;
  SerialDriver& Serial() override { return *serial_; }

 private:
  std::unique_ptr<SerialDriver> serial_;
  std::function<bool()> interrupted_;
};

// For a program that names no devices of its own: \\.\COMn alone. Carries no network with it.
std::shared_ptr<Platform> CreateComPortPlatform();

}  // namespace tavro
