// Why a message was refused (3GPP TS 27.005, 3.2.5; 3GPP TS 24.011, 8.2.5.4; 3GPP TS 23.040, 9.2.3.22).
#pragma once

#include <optional>
#include <string_view>

namespace tavro {

struct SubmitCause {
  enum class Kind {
    kTemporary,  // trying again may help
    kPermanent,  // it will not
    kUnclear,    // the message may be out all the same
  };

  int number = -1;        // of "+CMS ERROR: 38"; -1 when the modem gave none
  std::string_view text;  // the standard's words; empty for a number that it does not have
  Kind kind = Kind::kTemporary;
};

// The cause in an answer: "ERROR", "+CMS ERROR: 38" or "+CMS ERROR: network out of order". Nothing for an answer that
// refuses nothing. What stands in quotes does not count.
std::optional<SubmitCause> SubmitCauseIn(std::string_view answer);

}  // namespace tavro
