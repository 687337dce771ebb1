#include "c/lists.h"

#include <utility>

#include "base/calendar.h"
#include "platform/utf8.h"

namespace tavro {

tavro_text Arena::Keep(std::u16string_view text) { return KeepBytes(ToUtf8(text)); }

tavro_text Arena::KeepBytes(std::string text) {
  const std::string& kept = texts_.emplace_back(std::move(text));
  return {kept.data(), kept.size()};
}

const std::uint8_t* Arena::Keep(std::vector<std::uint8_t> octets) {
  return octets_.emplace_back(std::move(octets)).data();
}

const std::int32_t* Arena::Keep(const std::vector<int>& numbers) {
  return numbers_.emplace_back(numbers.begin(), numbers.end()).data();
}

const tavro_waiting* Arena::Keep(const std::vector<WaitingMessages>& waiting) {
  auto& kept = waiting_.emplace_back();
  for (const WaitingMessages& messages : waiting) {
    kept.push_back({static_cast<std::int32_t>(messages.kind), messages.active ? 1 : 0, NumberOr(messages.count, -1)});
  }
  return kept.data();
}

std::int64_t UnixTime(double date, std::int16_t zone) {
  if (date == 0) return TAVRO_NO_TIME;
  const DateTime time = FromOleDate(date);
  const std::int64_t minutes =
      (DaysFromCivil(time.year, time.month, time.day) * 24 + time.hour) * 60 + time.minute - zone;
  return minutes * 60 + time.second;
}

}  // namespace tavro

using namespace tavro;

int tavro_list_count(tavro_list* list, std::size_t* count) {
  Clear(count);
  return PlainCall([&] {
    const auto object = ObjectOf<List>(list);
    Require(count != nullptr, "There is no place for the count");
    *count = object->Count();
  });
}

int tavro_list_free(tavro_list* list) {
  return PlainCall([&] {
    const auto object = ObjectOf<List>(list);
    HandleTable::Instance().Remove(reinterpret_cast<std::uintptr_t>(list));
  });
}

int tavro_message_at(tavro_list* list, std::size_t index, tavro_message* message) {
  return GiveElement(list, index, message);
}

int tavro_report_at(tavro_list* list, std::size_t index, tavro_report* report) {
  return GiveElement(list, index, report);
}

int tavro_memory_at(tavro_list* list, std::size_t index, tavro_memory* memory) {
  return GiveElement(list, index, memory);
}

int tavro_device_at(tavro_list* list, std::size_t index, tavro_device* device) {
  return GiveElement(list, index, device);
}

int tavro_pdu_field_at(tavro_list* fields, std::size_t index, tavro_pdu_field* field) {
  return GiveElement(fields, index, field);
}

int tavro_pdu_part_at(tavro_list* parts, std::size_t index, tavro_pdu_part* part) {
  return GiveElement(parts, index, part);
}
