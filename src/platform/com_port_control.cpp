#include "platform/com_port_control.h"

#include <utility>

namespace tavro {

namespace {

constexpr unsigned char kFromServer = 100;
// CTS, DSR, ring and carrier: the bits are those of GetCommModemStatus; the lower ones tell what changed.
constexpr std::uint32_t kModemLines = 16 | 32 | 64 | 128;

}  // namespace

std::string ComPortControl::Content(Command command, std::uint32_t value) {
  std::string content(1, static_cast<char>(command));
  for (int shift = command == kBaudRate ? 24 : 0; shift >= 0; shift -= 8) {
    content += static_cast<char>(static_cast<unsigned char>(value >> shift));
  }
  return content;
}

void ComPortControl::Take(std::string_view content) {
  if (content.empty()) return;
  const int command = static_cast<unsigned char>(content[0]) - kFromServer;
  if (command < kBaudRate || command > kPurge) return;
  if (command == kSuspend || command == kResume) {
    isSuspended_ = command == kSuspend;
    return;
  }
  if (content.size() != (command == kBaudRate ? 5 : 2)) return;
  std::uint32_t value = 0;
  for (const char octet : content.substr(1)) value = value << 8 | static_cast<unsigned char>(octet);
  // The error bits of a line state are those of ClearCommError.
  if (command == kLineState) lineErrors_ |= value & kLineErrorsToldOf;
  if (command == kModemState) modemStatus_ = value & kModemLines;
  answers_[static_cast<std::size_t>(command)] = value;
}

std::uint32_t ComPortControl::TakeLineErrors() { return std::exchange(lineErrors_, 0); }

std::optional<ComPortSetting> ToComPortSetting(const LineState& state) {
  if (state.baudRate == 0 || state.dataBits < 5 || state.dataBits > 8) return std::nullopt;
  constexpr std::uint32_t kStopSizes[] = {1, 3, 2};  // in the order of the enumeration
  return ComPortSetting{state.dataBits, static_cast<std::uint32_t>(state.parity) + 1,
                        kStopSizes[static_cast<std::size_t>(state.stopBits)]};
}

}  // namespace tavro
