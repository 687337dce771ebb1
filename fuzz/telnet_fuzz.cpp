// Whatever comes over a Telnet connection means the same in any pieces, and what is kept of it is bounded.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>

#include "platform/com_port_control.h"
#include "platform/telnet.h"

namespace {

std::string Hear(std::string_view octets, std::size_t pieceSize) {
  std::string data, replies, contents;
  tavro::ComPortControl port;
  tavro::Telnet telnet([&](std::string_view content) {
    if (content.size() > tavro::Telnet::kLongestSubnegotiation) std::abort();
    contents.append(content).append("|");
    port.Take(content);
  });
  const std::string opening = telnet.Opening();
  for (std::size_t i = 0; i < octets.size(); i += pieceSize) {
    telnet.Receive(octets.substr(i, pieceSize), data, replies);
  }
  if (data.size() + contents.size() > 2 * octets.size() || replies.size() > octets.size()) std::abort();
  return data + "/" + replies + "/" + contents;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view octets(reinterpret_cast<const char*>(data), size);
  if (octets.size() < 2) return 0;
  const std::size_t pieceSize = 1 + static_cast<unsigned char>(octets[0]) % 7;
  if (Hear(octets.substr(1), size) != Hear(octets.substr(1), pieceSize)) std::abort();
  return 0;
}
