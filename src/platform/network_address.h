// A modem behind a network, as Options::devices names it.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace tavro {

struct NetworkAddress {
  enum class Protocol : std::uint8_t { kTcp, kRfc2217 };

  Protocol protocol;
  std::string host;  // a name or a numeric address, without brackets
  std::uint16_t port;
};

// Whether a device's name begins as such an address does, well formed or not.
bool IsNetworkAddress(std::string_view device);

// Nothing for a malformed one.
//
//   address = ( "tcp" / "rfc2217" ) "://" host ":" port        ; any letter case
//   host    = 1*( letter / digit / "-" / "." / "_" ) / "[" IPv6 address "]"
//   port    = "1" .. "65535"
std::optional<NetworkAddress> ParseNetworkAddress(std::string_view device);

}  // namespace tavro
