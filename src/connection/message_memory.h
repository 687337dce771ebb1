// The message memory that is read, deleted from and received into, and how full it is (AT+CPMS, 3GPP TS 27.005, 3.2.2).
#pragma once

#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "connection/registration.h"
#include "link/dialogue.h"
#include "tavro/memory_usage.h"

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

  // Of each memory that can be read from; empty on failure. Those that the modem does not count unasked are selected
  // for reading, and then again the one that was; when that fails the connection has none selected.
  std::vector<MemoryUsage> Usage();
  // Asks once how full the memories are (AT+CPMS?); for whoever waits for messages. False when the modem does not tell.
  bool QueryUsage();

 private:
  struct Count;

  std::vector<Count> CountsIn(const Answer& answer) const;
  bool IsWatched() const;
  Answer Select(const std::string& memories);
  Answer SelectOtherwise(const std::string& name);
  void NoteUsage(const Answer& answer, const std::string& name = {});
  std::vector<std::string> ReadableMemories();
  bool CountOthers(const std::vector<std::string>& names, std::vector<Count>& counts);
  bool PutBack(const std::string& memory);

  Registration& registration_;
};

}  // namespace tavro
