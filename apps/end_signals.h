// The signals that ask a program to end: SIGINT, SIGTERM and SIGHUP; on Windows Ctrl+C, Ctrl+Break and a console that
// closes, which count as SIGINT, SIGINT and SIGTERM.
#pragma once

#include <string>

// After Watch, the first of them is only kept, so that the program can end in order; a second one ends it at once. One
// that the program was started to ignore (nohup) stays ignored.
class EndSignals {
 public:
  static void Watch();
  // The one that came; 0 as long as none has. From any thread.
  static int Received();
  // "Terminated"
  static std::string NameOf(int signal);
};
