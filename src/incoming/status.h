// One delivery status report, and where it was read.
#pragma once

#include <cstdint>
#include <string>

#include "tavro/status_report.h"

namespace tavro {

struct Status {
  StatusReport report;
  std::string memory = {};     // that it was read from
  std::int16_t memIndex = -1;  // the location in it; -1 when the modem has it nowhere
  int connection = 0;          // under which the location was read
  std::uint64_t heard = 0;     // how much the modem had said of its own accord when it told of the report
  bool isHandedOver = false;   // the application has seen it
};

}  // namespace tavro
