// The phone books of a simulated modem (3GPP TS 27.007, 8.11 to 8.14): "SM", which keeps what is written, and "ON", the
// SIM's own number.
#pragma once

#include <span>

#include "simulator/command_table.h"

namespace tavro {

std::span<const CommandEntry> PhoneBookCommands();

}  // namespace tavro
