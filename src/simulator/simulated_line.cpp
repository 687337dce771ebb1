#include "simulator/simulated_line.h"

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <system_error>

#include "platform/posix/files.h"
#include "platform/utf8.h"

namespace tavro {

SimulatedLine::SimulatedLine()
    : errorTexts_{{kErrorFileNotFound, "The system cannot find the file specified."},
                  {kErrorAccessDenied, "Access is denied."},
                  {kErrorInvalidHandle, "The handle is invalid."},
                  {kErrorInvalidParameter, "The parameter is incorrect."},
                  {kIoIncomplete, "Overlapped I/O event is not in a signaled state."},
                  {kIoPending, "Overlapped I/O operation is in progress."},
                  {kErrorDeviceNotConnected, "The device is not connected."}} {
  std::error_code ignored;
  componentFolder_ = FromUtf8(std::filesystem::temp_directory_path(ignored).string());
}

SimulatedLine::SimulatedLine(SimulatedModem& modem, int port) : SimulatedLine() { Attach(port, modem); }

void SimulatedLine::At(std::int64_t elapsedMs, std::function<void()> action) {
  actions_.emplace(elapsedMs * 1000, std::move(action));
}

void SimulatedLine::Attach(int port, SimulatedModem& modem) { ports_[port].modem = &modem; }

bool SimulatedLine::IsOpen(int port) const {
  const auto found = ports_.find(port);
  return found != ports_.end() && found->second.handle != kInvalidHandle;
}

void SimulatedLine::QueueInput(int port, std::string bytes) { ports_[port].input.AddArrived(std::move(bytes), nowUs_); }

void SimulatedLine::FailCall(std::string_view call, std::uint32_t error, int times, int skip) {
  faults_.push_back({std::string(call), error, times, skip});
}

void SimulatedLine::ForgetFailures() {
  faults_.clear();
  pendings_.clear();
  shortWrites_.clear();
}

void SimulatedLine::PendNext(std::string_view call, int incomplete, int skip) {
  pendings_.push_back({std::string(call), incomplete, skip});
}

void SimulatedLine::ShortenWrite(std::size_t bytes, int skip) { shortWrites_.push_back({bytes, skip}); }

std::vector<std::string> SimulatedLine::CallTexts() const {
  std::vector<std::string> texts;
  for (const Call& call : calls_) texts.push_back(call.text);
  return texts;
}

LocalTime SimulatedLine::ToLocal(std::int64_t wallClock) {
  using namespace std::chrono;
  const sys_time<milliseconds> time{milliseconds(wallClock)};
  const auto day = floor<days>(time);
  const year_month_day date(day);
  const hh_mm_ss clock(floor<seconds>(time) - day);
  return {static_cast<int>(date.year()),
          static_cast<int>(static_cast<unsigned>(date.month())),
          static_cast<int>(static_cast<unsigned>(date.day())),
          static_cast<int>(clock.hours().count()),
          static_cast<int>(clock.minutes().count()),
          static_cast<int>(clock.seconds().count())};
}

void SimulatedLine::Sleep(std::uint32_t milliseconds) { MoveTo(nowUs_ + std::int64_t{milliseconds} * 1000); }

void SimulatedLine::ShowMessageBox(std::u16string_view text, std::uint32_t style, std::u16string_view title) {
  messageBoxes_.push_back({std::u16string(text), style, std::u16string(title)});
}

std::string SimulatedLine::ToCodePage(std::u16string_view text) { return ToUtf8(text); }
std::u16string SimulatedLine::FromCodePage(std::string_view text) { return FromUtf8(text); }

void SimulatedLine::MoveTo(std::int64_t us) {
  while (!actions_.empty() && actions_.begin()->first <= us) {
    auto action = actions_.extract(actions_.begin());
    nowUs_ = std::max(nowUs_, action.key());
    action.mapped()();
  }
  nowUs_ = std::max(nowUs_, us);
}

std::int64_t SimulatedLine::CharacterUs(const Port& port) const {
  if (!characterTiming_ || port.state.baudRate == 0) return 0;
  constexpr std::int64_t kHalfStopBits[] = {2, 3, 4};
  const std::int64_t halfBits = 2 + 2 * port.state.dataBits + (port.state.parity == LineState::Parity::kNone ? 0 : 2) +
                                kHalfStopBits[static_cast<std::size_t>(port.state.stopBits)];
  return halfBits * 500000 / port.state.baudRate;
}

void SimulatedLine::Collect(Port& port) {
  if (port.IsGone()) return;  // what the modem says now is for others
  for (auto due = NextFromModem(*port.modem); due && *due * 1000 <= nowUs_; due = NextFromModem(*port.modem)) {
    port.input.Add(FromModem(*port.modem, *due), *due * 1000, CharacterUs(port), nowUs_);
  }
}

std::int64_t SimulatedLine::NextEventUs(const Port& port) {
  std::int64_t next = port.input.NextUs().value_or(kNever);
  if (const auto due = NextFromModem(*port.modem)) next = std::min(next, *due * 1000);
  return actions_.empty() ? next : std::min(next, actions_.begin()->first);
}

PathKind SimulatedLine::KindOf(std::u16string_view path) { return KindOfPath(ToUtf8(path)); }

std::FILE* SimulatedLine::OpenFile(std::u16string_view path) { return OpenRegularFile(ToUtf8(path)); }

bool SimulatedLine::WriteToFile(std::u16string_view path, std::string_view content, bool append) {
  return WriteRegularFile(ToUtf8(path), content, append);
}

}  // namespace tavro
