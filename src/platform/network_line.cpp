#include "platform/network_line.h"

#include <utility>

#include "platform/network_address.h"
#include "platform/socket_line.h"
#include "platform/telnet_line.h"

namespace tavro {

std::string NetworkErrorText(std::uint32_t code) {
  switch (code) {
    case kMalformedAddress:
      return "The address is not of the form tcp://host:port or rfc2217://host:port";
    case kNoComPortControl:
      return "The server offers no COM port control (RFC 2217)";
    default:
      return {};
  }
}

std::unique_ptr<ByteLine> OpenNetworkLine(std::string_view device, const WaitEnds& ends, std::uint32_t& error) {
  const auto address = ParseNetworkAddress(device);
  error = address ? 0 : kMalformedAddress;
  auto socket = address ? TcpSocket::Connect(*address, ends, error) : nullptr;
  if (!socket) return nullptr;
  if (address->protocol == NetworkAddress::Protocol::kTcp) {
    return std::make_unique<SocketLine>(std::move(socket), ends);
  }
  auto line = std::make_unique<TelnetLine>(std::move(socket), ends);
  error = line->Begin();
  if (error != 0) return nullptr;
  return line;
}

}  // namespace tavro
