#include "platform/win32/win32_serial_driver.h"

#include <cstring>
#include <utility>

#include "platform/device_name.h"

namespace tavro {

namespace {

static_assert(sizeof(DCB) <= sizeof(LineState::native));
static_assert(PURGE_TXABORT + PURGE_RXABORT + PURGE_TXCLEAR + PURGE_RXCLEAR == SerialDriver::kPurgeAll);
// The enumerations have the values of the DCB.
static_assert(NOPARITY == static_cast<int>(LineState::Parity::kNone));
static_assert(SPACEPARITY == static_cast<int>(LineState::Parity::kSpace));
static_assert(TWOSTOPBITS == static_cast<int>(LineState::StopBits::kTwo));

HANDLE ToHandle(SerialDriver::Handle handle) { return reinterpret_cast<HANDLE>(handle); }

DCB ToDcb(const LineState& state) {
  DCB dcb;
  std::memcpy(&dcb, state.native.data(), sizeof dcb);
  dcb.DCBlength = sizeof dcb;
  dcb.BaudRate = state.baudRate;
  dcb.ByteSize = state.dataBits;
  dcb.Parity = static_cast<BYTE>(state.parity);
  dcb.StopBits = static_cast<BYTE>(state.stopBits);
  return dcb;
}

void FromDcb(const DCB& dcb, LineState& state) {
  std::memcpy(state.native.data(), &dcb, sizeof dcb);
  state.baudRate = dcb.BaudRate;
  state.dataBits = dcb.ByteSize;
  state.parity = static_cast<LineState::Parity>(dcb.Parity);
  state.stopBits = static_cast<LineState::StopBits>(dcb.StopBits);
}

}  // namespace

Win32SerialDriver::Win32SerialDriver(std::map<int, std::string> devices) : devices_(std::move(devices)) {}

bool Win32SerialDriver::Check(BOOL result) {
  if (!result) lastError_ = GetLastError();
  return result != FALSE;
}

SerialDriver::Handle Win32SerialDriver::Open(const std::string& name) {
  const std::string* named = FindNamedDevice(devices_, name);
  std::string device = named ? *named : name;
  // Without the prefix there are no ports above COM9.
  if (const int number = named ? ComPortNumber(device) : 0) device = "\\\\.\\COM" + std::to_string(number);
  const HANDLE handle = CreateFileA(device.c_str(), GENERIC_READ | GENERIC_WRITE, 0, nullptr, OPEN_EXISTING,
                                    FILE_ATTRIBUTE_NORMAL, nullptr);
  Check(handle != INVALID_HANDLE_VALUE);
  return reinterpret_cast<Handle>(handle);
}

bool Win32SerialDriver::Close(Handle handle) { return Check(CloseHandle(ToHandle(handle))); }

bool Win32SerialDriver::SetupQueues(Handle handle, std::uint32_t inputSize, std::uint32_t outputSize) {
  return Check(SetupComm(ToHandle(handle), inputSize, outputSize));
}

bool Win32SerialDriver::Purge(Handle handle, std::uint32_t flags) { return Check(PurgeComm(ToHandle(handle), flags)); }

bool Win32SerialDriver::GetLineState(Handle handle, LineState& state) {
  DCB dcb{};
  dcb.DCBlength = sizeof dcb;
  if (!Check(GetCommState(ToHandle(handle), &dcb))) return false;
  FromDcb(dcb, state);
  return true;
}

bool Win32SerialDriver::BuildLineState(const std::string& mode, LineState& state) {
  DCB dcb = ToDcb(state);
  if (!Check(BuildCommDCBA(mode.c_str(), &dcb))) return false;
  FromDcb(dcb, state);
  return true;
}

bool Win32SerialDriver::SetLineState(Handle handle, const LineState& state) {
  DCB dcb = ToDcb(state);
  return Check(SetCommState(ToHandle(handle), &dcb));
}

bool Win32SerialDriver::SetTimeOuts(Handle handle, const SerialTimeOuts& timeOuts) {
  COMMTIMEOUTS values{timeOuts.readInterval, timeOuts.readTotalMultiplier, timeOuts.readTotalConstant,
                      timeOuts.writeTotalMultiplier, timeOuts.writeTotalConstant};
  return Check(SetCommTimeouts(ToHandle(handle), &values));
}

bool Win32SerialDriver::Read(Handle handle, char* buffer, std::uint32_t size, std::uint32_t& bytesRead) {
  DWORD count = 0;
  const bool done = Check(ReadFile(ToHandle(handle), buffer, size, &count, &overlapped_));
  bytesRead = count;
  return done;
}

bool Win32SerialDriver::Write(Handle handle, const char* data, std::uint32_t size, std::uint32_t& bytesWritten) {
  DWORD count = 0;
  const bool done = Check(WriteFile(ToHandle(handle), data, size, &count, &overlapped_));
  bytesWritten = count;
  return done;
}

bool Win32SerialDriver::TransferResult(Handle handle, std::uint32_t& transferred) {
  DWORD count = 0;
  const bool done = Check(GetOverlappedResult(ToHandle(handle), &overlapped_, &count, TRUE));
  transferred = count;
  return done;
}

bool Win32SerialDriver::ClearError(Handle handle, std::uint32_t& errorFlags, std::uint32_t& queued) {
  DWORD flags = 0;
  COMSTAT status{};
  const bool done = Check(ClearCommError(ToHandle(handle), &flags, &status));
  errorFlags = flags;
  queued = status.cbInQue;
  return done;
}

bool Win32SerialDriver::GetModemStatus(Handle handle, std::uint32_t& status) {
  DWORD value = 0;
  const bool done = Check(GetCommModemStatus(ToHandle(handle), &value));
  status = value;
  return done;
}

bool Win32SerialDriver::Escape(Handle handle, std::uint32_t function) {
  return Check(EscapeCommFunction(ToHandle(handle), function));
}

}  // namespace tavro
