// What a tavro_list stands for: elements as structures of the C interface, and the texts and arrays that they point to.
#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "c/arguments.h"
#include "c/handle_table.h"
#include "tavro/message.h"
#include "tavro/tavro.h"

namespace tavro {

// Keeps what structures point to.
class Arena {
 public:
  tavro_text Keep(std::u16string_view text);
  // In the system's code page.
  tavro_text KeepBytes(std::string text);
  const std::uint8_t* Keep(std::vector<std::uint8_t> octets);
  const std::int32_t* Keep(const std::vector<int>& numbers);
  const tavro_waiting* Keep(const std::vector<WaitingMessages>& waiting);

 private:
  // Whose elements stay where they are.
  std::deque<std::string> texts_;
  std::deque<std::vector<std::uint8_t>> octets_;
  std::deque<std::vector<std::int32_t>> numbers_;
  std::deque<std::vector<tavro_waiting>> waiting_;
};

// It does not change any more once it has a handle, so that every thread may read it.
class List : public Handled {
 public:
  virtual std::size_t Count() const = 0;

  Arena arena;
};

template <class Element>
class ListOf : public List {
 public:
  std::size_t Count() const override { return elements.size(); }

  std::vector<Element> elements;
};

// Gives an element; of a list of another kind it fails.
template <class Element>
int GiveElement(tavro_list* handle, std::size_t index, Element* out) noexcept {
  return PlainCall([&] {
    const auto list = ObjectOf<ListOf<Element>>(handle);
    SizeOf(out);
    if (index >= list->elements.size()) throw Misuse{TAVRO_NOT_IN_LIST, "The list has fewer elements"};
    WriteStructure(out, list->elements[index]);
  });
}

// Whom a new list belongs to; where nobody wants it, it goes.
inline void GiveList(std::shared_ptr<List> list, tavro_list** out) {
  if (out) *out = MakeHandle<tavro_list>(std::move(list));
}

// An OLE Automation date in the local time of a zone, in minutes from UTC, as seconds since 1970-01-01 00:00 UTC; 0,
// which stands for no date, is TAVRO_NO_TIME.
std::int64_t UnixTime(double date, std::int16_t zone);

template <class Value>
std::int32_t NumberOr(const std::optional<Value>& value, std::int32_t none) {
  return value ? std::int32_t{*value} : none;
}

}  // namespace tavro
