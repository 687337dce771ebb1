// The serial calls on Linux, with the meaning that they have on Windows: on terminal devices, and on modems behind a
// network.
#pragma once

#include <functional>
#include <map>
#include <string>

#include "platform/byte_line_driver.h"
#include "platform/posix/wake_signal.h"

namespace tavro {

// Error numbers are those of errno, and those of network_line.h and name_errors.h above them.
class PosixSerialDriver : public ByteLineDriver {
 public:
  // Both as in tavro::Options; `interrupted` ends what connecting to a network waits for.
  explicit PosixSerialDriver(std::map<int, std::string> devices, std::function<bool()> interrupted = {});

  Handle Open(const std::string& name) override;
  void Wake() override { wake_.Raise(); }

 private:
  std::string DevicePath(const std::string& name) const;

  const std::map<int, std::string> devices_;
  const std::function<bool()> interrupted_;
  WakeSignal wake_;
};

}  // namespace tavro
