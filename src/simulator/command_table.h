// The commands that a simulated modem knows, by their names.
#pragma once

#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "simulator/modem_state.h"

namespace tavro {

struct CommandEntry {
  std::string_view name;
  CommandResult (*handler)(ModemState& modem, const AtCommand& command);
};

// Those that need no SIM, ITU-T V.250 and 3GPP TS 27.007.
std::span<const CommandEntry> GeneralCommands();
std::span<const CommandEntry> EquipmentCommands();
// Those refused while the SIM is locked.
std::span<const CommandEntry> SimCommands();
// The same of 3GPP TS 27.005, with errors of their own.
std::span<const CommandEntry> MessageCommands();
std::span<const CommandEntry> IndicationCommands();
std::span<const CommandEntry> TextCommands();

// These and those of ussd.h and phone_book.h.
std::vector<std::span<const CommandEntry>> AllCommands();

CommandResult RunCommand(ModemState& modem, const AtCommand& command);
// An S register.
CommandResult RunRegister(ModemState& modem, const AtCommand& command);
// One that does nothing but keep a number.
CommandResult RunOption(ModemState& modem, const AtCommand& command);

}  // namespace tavro
