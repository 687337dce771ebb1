// A TCP port that stands for a serial line: one client at a time, who finds the modem as the last one left it.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

#include "modem_line.h"

class TcpLine : public ModemLine {
 public:
  // Where to listen: "PORT" on 127.0.0.1, "ADDRESS:PORT", "[ADDRESS]:PORT"; port 0 is any that is free. Throws
  // std::runtime_error when the text is none of these.
  explicit TcpLine(const std::string& place);
  ~TcpLine() override;

  // "tcp://127.0.0.1:4711"
  const std::string& Address() const override { return address_; }
  // Where a new line finds the same port.
  std::string Place() const;

  // A client that ends its own side still gets the answers, until the modem has nothing more to say.
  int Data() const override { return hasEnded_ ? -1 : client_; }
  std::string Read() override;
  std::size_t Write(std::string_view bytes) override;
  void SetIdle() override;
  // Another client waits until this one has gone.
  int Events() const override { return client_ < 0 || hasEnded_ ? listener_ : -1; }
  void HandleEvent() override;

 private:
  void Drop();

  std::string address_;
  int listener_ = -1, client_ = -1;
  bool hasEnded_ = false;
};
