// A TCP connection, which never waits but where it says so.
#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>

#include "platform/byte_line.h"
#include "platform/network_address.h"

namespace tavro {

class WakeSignal;

// What ends a wait before its time: the program that wants to end (may be empty), and, of a read, a signal (may be
// null).
struct WaitEnds {
  std::function<bool()> interrupted;
  WakeSignal* wake = nullptr;

  bool IsInterrupted() const { return interrupted && interrupted(); }
  // How long a wait may last before `interrupted` is to be asked again.
  TimeLimit Slice(TimeLimit limit) const;
};

class TcpSocket {
 public:
  // How long connecting may take, the look-up of the name included.
  static constexpr std::chrono::seconds kConnectLimit{10};

  // Tries every address of the host. Null on failure, with the system's error number: that of the last address, or of
  // the name.
  static std::unique_ptr<TcpSocket> Connect(const NetworkAddress& address, const WaitEnds& ends, std::uint32_t& error);
  ~TcpSocket();
  TcpSocket(const TcpSocket&) = delete;
  TcpSocket& operator=(const TcpSocket&) = delete;

  // As ByteLine has them. A connection that the other end closed fails as a device that is gone.
  std::uint32_t Read(char* buffer, std::uint32_t size, std::uint32_t& count);
  std::uint32_t Write(const char* data, std::uint32_t size, std::uint32_t& count);
  // Waits until the socket is as asked for, or failed. False when the limit or the signal came first.
  bool Await(bool readable, bool writable, TimeLimit limit, WakeSignal* wake);

 private:
  explicit TcpSocket(std::intptr_t handle) : handle_(handle) {}

  const std::intptr_t handle_;
};

}  // namespace tavro
