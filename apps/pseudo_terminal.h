// A pseudo-terminal that stands for a serial line.
#pragma once

#include <fcntl.h>
#include <sys/inotify.h>
#include <sys/ioctl.h>
#include <termios.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <string_view>
#include <system_error>
#include <utility>

#include "modem_line.h"
#include "system_call.h"

class PseudoTerminal : public ModemLine {
 public:
  PseudoTerminal() {
    master_ = CheckCall(posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC | O_NONBLOCK), "posix_openpt");
    CheckCall(grantpt(master_), "grantpt");
    CheckCall(unlockpt(master_), "unlockpt");
    char name[128];
    if (const int error = ptsname_r(master_, name, sizeof name); error != 0) ThrowSystemError(error, "ptsname");
    path_ = name;
    // Held open as long as we live, so that the line survives when an application closes it.
    slave_ = CheckCall(open(name, O_RDWR | O_NOCTTY | O_CLOEXEC), name);
    termios settings{};
    CheckCall(tcgetattr(slave_, &settings), "tcgetattr");
    cfmakeraw(&settings);
    CheckCall(tcsetattr(slave_, TCSANOW, &settings), "tcsetattr");
    closings_ = CheckCall(inotify_init1(IN_CLOEXEC | IN_NONBLOCK), "inotify_init1");
    CheckCall(inotify_add_watch(closings_, name, IN_CLOSE), name);
  }
  ~PseudoTerminal() override {
    close(closings_);
    close(slave_);
    close(master_);
  }

  const std::string& Address() const override { return path_; }
  int Data() const override { return master_; }

  // An application has closed the terminal. What would keep the next one out is taken off it: the exclusive mode
  // (TIOCEXCL) of an application that was killed stays, as we hold the terminal open.
  int Events() const override { return closings_; }
  void HandleEvent() override {
    alignas(inotify_event) char events[1024];
    while (read(closings_, events, sizeof events) > 0) {
    }
    ioctl(slave_, TIOCNXCL);
  }

  std::string Read() override {
    char buffer[4096];
    const ssize_t count = read(master_, buffer, sizeof buffer);
    if (count < 0 && errno != EAGAIN && errno != EINTR) ThrowSystemError(errno, "read");
    return count > 0 ? std::string(buffer, static_cast<std::size_t>(count)) : std::string();
  }
  std::size_t Write(std::string_view bytes) override {
    const ssize_t count = write(master_, bytes.data(), bytes.size());
    if (count < 0 && errno != EAGAIN && errno != EINTR) ThrowSystemError(errno, "write");
    return count > 0 ? static_cast<std::size_t>(count) : 0;
  }

 private:
  std::string path_;
  int master_ = -1, slave_ = -1, closings_ = -1;
};

// A symbolic link that lives as long as this object. One that an earlier run left is replaced; anything else that has
// the name already is an error.
class DeviceLink {
 public:
  DeviceLink(std::filesystem::path link, const std::filesystem::path& device)
      : link_(std::move(link)), device_(device) {
    if (link_.empty()) return;
    if (std::filesystem::is_symlink(link_) && !std::filesystem::exists(link_)) std::filesystem::remove(link_);
    std::filesystem::create_symlink(device_, link_);
  }
  ~DeviceLink() {
    std::error_code ignored;
    if (!link_.empty() && std::filesystem::read_symlink(link_, ignored) == device_) {
      std::filesystem::remove(link_, ignored);
    }
  }
  DeviceLink(const DeviceLink&) = delete;
  DeviceLink& operator=(const DeviceLink&) = delete;

 private:
  std::filesystem::path link_, device_;
};
