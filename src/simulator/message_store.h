// The message memories of a simulated modem (3GPP TS 27.005, 3.2.2).
#pragma once

#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "simulator/modem_settings.h"

namespace tavro {

struct StoredMessage {
  int location = 0;
  int stat = 0;     // 0 received unread, 1 received read, 2 stored unsent, 3 stored sent
  std::string pdu;  // hexadecimal digits, service centre field first; kept as given, also when it is no PDU
};

// "SM" and "ME", and "MT", which is both: there the locations of ME follow those of SM.
class MessageStore {
 public:
  explicit MessageStore(const ModemSettings& settings) : settings_(settings) {}

  static bool IsMemory(std::string_view memory);
  int Capacity(std::string_view memory) const;
  int Used(std::string_view memory) const;

  // The location; with location 0 the first free one, or 0 when the memory is full.
  int Put(std::string_view memory, std::string_view pdu, int stat, int location = 0);
  // Null when there is none. The location in the message is that within SM or ME.
  StoredMessage* Find(std::string_view memory, int location);
  bool Erase(std::string_view memory, int location);
  // Every message, with its location in that memory, in the order of the locations.
  template <typename Visitor>
  void ForEach(std::string_view memory, Visitor visit) {
    if (memory != "ME") {
      for (auto& [location, message] : sim_.messages) visit(location, message);
    }
    if (memory != "SM") {
      const int offset = memory == "MT" ? settings_.simCapacity : 0;
      for (auto& [location, message] : phone_.messages) visit(location + offset, message);
    }
  }

 private:
  struct Memory {
    std::map<int, StoredMessage> messages;
    int firstFree = 1;  // none is free below

    int FindFree(int capacity);
  };

  // The memory that the location is in, which is then the location there.
  Memory& Select(std::string_view memory, int& location);

  const ModemSettings& settings_;
  Memory sim_, phone_;
};

}  // namespace tavro
