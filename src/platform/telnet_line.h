// A serial port behind a network, with its line state and control lines: Telnet with COM port control (RFC 2217).
#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>

#include "platform/com_port_control.h"
#include "platform/socket_line.h"
#include "platform/telnet.h"

namespace tavro {

class TelnetLine : public SocketLine {
 public:
  // How long an answer of the server is waited for.
  static constexpr std::chrono::seconds kAnswerLimit{3};

  TelnetLine(std::unique_ptr<TcpSocket> socket, WaitEnds ends);

  // Agrees with the server on the protocol, before anything else. Returns 0, kNoComPortControl when the server does not
  // offer it, or the system's error number.
  std::uint32_t Begin();

  std::uint32_t Write(const char* data, std::uint32_t size, std::uint32_t& count) override;
  bool Await(Direction direction, TimeLimit limit) override;
  // The server drops its part too, within its limit; one that never says so is not waited for again.
  std::uint32_t Purge(bool received, bool written) override;
  std::uint32_t TakeLineErrors(std::uint32_t& flags) override;
  // A setting that the server does not confirm is a failure, and so is silence.
  std::uint32_t SetLineState(const LineState& state) override;
  std::uint32_t GetModemStatus(std::uint32_t& status) override;
  std::uint32_t Escape(std::uint32_t function) override;

 protected:
  void Decode(std::string_view octets, std::string& data) override { telnet_.Receive(octets, data, out_); }

 private:
  void Say(ComPortControl::Command command, std::uint32_t value);
  // Until `isDone` says so; timedOut or canceled when it does not in time.
  std::uint32_t AwaitAnswer(const std::function<bool()>& isDone);
  bool Confirms(const LineState& state, const ComPortSetting& setting) const;

  ComPortControl port_;
  Telnet telnet_;
  bool confirmsPurge_ = true;
};

}  // namespace tavro
