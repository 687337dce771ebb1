// Windows as the component's platform.
#pragma once

#include <windows.h>

#include <functional>
#include <map>
#include <string>
#include <utility>

#include "platform/platform.h"
#include "platform/win32/win32_serial_driver.h"

namespace tavro {

class Win32Platform : public Platform {
 public:
  explicit Win32Platform(const std::map<int, std::string>& devices, std::function<bool()> interrupted = {})
      : serial_(devices), interrupted_(std::move(interrupted)) {}

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
  SerialDriver& Serial() override { return serial_; }

 private:
  Win32SerialDriver serial_;
  std::function<bool()> interrupted_;
};

}  // namespace tavro
