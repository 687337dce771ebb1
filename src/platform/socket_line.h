// A line through a TCP connection: raw ("tcp://"), and what the lines with a protocol share.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <utility>

#include "platform/byte_line.h"
#include "platform/tcp_socket.h"

namespace tavro {

// What comes is taken from the system at once and kept here, up to some 64 KB, so that it is known when the other end
// closed the connection. A line state is kept and has no effect; there are no control lines.
class SocketLine : public ByteLine {
 public:
  SocketLine(std::unique_ptr<TcpSocket> socket, WaitEnds ends);

  std::uint32_t Read(char* buffer, std::uint32_t size, std::uint32_t& count) override;
  std::uint32_t Write(const char* data, std::uint32_t size, std::uint32_t& count) override;
  bool Await(Direction direction, TimeLimit limit) override;
  std::uint32_t CountQueued(std::uint32_t& count) override;
  std::uint32_t Purge(bool received, bool written) override;
  std::uint32_t TakeLineErrors(std::uint32_t& flags) override;
  std::uint32_t GetLineState(LineState& state) override;
  std::uint32_t SetLineState(const LineState& state) override;
  std::uint32_t GetModemStatus(std::uint32_t& status) override;
  std::uint32_t Escape(std::uint32_t function) override;

 protected:
  // What the octets that came bring: puts the data among them behind `data`, and what they are to be answered behind
  // `out_`.
  virtual void Decode(std::string_view octets, std::string& data) { data += octets; }

  // Sends what waits in `out_`, as far as the connection takes it, and takes what has come. Returns the error of a
  // connection that is lost.
  std::uint32_t Exchange();
  std::uint32_t Send();

  const std::unique_ptr<TcpSocket> socket_;
  const WaitEnds ends_;
  LineState state_;
  std::string out_;  // of the protocol, or encoded by it

 private:
  std::string in_;  // data that was not read yet
};

}  // namespace tavro
