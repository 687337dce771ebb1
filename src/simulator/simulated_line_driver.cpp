// The serial driver of the simulated line.
#include <algorithm>
#include <initializer_list>
#include <stdexcept>
#include <utility>

#include "platform/device_name.h"
#include "platform/line_state.h"
#include "simulator/printable.h"
#include "simulator/simulated_line.h"

namespace tavro {

namespace {

constexpr std::uint32_t kAllBits = 0xFFFFFFFF;
constexpr std::uint32_t kPurgeReceived = 8;

std::string Numbers(std::initializer_list<std::uint32_t> numbers) {
  std::string text;
  for (const std::uint32_t number : numbers) text += (text.empty() ? "" : " ") + std::to_string(number);
  return text;
}

// The rule that holds for this call; every rule counts the call among those that it lets pass.
template <typename Rule>
typename std::vector<Rule>::iterator NextRule(std::vector<Rule>& rules, bool (*isMeant)(const Rule&, std::string_view),
                                              std::string_view call) {
  auto next = rules.end();
  for (auto rule = rules.begin(); rule != rules.end(); ++rule) {
    if (!isMeant(*rule, call)) continue;
    if (rule->skip > 0) {
      --rule->skip;
    } else if (next == rules.end()) {
      next = rule;
    }
  }
  return next;
}

}  // namespace

void SimulatedLine::Record(std::string_view call, std::string_view arguments, std::string_view result) {
  if (!recordCalls_) return;
  std::string text(call);
  if (!arguments.empty()) text.append(" ").append(arguments);
  if (!result.empty()) text.append(" -> ").append(result);
  calls_.push_back({Elapsed(), std::move(text)});
}

SimulatedLine::Port* SimulatedLine::Find(Handle handle) {
  for (auto& [number, port] : ports_) {
    if (port.handle == handle && handle != kInvalidHandle) return &port;
  }
  return nullptr;
}

bool SimulatedLine::Fail(std::uint32_t error, std::string_view call, std::string_view arguments) {
  lastError_ = error;
  Record(call, arguments, "error " + std::to_string(error));
  return false;
}

bool SimulatedLine::FailsByRule(std::string_view call, std::string_view arguments) {
  const auto rule = NextRule<CallFault>(
      faults_, [](const CallFault& fault, std::string_view name) { return fault.call == name && fault.times != 0; },
      call);
  if (rule == faults_.end()) return false;
  if (rule->times > 0) --rule->times;
  Fail(rule->error, call, arguments);
  return true;
}

SimulatedLine::Port* SimulatedLine::Begin(std::string_view call, Handle handle, std::string_view arguments) {
  if (FailsByRule(call, arguments)) return nullptr;
  Port* port = Find(handle);
  std::uint32_t error = 0;
  if (!port) {
    error = kErrorInvalidHandle;
  } else {
    Collect(*port);
    // What arrived before the line was lost can still be read.
    const bool isReading = call == "ReadFile" || call == "ClearCommError" || call == "GetOverlappedResult";
    if (port->IsGone() && !(isReading && !port->input.IsEmpty())) error = kErrorDeviceNotConnected;
  }
  if (error == 0) return port;
  Fail(error, call, arguments);
  return nullptr;
}

bool SimulatedLine::Pass(std::string_view call, Handle handle, std::string_view arguments) {
  if (!Begin(call, handle, arguments)) return false;
  Record(call, arguments);
  return true;
}

SerialDriver::Handle SimulatedLine::Open(const std::string& name) {
  constexpr std::string_view kCall = "CreateFile";
  if (FailsByRule(kCall, name)) return kInvalidHandle;
  const auto found = name.starts_with("\\\\.\\") ? ports_.find(ComPortNumber(name)) : ports_.end();
  std::uint32_t error = 0;
  if (found == ports_.end() || !found->second.modem || found->second.modem->IsLineLost()) {
    error = kErrorFileNotFound;
  } else if (found->second.handle != kInvalidHandle) {
    error = kErrorAccessDenied;
  }
  if (error != 0) {
    Fail(error, kCall, name);
    return kInvalidHandle;
  }
  Port& port = found->second;
  port.lossesBefore = port.modem->LineLosses();
  Collect(port);
  port.input.Clear();  // what came in while nobody listened
  port.handle = nextHandle_++;
  port.state = {};
  port.state.baudRate = 9600;
  port.timeOuts = {};
  Record(kCall, name);
  return port.handle;
}

// Also of a line that is lost.
bool SimulatedLine::Close(Handle handle) {
  constexpr std::string_view kCall = "CloseHandle";
  if (FailsByRule(kCall)) return false;
  Port* port = Find(handle);
  if (!port) return Fail(kErrorInvalidHandle, kCall);
  port->handle = kInvalidHandle;
  Record(kCall, {});
  return true;
}

bool SimulatedLine::SetupQueues(Handle handle, std::uint32_t inputSize, std::uint32_t outputSize) {
  return Pass("SetupComm", handle, Numbers({inputSize, outputSize}));
}

bool SimulatedLine::Purge(Handle handle, std::uint32_t flags) {
  Port* port = Begin("PurgeComm", handle, Numbers({flags}));
  if (!port) return false;
  if ((flags & kPurgeReceived) != 0) port->input.Take(nullptr, SIZE_MAX, nowUs_);
  Record("PurgeComm", Numbers({flags}));
  return true;
}

bool SimulatedLine::GetLineState(Handle handle, LineState& state) {
  Port* port = Begin("GetCommState", handle);
  if (!port) return false;
  state = port->state;
  Record("GetCommState", {});
  return true;
}

bool SimulatedLine::BuildLineState(const std::string& mode, LineState& state) {
  constexpr std::string_view kCall = "BuildCommDCB";
  if (FailsByRule(kCall, mode)) return false;
  if (!ParseLineMode(mode, state)) return Fail(kErrorInvalidParameter, kCall, mode);
  Record(kCall, mode);
  return true;
}

bool SimulatedLine::SetLineState(Handle handle, const LineState& state) {
  constexpr std::string_view kCall = "SetCommState";
  Port* port = Begin(kCall, handle);
  if (!port) return false;
  if (state.baudRate == 0 || state.dataBits < 5 || state.dataBits > 8) return Fail(kErrorInvalidParameter, kCall);
  port->state = state;
  Record(kCall, {});
  return true;
}

bool SimulatedLine::SetTimeOuts(Handle handle, const SerialTimeOuts& timeOuts) {
  const std::string arguments =
      Numbers({timeOuts.readInterval, timeOuts.readTotalMultiplier, timeOuts.readTotalConstant,
               timeOuts.writeTotalMultiplier, timeOuts.writeTotalConstant});
  Port* port = Begin("SetCommTimeouts", handle, arguments);
  if (!port) return false;
  port->timeOuts = timeOuts;
  Record("SetCommTimeouts", arguments);
  return true;
}

bool SimulatedLine::Read(Handle handle, char* buffer, std::uint32_t size, std::uint32_t& bytesRead) {
  constexpr std::string_view kCall = "ReadFile";
  bytesRead = 0;
  const std::string arguments = Numbers({size});
  Port* port = Begin(kCall, handle, arguments);
  if (!port) return false;
  const SerialTimeOuts& limits = port->timeOuts;
  const std::size_t wanted = readLimit_ > 0 ? std::min<std::size_t>(readLimit_, size) : size;
  const bool hasTotal = limits.readTotalMultiplier != 0 || limits.readTotalConstant != 0;
  const bool hasGap = limits.readInterval != 0 && limits.readInterval != kAllBits;
  const bool isEndless = limits.readTotalMultiplier == kAllBits && limits.readTotalConstant == kAllBits;
  const bool takesWhatIsThere = limits.readInterval == kAllBits && !hasTotal;
  const bool takesAnyInTime = limits.readInterval == kAllBits && limits.readTotalMultiplier == kAllBits && !isEndless;
  const std::int64_t multiplier = takesAnyInTime ? 0 : limits.readTotalMultiplier;
  const std::int64_t totalEndUs =
      hasTotal && !isEndless ? nowUs_ + (multiplier * size + limits.readTotalConstant) * 1000 : kNever;
  std::uint32_t count = 0;
  for (std::int64_t gapEndUs = kNever;;) {
    const auto taken = static_cast<std::uint32_t>(port->input.Take(buffer + count, wanted - count, nowUs_));
    count += taken;
    if (taken > 0 && hasGap) gapEndUs = nowUs_ + std::int64_t{limits.readInterval} * 1000;
    if (count == wanted || takesWhatIsThere || (takesAnyInTime && count > 0)) break;
    if (port->IsGone()) {
      if (count == 0) return Fail(kErrorDeviceNotConnected, kCall, arguments);
      break;
    }
    if (isWoken_.exchange(false)) break;
    const std::int64_t endUs = std::min(totalEndUs, gapEndUs), nextUs = NextEventUs(*port);
    if (endUs == kNever && nextUs == kNever) throw std::logic_error("a read that nothing ends");
    MoveTo(std::min(endUs, nextUs));
    if (nextUs >= endUs) break;
    Collect(*port);
  }
  return EndTransfer(kCall, arguments, count, bytesRead);
}

std::size_t SimulatedLine::AllowedByRules(std::size_t size) {
  const auto rule = NextRule<ShortWrite>(shortWrites_, [](const ShortWrite&, std::string_view) { return true; }, {});
  if (rule == shortWrites_.end()) return size;
  size = std::min(size, rule->bytes);
  shortWrites_.erase(rule);
  return size;
}

bool SimulatedLine::Write(Handle handle, const char* data, std::uint32_t size, std::uint32_t& bytesWritten) {
  constexpr std::string_view kCall = "WriteFile";
  bytesWritten = 0;
  const std::string arguments = recordCalls_ ? Printable({data, size}) : std::string();
  Port* port = Begin(kCall, handle, arguments);
  if (!port) return false;
  const SerialTimeOuts& limits = port->timeOuts;
  std::size_t count = AllowedByRules(size);
  if (const std::int64_t characterUs = CharacterUs(*port); characterUs > 0) {
    if (limits.writeTotalMultiplier != 0 || limits.writeTotalConstant != 0) {
      const std::int64_t totalUs =
          (std::int64_t{limits.writeTotalMultiplier} * size + limits.writeTotalConstant) * 1000;
      count = std::min(count, static_cast<std::size_t>(totalUs / characterUs));
    }
    MoveTo(nowUs_ + characterUs * static_cast<std::int64_t>(count));
  }
  ToModem(*port->modem, {data, count});
  return EndTransfer(kCall, arguments, static_cast<std::uint32_t>(count), bytesWritten);
}

bool SimulatedLine::EndTransfer(std::string_view call, std::string_view arguments, std::uint32_t moved,
                                std::uint32_t& transferred) {
  const auto rule = NextRule<Pending>(
      pendings_, [](const Pending& pending, std::string_view name) { return pending.call == name; }, call);
  if (rule == pendings_.end()) {
    transferred = moved;
    Record(call, arguments, std::to_string(moved));
    return true;
  }
  incomplete_ = rule->incomplete;
  transferred_ = moved;
  pendings_.erase(rule);
  return Fail(kIoPending, call, arguments);
}

bool SimulatedLine::TransferResult(Handle handle, std::uint32_t& transferred) {
  constexpr std::string_view kCall = "GetOverlappedResult";
  transferred = 0;
  if (!Begin(kCall, handle)) return false;
  if (incomplete_ > 0) {
    --incomplete_;
    return Fail(kIoIncomplete, kCall);
  }
  transferred = transferred_;
  Record(kCall, {}, std::to_string(transferred));
  return true;
}

bool SimulatedLine::ClearError(Handle handle, std::uint32_t& errorFlags, std::uint32_t& queued) {
  errorFlags = queued = 0;
  Port* port = Begin("ClearCommError", handle);
  if (!port) return false;
  errorFlags = std::exchange(errorFlags_, 0);
  queued = static_cast<std::uint32_t>(port->input.Arrived(nowUs_));
  if (queued > 0) Record("ClearCommError", {}, std::to_string(queued));
  return true;
}

bool SimulatedLine::GetModemStatus(Handle handle, std::uint32_t& status) {
  status = 0;
  if (!Pass("GetCommModemStatus", handle)) return false;
  status = modemStatus_;
  return true;
}

bool SimulatedLine::Escape(Handle handle, std::uint32_t function) {
  return Pass("EscapeCommFunction", handle, Numbers({function}));
}

std::string SimulatedLine::ErrorText(std::uint32_t code) {
  const auto found = errorTexts_.find(code);
  return found == errorTexts_.end() ? std::string() : found->second;
}

}  // namespace tavro
