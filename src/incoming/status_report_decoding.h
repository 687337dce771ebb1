// The SMS-STATUS-REPORT (3GPP TS 23.040, 9.2.2.3).
#pragma once

#include <optional>

#include "incoming/pdu_octets.h"
#include "incoming/time_stamp.h"
#include "tavro/status_report.h"

namespace tavro {

// Of a whole PDU, the service centre's address in front. Nothing when it is cut short.
std::optional<StatusReport> DecodeStatusReport(Octets pdu, const DateNames& names);

}  // namespace tavro
