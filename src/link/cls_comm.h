// The serial port: a table of ports above the system's serial calls.
#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <string_view>

#include "platform/platform.h"
#include "platform/serial_driver.h"

namespace tavro {

// Every operation takes the port number, 1 to 256, first. Unless said otherwise it returns 0 for success and the
// system's error number on failure, which is then kept with the failing step's label and the system's text.
// A number out of range is a failure (-1, "Port number out of range.") that touches nothing.
class clsCOMM {
 public:
  static constexpr int kMaxPort = 256;
  static constexpr std::uint32_t kReadBufferSize = 32768;
  // Lines of CommSetLine.
  static constexpr int kLineBreak = 1, kLineDtr = 2, kLineRts = 3;

  explicit clsCOMM(Platform& platform);
  // Closes every port that is still open.
  ~clsCOMM();
  clsCOMM(const clsCOMM&) = delete;
  clsCOMM& operator=(const clsCOMM&) = delete;

  // Opens the device and sets its line state from the mode ("baud=19200 parity=N data=8 stop=1"). `name` gets the
  // prefix
  // "\\.\". Fails with -1 and "Port in use." when the port is open. A failure after the device itself was opened leaves
  // the port open: the caller closes it.
  std::int32_t CommOpen(int port, std::string& name, const std::string& mode);
  std::int32_t CommSet(int port, const std::string& mode);
  // Closing a port that is not open is a success and touches nothing.
  std::int32_t CommClose(int port);
  // Drops what waits in both queues.
  std::int32_t CommFlush(int port);
  // Reads what is queued, or more when `requested` is more: then it waits, within the time-outs, for the rest. Returns
  // the number of octets read, 0 at once when nothing is queued, -1 on failure. At most kReadBufferSize octets.
  std::int32_t CommRead(int port, std::string& data, std::uint32_t requested);
  // Waits within the time-outs and reads what comes then. Returns as CommRead does.
  std::int32_t CommAwait(int port, std::string& data);
  // From any thread: CommAwait returns at once, the one that waits or the next that would (SerialDriver::Wake).
  void Wake() { driver_.Wake(); }
  // Whether octets are queued.
  bool HasInput(int port);
  // Whether the device of an open port is not there any more.
  bool IsGone(int port);
  // Returns the number of octets written, -1 on failure.
  std::int32_t CommWrite(int port, std::string_view data);
  // `on`: whether any of the modem status bits in `mask` is set.
  std::int32_t CommReadCD(int port, std::uint32_t mask, bool& on);
  // Sets (state above 0) or clears a line of an open port.
  std::int32_t CommSetLine(int port, int line, int state);
  std::int32_t CommSetTimeOuts(int port, const SerialTimeOuts& timeOuts);
  bool IsOpen(int port) const;

  // The last failure: its number, and "Error (5): CommOpen (CreateFile) - Access is denied."
  std::int32_t LastErrorCode() const { return lastErrorCode_; }
  std::string ErrorText() const;

 private:
  struct Entry {
    SerialDriver::Handle handle = 0;  // kept after closing
    bool open = false;
    LineState state;

    // The handle to call the system with: none once the port is closed, as the number may be another object's by then.
    SerialDriver::Handle Device() const { return open ? handle : SerialDriver::kInvalidHandle; }
  };

  Entry* Find(int port, const char* source);
  std::int32_t Fail(const char* source);
  std::int32_t FailTransfer(const Entry& entry, const char* source);
  std::int32_t ReadOctets(const Entry& entry, std::string& data, std::uint32_t size);
  bool FinishTransfer(const Entry& entry, const char* source, const char* resultSource, std::uint32_t& transferred);

  Platform& platform_;
  SerialDriver& driver_;
  std::array<Entry, kMaxPort> ports_;
  std::string buffer_;
  std::int32_t lastErrorCode_ = 0;
  std::string lastErrorSource_;
  std::string lastErrorText_;
};

}  // namespace tavro
