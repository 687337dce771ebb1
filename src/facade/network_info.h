// What the modem tells of the network (3GPP TS 27.007, 7.3 and 8.5).
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "connection/registration.h"
#include "link/dialogue.h"

namespace tavro {

// Every query asks the modem anew. Nothing is returned on failure; the caller then raises the query's own error, which
// is dropped when a more precise one is raised already.
class NetworkInfo : DialoguePart {
 public:
  NetworkInfo(const DialogueContext& dialogue, Registration& registration);

  // Received signal strength in dB.
  std::optional<std::int16_t> SignalDb();
  // 0 at -113 dB to 100 at -51 dB; -1 for 99, not known.
  static std::int16_t SignalPercent(std::int16_t db);
  // The current operator's name in capitals.
  std::optional<std::string> Operator();
  // The current operator's name from the list of all; an available one's, marked as such, when there is none.
  std::optional<std::string> OperatorFromList();

 private:
  Registration& registration_;
};

}  // namespace tavro
