#include "platform/process.h"

#include <pthread.h>
#include <unistd.h>

namespace tavro {

namespace {

std::mutex* heldWhileForking = nullptr;

}  // namespace

std::uint64_t ProcessId() { return static_cast<std::uint64_t>(getpid()); }

void HoldWhileForking(std::mutex& mutex) {
  heldWhileForking = &mutex;
  const auto unlock = [] { heldWhileForking->unlock(); };
  pthread_atfork([] { heldWhileForking->lock(); }, unlock, unlock);
}

}  // namespace tavro
