// What the modem tells of itself and of its SIM (3GPP TS 27.007, 5 and 8).
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "connection/registration.h"
#include "link/dialogue.h"

namespace tavro {

// Every query asks the modem anew. Nothing is returned on failure; the caller then raises the query's own error, which
// is dropped when a more precise one is raised already.
class DeviceInfo : DialoguePart {
 public:
  DeviceInfo(const DialogueContext& dialogue, Registration& registration);

  std::optional<std::string> Manufacturer();
  std::optional<std::string> Model();
  std::optional<std::string> Imei();
  std::optional<std::string> Imsi();
  std::optional<std::string> Revision();
  // Percent.
  std::optional<std::int16_t> BatteryLevel();
  std::optional<std::string> OwnNumber();

 private:
  struct Identification;

  std::optional<std::string> Identify(const Identification& query);

  Registration& registration_;
};

}  // namespace tavro
