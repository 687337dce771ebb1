#include "platform/sockets.h"

#include <mstcpip.h>
#include <process.h>
#include <windows.h>

#include <algorithm>
#include <chrono>
#include <memory>
#include <utility>

namespace tavro {

namespace {

unsigned __stdcall RunWork(void* argument) {
  const std::unique_ptr<std::function<void()>> work(static_cast<std::function<void()>*>(argument));
  (*work)();
  return 0;
}

}  // namespace

// Never ended: the system does it with the process.
std::uint32_t StartSockets() {
  static const int result = [] {
    WSADATA data{};
    return WSAStartup(MAKEWORD(2, 2), &data);
  }();
  return static_cast<std::uint32_t>(result);
}

std::uint32_t SocketError() { return static_cast<std::uint32_t>(WSAGetLastError()); }

bool MustWait(std::uint32_t error) { return error == WSAEWOULDBLOCK; }

std::uint32_t NameError(int result) { return static_cast<std::uint32_t>(result); }

SocketHandle MakeSocket(int family) {
  const SOCKET made =
      WSASocketW(family, SOCK_STREAM, IPPROTO_TCP, nullptr, 0, WSA_FLAG_OVERLAPPED | WSA_FLAG_NO_HANDLE_INHERIT);
  u_long on = 1;
  if (made != INVALID_SOCKET) ioctlsocket(made, FIONBIO, &on);
  return made;
}

void CloseSocket(SocketHandle socket) { closesocket(socket); }

void WatchPeer(SocketHandle socket) {
  tcp_keepalive values{1, 10000, 1000};  // on; ms until the first probe and between the ten that follow
  DWORD size = 0;
  WSAIoctl(socket, SIO_KEEPALIVE_VALS, &values, sizeof values, nullptr, 0, &size, nullptr, nullptr);
}

std::int64_t SendQuietly(SocketHandle socket, const char* data, std::uint32_t size) {
  return send(socket, data, static_cast<int>(size), 0);
}

// Not WSAPoll, which before Windows 10 does not tell that a connection failed.
bool AwaitSocket(SocketHandle socket, bool readable, bool writable, TimeLimit limit, WakeSignal* /*wake*/) {
  fd_set read{}, write{}, failed{};
  if (readable) FD_SET(socket, &read);
  if (writable) FD_SET(socket, &write);
  FD_SET(socket, &failed);
  timeval remaining{};
  if (limit) {
    using std::chrono::microseconds;
    const auto left = std::chrono::ceil<microseconds>(*limit - std::chrono::steady_clock::now()).count();
    if (left <= 0) return false;
    remaining.tv_sec = static_cast<long>(std::min<long long>(left / 1000000, 1000000));
    remaining.tv_usec = static_cast<long>(left % 1000000);
  }
  return select(0, &read, &write, &failed, limit ? &remaining : nullptr) != 0;
}

bool RunDetached(std::function<void()> work) {
  auto copy = std::make_unique<std::function<void()>>(std::move(work));
  const auto thread = reinterpret_cast<HANDLE>(_beginthreadex(nullptr, 0, RunWork, copy.get(), 0, nullptr));
  if (!thread) return false;
  copy.release();
  CloseHandle(thread);
  return true;
}

}  // namespace tavro
