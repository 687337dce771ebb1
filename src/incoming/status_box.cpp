#include "incoming/status_box.h"

#include <utility>

namespace tavro {

void StatusBox::Add(Status status) {
  for (Status& item : items_) {
    if (item.memIndex == status.memIndex) {
      item = std::move(status);
      return;
    }
  }
  items_.push_back(std::move(status));
}

void StatusBox::Remove(std::int16_t memIndex) {
  std::erase_if(items_, [memIndex](const Status& item) { return item.memIndex == memIndex; });
}

const Status* StatusBox::Item(std::int16_t memIndex) const {
  for (const Status& item : items_) {
    if (item.memIndex == memIndex) return &item;
  }
  return nullptr;
}

}  // namespace tavro
