// What the network answered to a USSD code.
#pragma once

#include <string>

namespace tavro {

struct UssdReply {
  std::u16string text;        // may have several lines; empty when the network gave none
  bool expectsReply = false;  // the session waits for another SendUSSD, or for CancelUSSD
};

}  // namespace tavro
