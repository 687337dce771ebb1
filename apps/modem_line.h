// What a simulated modem is reached by: bytes pass unchanged in both directions.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

// A failing system call throws std::system_error. The line ends with the object: what has it open finds it gone.
class ModemLine {
 public:
  virtual ~ModemLine() = default;
  ModemLine() = default;
  ModemLine(const ModemLine&) = delete;
  ModemLine& operator=(const ModemLine&) = delete;

  // What applications open.
  virtual const std::string& Address() const = 0;

  // Readable when bytes have come in, -1 while nobody can send any.
  virtual int Data() const = 0;
  // What has come in; empty when nothing has.
  virtual std::string Read() = 0;
  // How much of it the line took at once. Where nobody listens it takes everything, and it is gone.
  virtual std::size_t Write(std::string_view bytes) = 0;
  // The modem has nothing more to say for now.
  virtual void SetIdle() {}

  // Readable when an application has come or gone; HandleEvent then does what that takes.
  virtual int Events() const = 0;
  virtual void HandleEvent() = 0;
};
