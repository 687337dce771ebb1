// How full one of the modem's message memories is.
#pragma once

#include <string>

namespace tavro {

struct MemoryUsage {
  std::u16string name;  // "SM" the SIM, "ME" the equipment, "MT" both, or another that the modem has
  int used = 0;         // messages
  int total = 0;        // the most that it takes
};

}  // namespace tavro
