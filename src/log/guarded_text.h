// What a log line may show of a text that comes from outside.
#pragma once

#include <string>
#include <string_view>

#include "platform/platform.h"

namespace tavro {

// What stands for a PIN.
inline constexpr std::string_view kHiddenSecret = "****";

// Without the PINs and passwords that commands hold (3GPP TS 27.007), and with its control characters as VisibleText
// has them, in the platform's code page. AT+CPIN="1234" becomes AT+CPIN=[****].
std::string GuardedText(Platform& platform, std::string_view text);

}  // namespace tavro
