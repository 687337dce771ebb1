// A value for a while.
#pragma once

#include <utility>

namespace tavro {

// Gives a variable another value as long as it lives, however its scope is left.
template <class Value>
class Restored {
 public:
  Restored(Value& variable, Value meanwhile)
      : variable_(variable), before_(std::exchange(variable, std::move(meanwhile))) {}
  ~Restored() { variable_ = std::move(before_); }
  Restored(const Restored&) = delete;
  Restored& operator=(const Restored&) = delete;

  const Value& Before() const { return before_; }

 private:
  Value& variable_;
  Value before_;
};

}  // namespace tavro
