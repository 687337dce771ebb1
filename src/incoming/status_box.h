// The delivery status reports that were received.
#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <string_view>

#include "incoming/status.h"

namespace tavro {

// In the order in which they came. In the classic manner it stays empty: reports are deleted from the modem while its
// memory is read.
class StatusBox {
 public:
  // When there are more reports, the oldest ones go.
  explicit StatusBox(std::size_t maxReports = 10000) : maxReports_(maxReports) {}

  // False for a report that is there already: it came twice, or is listed again. Then only its location is noted.
  bool Add(Status status);
  // The modem has nothing at that location any more.
  void Remove(std::string_view memory, std::int16_t memIndex);
  void Forget() {
    items_.clear();
    cleared_ = 0;
  }
  // Those that came so far are not shown any more.
  void Clear() { cleared_ = items_.size(); }

  // All of them, those that were cleared too: what became of a message does not depend on what was shown.
  const std::deque<Status>& Items() const { return items_; }
  std::deque<Status>& Items() { return items_; }
  // Without those that were cleared.
  std::size_t Count() const { return items_.size() - cleared_; }
  // From 0 to below Count.
  Status& Item(std::size_t index) { return items_[cleared_ + index]; }

 private:
  const std::size_t maxReports_;
  std::deque<Status> items_;
  std::size_t cleared_ = 0;  // so many at the front
};

}  // namespace tavro
