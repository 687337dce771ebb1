#include "platform/byte_line_driver.h"

#include <utility>

#include "platform/line_state.h"
#include "platform/network_line.h"
#include "platform/system_errors.h"
#include "platform/timed_transfer.h"

namespace tavro {

namespace {

// The flags of PurgeComm. Nothing is ever under way that could be aborted (1 and 2).
constexpr std::uint32_t kPurgeTransmitQueue = 4, kPurgeReceiveQueue = 8;

}  // namespace

bool ByteLineDriver::Check(std::uint32_t error) {
  if (error != 0) lastError_ = error;
  return error == 0;
}

ByteLineDriver::Port* ByteLineDriver::Find(Handle handle) {
  const auto port = ports_.find(handle);
  if (port != ports_.end()) return &port->second;
  lastError_ = kSystemErrors.badHandle;
  return nullptr;
}

SerialDriver::Handle ByteLineDriver::Keep(std::unique_ptr<ByteLine> line, std::uint32_t error) {
  Check(error);
  if (!line) return kInvalidHandle;
  const Handle handle = std::exchange(nextHandle_, nextHandle_ + 2);
  ports_[handle].line = std::move(line);
  return handle;
}

bool ByteLineDriver::Close(Handle handle) {
  if (!Find(handle)) return false;
  ports_.erase(handle);
  return true;
}

// The system's queues have their own sizes.
bool ByteLineDriver::SetupQueues(Handle handle, std::uint32_t /*inputSize*/, std::uint32_t /*outputSize*/) {
  return Find(handle) != nullptr;
}

bool ByteLineDriver::Purge(Handle handle, std::uint32_t flags) {
  const Port* port = Find(handle);
  if (!port) return false;
  if (flags == 0 || (flags & ~kPurgeAll) != 0) return Check(kSystemErrors.invalidParameter);
  const bool received = (flags & kPurgeReceiveQueue) != 0, written = (flags & kPurgeTransmitQueue) != 0;
  return (!received && !written) || Check(port->line->Purge(received, written));
}

bool ByteLineDriver::GetLineState(Handle handle, LineState& state) {
  const Port* port = Find(handle);
  return port && Check(port->line->GetLineState(state));
}

bool ByteLineDriver::BuildLineState(const std::string& mode, LineState& state) {
  return ParseLineMode(mode, state) || Check(kSystemErrors.invalidParameter);
}

bool ByteLineDriver::SetLineState(Handle handle, const LineState& state) {
  const Port* port = Find(handle);
  return port && Check(port->line->SetLineState(state));
}

bool ByteLineDriver::SetTimeOuts(Handle handle, const SerialTimeOuts& timeOuts) {
  Port* port = Find(handle);
  if (!port) return false;
  port->timeOuts = timeOuts;
  return true;
}

bool ByteLineDriver::Read(Handle handle, char* buffer, std::uint32_t size, std::uint32_t& bytesRead) {
  bytesRead = 0;
  const Port* port = Find(handle);
  return port && Check(TimedRead(*port->line, port->timeOuts, buffer, size, bytesRead));
}

bool ByteLineDriver::Write(Handle handle, const char* data, std::uint32_t size, std::uint32_t& bytesWritten) {
  bytesWritten = 0;
  const Port* port = Find(handle);
  return port && Check(TimedWrite(*port->line, port->timeOuts, data, size, bytesWritten));
}

bool ByteLineDriver::TransferResult(Handle handle, std::uint32_t& transferred) {
  transferred = 0;
  return Find(handle) && Check(kSystemErrors.notSupported);
}

bool ByteLineDriver::ClearError(Handle handle, std::uint32_t& errorFlags, std::uint32_t& queued) {
  errorFlags = queued = 0;
  const Port* port = Find(handle);
  return port && Check(port->line->CountQueued(queued)) && Check(port->line->TakeLineErrors(errorFlags));
}

bool ByteLineDriver::GetModemStatus(Handle handle, std::uint32_t& status) {
  status = 0;
  const Port* port = Find(handle);
  return port && Check(port->line->GetModemStatus(status));
}

bool ByteLineDriver::Escape(Handle handle, std::uint32_t function) {
  const Port* port = Find(handle);
  return port && Check(port->line->Escape(function));
}

std::string ByteLineDriver::ErrorText(std::uint32_t code) {
  const std::string text = NetworkErrorText(code);
  return text.empty() ? SystemErrorText(code) : text;
}

}  // namespace tavro
