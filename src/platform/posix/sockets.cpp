#include "platform/sockets.h"

#include <poll.h>
#include <unistd.h>

#include <cerrno>
#include <system_error>
#include <thread>
#include <utility>

#include "platform/posix/await.h"
#include "platform/posix/name_errors.h"

namespace tavro {

std::uint32_t StartSockets() { return 0; }

std::uint32_t SocketError() { return static_cast<std::uint32_t>(errno); }

bool MustWait(std::uint32_t error) { return error == EAGAIN || error == EINPROGRESS || error == EINTR; }

std::uint32_t NameError(int result) {
  return result == EAI_SYSTEM ? SocketError() : kNameErrors + static_cast<std::uint32_t>(-result);
}

SocketHandle MakeSocket(int family) { return socket(family, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, IPPROTO_TCP); }

void CloseSocket(SocketHandle socket) { close(socket); }

void WatchPeer(SocketHandle socket) {
  // Seconds, but for the last one: milliseconds that octets may stay unacknowledged.
  constexpr std::pair<int, int> kOptions[] = {
      {TCP_KEEPIDLE, 10}, {TCP_KEEPINTVL, 5}, {TCP_KEEPCNT, 2}, {TCP_USER_TIMEOUT, 20000}};
  constexpr int kOn = 1;
  setsockopt(socket, SOL_SOCKET, SO_KEEPALIVE, &kOn, sizeof kOn);
  for (const auto& [option, value] : kOptions) setsockopt(socket, IPPROTO_TCP, option, &value, sizeof value);
}

std::int64_t SendQuietly(SocketHandle socket, const char* data, std::uint32_t size) {
  return send(socket, data, size, MSG_NOSIGNAL);
}

bool AwaitSocket(SocketHandle socket, bool readable, bool writable, TimeLimit limit, WakeSignal* wake) {
  const int events = (readable ? POLLIN : 0) | (writable ? POLLOUT : 0);
  return AwaitDescriptor(socket, static_cast<short>(events), limit, wake);
}

bool RunDetached(std::function<void()> work) {
  try {
    std::thread(std::move(work)).detach();
    return true;
  } catch (const std::system_error&) {
    return false;
  }
}

}  // namespace tavro
