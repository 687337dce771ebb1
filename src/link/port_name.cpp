#include "link/port_name.h"

#include "base/text.h"

namespace tavro {

std::optional<int> ParsePortName(std::string_view name) {
  if (name.size() < 4 || Upper(name.substr(0, 3)) != "COM" || name.find_first_of(".,") != std::string_view::npos) {
    return {};
  }
  int number = 0;
  if (!ParseWhole(name.substr(3), number)) return {};
  return number;
}

}  // namespace tavro
