// What to do about a failure.
#pragma once

#include <cstdint>
#include <span>
#include <string>

#include "tavro_session.h"

struct FailureHint {
  std::int32_t code;
  const char* cause;
  const char* remedy;  // as something to do: "set TAVRO_PIN to the SIM's PIN"
};

// Each error code of the library, ascending.
std::span<const FailureHint> FailureHints();

// What to do next, in a line; empty when there is nothing to say. Where the device could not be opened that depends on
// the system's reason: who holds it, or who may open it.
std::string HintFor(const OperationFailed& failure);
