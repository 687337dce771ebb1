// Printing messages as they come.
#pragma once

#include <chrono>
#include <optional>

#include "tavro_commands.h"

struct WatchArguments {
  bool json = false;                          // a line each
  bool deletes = false;                       // what was printed
  std::optional<std::chrono::seconds> limit;  // none: until a signal
};

// Prints the messages, those that are unread first, and the status reports, until the time is over. Throws
// std::runtime_error when a signal or the end of standard output ended it, or the inbox is full.
void Watch(Session& session, const WatchArguments& arguments);
