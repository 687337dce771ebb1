#include "simulated.h"

#include <string>

#include "modem_thread.h"

struct simulated {
  simulated() {
    thread.Do([this] { thread.Modem().Settings().pin = "1234"; });
  }

  tavro::ModemThread thread{tavro::LineKind::kTerminal};
  const std::string device = thread.DeviceOptions().devices.at(1);
};

simulated* simulated_start(void) { return new simulated; }

void simulated_end(simulated* modem) { delete modem; }

const char* simulated_device(const simulated* modem) { return modem->device.c_str(); }

void simulated_receive(simulated* modem, const char* number, const char* text, int64_t microseconds) {
  tavro::ModemThread& thread = modem->thread;
  const std::string from = number, content = text;
  thread.In(microseconds, [&thread, from, content] { thread.Modem().IncomingText(from, content, thread.Now()); });
}

void simulated_silence(simulated* modem, const char* command) {
  modem->thread.Do([&] { modem->thread.Modem().Answer(command, tavro::ModemReply::Silence()); });
}
