// What the modem tells of messages and reports that have come (3GPP TS 27.005, 3.4.1).
#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

namespace tavro {

struct Arrival {
  enum class Kind : std::uint8_t {
    kPlace,      // something was stored at a location
    kDelivered,  // the PDU itself, which the modem has nowhere
  };

  Kind kind = Kind::kPlace;
  bool isReport = false;       // a status report, as the modem says
  std::string memory = {};     // kPlace: "SM"
  std::int16_t location = -1;  // kPlace
  std::string entry = {};      // kDelivered: what stands behind the prefix, in capitals
  std::uint64_t heard = 0;     // how many lines the modem had said of its own accord
  int connection = 0;          // the one that told of it
  int attempts = 0;            // to read it that failed
};

// Kept from the time that they are told of, whatever dialogue is under way, until they are read.
class Arrivals {
 public:
  // A line of the modem's own accord, the `heard`th, under that connection; "+CMT" and "+CDS" with their PDU. Whether
  // it told of an arrival. One that cannot be understood is an arrival at a place that is not known.
  bool Take(std::string_view line, std::uint64_t heard, int connection);

  bool IsEmpty() const { return queue_.empty(); }
  Arrival Next();
  // One that could not be read yet comes first again.
  void PutBack(Arrival arrival) { queue_.push_front(std::move(arrival)); }
  // Behind another connection places are listed; a report's may be in a memory that is not.
  void ForgetPlaces();

  // Whether something came of which the place is not known: what is unread has to be listed.
  bool IsPlaceUnknown() const { return placeUnknown_; }
  void SetPlaceUnknown(bool unknown) { placeUnknown_ = unknown; }

 private:
  void Add(Arrival arrival);

  std::deque<Arrival> queue_;
  bool placeUnknown_ = false;
};

}  // namespace tavro
