// TP-Status, what a status report says of a message (3GPP TS 23.040, 9.2.3.15).
#pragma once

#include <string>

#include "tavro/status_report.h"

namespace tavro {

DeliveryState StateOf(int status);
// The standard's words.
std::u16string StatusWords(int status);

}  // namespace tavro
