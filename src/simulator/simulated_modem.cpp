#include "simulator/simulated_modem.h"

#include <algorithm>
#include <utility>

#include "simulator/at_command.h"
#include "simulator/command_pattern.h"
#include "simulator/command_table.h"
#include "simulator/delivery.h"
#include "simulator/long_message.h"
#include "simulator/modem_answer.h"
#include "simulator/modem_speech.h"
#include "simulator/modem_state.h"
#include "simulator/network_time.h"
#include "simulator/ussd.h"

namespace tavro {

namespace {

constexpr char kBackspace = 8, kDelete = 127, kEndOfPdu = 26, kEscape = 27;
constexpr std::size_t kLongestLine = 1024;  // of a command or a PDU

struct Rule {
  CommandPattern pattern;
  ModemReply reply;
};

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

struct SimulatedModem::State {
  explicit State(ModemSettings settings) : modem(std::move(settings)) {}

  ModemState modem;
  ModemSpeech speech{modem.settings};
  std::string line;        // the command line or PDU that is coming in
  std::string repeatable;  // the last command line, for "A/"
  std::string echo;
  std::vector<Rule> commandRules, pduRules;
  bool hasStarted = false;
  bool lineLost = false;
  int lineLosses = 0;
  int commandsToLoss = -1;
  std::vector<Received> commands, pdus;

