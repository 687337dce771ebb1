#include "platform/telnet_line.h"

#include <algorithm>
#include <utility>

#include "platform/line_state.h"
#include "platform/network_line.h"
#include "platform/system_errors.h"

namespace tavro {

namespace {

using Clock = std::chrono::steady_clock;
constexpr std::uint32_t kPiece = 4096;  // of a write, before its octets are doubled

}  // namespace

TelnetLine::TelnetLine(std::unique_ptr<TcpSocket> socket, WaitEnds ends)
    : SocketLine(std::move(socket), std::move(ends)),
      telnet_([this](std::string_view content) { port_.Take(content); }) {}

std::uint32_t TelnetLine::Begin() {
  using Agreement = Telnet::Agreement;
  out_ += telnet_.Opening();
  const std::uint32_t error = AwaitAnswer([this] { return telnet_.ComPort() != Agreement::kAsked; });
  if (error == kSystemErrors.timedOut || (error == 0 && telnet_.ComPort() != Agreement::kOn)) return kNoComPortControl;
  if (error != 0) return error;
  Say(ComPortControl::kLineStateMask, kLineErrorsToldOf);
  Say(ComPortControl::kModemStateMask, kModemStatesToldOf);
  return Send();
}

void TelnetLine::Say(ComPortControl::Command command, std::uint32_t value) {
  port_.Forget(command);
  out_ += Telnet::Subnegotiation(ComPortControl::Content(command, value));
}

std::uint32_t TelnetLine::AwaitAnswer(const std::function<bool()>& isDone) {
  const auto limit = Clock::now() + kAnswerLimit;
  while (true) {
    const std::uint32_t error = Exchange();
    if (isDone()) return 0;
    if (error != 0) return error;
    if (ends_.IsInterrupted()) return kSystemErrors.canceled;
    if (Clock::now() >= limit) return kSystemErrors.timedOut;
    socket_->Await(true, !out_.empty(), ends_.Slice(limit), nullptr);
  }
}

std::uint32_t TelnetLine::Write(const char* data, std::uint32_t size, std::uint32_t& count) {
  count = 0;
  if (const std::uint32_t error = Exchange()) return error;
  if (!out_.empty() || port_.IsSuspended()) return 0;
  count = std::min(size, kPiece);
  telnet_.Encode({data, count}, out_);
  return Send();
}

bool TelnetLine::Await(Direction direction, TimeLimit limit) {
  if (direction == Direction::kRead) return SocketLine::Await(direction, limit);
  if (out_.empty() && !port_.IsSuspended()) return true;
  return socket_->Await(port_.IsSuspended(), !out_.empty(), limit, nullptr);
}

std::uint32_t TelnetLine::Purge(bool received, bool written) {
  Say(ComPortControl::kPurge, (received ? 1u : 0u) | (written ? 2u : 0u));
  if (confirmsPurge_) {
    const std::uint32_t error = AwaitAnswer([this] { return port_.Answer(ComPortControl::kPurge).has_value(); });
    if (error != 0 && error != kSystemErrors.timedOut) return error;
    confirmsPurge_ = error == 0;
  }
  return SocketLine::Purge(received, written);
}

std::uint32_t TelnetLine::TakeLineErrors(std::uint32_t& flags) {
  flags = port_.TakeLineErrors();
  return 0;
}

std::uint32_t TelnetLine::SetLineState(const LineState& state) {
  const auto setting = ToComPortSetting(state);
  if (!setting) return kSystemErrors.invalidParameter;
  constexpr std::uint32_t kNoFlowControl = 1;
  Say(ComPortControl::kControl, kNoFlowControl);
  Say(ComPortControl::kBaudRate, state.baudRate);
  Say(ComPortControl::kDataSize, setting->dataSize);
  Say(ComPortControl::kParity, setting->parity);
  Say(ComPortControl::kStopSize, setting->stopSize);
  const std::uint32_t error = AwaitAnswer([this] {
    using enum ComPortControl::Command;
    return port_.Answer(kBaudRate) && port_.Answer(kDataSize) && port_.Answer(kParity) && port_.Answer(kStopSize);
  });
  if (error != 0) return error;
  if (!Confirms(state, *setting)) return kSystemErrors.invalidParameter;
  return SocketLine::SetLineState(state);
}

bool TelnetLine::Confirms(const LineState& state, const ComPortSetting& setting) const {
  return IsSameRate(*port_.Answer(ComPortControl::kBaudRate), state.baudRate) &&
         port_.Answer(ComPortControl::kDataSize) == setting.dataSize &&
         port_.Answer(ComPortControl::kParity) == setting.parity &&
         port_.Answer(ComPortControl::kStopSize) == setting.stopSize;
}

std::uint32_t TelnetLine::GetModemStatus(std::uint32_t& status) {
  const std::uint32_t error = Exchange();
  status = port_.ModemStatus().value_or(0);
  if (error != 0) return error;
  return port_.ModemStatus() ? 0 : kSystemErrors.noControlLines;
}

// The server's answer is not waited for.
std::uint32_t TelnetLine::Escape(std::uint32_t function) {
  // The functions and the values of the control command.
  constexpr std::pair<std::uint32_t, std::uint32_t> kFunctions[] = {
      {SerialDriver::kSetBreak, 5}, {SerialDriver::kClearBreak, 6}, {SerialDriver::kSetDtr, 8},
      {SerialDriver::kClearDtr, 9}, {SerialDriver::kSetRts, 11},    {SerialDriver::kClearRts, 12}};
  for (const auto& [known, value] : kFunctions) {
    if (known != function) continue;
    Say(ComPortControl::kControl, value);
    return Exchange();
  }
  return kSystemErrors.invalidParameter;
}

}  // namespace tavro
