// The commands of 3GPP TS 27.005 that list, read, delete, write and send messages.
#include <algorithm>
#include <utility>

#include "simulator/character_set.h"
#include "simulator/command_table.h"
#include "simulator/delivery.h"
#include "simulator/looped_message.h"
#include "simulator/network_time.h"
#include "simulator/text_mode.h"

namespace tavro {

namespace {

using Kind = AtCommand::Kind;

constexpr std::string_view kMemories = "(\"SM\",\"ME\",\"MT\")";

CommandResult Format(ModemState& modem, const AtCommand& command) {
  CommandResult result = RunOption(modem, command);
  return result.kind == CommandResult::Kind::kOk ? result : MessageError(kCmsNotSupported);
}

bool IsNumber(std::string_view number) {
  if (number.starts_with('+')) number.remove_prefix(1);
  return !number.empty() && number.size() <= 20 &&
         std::all_of(number.begin(), number.end(), [](char digit) { return digit >= '0' && digit <= '9'; });
}

// A number in a command, with its type of address behind it; "" when it is none.
std::string NumberIn(const ModemState& modem, const AtCommand& command, std::size_t index) {
  const std::vector<std::string> values = command.Values();
  std::string number = index < values.size() ? DecodedWord(modem, values[index]) : std::string();
  if (!IsNumber(number)) return {};
  if (command.Number(index + 1) == 145 && !number.starts_with('+')) number.insert(0, "+");
  return number;
}

CommandResult ServiceCentre(ModemState& modem, const AtCommand& command) {
  std::string& number = modem.settings.serviceCentre;
  if (command.kind == Kind::kTest) return {};
  if (command.kind == Kind::kRead) {
    return Info("+CSCA: " + Quoted(modem, number) + "," + (number.starts_with('+') ? "145" : "129"));
  }
  const std::string wanted = NumberIn(modem, command, 0);
  if (command.kind != Kind::kSet || wanted.empty()) return MessageError(kCmsBadPdu);
  number = wanted;
  return {};
}

CommandResult SelectMemories(ModemState& modem, const AtCommand& command) {
  if (command.kind == Kind::kTest) {
    return Info("+CPMS: " + std::string(kMemories) + "," + std::string(kMemories) + "," + std::string(kMemories));
  }
  if (command.kind == Kind::kSet) {
    const std::vector<std::string> values = command.Values();
    if (values.size() > modem.memories.size()) return MessageError(kCmsNotSupported);
    std::array<std::string, 3> wanted = modem.memories;  // what is not named stays
    for (std::size_t i = 0; i < values.size(); ++i) {
      if (values[i].empty()) continue;
      wanted[i] = InCapitals(values[i]);
      if (!MessageStore::IsMemory(wanted[i])) return MessageError(kCmsNotSupported);
    }
    modem.memories = wanted;
  } else if (command.kind != Kind::kRead) {
    return Error();
  }
  std::string text = "+CPMS: ";
  for (const std::string& memory : modem.memories) {
    if (command.kind == Kind::kRead) text += "\"" + memory + "\",";
    text += std::to_string(modem.store.Used(memory)) + "," + std::to_string(modem.store.Capacity(memory)) + ",";
  }
  text.pop_back();
  return Info(text);
}

// A message in the form that the settings give, or in text mode; with location 0 without one.
std::string Listed(const ModemState& modem, const StoredMessage& message, int location) {
  if (modem.Option("+CMGF") == 1) {
    return location == 0 ? ReadInTextMode(modem, message)
                         : std::to_string(location) + "," + ListedInTextMode(modem, message);
  }
  const ModemSettings& settings = modem.settings;
  std::string pdu = message.pdu, text = settings.listing;
  while (pdu.size() < 2 * static_cast<std::size_t>(settings.pduFilledTo)) pdu += "FF";
  const std::pair<std::string_view, std::string> kFields[] = {
      {"{location},", location == 0 ? "" : std::to_string(location) + ","},
      {"{stat}", std::to_string(message.stat)},
      {"{length}", std::to_string(TpduLength(message.pdu))},
      {"{pdu}", std::move(pdu)}};
  for (const auto& [name, value] : kFields) {
    const std::size_t at = text.find(name);
    if (at != std::string::npos) text.replace(at, name.size(), value);
  }
  return text;
}

void MarkRead(StoredMessage& message) {
  if (message.stat == 0) message.stat = 1;
}

CommandResult List(ModemState& modem, const AtCommand& command) {
  constexpr int kAll = 4;
  const bool isText = modem.Option("+CMGF") == 1;
  if (command.kind == Kind::kTest) {
    return Info(isText ? "+CMGL: (\"REC UNREAD\",\"REC READ\",\"STO UNSENT\",\"STO SENT\",\"ALL\")" : "+CMGL: (0-4)");
  }
  std::optional<int> stat = 0;
  if (command.kind != Kind::kExecute) {
    stat = isText ? StatFromText(InCapitals(DecodedWord(modem, command.Values()[0]))) : command.Number();
  }
  if (!stat || *stat > kAll) return MessageError(isText ? kCmsBadTextParameter : kCmsBadPdu);
  CommandResult result;
  modem.store.ForEach(modem.memories[0], [&](int location, StoredMessage& message) {
    if (*stat != kAll && message.stat != *stat && !modem.settings.listsEverything) return;
    if (!result.info.empty()) result.info += "\r\n";
    result.info += "+CMGL: " + Listed(modem, message, location);
    MarkRead(message);
  });
  return result;
}

CommandResult Read(ModemState& modem, const AtCommand& command) {
  if (command.kind == Kind::kTest) return {};
  StoredMessage* message = modem.store.Find(modem.memories[0], command.Number().value_or(0));
  if (!message) return MessageError(kCmsBadIndex);
  std::string text = "+CMGR: " + Listed(modem, *message, 0);
  MarkRead(*message);
  return Info(std::move(text));
}

// False when nothing is there. A message that waits takes its place.
bool Erase(ModemState& modem, int location) {
  const std::string& memory = modem.memories[0];
  const StoredMessage* message = modem.store.Find(memory, location);
  if (!message) return false;
  modem.deeds.push_back({ModemDeed::Kind::kDeleted, modem.nowMs, message->pdu, location, memory});
  modem.store.Erase(memory, location);
  if (!modem.waiting.empty()) {
    const std::string pdu = std::move(modem.waiting.front());
    modem.waiting.pop_front();
    ReceiveMessage(modem, pdu, modem.memories[2] == modem.memories[0] ? location : 0);
  }
  return true;
}

CommandResult Delete(ModemState& modem, const AtCommand& command) {
  const std::string& memory = modem.memories[0];
  if (command.kind == Kind::kTest) {
    std::string locations;
    modem.store.ForEach(memory, [&](int location, StoredMessage&) {
      locations += (locations.empty() ? "" : ",") + std::to_string(location);
    });
    return Info("+CMGD: (" + locations + "),(0-4)");
  }
  const std::optional<int> location = command.Number();
  const int flag = command.Number(1).value_or(0);
  if (command.kind != Kind::kSet || !location || flag > 4) return MessageError(kCmsBadIndex);
  if (flag == 0) return Erase(modem, *location) ? CommandResult{} : MessageError(kCmsBadIndex);
  // 1 the read ones, 2 and those sent, 3 and those not sent, 4 and those not read.
  constexpr int kFirstFlagOf[] = {4, 1, 3, 2};  // by stat
  std::vector<int> locations;
  modem.store.ForEach(memory, [&](int place, StoredMessage& message) {
    if (flag >= kFirstFlagOf[message.stat & 3]) locations.push_back(place);
  });
  for (const int place : locations) Erase(modem, place);
  return {};
}

// AT+CMGS=<da>[,<toda>] and AT+CMGW[=<da>[,<toda>[,<stat>]]]
CommandResult BeginText(ModemState& modem, const AtCommand& command) {
  constexpr int kStoredUnsent = 2;
  const bool sends = command.name == "+CMGS";
  const std::vector<std::string> values = command.Values();
  const std::string number = NumberIn(modem, command, 0);
  const bool hasNumber = command.kind == Kind::kSet && !values[0].empty();
  if (command.kind == Kind::kRead || (hasNumber ? number.empty() : sends)) return MessageError(kCmsBadTextParameter);
  const std::optional<int> stat = values.size() > 2 ? StatFromText(InCapitals(values[2])) : kStoredUnsent;
  if (!stat || *stat > 3) return MessageError(kCmsBadTextParameter);
  modem.entry = sends ? ModemState::Entry::kSend : ModemState::Entry::kWrite;
  modem.entryIsText = true;
  modem.entryNumber = number;
  modem.entryStat = *stat;
  return {CommandResult::Kind::kPrompt, 0, {}};
}

CommandResult BeginEntry(ModemState& modem, const AtCommand& command) {
  constexpr int kLongestTpdu = 164, kStoredUnsent = 2;
  if (command.kind == Kind::kTest) return {};
  if (modem.Option("+CMGF") == 1) return BeginText(modem, command);
  const std::optional<int> length = command.Number();
  const int stat = command.Number(1).value_or(kStoredUnsent);
  if (command.kind != Kind::kSet || !length || *length < 7 || *length > kLongestTpdu || stat > 3) {
    return MessageError(kCmsBadPdu);
  }
  modem.entry = command.name == "+CMGS" ? ModemState::Entry::kSend : ModemState::Entry::kWrite;
  modem.entryIsText = false;
  modem.entryLength = *length;
  modem.entryStat = stat;
  return {CommandResult::Kind::kPrompt, 0, {}};
}

// To another number when there is one.
CommandResult Send(ModemState& modem, std::string_view pduHex, std::string_view answer, std::string_view number = {}) {
  const std::optional<std::string> octets = OctetsFromHex(pduHex);
  std::optional<SubmittedMessage> message = octets ? ParseSubmit(*octets) : std::nullopt;
  const ModemSettings& settings = modem.settings;
  if (!message) return MessageError(kCmsBadPdu);
  if (!number.empty()) message->destination = AddressField(number);
  if (message->serviceCentre.empty() && settings.serviceCentre.empty()) return MessageError(kCmsNoServiceCentre);
  if (!modem.IsRegistered()) return MessageError(kCmsNoNetwork);
  const int reference = modem.nextReference;
  modem.nextReference = (reference + 1) & 255;
  modem.deeds.push_back({ModemDeed::Kind::kSent, modem.nowMs, std::string(pduHex), reference});
  const NetworkView network{settings.serviceCentre, settings.ownNumber,
                            TimeStampOctets(modem.NetworkClock(), settings.zoneMinutes)};
  const bool comesBack = IsSameSubscriber(message->DestinationNumber(), settings.ownNumber);
  if (comesBack) ReceiveMessage(modem, MakeDeliver(*message, network));
  if (message->WantsReport() && (comesBack || settings.reportsForeign))
    ReportLater(modem, *message, reference, network);
  return Info(std::string(answer) + std::to_string(reference));
}

CommandResult SendStored(ModemState& modem, const AtCommand& command) {
  if (command.kind == Kind::kTest) return {};
  StoredMessage* message = modem.store.Find(modem.memories[1], command.Number().value_or(0));
  if (!message) return MessageError(kCmsBadIndex);
  const std::vector<std::string> values = command.Values();
  const std::string number = NumberIn(modem, command, 1);
  if (values.size() > 1 && number.empty()) return MessageError(kCmsBadTextParameter);
  CommandResult result = Send(modem, message->pdu, "+CMSS: ", number);
  constexpr int kStoredSent = 3;
  if (result.kind == CommandResult::Kind::kOk) message->stat = kStoredSent;
  return result;
}

constexpr CommandEntry kMessageCommands[] = {
    {"+CMGF", Format}, {"+CSDH", Format}, {"+CSCA", ServiceCentre}, {"+CPMS", SelectMemories}, {"+CMGL", List},
    {"+CMGR", Read},   {"+CMGD", Delete}, {"+CMGS", BeginEntry},    {"+CMGW", BeginEntry},     {"+CMSS", SendStored},
};

}  // namespace

std::span<const CommandEntry> MessageCommands() { return kMessageCommands; }

CommandResult RunEntry(ModemState& modem, ModemState::Entry entry, std::string_view text) {
  using Entry = ModemState::Entry;
  if (entry == Entry::kUnexpected) return Error();
  std::string pduHex(text);
  if (modem.entryIsText) {
    std::optional<std::string> made = MakeSubmit(modem, modem.entryNumber, text);
    if (!made) return MessageError(kCmsBadTextParameter);
    pduHex = std::move(*made);
  } else {
    const bool isAcknowledgement = entry == Entry::kAcknowledge || entry == Entry::kRefuse;
    const int length = isAcknowledgement ? static_cast<int>(pduHex.size() / 2) : TpduLength(pduHex);
    if (!OctetsFromHex(pduHex) || length != modem.entryLength) return MessageError(kCmsBadPdu);
    if (isAcknowledgement) {
      return Acknowledge(modem, entry == Entry::kAcknowledge) ? CommandResult{}
                                                              : MessageError(kCmsNothingToAcknowledge);
    }
  }
  if (entry == Entry::kSend) return Send(modem, pduHex, "+CMGS: ");
  const int location = modem.store.Put(modem.memories[1], pduHex, modem.entryStat);
  return location == 0 ? MessageError(kCmsFull) : Info("+CMGW: " + std::to_string(location));
}

}  // namespace tavro
