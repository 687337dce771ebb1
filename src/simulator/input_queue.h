// The receiving side of a simulated serial line: bytes on their way, and those that have arrived. Times are in
// microseconds.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <deque>
#include <optional>
#include <string>
#include <utility>

namespace tavro {

class InputQueue {
 public:
  // Bytes that set out at a time and take `characterUs` each, behind those that are on their way already.
  void Add(std::string bytes, std::int64_t us, std::int64_t characterUs, std::int64_t nowUs) {
    if (bytes.empty()) return;
    const std::int64_t firstUs = std::max(us, endUs_) + characterUs;
    endUs_ = firstUs + characterUs * static_cast<std::int64_t>(bytes.size() - 1);
    if (!segments_.empty() && endUs_ <= nowUs && segments_.back().characterUs == 0) {
      segments_.back().bytes += bytes;  // how they came makes no difference any more
    } else {
      segments_.push_back({firstUs, characterUs, std::move(bytes), 0});
    }
  }

  // Bytes that are there at once, in front of those on their way.
  void AddArrived(std::string bytes, std::int64_t nowUs) {
    const auto place = std::find_if(segments_.begin(), segments_.end(),
                                    [&](const Segment& segment) { return segment.Arrived(nowUs) == 0; });
    segments_.insert(place, {nowUs, 0, std::move(bytes), 0});
  }

  std::size_t Arrived(std::int64_t nowUs) const {
    std::size_t arrived = 0;
    for (const Segment& segment : segments_) {
      const std::size_t here = segment.Arrived(nowUs);
      if (here == 0) break;
      arrived += here;
    }
    return arrived;
  }

  // Moves up to `size` bytes that have arrived into the buffer, or away when that is null.
  std::size_t Take(char* buffer, std::size_t size, std::int64_t nowUs) {
    std::size_t taken = 0;
    while (taken < size && !segments_.empty()) {
      Segment& segment = segments_.front();
      const std::size_t count = std::min(segment.Arrived(nowUs), size - taken);
      if (count == 0) break;
      if (buffer) std::memcpy(buffer + taken, segment.bytes.data() + segment.taken, count);
      taken += count;
      segment.taken += count;
      if (segment.taken == segment.bytes.size()) segments_.pop_front();
    }
    return taken;
  }

  // When the first byte that is still here arrives or arrived.
  std::optional<std::int64_t> NextUs() const {
    if (segments_.empty()) return std::nullopt;
    const Segment& segment = segments_.front();
    return segment.firstUs + segment.characterUs * static_cast<std::int64_t>(segment.taken);
  }

  bool IsEmpty() const { return segments_.empty(); }
  void Clear() { segments_.clear(); }

 private:
  struct Segment {
    std::int64_t firstUs;
    std::int64_t characterUs;
    std::string bytes;
    std::size_t taken;

    std::size_t Arrived(std::int64_t us) const {
      if (us < firstUs) return 0;
      if (characterUs == 0) return bytes.size() - taken;
      const auto arrived = static_cast<std::size_t>((us - firstUs) / characterUs + 1);
      return std::min(arrived, bytes.size()) - taken;
    }
  };

  std::deque<Segment> segments_;
  std::int64_t endUs_ = 0;  // when the last byte arrives
};

}  // namespace tavro
