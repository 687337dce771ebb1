// What a simulated modem has to say, each piece with the time when it is due.
#pragma once

#include <algorithm>
#include <cstdint>
#include <deque>
#include <optional>
#include <string>

namespace tavro {

class ModemOutput {
 public:
  // Pieces that are due at the same time come in the order in which they were added.
  void Add(std::int64_t dueMs, std::string bytes, bool lineLostBehind = false) {
    auto place = pieces_.end();
    if (!pieces_.empty() && pieces_.back().dueMs > dueMs) {
      place = std::upper_bound(pieces_.begin(), pieces_.end(), dueMs,
                               [](std::int64_t due, const Piece& piece) { return due < piece.dueMs; });
    }
    pieces_.insert(place, {dueMs, std::move(bytes), lineLostBehind});
  }

  std::optional<std::int64_t> Next() const {
    return pieces_.empty() ? std::nullopt : std::optional(pieces_.front().dueMs);
  }

  // Ends behind a piece that loses the line, which sets `lineLost`.
  std::string Take(std::int64_t nowMs, bool& lineLost) {
    std::string taken;
    while (!lineLost && !pieces_.empty() && pieces_.front().dueMs <= nowMs) {
      Piece& piece = pieces_.front();
      if (taken.empty()) {
        taken = std::move(piece.bytes);
      } else {
        taken += piece.bytes;
      }
      lineLost = piece.lineLostBehind;
      pieces_.pop_front();
    }
    return taken;
  }

  void Clear() { pieces_.clear(); }

 private:
  struct Piece {
    std::int64_t dueMs;
    std::string bytes;
    bool lineLostBehind;
  };

  std::deque<Piece> pieces_;
};

}  // namespace tavro
