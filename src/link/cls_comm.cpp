#include "link/cls_comm.h"

#include <algorithm>
#include <cstdio>

namespace tavro {

namespace {

constexpr SerialTimeOuts kOpenTimeOuts{0, 0, 750, 2, 0};
constexpr std::uint32_t kInputQueue = 4096, kOutputQueue = 1024;

}  // namespace

clsCOMM::clsCOMM(Platform& platform) : platform_(platform), driver_(platform.Serial()) {}

clsCOMM::~clsCOMM() {
  for (Entry& entry : ports_) {
    if (entry.open) driver_.Close(entry.handle);
  }
}

clsCOMM::Entry* clsCOMM::Find(int port, const char* source) {
  if (port >= 1 && port <= kMaxPort) return &ports_[static_cast<std::size_t>(port - 1)];
  lastErrorCode_ = -1;
  lastErrorSource_ = source;
  lastErrorText_ = "Port number out of range.";
  return nullptr;
}

std::int32_t clsCOMM::Fail(const char* source) {
  const std::uint32_t code = driver_.LastError();
  lastErrorCode_ = static_cast<std::int32_t>(code);
  lastErrorSource_ = source;
  lastErrorText_ = driver_.ErrorText(code);
  return lastErrorCode_;
}

// After a failed transfer the line's error flags are part of the text.
std::int32_t clsCOMM::FailTransfer(const Entry& entry, const char* source) {
  Fail(source);
  std::uint32_t flags = 0, queued = 0;
  driver_.ClearError(entry.Device(), flags, queued);
  char text[16];
  std::snprintf(text, sizeof text, "%X", static_cast<unsigned>(flags));
  lastErrorText_ += "  COMM Error Flags = ";
  lastErrorText_ += text;
  return -1;
}

std::int32_t clsCOMM::CommOpen(int port, std::string& name, const std::string& mode) {
  name.insert(0, "\\\\.\\");
  Entry* entry = Find(port, "CommOpen");
  if (!entry) return -1;
  if (entry->open) {
    lastErrorCode_ = -1;
    lastErrorSource_ = "CommOpen";
    lastErrorText_ = "Port in use.";
    return -1;
  }
  entry->handle = driver_.Open(name);
  if (entry->handle == SerialDriver::kInvalidHandle) return Fail("CommOpen (CreateFile)");
  entry->open = true;
  if (!driver_.SetupQueues(entry->handle, kInputQueue, kOutputQueue)) return Fail("CommOpen (SetupComm)");
  if (!driver_.Purge(entry->handle, SerialDriver::kPurgeAll)) return Fail("CommOpen (PurgeComm)");
  if (!driver_.SetTimeOuts(entry->handle, kOpenTimeOuts)) return Fail("CommOpen (SetCommTimeouts)");
  if (!driver_.GetLineState(entry->handle, entry->state)) return Fail("CommOpen (GetCommState)");
  if (!driver_.BuildLineState(mode, entry->state)) return Fail("CommOpen (BuildCommDCB)");
  if (!driver_.SetLineState(entry->handle, entry->state)) return Fail("CommOpen (SetCommState)");
  return 0;
}

std::int32_t clsCOMM::CommSet(int port, const std::string& mode) {
  Entry* entry = Find(port, "CommSet");
  if (!entry) return -1;
  if (!driver_.GetLineState(entry->Device(), entry->state)) return Fail("CommSet (GetCommState)");
  if (!driver_.BuildLineState(mode, entry->state)) return Fail("CommSet (BuildCommDCB)");
  if (!driver_.SetLineState(entry->Device(), entry->state)) return Fail("CommSet (SetCommState)");
  return 0;
}

std::int32_t clsCOMM::CommClose(int port) {
  Entry* entry = Find(port, "CommClose");
  if (!entry) return -1;
  // The handle is kept after closing: the open flag guards it against being closed twice.
  if (!entry->open || entry->handle <= 0) return 0;
  if (!driver_.Close(entry->handle)) return Fail("CommClose (CloseHandle)");
  entry->open = false;
  return 0;
}

std::int32_t clsCOMM::CommFlush(int port) {
  Entry* entry = Find(port, "CommFlush");
  if (!entry) return -1;
  return driver_.Purge(entry->Device(), SerialDriver::kPurgeAll) ? 0 : Fail("CommFlush (PurgeComm)");
}

// The wait for a read or write that the driver reports as pending.
bool clsCOMM::FinishTransfer(const Entry& entry, const char* source, const char* resultSource,
                             std::uint32_t& transferred) {
  if (driver_.LastError() != SerialDriver::kIoPending) {
    FailTransfer(entry, source);
    return false;
  }
  while (!driver_.TransferResult(entry.Device(), transferred)) {
    if (driver_.LastError() != SerialDriver::kIoIncomplete) {
      FailTransfer(entry, resultSource);
      return false;
    }
    platform_.PumpMessages();
  }
  return true;
}

std::int32_t clsCOMM::CommRead(int port, std::string& data, std::uint32_t requested) {
  data.clear();
  Entry* entry = Find(port, "CommRead");
  if (!entry) return -1;
  platform_.PumpMessages();
  std::uint32_t flags = 0, queued = 0;
  if (!driver_.ClearError(entry->Device(), flags, queued)) {
    Fail("CommRead (ClearCommError)");
    return -1;
  }
  if (queued == 0) return 0;
  // The larger of the two, so that a caller who asks for more than is queued waits for the rest.
  return ReadOctets(*entry, data, std::min(std::max(queued, requested), kReadBufferSize));
}

std::int32_t clsCOMM::CommAwait(int port, std::string& data) {
  data.clear();
  const Entry* entry = Find(port, "CommAwait");
  if (!entry) return -1;
  platform_.PumpMessages();
  return ReadOctets(*entry, data, kReadBufferSize);
}

std::int32_t clsCOMM::ReadOctets(const Entry& entry, std::string& data, std::uint32_t size) {
  buffer_.resize(kReadBufferSize);
  std::uint32_t bytesRead = 0;
  if (!driver_.Read(entry.Device(), buffer_.data(), size, bytesRead) &&
      !FinishTransfer(entry, "CommRead (ReadFile)", "CommRead (GetOverlappedResult)", bytesRead)) {
    return -1;
  }
  data.assign(buffer_, 0, bytesRead);
  return static_cast<std::int32_t>(bytesRead);
}

bool clsCOMM::HasInput(int port) {
  const Entry* entry = Find(port, "HasInput");
  std::uint32_t flags = 0, queued = 0;
  return entry && driver_.ClearError(entry->Device(), flags, queued) && queued > 0;
}

bool clsCOMM::IsGone(int port) {
  const Entry* entry = Find(port, "IsGone");
  std::uint32_t flags = 0, queued = 0;
  return entry && entry->open && !driver_.ClearError(entry->handle, flags, queued);
}

std::int32_t clsCOMM::CommWrite(int port, std::string_view data) {
  Entry* entry = Find(port, "CommWrite");
  if (!entry) return -1;
  platform_.PumpMessages();
  std::uint32_t bytesWritten = 0;
  if (!driver_.Write(entry->Device(), data.data(), static_cast<std::uint32_t>(data.size()), bytesWritten) &&
      !FinishTransfer(*entry, "CommWrite (WriteFile)", "CommWrite (GetOverlappedResult)", bytesWritten)) {
    return -1;
  }
  platform_.PumpMessages();
  return static_cast<std::int32_t>(bytesWritten);
}

std::int32_t clsCOMM::CommReadCD(int port, std::uint32_t mask, bool& on) {
  on = false;
  Entry* entry = Find(port, "CommReadCD");
  if (!entry) return -1;
  std::uint32_t status = 0;
  if (!driver_.GetModemStatus(entry->Device(), status)) return Fail("CommReadCD (GetCommModemStatus)");
  on = (status & mask) != 0;
  return 0;
}

std::int32_t clsCOMM::CommSetLine(int port, int line, int state) {
  Entry* entry = Find(port, "CommSetLine");
  if (!entry) return -1;
  if (!entry->open || entry->handle <= 0) return 0;
  std::uint32_t function = 0;
  switch (line) {
    case kLineBreak:
      function = state > 0 ? SerialDriver::kSetBreak : SerialDriver::kClearBreak;
      break;
    case kLineDtr:
      function = state > 0 ? SerialDriver::kSetDtr : SerialDriver::kClearDtr;
      break;
    case kLineRts:
      function = state > 0 ? SerialDriver::kSetRts : SerialDriver::kClearRts;
      break;
    default:
      return 0;
  }
  return driver_.Escape(entry->Device(), function) ? 0 : Fail("CommSetLine (EscapeCommFunction)");
}

std::int32_t clsCOMM::CommSetTimeOuts(int port, const SerialTimeOuts& timeOuts) {
  Entry* entry = Find(port, "CommSetTimeOuts");
  if (!entry) return -1;
  return driver_.SetTimeOuts(entry->Device(), timeOuts) ? 0 : Fail("CommSetTimeOuts (SetCommTimeouts)");
}

bool clsCOMM::IsOpen(int port) const {
  return port >= 1 && port <= kMaxPort && ports_[static_cast<std::size_t>(port - 1)].open;
}

std::string clsCOMM::ErrorText() const {
  return "Error (" + std::to_string(lastErrorCode_) + "): " + lastErrorSource_ + " - " + lastErrorText_;
}

}  // namespace tavro
