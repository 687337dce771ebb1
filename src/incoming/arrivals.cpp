//   line      = stored / delivered
//   stored    = ( "+CMTI:" / "+CDSI:" ) memory "," location
//   memory    = "SM" in quotes, which some modems leave out
//   delivered = ( "+CMT:" [alpha] "," / "+CDS:" ) length line-end pdu
#include "incoming/arrivals.h"

#include <algorithm>
#include <limits>
#include <utility>

#include "base/text.h"
#include "link/answer_fields.h"

namespace tavro {

namespace {

// Of what is told of and not read yet. More places than these are listed.
constexpr std::size_t kMaxPlaces = 1000, kMaxArrivals = 32767;

bool IsSamePlace(const Arrival& a, const Arrival& b) {
  return a.kind == Arrival::Kind::kPlace && b.kind == a.kind && a.location == b.location && a.memory == b.memory;
}

}  // namespace

bool Arrivals::Take(std::string_view line, std::uint64_t heard, int connection) {
  const std::string capitals = Upper(line.substr(0, 6));
  const std::string_view prefix = std::string_view(capitals).substr(0, capitals.find(':'));
  if (prefix.size() == capitals.size()) return false;
  std::string_view rest = line.substr(prefix.size() + 1);
  const bool isReport = prefix.starts_with("+CDS");
  if (prefix == "+CMT" || prefix == "+CDS") {
    Add({.kind = Arrival::Kind::kDelivered,
         .isReport = isReport,
         .entry = Upper(rest),
         .heard = heard,
         .connection = connection});
    return true;
  }
  if (prefix != "+CMTI" && prefix != "+CDSI") return false;
  const AnswerFieldList fields = QuotedFields(rest);
  int location = 0;
  if (fields.size() < 2 || !ParseWhole(fields[1], location) || location < 0 ||
      location > std::numeric_limits<std::int16_t>::max()) {
    placeUnknown_ = true;
    return true;
  }
  Add({.isReport = isReport,
       .memory = Upper(fields[0]),
       .location = static_cast<std::int16_t>(location),
       .heard = heard,
       .connection = connection});
  return true;
}

// A place that is told of twice is read once.
void Arrivals::Add(Arrival arrival) {
  const bool isPlace = arrival.kind == Arrival::Kind::kPlace;
  if (isPlace && queue_.size() >= kMaxPlaces) {
    placeUnknown_ = true;
    return;
  }
  const bool isKnown = isPlace && std::any_of(queue_.begin(), queue_.end(),
                                              [&](const Arrival& other) { return IsSamePlace(arrival, other); });
  if (isKnown) return;
  if (queue_.size() < kMaxArrivals) {
    queue_.push_back(std::move(arrival));
  } else {
    placeUnknown_ = true;
  }
}

Arrival Arrivals::Next() {
  Arrival arrival = std::move(queue_.front());
  queue_.pop_front();
  return arrival;
}

void Arrivals::ForgetPlaces() {
  std::erase_if(queue_,
                [](const Arrival& arrival) { return arrival.kind == Arrival::Kind::kPlace && !arrival.isReport; });
}

}  // namespace tavro
