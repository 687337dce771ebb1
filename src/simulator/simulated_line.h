// A platform and its serial line in virtual time, with simulated modems at the ports.
//
// The clock stands still but in Sleep and while a read or a write waits. Local time is UTC, the code page UTF-8. No
// part of it is made for more than one thread, but for Wake.
#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/platform.h"
#include "simulator/input_queue.h"
#include "simulator/simulated_modem.h"

namespace tavro {

class SimulatedLine : public Platform, public SerialDriver {
 public:
  struct Call {
    std::int64_t ms = 0;
    std::string text;
  };
  struct ShownBox {
    std::u16string text;
    std::uint32_t style = 0;
    std::u16string title;
  };

  // Error numbers of the system, as the line gives them.
  static constexpr std::uint32_t kErrorFileNotFound = 2, kErrorAccessDenied = 5, kErrorInvalidHandle = 6,
                                 kErrorInvalidParameter = 87, kErrorDeviceNotConnected = 1167;

  SimulatedLine();
  // With a modem at one port.
  explicit SimulatedLine(SimulatedModem& modem, int port = 1);

  // Time.

  // Virtual milliseconds since the line was made; the times that its modems are given.
  std::int64_t Elapsed() const { return nowUs_ / 1000; }
  // What WallClock and TickCount say now; from here they go on with the virtual time.
  void SetWallClock(std::int64_t wallClock) { wallClockStart_ = wallClock - Elapsed(); }
  void SetTickCount(std::uint32_t ticks) { tickStart_ = ticks - static_cast<std::uint32_t>(Elapsed()); }
  // Runs the action when the virtual time comes: a jump of the clock, an unsolicited line, the loss of the line.
  void At(std::int64_t elapsedMs, std::function<void()> action);
  // Characters take their time at the line state's baud rate; without it (the default) they take none.
  void SetCharacterTiming(bool on) { characterTiming_ = on; }

  // Ports.

  // The modem at "\\.\COM<port>"; it must outlive the line. A port without one cannot be opened (error 2). A modem that
  // loses its line is a device that is unplugged: Open fails with 2, and every call with a handle that was open then
  // fails with 1167, but Close and the reading of what had arrived. RestoreLine plugs it in again: the old handle stays
  // dead, and once it is closed (error 5 before) a new Open finds the modem.
  void Attach(int port, SimulatedModem& modem);
  bool IsOpen(int port) const;
  // Bytes that stand in the port's input queue at once.
  void QueueInput(int port, std::string bytes);
  // GetModemStatus; CTS and DSR on by default.
  void SetModemStatus(std::uint32_t status) { modemStatus_ = status; }
  // The error flags that ClearError gives once.
  void SetErrorFlags(std::uint32_t flags) { errorFlags_ = flags; }

  // Faults of the driver. Calls go by their Win32 names: CreateFile, CloseHandle, SetupComm, PurgeComm, GetCommState,
  // BuildCommDCB, SetCommState, SetCommTimeouts, ReadFile, WriteFile, GetOverlappedResult, ClearCommError,
  // GetCommModemStatus, EscapeCommFunction. `skip` such calls pass first.

  // The next `times` calls, or all with -1, fail with this error and do nothing.
  void FailCall(std::string_view call, std::uint32_t error, int times = 1, int skip = 0);
  // Drops the rules of all kinds.
  void ForgetFailures();
  // The next ReadFile or WriteFile does its work and fails with 997; the transfer's result fails with 996 `incomplete`
  // times before it succeeds.
  void PendNext(std::string_view call, int incomplete = 0, int skip = 0);
  // The next write ends after so many bytes.
  void ShortenWrite(std::size_t bytes, int skip = 0);
  // Each read ends after at most so many bytes; 0: no such limit.
  void LimitReads(std::size_t bytes) { readLimit_ = bytes; }
  void SetErrorText(std::uint32_t code, std::string text) { errorTexts_[code] = std::move(text); }

  // What happened. The calls in Win32 names with what was given and, behind "->", what came back:
  //   CreateFile \\.\COM1     SetupComm 4096 1024     PurgeComm 15      SetCommTimeouts 500 4294967295 4294967295 2 0
  //   BuildCommDCB baud=9600 parity=N data=8 stop=1   SetCommState      EscapeCommFunction 5       CloseHandle
  //   WriteFile AT+CSQ<cr> -> 7   ReadFile 32768 -> 24   ClearCommError -> 24   CreateFile \\.\COM9 -> error 2
  // A ClearCommError that finds nothing queued is left out.

  const std::vector<Call>& Calls() const { return calls_; }
  // The texts of Calls alone, to compare with a list.
  std::vector<std::string> CallTexts() const;
  void ForgetCalls() { calls_.clear(); }
  void RecordCalls(bool on) { recordCalls_ = on; }
  const std::vector<ShownBox>& MessageBoxes() const { return messageBoxes_; }
  std::int64_t PumpCount() const { return pumpCount_; }
  void SetComponentFolder(std::u16string folder) { componentFolder_ = std::move(folder); }

