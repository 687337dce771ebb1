// The delivery status reports, keyed by their location in the modem's memory.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "incoming/status.h"

namespace tavro {

// It stays empty: status reports are deleted from the modem while its memory is read.
class StatusBox {
 public:
  // A report at a location that is there already replaces the earlier one.
  void Add(Status status);
  void Remove(std::int16_t memIndex);
  void Clear() { items_.clear(); }
  std::size_t Count() const { return items_.size(); }
  // Null when no report has this location.
  const Status* Item(std::int16_t memIndex) const;

 private:
  std::vector<Status> items_;
};

}  // namespace tavro
