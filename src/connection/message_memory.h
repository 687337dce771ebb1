// The message memory that is read, deleted from and received into (AT+CPMS, 3GPP TS 27.005, 3.2.2).
#pragma once

#include <functional>
#include <optional>
#include <string>
#include <string_view>

#include "connection/registration.h"
#include "link/dialogue.h"

namespace tavro {

class MessageMemory : DialoguePart {
 public:
  MessageMemory(const DialogueContext& dialogue, Registration& registration);

  // "SM", "ME" or "MT", any letter case; 2001 is raised for any other. True when the modem took it: it is then the
  // current memory.
  bool SelectMessageMemory(std::string_view memory);
  // Asks the modem which memory it reads from, and makes it the current one when it can be selected. Nothing on
  // failure.
  std::optional<std::string> ReadMessageMemory();
  // Has the modem read from another memory meanwhile, any that it may have ("SR"), and from the current one again.
  // False when it does not take it. Raises no error.
  bool Visit(const std::string& memory, const std::function<void()>& visit);

 private:
  Registration& registration_;
};

}  // namespace tavro
