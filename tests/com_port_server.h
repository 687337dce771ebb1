// Servers on the loopback interface for the tests: a plain one, and one with a serial port behind it as RFC 2217 has
// it.
#pragma once

#include <arpa/inet.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <atomic>
#include <climits>
#include <map>
#include <mutex>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

namespace tavro {

// Accepts one connection after another; each call waits five seconds at most.
class LoopbackServer {
 public:
  LoopbackServer() : listener_(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t size = sizeof address;
    auto* const generic = reinterpret_cast<sockaddr*>(&address);
    if (bind(listener_, generic, size) != 0 || listen(listener_, 1) != 0) throw std::runtime_error("no server");
    getsockname(listener_, generic, &size);
    port_ = ntohs(address.sin_port);
  }
  ~LoopbackServer() {
    Hang();
    StopListening();
  }
  LoopbackServer(const LoopbackServer&) = delete;
  LoopbackServer& operator=(const LoopbackServer&) = delete;

  std::string Address(const std::string& scheme, const std::string& host = "127.0.0.1") const {
    return scheme + "://" + host + ":" + std::to_string(port_);
  }
  bool Accept() {
    Hang();
    if (Ready(listener_)) connection_ = accept4(listener_, nullptr, nullptr, SOCK_CLOEXEC);
    return connection_ >= 0;
  }
  bool Send(const std::string& octets) {
    return send(connection_, octets.data(), octets.size(), MSG_NOSIGNAL) == static_cast<ssize_t>(octets.size());
  }
  // Some of what comes; empty when nothing does, or the other end has closed.
  std::string Receive(std::size_t most = 65536) {
    std::string buffer(most, '\0');
    const ssize_t count = Ready(connection_) ? recv(connection_, buffer.data(), most, 0) : 0;
    buffer.resize(count > 0 ? static_cast<std::size_t>(count) : 0);
    return buffer;
  }
  std::string ReceiveAll(std::size_t size) {
    std::string all;
    for (std::string piece = " "; all.size() < size && !piece.empty(); all += piece) piece = Receive(size - all.size());
    return all;
  }
  void Hang() {
    if (connection_ >= 0) close(connection_);
    connection_ = -1;
  }
  void StopListening() {
    if (listener_ >= 0) close(listener_);
    listener_ = -1;
  }

 private:
  static bool Ready(int descriptor) {
    pollfd entry{descriptor, POLLIN, 0};
    return poll(&entry, 1, 5000) > 0;
  }

  int listener_ = -1, connection_ = -1, port_ = 0;
};

// Serves one connection in a thread of its own. Written from RFC 854 and RFC 2217, and from nothing of the library's.
class ComPortServer {
 public:
  struct Behaviour {
    bool offersPort = true;  // else it refuses the option
    bool confirmsPurge = true;
    int bitsPerSecond = 0;             // what every rate becomes; 0: what is asked for
    int octetsUntilHanging = INT_MAX;  // of those that it receives
    bool sendsSingly = false;          // every octet on its own
  };

  ComPortServer() : ComPortServer(Behaviour()) {}
  explicit ComPortServer(Behaviour behaviour) : behaviour_(behaviour), thread_([this] { Serve(); }) {}
  ~ComPortServer() {
    ends_ = true;
    thread_.join();
  }

  std::string Address() const { return server_.Address("rfc2217"); }
  // What the serial port saw: its settings and lines as "5 11" (command and value), and data in quotes.
  std::vector<std::string> Seen() const {
    const std::lock_guard lock(mutex_);
    return seen_;
  }
  // Sends octets as they are.
  bool Send(const std::string& octets) {
    if (!behaviour_.sendsSingly) return server_.Send(octets);
    bool sent = true;
    for (const char octet : octets) sent = server_.Send({octet}) && sent;
    return sent;
  }

 private:
  void Serve() {
    while (!ends_ && !server_.Accept()) {
    }
    while (!ends_) {
      const std::string octet = server_.Receive(1);
      if (octet.empty() || behaviour_.octetsUntilHanging-- <= 0) break;
      Take(static_cast<unsigned char>(octet[0]));
    }
    server_.Hang();
  }

  void Take(int octet) {
    pending_ += static_cast<char>(octet);
    const auto at = [this](std::size_t i) { return static_cast<unsigned char>(pending_[i]); };
    if (at(0) != 255) {
      Note("\"" + pending_ + "\"");
    } else if (pending_.size() < 2) {
      return;
    } else if (at(1) == 250) {
      const bool ended = pending_.size() > 4 && at(pending_.size() - 1) == 240 && at(pending_.size() - 2) == 255;
      if (!ended) return;
      Obey(Single(pending_.substr(3, pending_.size() - 5)));
    } else if (at(1) == 255) {
      Note("\"\xFF\"");
    } else {
      if (pending_.size() < 3) return;
      Answer(at(1), at(2));
    }
    pending_.clear();
  }

  void Answer(int verb, int option) {
    const bool agrees = option == 0 || option == 3 || (option == 44 && behaviour_.offersPort);
    const int reply = verb == 251 ? (agrees ? 253 : 254) : (agrees ? 251 : 252);
    Send({'\xFF', static_cast<char>(reply), static_cast<char>(option)});
  }

  void Obey(const std::string& content) {
    const int command = content[0];
    unsigned value = 0;
    for (const char octet : content.substr(1)) value = value << 8 | static_cast<unsigned char>(octet);
    Note(std::to_string(command) + " " + std::to_string(value));
    if (command == 12 && !behaviour_.confirmsPurge) return;
    std::string answer = content;
    answer[0] = static_cast<char>(command + 100);
    if (command == 1 && behaviour_.bitsPerSecond > 0) {
      for (int i = 0; i < 4; ++i) {
        answer[1 + static_cast<std::size_t>(i)] = static_cast<char>(behaviour_.bitsPerSecond >> (24 - 8 * i));
      }
    }
    std::string doubled;
    for (const char octet : answer) doubled += octet == '\xFF' ? "\xFF\xFF" : std::string(1, octet);
    Send("\xFF\xFA\x2C" + doubled + "\xFF\xF0");
  }

  static std::string Single(std::string octets) {
    for (std::size_t i = 0; (i = octets.find("\xFF\xFF", i)) != std::string::npos; ++i) octets.erase(i, 1);
    return octets;
  }

  void Note(const std::string& what) {
    const std::lock_guard lock(mutex_);
    seen_.push_back(what);
  }

  Behaviour behaviour_;
  LoopbackServer server_;
  std::string pending_;
  mutable std::mutex mutex_;
  std::vector<std::string> seen_;
  std::atomic<bool> ends_ = false;
  std::thread thread_;
};

}  // namespace tavro