  void Receive(std::string_view bytes);
  void ReceiveByte(char byte);
  void EndLine();
  void Run(std::string text, bool isTooLong = false);
  void EndPdu();
  void CancelPdu();
  ModemAnswer RunCommands(std::string_view text);
  template <typename Execute>
  void Reply(std::vector<Rule>& rules, std::string_view command, Execute execute);
  void FlushEcho();
  void FlushUnsolicited();
  void RunEvents(std::int64_t untilMs);
  void MoveTo(std::int64_t nowMs);
  void LoseLine();
};

// Runs the commands until one fails or waits for a PDU.
ModemAnswer SimulatedModem::State::RunCommands(std::string_view text) {
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

// Answers by the first rule that applies, or as the modem does by itself.
template <typename Execute>
void SimulatedModem::State::Reply(std::vector<Rule>& rules, std::string_view command, Execute execute) {
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
  } else if (command != kPdu && EndsAtPrompt(reply)) {
    modem.entry = ModemState::Entry::kUnexpected;
  }
  if (command == kPdu) reply.delayMs += modem.settings.sendMs;
  speech.Answer(command, reply, std::move(own), modem.nowMs);
  DeliverHeld(modem);
  FlushUnsolicited();
}

// What happens in the network until then.
void SimulatedModem::State::RunEvents(std::int64_t untilMs) {
  while (!modem.events.empty() && modem.events.begin()->first <= untilMs) {
    modem.RunNextEvent();
    DeliverHeld(modem);
    FlushUnsolicited();
  }
}

void SimulatedModem::State::FlushEcho() {
  if (echo.empty()) return;
  speech.Add(modem.nowMs, std::move(echo));
  echo.clear();
}

void SimulatedModem::State::FlushUnsolicited() {
  for (const std::string& text : modem.unsolicited) speech.AddLineBehind(modem.nowMs, text);
  modem.unsolicited.clear();
}

void SimulatedModem::State::MoveTo(std::int64_t nowMs) {
  if (!lineLost) RunEvents(nowMs);
  modem.nowMs = nowMs;
}

void SimulatedModem::State::LoseLine() {
  lineLost = true;
  ++lineLosses;
  speech.Clear();
  line.clear();
  echo.clear();
  modem.entry = ModemState::Entry::kNone;
}

void SimulatedModem::State::Receive(std::string_view bytes) {
  for (const char byte : bytes) {
    if (lineLost) return;
    speech.Interrupt();
    ReceiveByte(byte);
  }
  FlushEcho();
}

void SimulatedModem::State::ReceiveByte(char byte) {
  const bool isEntry = modem.entry != ModemState::Entry::kNone;
  // A line feed behind a carriage return would come back behind the answer.
  const bool isEchoed = byte != '\n' && byte != kEndOfPdu && byte != kEscape;
  if (modem.settings.echo && isEchoed && modem.settings.deafCommands == 0) echo += byte;
  const bool isText = isEntry && modem.entryIsText && modem.entry != ModemState::Entry::kUnexpected;
  if (byte == kBackspace || byte == kDelete) {
    if (!line.empty()) line.pop_back();
  } else if (isEntry && byte == kEndOfPdu) {
    EndPdu();
  } else if (isEntry && byte == kEscape) {
    CancelPdu();
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
    line += byte;  // in the GSM alphabet the codes below the blank are characters too
  }
}

void SimulatedModem::State::EndLine() {
  const std::size_t attention = FindAttention(line);
  std::string text = attention == std::string::npos ? std::string() : line.substr(attention);
  const bool isTooLong = line.size() > kLongestLine;
  line.clear();
  Run(std::move(text), isTooLong);
}

void SimulatedModem::State::Run(std::string text, bool isTooLong) {
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

void SimulatedModem::State::EndPdu() {
  FlushEcho();
  pdus.push_back({modem.nowMs, std::exchange(line, {})});
  const std::string& pdu = pdus.back().text;
  const ModemState::Entry entry = std::exchange(modem.entry, ModemState::Entry::kNone);
  Reply(pduRules, kPdu, [&] { return AnswerText(modem, RunEntry(modem, entry, pdu)); });
}

void SimulatedModem::State::CancelPdu() {
  FlushEcho();
  line.clear();
  modem.entry = ModemState::Entry::kNone;
  speech.Answer("ESC", ModemReply::Own(), AnswerText(modem, {}), modem.nowMs);
}

SimulatedModem::SimulatedModem(ModemSettings settings) : state_(std::make_unique<State>(std::move(settings))) {}

SimulatedModem::~SimulatedModem() = default;

void SimulatedModem::Receive(std::string_view bytes, std::int64_t nowMs) {
  ModemState& modem = state_->modem;
  state_->MoveTo(nowMs);
  if (!state_->hasStarted && !bytes.empty()) {
    state_->hasStarted = true;
    modem.startedMs = nowMs;
  }
  if (modem.settings.startMs == 0 || nowMs - modem.startedMs >= modem.settings.startMs) state_->Receive(bytes);
}

std::optional<std::int64_t> SimulatedModem::NextOutput() const {
  if (state_->lineLost) return std::nullopt;
  const std::optional<std::int64_t> output = state_->speech.Next();
  const ModemState::Events& events = state_->modem.events;
  if (events.empty()) return output;
  return std::min(output.value_or(events.begin()->first), events.begin()->first);
}

std::string SimulatedModem::TakeOutput(std::int64_t nowMs) {
  if (state_->lineLost) return {};
  state_->RunEvents(nowMs);
  bool loses = false;
  std::string bytes = state_->speech.Take(nowMs, loses);
  if (loses) state_->LoseLine();
  return bytes;
}

void SimulatedModem::Earlier(std::string_view bytes) {
  state_->Receive(bytes);
  state_->speech.Clear();
  ForgetReceived();
}

ModemSettings& SimulatedModem::Settings() { return state_->modem.settings; }

void SimulatedModem::Answer(std::string_view command, ModemReply reply, int times) {
  std::vector<Rule>& rules = command == kPdu ? state_->pduRules : state_->commandRules;
  rules.push_back({CommandPattern(command, times), std::move(reply)});
}

void SimulatedModem::Interject(Interjection interjection, std::string_view command, int times) {
  state_->speech.Interject(CommandPattern(command, times), std::move(interjection));
}

void SimulatedModem::ForgetAnswers() {
  state_->commandRules.clear();
  state_->pduRules.clear();
}

void SimulatedModem::Unsolicited(std::string_view line, std::int64_t nowMs) {
  if (!state_->lineLost) state_->speech.AddLine(nowMs, line);
}

void SimulatedModem::UnsolicitedEvery(std::string_view line, std::int64_t everyMs, std::int64_t fromMs) {
  state_->speech.RepeatLine(line, everyMs, fromMs);
}

void SimulatedModem::Output(std::string bytes, std::int64_t dueMs) {
  if (!state_->lineLost) state_->speech.Add(dueMs, std::move(bytes));
}

void SimulatedModem::LoseLine() { state_->LoseLine(); }
void SimulatedModem::LoseLineAfter(int commands) { state_->commandsToLoss = commands; }
void SimulatedModem::RestoreLine() {
  state_->lineLost = false;
  state_->commandsToLoss = -1;
}
bool SimulatedModem::IsLineLost() const { return state_->lineLost; }
int SimulatedModem::LineLosses() const { return state_->lineLosses; }

int SimulatedModem::Store(std::string_view pdu, int stat, int location, std::string_view memory) {
  return state_->modem.store.Put(memory, pdu, stat, location);
}

int SimulatedModem::Incoming(std::string_view pdu, std::int64_t nowMs) {
  state_->MoveTo(nowMs);
  const int location = ReceiveMessage(state_->modem, pdu);
  state_->FlushUnsolicited();
  return location;
}

int SimulatedModem::IncomingText(std::string_view number, std::string_view text, std::int64_t nowMs) {
  ModemState& modem = state_->modem;
  const ModemSettings& settings = modem.settings;
  const NetworkView network{settings.serviceCentre, std::string(number),
                            TimeStampOctets(settings.clockMs + nowMs, settings.zoneMinutes)};
  modem.longReference = (modem.longReference + 1) & 255;
  const std::vector<std::string> pdus = MakeTextMessage(text, modem.longReference, network);
  for (const std::string& pdu : pdus) Incoming(pdu, nowMs);
  return static_cast<int>(pdus.size());
}

void SimulatedModem::NetworkUssd(std::string_view text, bool expectsReply, std::int64_t nowMs) {
  state_->MoveTo(nowMs);
  if (state_->modem.IsRegistered()) ReceiveUssd(state_->modem, text, expectsReply);
  state_->FlushUnsolicited();
}

void SimulatedModem::IncomingWhenFreed(std::string pdu) { state_->modem.waiting.push_back(std::move(pdu)); }

std::vector<StoredMessage> SimulatedModem::Stored(std::string_view memory) const {
  std::vector<StoredMessage> stored;
  state_->modem.store.ForEach(memory, [&](int, const StoredMessage& message) { stored.push_back(message); });
  return stored;
}

const std::vector<SimulatedModem::Received>& SimulatedModem::Commands() const { return state_->commands; }
const std::vector<SimulatedModem::Received>& SimulatedModem::Pdus() const { return state_->pdus; }

std::vector<std::string> SimulatedModem::CommandTexts() const {
  std::vector<std::string> texts;
  for (const Received& command : state_->commands) texts.push_back(command.text);
  return texts;
}

void SimulatedModem::ForgetReceived() {
  state_->commands.clear();
  state_->pdus.clear();
}

}  // namespace tavro
