#include "c/handle_table.h"

#include <utility>

#include "platform/process.h"

namespace tavro {

HandleTable::HandleTable() { HoldWhileForking(mutex_); }

// Never destroyed: a thread may still make a call while the program ends.
HandleTable& HandleTable::Instance() {
  static HandleTable& table = *new HandleTable;
  return table;
}

std::uintptr_t HandleTable::Add(std::shared_ptr<Handled> object) {
  const std::lock_guard lock(mutex_);
  if (free_.empty()) {
    if (places_.size() == kMostPlaces) throw Misuse{TAVRO_OUT_OF_MEMORY, "Too many handles"};
    places_.emplace_back();
    free_.reserve(places_.capacity());  // so that Remove needs no memory
    free_.push_back(places_.size() - 1);
  }
  const std::size_t index = free_.back();
  free_.pop_back();
  places_[index].object = std::move(object);
  return (((places_[index].generation << kIndexBits) | index) << 1) | 1;
}

HandleTable::Place* HandleTable::PlaceOf(std::uintptr_t handle) {
  const std::size_t index = (handle >> 1) & (kMostPlaces - 1);
  if ((handle & 1) == 0 || index >= places_.size() || !places_[index].object) return nullptr;
  const std::uintptr_t mask = UINTPTR_MAX >> (kIndexBits + 1);
  return (places_[index].generation & mask) == handle >> (kIndexBits + 1) ? &places_[index] : nullptr;
}

std::shared_ptr<Handled> HandleTable::Find(std::uintptr_t handle) {
  const std::lock_guard lock(mutex_);
  const Place* place = PlaceOf(handle);
  return place ? place->object : nullptr;
}

std::shared_ptr<Handled> HandleTable::Remove(std::uintptr_t handle) {
  const std::lock_guard lock(mutex_);
  Place* place = PlaceOf(handle);
  if (!place) return nullptr;
  ++place->generation;
  free_.push_back(static_cast<std::size_t>(place - places_.data()));
  return std::exchange(place->object, nullptr);
}

}  // namespace tavro
