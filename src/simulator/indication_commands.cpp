// The commands of 3GPP TS 27.005 that say what an application is told of messages from the network.
#include <algorithm>

#include "simulator/command_table.h"
#include "simulator/delivery.h"

namespace tavro {

namespace {

using Kind = AtCommand::Kind;

CommandResult Service(ModemState& modem, const AtCommand& command) {
  if (command.kind == Kind::kTest) return Info("+CSMS: (0,1)");
  if (command.kind == Kind::kRead) return Info("+CSMS: " + std::to_string(modem.service) + ",1,1,1");
  const std::optional<int> service = command.Number();
  if (!service || *service > 1) return MessageError(kCmsNotSupported);
  modem.service = *service;
  return Info("+CSMS: 1,1,1");
}

// What was buffered in mode 0 is given or dropped.
void FlushBuffered(ModemState& modem) {
  constexpr int kFlushes = 0;
  if (modem.indications[0] == 0) return;
  if (modem.indications[4] == kFlushes) {
    modem.unsolicited.insert(modem.unsolicited.end(), modem.buffered.begin(), modem.buffered.end());
  }
  modem.buffered.clear();
}

CommandResult Indications(ModemState& modem, const AtCommand& command) {
  constexpr std::array kLargest = {3, 3, 3, 2, 1};
  if (command.kind == Kind::kTest) return Info("+CNMI: (0-3),(0-3),(0-3),(0-2),(0,1)");
  if (command.kind == Kind::kRead) {
    std::string text = "+CNMI: ";
    for (const int value : modem.indications) text += std::to_string(value) + ",";
    text.pop_back();
    return Info(text);
  }
  const std::vector<std::string> values = command.Values();
  if (command.kind != Kind::kSet || values.size() > modem.indications.size()) return MessageError(kCmsNotSupported);
  std::array<int, 5> wanted{};  // what is not named is 0
  for (std::size_t i = 0; i < values.size(); ++i) {
    if (values[i].empty()) continue;
    const std::optional<int> value = WholeNumber(values[i]);
    if (!value || *value > kLargest[i]) return MessageError(kCmsNotSupported);
    wanted[i] = *value;
  }
  modem.indications = wanted;
  FlushBuffered(modem);
  return {};
}

// AT+CNMA, and in PDU mode AT+CNMA=<n>[,<length>] with a PDU behind the prompt, of which the network makes nothing.
CommandResult AcknowledgeNew(ModemState& modem, const AtCommand& command) {
  constexpr int kRefuses = 2;
  if (command.kind == Kind::kTest) return modem.Option("+CMGF") == 1 ? CommandResult{} : Info("+CNMA: (0-2)");
  const int how = command.kind == Kind::kExecute ? 0 : command.Number().value_or(kRefuses + 1);
  if (command.kind == Kind::kRead || how > kRefuses) return MessageError(kCmsNotSupported);
  if (!modem.unacknowledged) return MessageError(kCmsNothingToAcknowledge);
  if (const int length = command.Number(1).value_or(0); length > 0) {
    modem.entry = how == kRefuses ? ModemState::Entry::kRefuse : ModemState::Entry::kAcknowledge;
    modem.entryIsText = false;
    modem.entryLength = length;
    return {CommandResult::Kind::kPrompt, 0, {}};
  }
  Acknowledge(modem, how != kRefuses);
  return {};
}

constexpr CommandEntry kIndicationCommands[] = {{"+CSMS", Service}, {"+CNMI", Indications}, {"+CNMA", AcknowledgeNew}};

}  // namespace

std::span<const CommandEntry> IndicationCommands() { return kIndicationCommands; }

}  // namespace tavro
