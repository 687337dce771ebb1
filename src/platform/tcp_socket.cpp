#include "platform/tcp_socket.h"

#include <algorithm>
#include <condition_variable>
#include <mutex>
#include <string>
#include <utility>

#include "platform/sockets.h"
#include "platform/system_errors.h"

namespace tavro {

namespace {

using Clock = std::chrono::steady_clock;
constexpr std::chrono::milliseconds kSlice{50};  // how late an interruption may be noticed

struct FreeAddresses {
  void operator()(addrinfo* list) const { freeaddrinfo(list); }
};
using Addresses = std::unique_ptr<addrinfo, FreeAddresses>;

// Returns the error number.
std::uint32_t LookUp(const std::string& host, const std::string& port, int flags, Addresses& addresses) {
  addrinfo hints{}, *list = nullptr;
  hints.ai_family = AF_UNSPEC;
  hints.ai_socktype = SOCK_STREAM;
  hints.ai_flags = flags | AI_NUMERICSERV;
  const int result = getaddrinfo(host.c_str(), port.c_str(), &hints, &list);
  if (result != 0) return NameError(result);
  addresses.reset(list);
  return 0;
}

// A look-up in a thread of its own, as nothing can end one: it may take longer than anybody wants to wait.
struct NameQuery {
  std::string host, port;
  std::mutex mutex;
  std::condition_variable ended;
  bool hasEnded = false;
  std::uint32_t error = 0;
  Addresses addresses;

  void Run() {
    Addresses found;
    const std::uint32_t result = LookUp(host, port, 0, found);
    const std::lock_guard lock(mutex);
    error = result;
    addresses = std::move(found);
    hasEnded = true;
    ended.notify_all();
  }
};

std::uint32_t FindAddresses(const NetworkAddress& address, Clock::time_point limit, const WaitEnds& ends,
                            Addresses& addresses) {
  const std::string port = std::to_string(address.port);
  if (LookUp(address.host, port, AI_NUMERICHOST, addresses) == 0) return 0;
  const auto query = std::make_shared<NameQuery>();
  query->host = address.host;
  query->port = port;
  if (!RunDetached([query] { query->Run(); })) return LookUp(address.host, port, 0, addresses);
  std::unique_lock lock(query->mutex);
  while (!query->hasEnded) {
    if (ends.IsInterrupted()) return kSystemErrors.canceled;
    if (Clock::now() >= limit) return kSystemErrors.timedOut;
    query->ended.wait_until(lock, std::min(limit, Clock::now() + kSlice));
  }
  addresses = std::move(query->addresses);
  return query->error;
}

// The connection's own error once it has been made or has failed.
std::uint32_t ConnectionError(SocketHandle socket) {
  int error = 0;
  socklen_t size = sizeof error;
  const bool known = getsockopt(socket, SOL_SOCKET, SO_ERROR, reinterpret_cast<char*>(&error), &size) == 0;
  return known ? static_cast<std::uint32_t>(error) : SocketError();
}

std::uint32_t ConnectTo(const addrinfo& address, SocketHandle socket, Clock::time_point limit, const WaitEnds& ends) {
  if (connect(socket, address.ai_addr, static_cast<socklen_t>(address.ai_addrlen)) == 0) return 0;
  if (const std::uint32_t error = SocketError(); !MustWait(error)) return error;
  while (!AwaitSocket(socket, false, true, ends.Slice(limit), nullptr)) {
    if (ends.IsInterrupted()) return kSystemErrors.canceled;
    if (Clock::now() >= limit) return kSystemErrors.timedOut;
  }
  return ConnectionError(socket);
}

}  // namespace

TimeLimit WaitEnds::Slice(TimeLimit limit) const {
  const auto next = Clock::now() + kSlice;
  return interrupted && (!limit || *limit > next) ? next : limit;
}

std::unique_ptr<TcpSocket> TcpSocket::Connect(const NetworkAddress& address, const WaitEnds& ends,
                                              std::uint32_t& error) {
  const auto limit = Clock::now() + kConnectLimit;
  Addresses addresses;
  error = StartSockets();
  if (error == 0) error = FindAddresses(address, limit, ends, addresses);
  if (error != 0) return nullptr;
  int left = 0;
  for (const addrinfo* candidate = addresses.get(); candidate; candidate = candidate->ai_next) ++left;
  for (const addrinfo* candidate = addresses.get(); candidate; candidate = candidate->ai_next, --left) {
    const SocketHandle handle = MakeSocket(candidate->ai_family);
    if (handle == INVALID_SOCKET) {
      error = SocketError();
      continue;
    }
    std::unique_ptr<TcpSocket> socket(new TcpSocket(static_cast<std::intptr_t>(handle)));
    // One that does not answer leaves time for the others.
    const auto share = (limit - Clock::now()) / left;
    error = ConnectTo(*candidate, handle, Clock::now() + share, ends);
    if (error == kSystemErrors.canceled) return nullptr;
    if (error != 0) continue;
    constexpr int kOn = 1;
    setsockopt(handle, IPPROTO_TCP, TCP_NODELAY, reinterpret_cast<const char*>(&kOn), sizeof kOn);
    WatchPeer(handle);
    return socket;
  }
  return nullptr;
}

TcpSocket::~TcpSocket() { CloseSocket(static_cast<SocketHandle>(handle_)); }

std::uint32_t TcpSocket::Read(char* buffer, std::uint32_t size, std::uint32_t& count) {
  count = 0;
  const auto result = recv(static_cast<SocketHandle>(handle_), buffer, size, 0);
  if (result == 0) return kSystemErrors.deviceGone;
  if (result < 0) return MustWait(SocketError()) ? 0 : SocketError();
  count = static_cast<std::uint32_t>(result);
  return 0;
}

std::uint32_t TcpSocket::Write(const char* data, std::uint32_t size, std::uint32_t& count) {
  count = 0;
  const auto result = SendQuietly(static_cast<SocketHandle>(handle_), data, size);
  if (result < 0) return MustWait(SocketError()) ? 0 : SocketError();
  count = static_cast<std::uint32_t>(result);
  return 0;
}

bool TcpSocket::Await(bool readable, bool writable, TimeLimit limit, WakeSignal* wake) {
  return AwaitSocket(static_cast<SocketHandle>(handle_), readable, writable, limit, wake);
}

}  // namespace tavro