  // Platform.
  std::uint32_t TickCount() override { return tickStart_ + static_cast<std::uint32_t>(Elapsed()); }
  std::int64_t WallClock() override { return wallClockStart_ + Elapsed(); }
  LocalTime ToLocal(std::int64_t wallClock) override;
  void Sleep(std::uint32_t milliseconds) override;
  void PumpMessages() override { ++pumpCount_; }
  void ShowMessageBox(std::u16string_view text, std::uint32_t style, std::u16string_view title) override;
  PathKind KindOf(std::u16string_view path) override;
  std::FILE* OpenFile(std::u16string_view path) override;
  bool WriteToFile(std::u16string_view path, std::string_view content, bool append) override;
  char16_t PathSeparator() const override { return u'/'; }
  std::u16string ComponentFolder() override { return componentFolder_; }
  std::string ToCodePage(std::u16string_view text) override;
  std::u16string FromCodePage(std::string_view text) override;
  SerialDriver& Serial() override { return *this; }

  // SerialDriver. A read that nothing can ever end throws std::logic_error: a real one would hang.
  Handle Open(const std::string& name) override;
  bool Close(Handle handle) override;
  bool SetupQueues(Handle handle, std::uint32_t inputSize, std::uint32_t outputSize) override;
  bool Purge(Handle handle, std::uint32_t flags) override;
  bool GetLineState(Handle handle, LineState& state) override;
  bool BuildLineState(const std::string& mode, LineState& state) override;
  bool SetLineState(Handle handle, const LineState& state) override;
  bool SetTimeOuts(Handle handle, const SerialTimeOuts& timeOuts) override;
  bool Read(Handle handle, char* buffer, std::uint32_t size, std::uint32_t& bytesRead) override;
  bool Write(Handle handle, const char* data, std::uint32_t size, std::uint32_t& bytesWritten) override;
  void Wake() override { isWoken_ = true; }
  bool TransferResult(Handle handle, std::uint32_t& transferred) override;
  bool ClearError(Handle handle, std::uint32_t& errorFlags, std::uint32_t& queued) override;
  bool GetModemStatus(Handle handle, std::uint32_t& status) override;
  bool Escape(Handle handle, std::uint32_t function) override;
  std::uint32_t LastError() const override { return lastError_; }
  std::string ErrorText(std::uint32_t code) override;

 protected:
  // What passes between the line and a modem; for a line that disturbs it.

  virtual void ToModem(SimulatedModem& modem, std::string_view bytes) { modem.Receive(bytes, Elapsed()); }
  // As SimulatedModem has them.
  virtual std::optional<std::int64_t> NextFromModem(const SimulatedModem& modem) { return modem.NextOutput(); }
  virtual std::string FromModem(SimulatedModem& modem, std::int64_t nowMs) { return modem.TakeOutput(nowMs); }

 private:
  struct Port {
    // Whether the line was lost since the port was opened.
    bool IsGone() const { return modem->LineLosses() != lossesBefore; }

    SimulatedModem* modem = nullptr;
    int lossesBefore = 0;
    Handle handle = kInvalidHandle;
    LineState state;
    SerialTimeOuts timeOuts;
    InputQueue input;
  };
  struct CallFault {
    std::string call;
    std::uint32_t error = 0;
    int times = 1, skip = 0;
  };
  struct Pending {
    std::string call;
    int incomplete = 0, skip = 0;
  };

  struct ShortWrite {
    std::size_t bytes = 0;
    int skip = 0;
  };

  Port* Find(Handle handle);
  // The open port of a call that may go on; otherwise the call fails and is on record.
  Port* Begin(std::string_view call, Handle handle, std::string_view arguments = {});
  // A call that has no other effect.
  bool Pass(std::string_view call, Handle handle, std::string_view arguments = {});
  bool Fail(std::uint32_t error, std::string_view call, std::string_view arguments = {});
  bool FailsByRule(std::string_view call, std::string_view arguments = {});
  // A read or write that moved so many bytes: false when it is to be reported as pending.
  bool EndTransfer(std::string_view call, std::string_view arguments, std::uint32_t moved, std::uint32_t& transferred);
  void Record(std::string_view call, std::string_view arguments, std::string_view result = {});

  void MoveTo(std::int64_t us);
  // Brings what the modem has said by now into the input queue.
  void Collect(Port& port);
  // Duration of one character at the port's line state.
  std::int64_t CharacterUs(const Port& port) const;
  // When the next byte arrives, or something happens that may bring one; kNever when nothing is to come.
  std::int64_t NextEventUs(const Port& port);
  // How much of a write goes out.
  std::size_t AllowedByRules(std::size_t size);

  static constexpr std::int64_t kNever = INT64_MAX;

  std::int64_t nowUs_ = 0;
  std::int64_t wallClockStart_ = 1709647629000;  // 2024-03-05 14:07:09 UTC
  std::uint32_t tickStart_ = 1000000;
  bool characterTiming_ = false;
  std::multimap<std::int64_t, std::function<void()>> actions_;  // by time, microseconds

  std::map<int, Port> ports_;
  Handle nextHandle_ = 1;
  std::uint32_t modemStatus_ = 48;
  std::uint32_t errorFlags_ = 0;
  std::uint32_t lastError_ = 0;
  std::map<std::uint32_t, std::string> errorTexts_;

  std::vector<CallFault> faults_;
  std::vector<Pending> pendings_;
  int incomplete_ = 0;  // results of the transfer that is pending that still fail
  std::uint32_t transferred_ = 0;
  std::vector<ShortWrite> shortWrites_;
  std::size_t readLimit_ = 0;
  std::atomic<bool> isWoken_ = false;

  bool recordCalls_ = true;
  std::vector<Call> calls_;
  std::vector<ShownBox> messageBoxes_;
  std::int64_t pumpCount_ = 0;
  std::u16string componentFolder_;
};

}  // namespace tavro
