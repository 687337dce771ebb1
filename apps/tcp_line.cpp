#include "tcp_line.h"

#include <fcntl.h>
#include <netdb.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <stdexcept>
#include <utility>

#include "modem_setting.h"
#include "system_call.h"

namespace {

constexpr std::string_view kScheme = "tcp://", kLocal = "127.0.0.1";

// The address and the port.
std::pair<std::string, std::string> Split(const std::string& place) {
  const std::size_t colon = place.rfind(':');
  if (colon == std::string::npos) return {std::string(kLocal), place};
  std::string address = place.substr(0, colon);
  if (address.starts_with('[') && address.ends_with(']')) address = address.substr(1, address.size() - 2);
  return {std::move(address), place.substr(colon + 1)};
}

std::string NameOf(int socket) {
  sockaddr_storage name{};
  socklen_t size = sizeof name;
  CheckCall(getsockname(socket, reinterpret_cast<sockaddr*>(&name), &size), "getsockname");
  char host[128], port[16];
  getnameinfo(reinterpret_cast<sockaddr*>(&name), size, host, sizeof host, port, sizeof port,
              NI_NUMERICHOST | NI_NUMERICSERV);
  return (name.ss_family == AF_INET6 ? "[" + std::string(host) + "]" : host) + ":" + port;
}

}  // namespace

TcpLine::TcpLine(const std::string& place) {
  const auto [host, port] = Split(place);
  const std::optional<int> number = NumberFrom<int>(port);
  if (!number || *number > 65535) throw std::runtime_error(place + ": not a port from 0 to 65535");
  addrinfo hints{};
  hints.ai_flags = AI_NUMERICSERV | AI_PASSIVE;
  hints.ai_socktype = SOCK_STREAM;
  addrinfo* found = nullptr;
  if (const int error = getaddrinfo(host.empty() ? nullptr : host.c_str(), port.c_str(), &hints, &found); error != 0) {
    throw std::runtime_error(place + ": " + gai_strerror(error));
  }
  listener_ = socket(found->ai_family, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
  const int on = 1;
  const bool isListening = listener_ >= 0 && setsockopt(listener_, SOL_SOCKET, SO_REUSEADDR, &on, sizeof on) == 0 &&
                           bind(listener_, found->ai_addr, found->ai_addrlen) == 0 && listen(listener_, 4) == 0;
  const int error = errno;
  freeaddrinfo(found);
  if (!isListening) {
    if (listener_ >= 0) close(listener_);
    ThrowSystemError(error, place);
  }
  address_ = std::string(kScheme) + NameOf(listener_);
}

TcpLine::~TcpLine() {
  Drop();
  close(listener_);
}

std::string TcpLine::Place() const { return address_.substr(kScheme.size()); }

std::string TcpLine::Read() {
  char buffer[4096];
  const ssize_t count = recv(client_, buffer, sizeof buffer, 0);
  if (count > 0) return {buffer, static_cast<std::size_t>(count)};
  if (count == 0) {
    hasEnded_ = true;
  } else if (errno != EAGAIN && errno != EINTR) {
    Drop();
  }
  return {};
}

std::size_t TcpLine::Write(std::string_view bytes) {
  if (client_ < 0) return bytes.size();
  const ssize_t count = send(client_, bytes.data(), bytes.size(), MSG_NOSIGNAL);
  if (count >= 0) return static_cast<std::size_t>(count);
  // Whether one that has ended its side will read on is not known.
  if (!hasEnded_ && (errno == EAGAIN || errno == EINTR)) return 0;
  Drop();
  return bytes.size();
}

void TcpLine::SetIdle() {
  if (hasEnded_) Drop();
}

void TcpLine::HandleEvent() {
  const int client = accept4(listener_, nullptr, nullptr, SOCK_CLOEXEC | SOCK_NONBLOCK);
  if (client < 0) return;  // gone again
  Drop();
  const int on = 1;
  setsockopt(client, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
  client_ = client;
}

void TcpLine::Drop() {
  if (client_ >= 0) close(client_);
  client_ = -1;
  hasEnded_ = false;
}
