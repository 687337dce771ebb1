// Supplementary service data between a simulated modem's application and the network (AT+CUSD, 3GPP TS 27.007, 7.15):
// the balance of a prepaid card, menus.
#pragma once

#include <span>
#include <string_view>

#include "simulator/command_table.h"

namespace tavro {

// Only shown when AT+CUSD=1 asked for it. One that expects a reply begins a session, in which no reply is known.
void ReceiveUssd(ModemState& modem, std::string_view text, bool expectsReply);

std::span<const CommandEntry> UssdCommands();

}  // namespace tavro
