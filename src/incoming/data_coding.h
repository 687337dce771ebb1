// The data coding scheme of a message (3GPP TS 23.038, 4).
#pragma once

#include <optional>

#include "tavro/message.h"

namespace tavro {

struct DataCoding {
  enum class Alphabet : unsigned char { kGsm, kOctets, kUcs2 };

  Alphabet alphabet = Alphabet::kGsm;  // of the user data; kOctets also for what is compressed
  std::optional<int> messageClass;
  std::optional<WaitingMessages> waiting;
};

// Of any octet: a reserved code means the default alphabet, a reserved bit nothing.
DataCoding ReadDataCoding(int scheme);

}  // namespace tavro
