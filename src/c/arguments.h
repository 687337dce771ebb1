// What a program gives to a call of the C interface, and where it wants the answer: looked at before anything is done.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>
#include <string_view>
#include <type_traits>

#include "c/failure.h"

namespace tavro {

inline constexpr tavro_text kNoText{"", 0};

inline void Require(bool condition, const char* text) {
  if (!condition) throw Misuse{TAVRO_INVALID_ARGUMENT, text};
}

// A text that must be there and be UTF-8, as UTF-16.
std::u16string TextArgument(const char* text);
std::u16string TextArgument(const char* text, std::size_t length);
// One that may be NULL, which stands for `fallback`.
std::u16string TextArgument(const char* text, std::u16string_view fallback);

// 0 or 1.
bool TruthArgument(std::int32_t value);
// A number for what takes short ones. One that does not fit stays too large, or too small.
inline std::int16_t ShortOf(std::int32_t value) {
  return static_cast<std::int16_t>(std::clamp<std::int32_t>(value, INT16_MIN, INT16_MAX));
}
// TAVRO_LONG_... as a LongMessageType, and the other way round. What is neither stays.
inline std::int32_t LongMessageOf(std::int32_t value) { return value == 0 ? 3 : value == 3 ? 0 : value; }

// Nothing in the place of an answer that a failing call does not give. The place may be NULL.
template <class Answer>
void Clear(Answer* answer, Answer nothing = {}) {
  if (answer) *answer = nothing;
}

// The size of a structure as the program has it. Structures end where their alignment does, and have no gaps, so that
// one of an earlier version ends between two members. A size that no version had may cut a text or an array in two.
template <class Structure>
std::size_t SizeOf(const Structure* structure) {
  constexpr std::size_t kMost = 4096;  // more is no size
  static_assert(std::is_trivially_copyable_v<Structure> && offsetof(Structure, struct_size) == 0);
  Require(structure != nullptr, "A structure is NULL");
  const std::size_t size = structure->struct_size;
  Require(size >= alignof(Structure) && size % alignof(Structure) == 0 && size <= kMost,
          "struct_size is no size of this structure");
  return size;
}

// A structure of options: what a shorter one lacks is 0, what a longer one has more must be.
template <class Structure>
Structure ReadStructure(const Structure* given) {
  const std::size_t size = SizeOf(given);
  const auto* bytes = reinterpret_cast<const unsigned char*>(given);
  Require(std::all_of(bytes + std::min(size, sizeof(Structure)), bytes + size, [](unsigned char c) { return c == 0; }),
          "A structure has values that this version does not know");
  Structure structure{};
  std::memcpy(&structure, bytes, std::min(size, sizeof(Structure)));
  return structure;
}

// A structure to give back, but for its size: as much as the program has room for, and 0 for what it has more.
template <class Structure>
void WriteStructure(Structure* out, Structure structure) {
  const std::size_t size = SizeOf(out);
  structure.struct_size = out->struct_size;
  auto* bytes = reinterpret_cast<unsigned char*>(out);
  std::memcpy(bytes, &structure, std::min(size, sizeof(Structure)));
  if (size > sizeof(Structure)) std::memset(bytes + sizeof(Structure), 0, size - sizeof(Structure));
}

}  // namespace tavro
