// All that the component asks of the operating system.
#pragma once

#include <cstdint>
#include <cstdio>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <string_view>

#include "platform/serial_driver.h"

namespace tavro {

struct LocalTime {
  int year = 1970, month = 1, day = 1, hour = 0, minute = 0, second = 0;
};

// What a path names; kOther is a device, say, or what cannot be looked at.
enum class PathKind : std::uint8_t { kMissing, kFile, kFolder, kOther };

class Platform {
 public:
  virtual ~Platform() = default;

  // Milliseconds since some start; wraps round at 32 bits and never goes back.
  virtual std::uint32_t TickCount() = 0;
  // Milliseconds since 1970-01-01 00:00 UTC; may be set forward or back at any time.
  virtual std::int64_t WallClock() = 0;
  virtual LocalTime ToLocal(std::int64_t wallClock) = 0;
  virtual void Sleep(std::uint32_t milliseconds) = 0;
  // Whether the program wants to end: every wait for the modem and every pause then ends at once, nothing more is
  // sent but what cancels a message that was begun, and the call that is under way fails.
  virtual bool IsInterrupted() { return false; }
  // How long one read of the serial line may wait, in milliseconds, so that an interruption and SerialDriver::Wake are
  // noticed in time.
  virtual std::uint32_t WaitSlice() const { return 100; }
  // Lets the window messages that are pending in this thread run, so that a host's user interface stays alive.
  virtual void PumpMessages() = 0;
  // A modal box; `style` is that of the Win32 MessageBox (16: stop icon, OK button). Returns at once, and shows
  // nothing, where there is no graphical shell; a failure is ignored.
  virtual void ShowMessageBox(std::u16string_view text, std::uint32_t style, std::u16string_view title) = 0;

  // Files, named in UTF-16. Thin calls instead of <fstream> and <filesystem>, which more than double the size of a
  // library that carries its own C++ run-time.
  // A symbolic link is kOther, unless a separator behind it asks for the folder that it names.
  virtual PathKind KindOf(std::u16string_view path) = 0;
  // Regular files alone: anything else by that name, such as a FIFO, a device or a symbolic link, is a failure, and is
  // not waited for.

  // For reading; null on failure.
  virtual std::FILE* OpenFile(std::u16string_view path) = 0;
  // Puts the content behind what the file holds or in its place, and makes the file when it is not there. Opens, writes
  // and closes it once. On POSIX only its owner can read a file that it makes. False on failure.
  virtual bool WriteToFile(std::u16string_view path, std::string_view content, bool append) = 0;
  virtual char16_t PathSeparator() const = 0;
  // The folder that the component's binary was loaded from.
  virtual std::u16string ComponentFolder() = 0;

  // Between UTF-16 and the system's 8-bit code page: the ANSI code page on Windows, UTF-8 elsewhere. What the code page
  // lacks becomes "?"; an octet that is no character of it becomes the character of the same number. Neither fails.
  virtual std::string ToCodePage(std::u16string_view text) = 0;
  virtual std::u16string FromCodePage(std::string_view text) = 0;

  virtual SerialDriver& Serial() = 0;
};

// This system's platform; the arguments as in tavro::Options.
std::shared_ptr<Platform> CreateSystemPlatform(const std::map<int, std::string>& devices,
                                               std::function<bool()> interrupted = {});

}  // namespace tavro
