#include "platform/network_address.h"

#include <charconv>
#include <utility>

#include "base/text.h"

namespace tavro {

namespace {

using Protocol = NetworkAddress::Protocol;

constexpr std::pair<std::string_view, Protocol> kSchemes[] = {{"TCP://", Protocol::kTcp},
                                                              {"RFC2217://", Protocol::kRfc2217}};

const std::pair<std::string_view, Protocol>* SchemeOf(std::string_view device) {
  for (const auto& scheme : kSchemes) {
    if (Upper(device.substr(0, scheme.first.size())) == scheme.first) return &scheme;
  }
  return nullptr;
}

bool ParsePort(std::string_view text, std::uint16_t& port) {
  const char* const end = text.data() + text.size();
  const auto result = std::from_chars(text.data(), end, port);
  return result.ec == std::errc() && result.ptr == end && port > 0;
}

bool IsNameCharacter(char c) {
  return (c >= '0' && c <= '9') || (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || c == '-' || c == '.' || c == '_';
}

bool IsName(std::string_view host) {
  for (const char c : host) {
    if (!IsNameCharacter(c)) return false;
  }
  return !host.empty();
}

// With a zone perhaps, "fe80::1%eth0"; whether it is an address the system says.
bool IsIpv6(std::string_view host) {
  for (const char c : host) {
    if (!IsNameCharacter(c) && c != ':' && c != '%') return false;
  }
  return host.find(':') != std::string_view::npos;
}

}  // namespace

bool IsNetworkAddress(std::string_view device) { return SchemeOf(device) != nullptr; }

std::optional<NetworkAddress> ParseNetworkAddress(std::string_view device) {
  const auto* scheme = SchemeOf(device);
  if (!scheme) return std::nullopt;
  device.remove_prefix(scheme->first.size());
  const auto colon = device.rfind(':');
  NetworkAddress address{scheme->second, {}, 0};
  if (colon == std::string_view::npos || !ParsePort(device.substr(colon + 1), address.port)) return std::nullopt;
  std::string_view host = device.substr(0, colon);
  const bool hasBrackets = host.size() > 2 && host.front() == '[' && host.back() == ']';
  if (hasBrackets) host = host.substr(1, host.size() - 2);
  if (!(hasBrackets ? IsIpv6(host) : IsName(host))) return std::nullopt;
  address.host = host;
  return address;
}

}  // namespace tavro
