// One delivery status report.
#pragma once

#include <cstdint>
#include <string>

namespace tavro {

struct Status {
  std::int16_t memIndex = 0;   // the location in the modem's memory
  std::int16_t statIndex = 0;  // the position in the list
  std::u16string phone;        // the recipient
  std::u16string status;
  double sentTimeStamp = 0;  // OLE Automation date
  std::u16string sentTimeStampRFC;
  double dtTimeStamp = 0;  // of the discharge
  std::u16string dtTimeStampRFC;
  std::u16string smsc;
};

}  // namespace tavro
