// Fields of a PDU, taken from its front.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace tavro {

class OctetReader {
 public:
  explicit OctetReader(std::string_view octets) : rest_(octets) {}

  // What is left when there are fewer.
  std::string Take(std::size_t count) {
    if (count > rest_.size()) {
      failed_ = true;
      count = rest_.size();
    }
    const std::string taken(rest_.substr(0, count));
    rest_.remove_prefix(count);
    return taken;
  }
  std::uint8_t TakeOctet() {
    const std::string taken = Take(1);
    return taken.empty() ? std::uint8_t{0} : static_cast<std::uint8_t>(taken[0]);
  }
  std::uint8_t Peek() const { return rest_.empty() ? std::uint8_t{0} : static_cast<std::uint8_t>(rest_[0]); }
  // Whether a field was longer than what was left.
  bool HasFailed() const { return failed_; }
  bool EndsHere() const { return !failed_ && rest_.empty(); }

 private:
  std::string_view rest_;
  bool failed_ = false;
};

}  // namespace tavro
