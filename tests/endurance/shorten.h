// Looks for the shortest life that still shows a violation.
#pragma once

#include <string>

#include "life.h"

namespace tavro::lives {

// Without the steps, faults and traits that the violation of this kind does not need.
Life Shorten(Life life, const std::string& kind);

}  // namespace tavro::lives
