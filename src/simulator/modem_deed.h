// What a simulated modem did that cannot be undone, for whoever checks that it was meant to.
#pragma once

#include <cstdint>
#include <string>

namespace tavro {

struct ModemDeed {
  enum class Kind {
    kSent,          // a message went out
    kDeleted,       // a stored message
    kAcknowledged,  // one that was given to the application directly, and is nowhere else now
  };

  Kind kind = Kind::kSent;
  std::int64_t ms = 0;
  std::string pdu;          // hexadecimal digits
  int number = 0;           // kSent: the message reference; kDeleted: the location
  std::string memory = {};  // kDeleted
};

}  // namespace tavro
