// One entry of a listing of stored messages (AT+CMGL in PDU mode, 3GPP TS 27.005, 4.1) made into a record.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "incoming/sim_message.h"
#include "incoming/time_stamp.h"
#include "link/manner.h"
#include "tavro/status_report.h"

namespace tavro {

// Of an entry that names none, and of what the modem has nowhere.
inline constexpr std::int16_t kNoLocation = -1;

// What is to be done with an entry.
struct DecodedEntry {
  enum class Action {
    kSkip,    // leave it in the modem
    kDelete,  // delete it from the modem: not a received message, or one with a header that is not understood
    kStore,   // keep the record
    kReport,  // a status report, where those are kept
  };

  Action action = Action::kSkip;
  std::int16_t location = kNoLocation;  // in the modem's memory
  std::string remark;  // for the log: why it is not stored, or what is odd about it; may be empty for a record
  SIMMessage record;   // for kStore
  std::optional<StatusReport> report = {};
  bool isDamaged = false;  // octets were lost on the line, or it cannot be decoded
};

// `entry` is what stands behind "+CMGL:", in capitals. Only an SMS-DELIVER that is whole is stored: one that is cut
// short, has letters that are no digits or lengths that contradict each other is skipped. A manner that shows
// everything stores them all.
DecodedEntry DecodeStoredMessage(std::string_view entry, const DateNames& names, const Manner& manner = kClassicManner);

}  // namespace tavro
