// Every received message of a listing made into a record, whatever its coding and header.
#pragma once

#include <string_view>

#include "incoming/deliver_decoding.h"
#include "incoming/time_stamp.h"

namespace tavro {

// As DecodeStoredMessage. What is no received message is kDelete; what has no location is kSkip. All else is kStore: a
// text is shown as far as its octets go, and of a PDU that cannot be decoded the text says why.
DecodedEntry DecodeTolerantly(std::string_view entry, const DateNames& names);

}  // namespace tavro
