// The socket calls of the two systems where they differ; where they do not, their headers are what this one includes.
#pragma once

#ifdef _WIN32
#include <winsock2.h>
#include <ws2tcpip.h>
#else
#include <netdb.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>
#endif

#include <cstdint>
#include <functional>

#include "platform/byte_line.h"

namespace tavro {

class WakeSignal;  // of POSIX; null on Windows, where reads are sliced

#ifdef _WIN32
using SocketHandle = SOCKET;
#else
using SocketHandle = int;
inline constexpr SocketHandle INVALID_SOCKET = -1;
#endif

// Before the first of the calls; repeated, it does nothing. Returns the system's error number, 0 for success.
std::uint32_t StartSockets();
// Of the socket call that failed last.
std::uint32_t SocketError();
// Whether the error says that a call would have to wait, a connect() included.
bool MustWait(std::uint32_t error);
// The number, for SystemErrorText, of what getaddrinfo returned.
std::uint32_t NameError(int result);
// A socket whose calls do not wait; INVALID_SOCKET on failure. A child process does not inherit it.
SocketHandle MakeSocket(int family);
void CloseSocket(SocketHandle socket);
// Has an idle connection whose other end is gone fail after about 20 seconds. A system that cannot goes without.
void WatchPeer(SocketHandle socket);
// send() that raises no signal.
std::int64_t SendQuietly(SocketHandle socket, const char* data, std::uint32_t size);
// Waits until the socket is as asked for, or failed. False when the limit or the signal, which may be null, came first.
bool AwaitSocket(SocketHandle socket, bool readable, bool writable, TimeLimit limit, WakeSignal* wake);
// Runs the work in a thread that nobody waits for. False when there can be none.
bool RunDetached(std::function<void()> work);

}  // namespace tavro
