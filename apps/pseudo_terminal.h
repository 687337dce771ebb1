// A pseudo-terminal that stands for a serial line: bytes pass unchanged in both directions.
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

// A failing system call throws std::system_error.
class PseudoTerminal {
 public:
  PseudoTerminal() {
    master_ = Check(posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC | O_NONBLOCK), "posix_openpt");
    Check(grantpt(master_), "grantpt");
    Check(unlockpt(master_), "unlockpt");
    char name[128];
    if (const int error = ptsname_r(master_, name, sizeof name); error != 0) Throw(error, "ptsname");
    path_ = name;
    // Held open as long as we live, so that the line survives when an application closes it.
    slave_ = Check(open(name, O_RDWR | O_NOCTTY | O_CLOEXEC), name);
    termios settings{};
    Check(tcgetattr(slave_, &settings), "tcgetattr");
    cfmakeraw(&settings);
    Check(tcsetattr(slave_, TCSANOW, &settings), "tcsetattr");
    closings_ = Check(inotify_init1(IN_CLOEXEC | IN_NONBLOCK), "inotify_init1");
    Check(inotify_add_watch(closings_, name, IN_CLOSE), name);
  }
  ~PseudoTerminal() {
    close(closings_);
    close(slave_);
    close(master_);
  }
  PseudoTerminal(const PseudoTerminal&) = delete;
  PseudoTerminal& operator=(const PseudoTerminal&) = delete;

  // The device that applications open.
  const std::string& Path() const { return path_; }
  int Descriptor() const { return master_; }

  // Readable when an application has closed the terminal; UnlockAfterClosing then takes off it what would keep the next
  // one out: the exclusive mode (TIOCEXCL) of an application that was killed stays, as we hold the terminal open.
  int Closings() const { return closings_; }
  void UnlockAfterClosing() {
    alignas(inotify_event) char events[1024];
    while (read(closings_, events, sizeof events) > 0) {
    }
    ioctl(slave_, TIOCNXCL);
  }

  // What has come in; empty when nothing has.
  std::string Read() {
    char buffer[4096];
    const ssize_t count = read(master_, buffer, sizeof buffer);
    if (count < 0 && errno != EAGAIN && errno != EINTR) Throw(errno, "read");
    return count > 0 ? std::string(buffer, static_cast<std::size_t>(count)) : std::string();
  }
  // How much of it the line took at once.
  std::size_t Write(std::string_view bytes) {
    const ssize_t count = write(master_, bytes.data(), bytes.size());
    if (count < 0 && errno != EAGAIN && errno != EINTR) Throw(errno, "write");
    return count > 0 ? static_cast<std::size_t>(count) : 0;
  }

 private:
  [[noreturn]] static void Throw(int error, const std::string& what) {
    throw std::system_error(error, std::generic_category(), what);
  }
  static int Check(int result, const std::string& what) {
    if (result < 0) Throw(errno, what);
    return result;
  }

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
