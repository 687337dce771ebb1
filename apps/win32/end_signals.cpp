#include "end_signals.h"

#include <windows.h>

#include <atomic>
#include <csignal>

namespace {

std::atomic<int> received = 0;

// In a thread of the system's. FALSE leaves it to the system, which ends the program.
BOOL WINAPI Keep(DWORD event) {
  const bool closes = event != CTRL_C_EVENT && event != CTRL_BREAK_EVENT;
  int none = 0;
  if (!received.compare_exchange_strong(none, closes ? SIGTERM : SIGINT)) return FALSE;
  if (closes) Sleep(INFINITE);  // the system ends the program when this returns, or behind some seconds
  return TRUE;
}

}  // namespace

void EndSignals::Watch() { SetConsoleCtrlHandler(Keep, TRUE); }

int EndSignals::Received() { return received; }

std::string EndSignals::NameOf(int signal) { return signal == SIGINT ? "Interrupt" : "Terminated"; }
