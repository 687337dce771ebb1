// Linux as the component's platform. There is no graphical shell: nothing to pump, no message boxes.
#pragma once

#include <functional>
#include <map>
#include <string>
#include <utility>

#include "platform/platform.h"
#include "platform/posix/posix_serial_driver.h"

namespace tavro {

class PosixPlatform : public Platform {
 public:
  explicit PosixPlatform(const std::map<int, std::string>& devices, std::function<bool()> interrupted = {})
      : serial_(devices, interrupted), interrupted_(std::move(interrupted)) {}

  std::uint32_t TickCount() override;
  std::int64_t WallClock() override;
  LocalTime ToLocal(std::int64_t wallClock) override;
  void Sleep(std::uint32_t milliseconds) override;
  bool IsInterrupted() override { return interrupted_ && interrupted_(); }
  // A read is woken up; only an interruption has to be asked for.
  std::uint32_t WaitSlice() const override { return interrupted_ ? 100 : 60000; }
  void PumpMessages() override {}
  void ShowMessageBox(std::u16string_view, std::uint32_t, std::u16string_view) override {}
  PathKind KindOf(std::u16string_view path) override;
  std::FILE* OpenFile(std::u16string_view path) override;
  bool WriteToFile(std::u16string_view path, std::string_view content, bool append) override;
  char16_t PathSeparator() const override { return u'/'; }
  std::u16string ComponentFolder() override;
  std::string ToCodePage(std::u16string_view text) override;
  std::u16string FromCodePage(std::string_view text) override;
  SerialDriver& Serial() override { return serial_; }

 private:
  PosixSerialDriver serial_;
  std::function<bool()> interrupted_;
};

}  // namespace tavro
