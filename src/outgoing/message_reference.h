// The reference that the parts of a concatenated message share (3GPP TS 23.040, 9.2.3.24.1): 1 to 255, then 1 again.
#pragma once

#include <cstdint>

namespace tavro {

class MessageReference {
 public:
  std::int16_t Value() const { return value_; }
  void Advance() { value_ = value_ >= 255 ? std::int16_t{1} : static_cast<std::int16_t>(value_ + 1); }

 private:
  std::int16_t value_ = 1;
};

}  // namespace tavro
