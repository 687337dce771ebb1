// The SMS-SUBMIT that carries a WAP push (3GPP TS 23.040, 9.2.2.2; WAP-259-WDP; WAP-230-WSP).
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "outgoing/service_indication.h"

namespace tavro {

inline constexpr std::size_t kMaxPushOctets = 140;

// Port header, WSP header and the indication, as hex digits.
std::string PushUserData(const ServiceIndication& indication);

// "" when the destination cannot be dialled. The user data has at most kMaxPushOctets octets.
std::string BuildPushPdu(const std::string& smscField, std::string_view destination, std::int16_t validityPeriod,
                         const std::string& userData);

}  // namespace tavro
