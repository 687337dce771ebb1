// The network's answer to a USSD code as the modem gives it (3GPP TS 27.007, 7.15).
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "link/connection_state.h"

namespace tavro {

struct UssdAnswer {
  enum class Status : unsigned char { kDone, kReplyExpected, kEnded, kOtherClient, kNotSupported, kTimeOut };

  Status status = Status::kDone;
  std::string text;           // as it stands in the line, without its quotes
  std::optional<int> coding;  // cell broadcast data coding scheme, 0 to 255
};

bool IsUssdAnswer(std::string_view line);
// Nothing for a line without a status that is known.
std::optional<UssdAnswer> ReadUssdAnswer(std::string_view line);

// The text of an answer of a modem that took the code in this form, which says what its texts may be. Never fails: what
// cannot be decoded is returned as it stands there.
std::u16string UssdText(const UssdAnswer& answer, UssdForm form);

}  // namespace tavro
