// What a process is to its children.
#pragma once

#include <cstdint>
#include <mutex>

namespace tavro {

// Another number than that of the process which made this one by fork.
std::uint64_t ProcessId();

// Has the mutex held while a child is made by fork, which then finds it free, and nothing half done behind it. To be
// called once in a process; the mutex must stay for good.
void HoldWhileForking(std::mutex& mutex);

}  // namespace tavro
