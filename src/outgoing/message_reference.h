// The reference that the parts of a concatenated message share (3GPP TS 23.040, 9.2.3.24.1): 1 to 255, then 1 again.
// It starts somewhere among these, by the time: a program that is started for each message would otherwise give all of
// them the same one, and a receiver would join the parts of different messages.
#pragma once

#include <cstdint>

namespace tavro {

class MessageReference {
 public:
  // `now` in milliseconds.
  explicit MessageReference(std::int64_t now)
      : value_(static_cast<std::int16_t>(1 + static_cast<std::uint64_t>(now) % 255)) {}

  std::int16_t Value() const { return value_; }
  void Advance() { value_ = value_ >= 255 ? std::int16_t{1} : static_cast<std::int16_t>(value_ + 1); }

 private:
  std::int16_t value_;
};

}  // namespace tavro
