// Lines to the modems behind a network.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include "platform/byte_line.h"
#include "platform/tcp_socket.h"

namespace tavro {

// Error numbers beside the system's, and above them: the second when the server refuses or does not answer.
inline constexpr std::uint32_t kMalformedAddress = 30001, kNoComPortControl = 30002;
// Empty for another number.
std::string NetworkErrorText(std::uint32_t code);

// Connects to "tcp://host:port" or "rfc2217://host:port". Null on failure, with the number of the error.
std::unique_ptr<ByteLine> OpenNetworkLine(std::string_view device, const WaitEnds& ends, std::uint32_t& error);

}  // namespace tavro
