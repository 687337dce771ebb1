#include "simulator/simulated_modem.h"

#include <algorithm>
#include <utility>

#include "simulator/modem_machine.h"

namespace tavro {

SimulatedModem::SimulatedModem(ModemSettings settings)
    : machine_(std::make_unique<ModemMachine>(std::move(settings))) {}

SimulatedModem::~SimulatedModem() = default;

void SimulatedModem::Receive(std::string_view bytes, std::int64_t nowMs) {
  ModemState& modem = machine_->modem;
  machine_->MoveTo(nowMs);
  if (!machine_->hasStarted && !bytes.empty()) {
    machine_->hasStarted = true;
    modem.startedMs = nowMs;
  }
  if (modem.settings.startMs == 0 || nowMs - modem.startedMs >= modem.settings.startMs) machine_->Receive(bytes);
}

std::optional<std::int64_t> SimulatedModem::NextOutput() const {
  if (machine_->lineLost) return std::nullopt;
  const std::optional<std::int64_t> output = machine_->speech.Next();
  const NetworkEvents& events = machine_->modem.events;
  if (events.empty()) return output;
  return std::min(output.value_or(events.begin()->first), events.begin()->first);
}

std::string SimulatedModem::TakeOutput(std::int64_t nowMs) {
  if (machine_->lineLost) return {};
  machine_->RunEvents(nowMs);
  bool loses = false;
  std::string bytes = machine_->speech.Take(nowMs, loses);
  if (loses) machine_->LoseLine();
  return bytes;
}

void SimulatedModem::Earlier(std::string_view bytes) {
  machine_->Receive(bytes);
  machine_->speech.Clear();
  ForgetReceived();
}

ModemSettings& SimulatedModem::Settings() { return machine_->modem.settings; }

void SimulatedModem::Answer(std::string_view command, ModemReply reply, int times) {
  auto& rules = command == kPdu ? machine_->pduRules : machine_->commandRules;
  rules.push_back({CommandPattern(command, times), std::move(reply)});
}

void SimulatedModem::Interject(Interjection interjection, std::string_view command, int times) {
  machine_->speech.Interject(CommandPattern(command, times), std::move(interjection));
}

void SimulatedModem::ForgetAnswers() {
  machine_->commandRules.clear();
  machine_->pduRules.clear();
  machine_->speech.ForgetInterjections();
}

void SimulatedModem::Unsolicited(std::string_view line, std::int64_t nowMs) {
  if (!machine_->lineLost) machine_->speech.AddLine(nowMs, line);
}

void SimulatedModem::UnsolicitedEvery(std::string_view line, std::int64_t everyMs, std::int64_t fromMs) {
  machine_->speech.RepeatLine(line, everyMs, fromMs);
}

void SimulatedModem::Output(std::string bytes, std::int64_t dueMs) {
  if (!machine_->lineLost) machine_->speech.Add(dueMs, std::move(bytes));
}

void SimulatedModem::LoseLine() { machine_->LoseLine(); }
void SimulatedModem::LoseLineAfter(int commands) { machine_->commandsToLoss = commands; }
void SimulatedModem::RestoreLine() {
  machine_->lineLost = false;
  machine_->commandsToLoss = -1;
}
bool SimulatedModem::IsLineLost() const { return machine_->lineLost; }
int SimulatedModem::LineLosses() const { return machine_->lineLosses; }

int SimulatedModem::Store(std::string_view pdu, int stat, int location, std::string_view memory) {
  return machine_->modem.store.Put(memory, pdu, stat, location);
}

std::vector<StoredMessage> SimulatedModem::Stored(std::string_view memory) const {
  std::vector<StoredMessage> stored;
  machine_->modem.store.ForEach(memory, [&](int, const StoredMessage& message) { stored.push_back(message); });
  return stored;
}

const std::vector<SimulatedModem::Received>& SimulatedModem::Commands() const { return machine_->commands; }
const std::vector<SimulatedModem::Received>& SimulatedModem::Pdus() const { return machine_->pdus; }

const std::vector<ModemDeed>& SimulatedModem::Deeds() const { return machine_->modem.deeds; }

std::vector<std::string> SimulatedModem::CommandTexts() const {
  std::vector<std::string> texts;
  for (const Received& command : machine_->commands) texts.push_back(command.text);
  return texts;
}

void SimulatedModem::ForgetReceived() {
  machine_->commands.clear();
  machine_->pdus.clear();
}

}  // namespace tavro
