// The numbers of getaddrinfo's errors, which are not those of errno.
#pragma once

#include <cstdint>

namespace tavro {

// Theirs are below 0: EAI_NONAME, -2, is 30102.
inline constexpr std::uint32_t kNameErrors = 30100;

}  // namespace tavro
