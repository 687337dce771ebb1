// What a simulated modem has to say, each piece with the time when it is due.
#pragma once

#include <algorithm>
#include <cstdint>
#include <deque>
#include <optional>
#include <string>
#include <utility>

namespace tavro {

class ModemOutput {
 public:
  struct Piece {
    std::int64_t dueMs = 0;
    std::string bytes;
    bool endsWithinLine = false;  // the rest of the line is in the next piece
    bool lineLostBehind = false;
  };

  // Pieces that are due at the same time come in the order in which they were added.
  void Add(Piece piece) {
    auto place = pieces_.end();
    if (!pieces_.empty() && pieces_.back().dueMs > piece.dueMs) {
      place = std::upper_bound(pieces_.begin(), pieces_.end(), piece.dueMs,
                               [](std::int64_t due, const Piece& other) { return due < other.dueMs; });
    }
    pieces_.insert(place, std::move(piece));
  }

  std::optional<std::int64_t> Next() const {
    return pieces_.empty() ? std::nullopt : std::optional(pieces_.front().dueMs);
  }

  // There must be one.
  Piece Take() {
    Piece piece = std::move(pieces_.front());
    pieces_.pop_front();
    return piece;
  }

  void Clear() { pieces_.clear(); }

 private:
  std::deque<Piece> pieces_;
};

}  // namespace tavro
