#include "simulator/modem_machine.h"

#include <algorithm>

#include "simulator/at_command.h"
#include "simulator/command_table.h"
#include "simulator/delivery.h"

namespace tavro {

namespace {

constexpr char kBackspace = 8, kDelete = 127, kEndOfPdu = 26, kEscape = 27;
constexpr std::size_t kLongestLine = 1024;  // of a command or a PDU

bool IsEntryCommand(std::string_view capitals) {
  return capitals.starts_with("AT+CMGS=") || capitals.starts_with("AT+CMGW=");
}

bool HoldsPrompt(const ModemReply& reply) {
  return std::any_of(reply.pieces.begin(), reply.pieces.end(),
                     [](const ModemReply::Piece& piece) { return piece.bytes.find('>') != std::string::npos; });
}

bool EndsAtPrompt(const ModemReply& reply) {
  return !reply.pieces.empty() && reply.pieces.back().bytes.ends_with("> ");
}

}  // namespace

// Runs the commands until one fails or waits for a PDU.
ModemAnswer ModemMachine::RunCommands(std::string_view text) {
  const std::optional<std::vector<AtCommand>> parsed = ParseCommands(text);
  if (!parsed) return AnswerText(modem, Error());
  CommandResult result;
  std::string texts;
  for (std::size_t i = 0; i < parsed->size(); ++i) {
    result = RunCommand(modem, (*parsed)[i]);
    if (result.kind != CommandResult::Kind::kOk) break;
    if (i + 1 < parsed->size()) texts += InfoText(modem, result.info);
  }
  ModemAnswer answer = AnswerText(modem, result);
  answer.text.insert(0, texts);
  return answer;
}

template <typename Execute>
void ModemMachine::Reply(std::vector<Rule>& rules, std::string_view command, Execute execute) {
  const auto rule =
      std::find_if(rules.begin(), rules.end(), [&](const Rule& each) { return each.pattern.Applies(command); });
  ModemReply reply = ModemReply::Own();
  if (rule != rules.end()) {
    rule->pattern.Count();
    reply = rule->reply;
  }
  ModemAnswer own;
  if (reply.executed || (IsEntryCommand(command) && HoldsPrompt(reply))) {
    own = execute();
  } else if (command != SimulatedModem::kPdu && EndsAtPrompt(reply)) {
    modem.entry = ModemState::Entry::kUnexpected;
  }
  if (command == SimulatedModem::kPdu) reply.delayMs += modem.settings.sendMs;
  speech.Answer(command, reply, std::move(own), modem.nowMs);
  DeliverHeld(modem);
  FlushUnsolicited();
}

void ModemMachine::RunEvents(std::int64_t untilMs) {
  while (!modem.events.empty() && modem.events.begin()->first <= untilMs) {
    modem.RunNextEvent();
    DeliverHeld(modem);
    FlushUnsolicited();
  }
}

void ModemMachine::FlushEcho() {
  if (echo.empty()) return;
  speech.Add(modem.nowMs, std::move(echo));
  echo.clear();
}

void ModemMachine::FlushUnsolicited() {
  for (const std::string& text : modem.unsolicited) speech.AddLineBehind(modem.nowMs, text);
  modem.unsolicited.clear();
}

void ModemMachine::MoveTo(std::int64_t nowMs) {
  if (!lineLost) RunEvents(nowMs);
  modem.nowMs = nowMs;
}

void ModemMachine::LoseLine() {
  lineLost = true;
  ++lineLosses;
  speech.Clear();
  line.clear();
  echo.clear();
  modem.entry = ModemState::Entry::kNone;
}

void ModemMachine::Receive(std::string_view bytes) {
  for (const char byte : bytes) {
    if (lineLost) return;
    speech.Interrupt();
    ReceiveByte(byte);
  }
  FlushEcho();
}

void ModemMachine::ReceiveByte(char byte) {
  const bool isEntry = modem.entry != ModemState::Entry::kNone;
  // A line feed behind a carriage return would come back behind the answer.
  const bool isEchoed = byte != '\n' && byte != kEndOfPdu && byte != kEscape;
  if (modem.settings.echo && isEchoed && modem.settings.deafCommands == 0) echo += byte;
  const bool isText = isEntry && modem.entryIsText && modem.entry != ModemState::Entry::kUnexpected;
  if (byte == kBackspace || (byte == kDelete && !isText)) {
    if (!line.empty()) line.pop_back();
  } else if (isEntry && byte == kEndOfPdu) {
    EndEntry();
  } else if (isEntry && byte == kEscape) {
    CancelEntry();
  } else if (!isEntry && byte == '\r') {
    EndLine();
  } else if (!isEntry && byte == '/' && (line == "A" || line == "a")) {
    line.clear();
    Run(repeatable);
  } else if (isText && byte == '\r') {
    line += '\n';
    FlushEcho();
    speech.Add(modem.nowMs, "\r\n> ");
  } else if ((isText ? byte != '\n' : static_cast<unsigned char>(byte) >= ' ') && line.size() <= kLongestLine) {
    line += byte;  // in the GSM alphabet the codes below the blank are characters too, and that of kDelete is
  }
}

void ModemMachine::EndLine() {
  const std::size_t attention = FindAttention(line);
  std::string text = attention == std::string::npos ? std::string() : line.substr(attention);
  const bool isTooLong = line.size() > kLongestLine;
  line.clear();
  Run(std::move(text), isTooLong);
}

void ModemMachine::Run(std::string text, bool isTooLong) {
  FlushEcho();
  if (text.empty()) return;
  commands.push_back({modem.nowMs, text});
  if (modem.settings.deafCommands > 0) {
    --modem.settings.deafCommands;
    return;
  }
  if (commandsToLoss == 0) return LoseLine();
  if (commandsToLoss > 0) --commandsToLoss;
  repeatable = text;
  Reply(commandRules, InCapitals(text),
        [&] { return isTooLong ? AnswerText(modem, Error()) : RunCommands(std::string_view(text).substr(2)); });
}

void ModemMachine::EndEntry() {
  FlushEcho();
  pdus.push_back({modem.nowMs, std::exchange(line, {})});
  const std::string& pdu = pdus.back().text;
  const ModemState::Entry entry = std::exchange(modem.entry, ModemState::Entry::kNone);
  Reply(pduRules, SimulatedModem::kPdu, [&] { return AnswerText(modem, RunEntry(modem, entry, pdu)); });
}

void ModemMachine::CancelEntry() {
  FlushEcho();
  line.clear();
  modem.entry = ModemState::Entry::kNone;
  speech.Answer("ESC", ModemReply::Own(), AnswerText(modem, {}), modem.nowMs);
}

}  // namespace tavro
