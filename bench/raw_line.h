// A serial line without anything around it: octets go out, and an answer is what comes up to its result or prompt.
#pragma once

#include <fcntl.h>
#include <poll.h>
#include <termios.h>
#include <unistd.h>

#include <cerrno>
#include <string>
#include <string_view>
#include <system_error>

class RawLine {
 public:
  explicit RawLine(const char* device) : line_(open(device, O_RDWR | O_NOCTTY | O_CLOEXEC)) {
    termios settings{};
    if (line_ < 0 || tcgetattr(line_, &settings) != 0) Throw(device);
    cfmakeraw(&settings);
    cfsetspeed(&settings, B115200);
    if (tcsetattr(line_, TCSANOW, &settings) != 0) Throw(device);
  }
  ~RawLine() { close(line_); }
  RawLine(const RawLine&) = delete;
  RawLine& operator=(const RawLine&) = delete;

  void Write(std::string_view octets) const {
    while (!octets.empty()) {
      const ssize_t count = write(line_, octets.data(), octets.size());
      if (count < 0) Throw("write");
      octets.remove_prefix(static_cast<std::size_t>(count));
    }
  }

  // Valid until the next one.
  const std::string& ReadAnswer() {
    constexpr int kPatience = 20000;  // ms
    answer_.clear();
    while (!answer_.ends_with("\r\nOK\r\n") && !answer_.ends_with("\r\n> ")) {
      char piece[4096];
      pollfd entry{line_, POLLIN, 0};
      if (poll(&entry, 1, kPatience) <= 0) Throw("no answer");
      const ssize_t count = read(line_, piece, sizeof piece);
      if (count <= 0) Throw("read");
      answer_.append(piece, static_cast<std::size_t>(count));
    }
    return answer_;
  }

 private:
  [[noreturn]] static void Throw(const char* what) { throw std::system_error(errno, std::generic_category(), what); }

  int line_;
  std::string answer_;
};
