#include "incoming/status_box.h"

#include <algorithm>
#include <utility>

namespace tavro {

bool StatusBox::Add(Status status) {
  // A location holds one report at a time.
  if (status.memIndex >= 0) Remove(status.memory, status.memIndex);
  const auto known =
      std::find_if(items_.rbegin(), items_.rend(), [&](const Status& item) { return item.report == status.report; });
  if (known != items_.rend()) {
    if (status.memIndex < 0) return false;
    known->memory = std::move(status.memory);
    known->memIndex = status.memIndex;
    known->connection = status.connection;
    return false;
  }
  if (items_.size() >= maxReports_) {
    items_.pop_front();
    if (cleared_ > 0) --cleared_;
  }
  items_.push_back(std::move(status));
  return true;
}

void StatusBox::Remove(std::string_view memory, std::int16_t memIndex) {
  for (Status& item : items_) {
    if (item.memIndex == memIndex && item.memory == memory) item.memIndex = -1;
  }
}

}  // namespace tavro
