// The reference that the parts of a concatenated message share (3GPP TS 23.040, 9.2.3.24.1): 1 to 255, then 1 again.
// It starts somewhere among these, by the time: a program that is started for each message would otherwise give all of
// them the same one, and a receiver would join the parts of different messages.
#pragma once

#include <cstdint>

namespace tavro {

class MessageReference {
 public:
  // `now` in milliseconds, multiplied by an odd number without pattern (Knuth, 6.4), so that also the starts of a
  // program that runs every full minute are spread.
  explicit MessageReference(std::int64_t now)
      : wide_(1 + static_cast<int>((static_cast<std::uint64_t>(now) * 11400714819323198485U >> 32) % kLargestWide)) {}

  int Value() const { return 1 + (wide_ - 1) % 255; }
  // The same of 16 bits: 1 to 65535.
  int WideValue() const { return wide_; }
  void Advance() { wide_ = wide_ >= kLargestWide ? 1 : wide_ + 1; }

 private:
  static constexpr int kLargestWide = 65535;  // a multiple of 255, so that both run on together

  int wide_;
};

}  // namespace tavro
