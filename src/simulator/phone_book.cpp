#include "simulator/phone_book.h"

#include <algorithm>

#include "simulator/character_set.h"

namespace tavro {

namespace {

using Kind = AtCommand::Kind;

constexpr int kCapacity = 250, kLongestNumber = 20, kLongestName = 14;

bool IsOwnNumber(const ModemState& modem) { return modem.phoneBookMemory == "ON"; }
int Capacity(const ModemState& modem) { return IsOwnNumber(modem) ? 1 : kCapacity; }

// What the selected book holds, by location.
std::map<int, PhoneBookEntry> Entries(const ModemState& modem) {
  const std::string& own = modem.settings.ownNumber;
  if (!IsOwnNumber(modem)) return modem.phoneBook;
  return own.empty() ? std::map<int, PhoneBookEntry>() : std::map<int, PhoneBookEntry>{{1, {own, "Own"}}};
}

void AppendLine(CommandResult& result, const ModemState& modem, std::string_view command, int location,
                const PhoneBookEntry& entry) {
  if (!result.info.empty()) result.info += "\r\n";
  result.info += std::string(command) + ": " + std::to_string(location) + ",\"" + entry.number + "\"," +
                 (entry.number.starts_with('+') ? "145" : "129") + "," + Quoted(modem, entry.name);
}

CommandResult SelectBook(ModemState& modem, const AtCommand& command) {
  if (command.kind == Kind::kTest) return Info("+CPBS: (\"SM\",\"ON\")");
  if (command.kind == Kind::kRead) {
    return Info("+CPBS: \"" + modem.phoneBookMemory + "\"," + std::to_string(Entries(modem).size()) + "," +
                std::to_string(Capacity(modem)));
  }
  const std::string memory = InCapitals(DecodedWord(modem, command.Values()[0]));
  if (memory != "SM" && memory != "ON") return EquipmentError(kCmeNotAllowed);
  modem.phoneBookMemory = memory;
  return {};
}

std::string Limits() { return "," + std::to_string(kLongestNumber) + "," + std::to_string(kLongestName); }

// AT+CPBR=<first>[,<last>]; empty locations are left out.
CommandResult ReadBook(ModemState& modem, const AtCommand& command) {
  const int capacity = Capacity(modem);
  if (command.kind == Kind::kTest) return Info("+CPBR: (1-" + std::to_string(capacity) + ")" + Limits());
  const std::optional<int> first = command.Number();
  const int last = command.Number(1).value_or(first.value_or(0));
  if (command.kind != Kind::kSet || !first) return EquipmentError(kCmeBadParameter);
  if (*first < 1 || last < *first || last > capacity) return EquipmentError(kCmeBadIndex);
  CommandResult result;
  for (const auto& [location, entry] : Entries(modem)) {
    if (location >= *first && location <= last) AppendLine(result, modem, "+CPBR", location, entry);
  }
  return result;
}

// AT+CPBF=<beginning of a name>
CommandResult FindInBook(ModemState& modem, const AtCommand& command) {
  if (command.kind == Kind::kTest) return Info("+CPBF: " + Limits().substr(1));
  const std::optional<std::string> wanted = Decoded(modem, command.Values()[0]);
  if (command.kind != Kind::kSet || !wanted) return EquipmentError(kCmeBadParameter);
  CommandResult result;
  for (const auto& [location, entry] : Entries(modem)) {
    if (InCapitals(entry.name).starts_with(InCapitals(*wanted))) {
      AppendLine(result, modem, "+CPBF", location, entry);
    }
  }
  return result.info.empty() ? EquipmentError(kCmeNotFound) : result;
}

// AT+CPBW=[<location>][,<number>[,<type>[,<name>]]]; without a number the entry is deleted.
CommandResult WriteBook(ModemState& modem, const AtCommand& command) {
  if (command.kind == Kind::kTest) {
    return Info("+CPBW: (1-" + std::to_string(Capacity(modem)) + ")," + std::to_string(kLongestNumber) + ",(129,145)," +
                std::to_string(kLongestName));
  }
  if (command.kind != Kind::kSet) return EquipmentError(kCmeBadParameter);
  if (IsOwnNumber(modem)) return EquipmentError(kCmeNotAllowed);
  const std::vector<std::string> values = command.Values();
  int location = 1;
  if (values[0].empty()) {
    while (modem.phoneBook.contains(location)) ++location;
  } else {
    location = WholeNumber(values[0]).value_or(0);
  }
  if (location < 1 || location > kCapacity) return EquipmentError(kCmeBadIndex);
  if (values.size() < 2 || values[1].empty()) {
    modem.phoneBook.erase(location);
    return {};
  }
  const std::optional<std::string> name = Decoded(modem, values.size() > 3 ? values[3] : "");
  PhoneBookEntry entry{DecodedWord(modem, values[1]), name.value_or("")};
  if (command.Number(2) == 145 && !entry.number.starts_with('+')) entry.number.insert(0, "+");
  if (!name || entry.number.find_first_not_of("+0123456789*#p") != std::string::npos ||
      entry.number.size() > kLongestNumber) {
    return EquipmentError(kCmeBadParameter);
  }
  modem.phoneBook[location] = std::move(entry);
  return {};
}

constexpr CommandEntry kPhoneBookCommands[] = {
    {"+CPBS", SelectBook}, {"+CPBR", ReadBook}, {"+CPBF", FindInBook}, {"+CPBW", WriteBook}};

}  // namespace

std::span<const CommandEntry> PhoneBookCommands() { return kPhoneBookCommands; }

}  // namespace tavro
