// What a command line or a PDU comes to, in the words of the line.
#pragma once

#include <string>

#include "simulator/modem_state.h"

namespace tavro {

struct ModemAnswer {
  std::string text;    // the information texts with their line ends; empty: none
  std::string result;  // the result code with its line ends, or the prompt
};

// The information text of one command of several.
std::string InfoText(const ModemState& modem, std::string info);
ModemAnswer AnswerText(const ModemState& modem, const CommandResult& result);

}  // namespace tavro
