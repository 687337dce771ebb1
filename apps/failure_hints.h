// What to do about a failure.
#pragma once

#include <cstdint>
#include <string>

#include "tavro_session.h"

// What to do next, in a line: "set TAVRO_PIN to the SIM's PIN"; empty when there is nothing to say. Where the device
// could not be opened that depends on the system's reason: who holds it, or who may open it.
std::string HintFor(const OperationFailed& failure);

// Whether the error is that the SIM wants another PIN, or its PUK: trying again may lock it for good.
bool IsSimLocked(std::int32_t code);
