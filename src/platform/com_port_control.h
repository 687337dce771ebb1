// The COM port control option of Telnet (RFC 2217) as the client sees it: what its subnegotiations hold.
//
//   content = command value              from the client
//   content = ( command + 100 ) value    from the server: its answer, with the value that is in force, or a notice
//   command = baud rate (1): 4 octets, the highest first, in bits per second
//           / data size (2): 5 to 8 / parity (3): 1 to 5, none, odd, even, mark, space
//           / stop size (4): 1 one, 2 two, 3 one and a half
//           / control (5): 1 no flow control, 5 break, 6 none, 8 DTR, 9 none, 11 RTS, 12 none
//           / notice of line state (6), modem state (7): 1 octet / suspend (8), resume (9): nothing
//           / mask of line states (10), modem states (11): 1 octet / purge (12): 1 received, 2 written, 3 both
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "platform/serial_driver.h"

namespace tavro {

class ComPortControl {
 public:
  enum Command : std::uint8_t {
    kBaudRate = 1,
    kDataSize = 2,
    kParity = 3,
    kStopSize = 4,
    kControl = 5,
    kLineState = 6,
    kModemState = 7,
    kSuspend = 8,
    kResume = 9,
    kLineStateMask = 10,
    kModemStateMask = 11,
    kPurge = 12,
  };

  // What the client sends in a subnegotiation.
  static std::string Content(Command command, std::uint32_t value);

  // Takes the content of a subnegotiation from the server; one that is none is passed over.
  void Take(std::string_view content);

  // The value of the last answer to a command since it was forgotten.
  std::optional<std::uint32_t> Answer(Command command) const { return answers_[command]; }
  void Forget(Command command) { answers_[command].reset(); }

  // Whether the server wants no data now.
  bool IsSuspended() const { return isSuspended_; }
  // As SerialDriver has it; nothing before the server said it.
  std::optional<std::uint32_t> ModemStatus() const { return modemStatus_; }
  // The line errors (CE_*) since this was asked last.
  std::uint32_t TakeLineErrors();

 private:
  std::array<std::optional<std::uint32_t>, kPurge + 1> answers_;
  std::optional<std::uint32_t> modemStatus_;
  std::uint32_t lineErrors_ = 0;
  bool isSuspended_ = false;
};

// Which line states and modem states are told: those that the two above know.
inline constexpr std::uint32_t kLineErrorsToldOf = 2 | 4 | 8 | 16, kModemStatesToldOf = 255;

// A line state in the numbers of the option; nothing when it has none for it.
struct ComPortSetting {
  std::uint32_t dataSize, parity, stopSize;
};
std::optional<ComPortSetting> ToComPortSetting(const LineState& state);

}  // namespace tavro
