#include "failing_new.h"

#include <cstddef>
#include <cstdlib>
#include <new>

namespace {

constexpr long kNever = -1;
thread_local long left = kNever;
thread_local bool isForGood = false, hasFailed = false;
thread_local int pauses = 0;

bool Fails() {
  if (left == kNever || pauses > 0) return false;
  if (left > 0) return --left, false;
  hasFailed = true;
  if (!isForGood) left = kNever;
  return true;
}

}  // namespace

void* operator new(std::size_t size) {
  void* memory = Fails() ? nullptr : std::malloc(size > 0 ? size : 1);
  if (!memory) throw std::bad_alloc();
  return memory;
}
void operator delete(void* memory) noexcept { std::free(memory); }
void operator delete(void* memory, std::size_t) noexcept { std::free(memory); }

namespace tavro {

void FailingNew::Arm(long after, bool forGood) {
  left = after;
  isForGood = forGood;
  hasFailed = false;
}

bool FailingNew::Disarm() {
  left = kNever;
  return hasFailed;
}

FailingNew::Pause::Pause() { ++pauses; }
FailingNew::Pause::~Pause() { --pauses; }

}  // namespace tavro
