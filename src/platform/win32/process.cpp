#include "platform/process.h"

#include <windows.h>

namespace tavro {

std::uint64_t ProcessId() { return GetCurrentProcessId(); }

// There is no fork.
void HoldWhileForking(std::mutex&) {}

}  // namespace tavro
