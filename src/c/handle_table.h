// The handles of the C interface: numbers that stand for objects, and can be told from those that do not any more.
//
//   handle = generation index 1     (the number of the place in the table, 24 bits, or 14 where a pointer has 32; 1
//   bit)
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <mutex>
#include <vector>

#include "c/failure.h"

namespace tavro {

// What a handle stands for.
class Handled {
 public:
  Handled() = default;
  virtual ~Handled() = default;
  Handled(const Handled&) = delete;
  Handled& operator=(const Handled&) = delete;
};

// For any thread.
class HandleTable {
 public:
  static HandleTable& Instance();

  // A handle that no object had before, but for tens of thousands of objects ago. Throws Misuse when there are too
  // many.
  std::uintptr_t Add(std::shared_ptr<Handled> object);
  // Null when the handle stands for nothing.
  std::shared_ptr<Handled> Find(std::uintptr_t handle);
  // Has the handle stand for nothing, and returns what it stood for.
  std::shared_ptr<Handled> Remove(std::uintptr_t handle);

 private:
  static constexpr int kIndexBits = sizeof(std::uintptr_t) > 4 ? 24 : 14;
  static constexpr std::size_t kMostPlaces = std::size_t{1} << kIndexBits;

  struct Place {
    std::uintptr_t generation = 0;
    std::shared_ptr<Handled> object;
  };

  HandleTable();
  Place* PlaceOf(std::uintptr_t handle);

  std::mutex mutex_;
  std::vector<Place> places_;
  std::vector<std::size_t> free_;
};

inline constexpr Misuse kInvalidHandle{TAVRO_INVALID_HANDLE, "The handle is invalid, or has been closed"};

// What a handle of this kind stands for; throws Misuse when it stands for nothing, or for something else.
template <class Object, class Handle>
std::shared_ptr<Object> ObjectOf(Handle* handle) {
  auto object =
      std::dynamic_pointer_cast<Object>(HandleTable::Instance().Find(reinterpret_cast<std::uintptr_t>(handle)));
  if (!object) throw kInvalidHandle;
  return object;
}

template <class Handle>
Handle* MakeHandle(std::shared_ptr<Handled> object) {
  return reinterpret_cast<Handle*>(HandleTable::Instance().Add(std::move(object)));
}

}  // namespace tavro
