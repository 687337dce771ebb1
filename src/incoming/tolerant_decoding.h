// Every received message of a listing made into a record, whatever its coding and header.
#pragma once

#include <cstdint>
#include <string_view>

#include "incoming/deliver_decoding.h"
#include "incoming/time_stamp.h"

namespace tavro {

// As DecodeStoredMessage. A status report is kReport, anything else that is no received message kDelete; what has no
// location is kSkip. All else is kStore: a text is shown as far as its octets go, and of a PDU that cannot be decoded
// the text says why.
DecodedEntry DecodeTolerantly(std::string_view entry, const DateNames& names);

// The same of what stands behind "+CMGR:", in capitals.
DecodedEntry DecodePlace(std::string_view entry, std::int16_t location, const DateNames& names);

// The same of what stands behind "+CMT:" and "+CDS:": the modem has it nowhere. Of it a status report that is cut short
// alone is kSkip, and nothing kDelete.
DecodedEntry DecodeDelivered(std::string_view entry, const DateNames& names);

}  // namespace tavro
