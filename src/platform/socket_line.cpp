#include "platform/socket_line.h"

#include <algorithm>

#include "platform/system_errors.h"

namespace tavro {

namespace {

constexpr std::uint32_t kPiece = 4096;
constexpr std::size_t kMostIn = 65536;
constexpr std::size_t kMostOut = 16384;  // so many are answers: nothing more is taken before they are sent
constexpr std::uint32_t kFirstBaudRate = 9600;

}  // namespace

SocketLine::SocketLine(std::unique_ptr<TcpSocket> socket, WaitEnds ends)
    : socket_(std::move(socket)), ends_(std::move(ends)) {
  state_.baudRate = kFirstBaudRate;
}

std::uint32_t SocketLine::Send() {
  while (!out_.empty()) {
    std::uint32_t count = 0;
    const auto size = static_cast<std::uint32_t>(std::min(out_.size(), kMostOut));
    if (const std::uint32_t error = socket_->Write(out_.data(), size, count)) return error;
    if (count == 0) break;
    out_.erase(0, count);
  }
  return 0;
}

std::uint32_t SocketLine::Exchange() {
  constexpr int kRounds = 64;  // a sender that never stops must not keep us here, whatever it sends
  char piece[kPiece];
  std::uint32_t sendError = 0;
  for (int i = 0; i < kRounds; ++i) {
    // A connection that does not take what is sent may still hold what was received.
    sendError = Send();
    if (in_.size() >= kMostIn || out_.size() >= kMostOut) break;
    std::uint32_t count = 0;
    if (const std::uint32_t error = socket_->Read(piece, sizeof piece, count)) return error;
    if (count == 0) break;
    Decode({piece, count}, in_);
  }
  return sendError;
}

std::uint32_t SocketLine::Read(char* buffer, std::uint32_t size, std::uint32_t& count) {
  const std::uint32_t error = in_.empty() ? Exchange() : 0;
  count = static_cast<std::uint32_t>(in_.copy(buffer, size));
  in_.erase(0, count);
  return count > 0 ? 0 : error;
}

std::uint32_t SocketLine::Write(const char* data, std::uint32_t size, std::uint32_t& count) {
  count = 0;
  if (const std::uint32_t error = Exchange()) return error;
  return socket_->Write(data, size, count);
}

bool SocketLine::Await(Direction direction, TimeLimit limit) {
  const bool reads = direction == Direction::kRead;
  if (reads && !in_.empty()) return true;
  return socket_->Await(reads && out_.size() < kMostOut, !reads || !out_.empty(), limit, reads ? ends_.wake : nullptr);
}

std::uint32_t SocketLine::CountQueued(std::uint32_t& count) {
  const std::uint32_t error = Exchange();
  count = static_cast<std::uint32_t>(in_.size());
  return count > 0 ? 0 : error;
}

std::uint32_t SocketLine::Purge(bool received, bool /*written*/) {
  constexpr int kRounds = 16;  // as above
  std::uint32_t error = Exchange();
  for (int i = 0; received && !in_.empty() && i < kRounds; ++i) {
    in_.clear();
    error = Exchange();
  }
  return error;
}

std::uint32_t SocketLine::TakeLineErrors(std::uint32_t& flags) {
  flags = 0;
  return 0;
}

std::uint32_t SocketLine::GetLineState(LineState& state) {
  state = state_;
  return 0;
}

std::uint32_t SocketLine::SetLineState(const LineState& state) {
  state_ = state;
  return 0;
}

std::uint32_t SocketLine::GetModemStatus(std::uint32_t& status) {
  status = 0;
  return kSystemErrors.noControlLines;
}

std::uint32_t SocketLine::Escape(std::uint32_t /*function*/) { return kSystemErrors.noControlLines; }

}  // namespace tavro
