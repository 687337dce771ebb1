#include "simulator/message_store.h"

#include <algorithm>

namespace tavro {

bool MessageStore::IsMemory(std::string_view memory) { return memory == "SM" || memory == "ME" || memory == "MT"; }

int MessageStore::Capacity(std::string_view memory) const {
  return (memory != "ME" ? settings_.simCapacity : 0) + (memory != "SM" ? settings_.phoneCapacity : 0);
}

int MessageStore::Used(std::string_view memory) const {
  return static_cast<int>((memory != "ME" ? sim_.messages.size() : 0) + (memory != "SM" ? phone_.messages.size() : 0));
}

int MessageStore::Memory::FindFree(int capacity) {
  while (messages.contains(firstFree)) ++firstFree;
  return firstFree <= capacity ? firstFree : 0;
}

MessageStore::Memory& MessageStore::Select(std::string_view memory, int& location) {
  if (memory == "SM" || (memory == "MT" && location <= settings_.simCapacity)) return sim_;
  if (memory == "MT") location -= settings_.simCapacity;
  return phone_;
}

int MessageStore::Put(std::string_view memory, std::string_view pdu, int stat, int location) {
  if (location == 0) {
    if (memory == "MT") {
      const int onSim = Put("SM", pdu, stat);
      if (onSim != 0) return onSim;
      const int inPhone = Put("ME", pdu, stat);
      return inPhone == 0 ? 0 : inPhone + settings_.simCapacity;
    }
    location = memory == "SM" ? sim_.FindFree(settings_.simCapacity) : phone_.FindFree(settings_.phoneCapacity);
    if (location == 0) return 0;
  }
  int within = location;
  Select(memory, within).messages[within] = {within, stat, std::string(pdu)};
  return location;
}

StoredMessage* MessageStore::Find(std::string_view memory, int location) {
  Memory& selected = Select(memory, location);
  const auto found = selected.messages.find(location);
  return found == selected.messages.end() ? nullptr : &found->second;
}

bool MessageStore::Erase(std::string_view memory, int location) {
  Memory& selected = Select(memory, location);
  if (selected.messages.erase(location) == 0) return false;
  selected.firstFree = std::min(selected.firstFree, std::max(location, 1));
  return true;
}

}  // namespace tavro
