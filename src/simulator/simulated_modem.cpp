#include "simulator/simulated_modem.h"

#include <algorithm>
#include <utility>

#include "simulator/at_command.h"
#include "simulator/modem_output.h"
#include "simulator/modem_state.h"

namespace tavro {

namespace {

constexpr char kBackspace = 8, kDelete = 127, kEndOfPdu = 26, kEscape = 27;
constexpr std::size_t kLongestLine = 1024;  // of a command or a PDU
constexpr std::string_view kPrompt = "\r\n> ";

struct Rule {
  std::string text;  // in capitals
  bool isPrefix = false;
  ModemReply reply;
  int times = 0;

  bool Applies(std::string_view line) const { return times != 0 && (isPrefix ? line.starts_with(text) : line == text); }
};

}  // namespace

struct SimulatedModem::State {
  explicit State(ModemSettings settings) : modem(std::move(settings)) {}

  ModemState modem;
  ModemOutput output;
  std::string line;        // the command line or PDU that is coming in
  std::string repeatable;  // the last command line, for "A/"
  std::string echo;
  std::int64_t answeredMs = 0;  // when the last answer is out
  std::vector<Rule> commandRules, pduRules;
  bool lineLost = false;
  int lineLosses = 0;
  int commandsToLoss = -1;
  std::vector<Received> commands, pdus;

  void ReceiveByte(char byte);
  void EndLine();
  void Run(std::string text, bool isTooLong = false);
  void EndPdu();
  void CancelPdu();
  std::string RunCommands(std::string_view text);
  std::string Format(const CommandResult& result) const;
  template <typename Execute>
  void Reply(std::vector<Rule>& rules, std::string_view capitals, Execute execute);
  void Say(const ModemReply& reply, std::string own);
  void FlushEcho();
  void FlushUnsolicited();
  void LoseLine();
};

namespace {

std::string InfoText(const ModemState& modem, const std::string& info) {
  if (info.empty()) return {};
  return modem.verbose ? "\r\n" + info + "\r\n" : info + "\r\n";
}

std::string ResultText(const ModemState& modem, std::string_view words, int number) {
  if (modem.quiet) return {};
  return modem.verbose ? "\r\n" + std::string(words) + "\r\n" : std::to_string(number) + "\r";
}

std::string ErrorText(const ModemState& modem, std::string_view prefix, int code, std::string_view words) {
  const int format = modem.Option("+CMEE");
  if (format == 0 || modem.quiet) return ResultText(modem, "ERROR", 4);
  return "\r\n" + std::string(prefix) + (format == 1 ? std::to_string(code) : std::string(words)) + "\r\n";
}

std::vector<ModemReply::Piece> Cut(const std::vector<ModemReply::Piece>& pieces, std::size_t size, std::int64_t gapMs) {
  std::vector<ModemReply::Piece> cut;
  for (const ModemReply::Piece& piece : pieces) {
    for (std::size_t start = 0; start < piece.bytes.size(); start += size) {
      cut.push_back({cut.empty() ? 0 : gapMs, piece.bytes.substr(start, size)});
      if (start == 0) cut.back().delayMs += piece.delayMs;
    }
  }
  return cut;
}

bool IsEntryCommand(std::string_view capitals) {
  return capitals.starts_with("AT+CMGS=") || capitals.starts_with("AT+CMGW=");
}

bool HoldsPrompt(const ModemReply& reply) {
  return std::any_of(reply.pieces.begin(), reply.pieces.end(),
                     [](const ModemReply::Piece& piece) { return piece.bytes.find('>') != std::string::npos; });
}

}  // namespace

// The information text and the result code of the last command of a line.
std::string SimulatedModem::State::Format(const CommandResult& result) const {
  switch (result.kind) {
    case CommandResult::Kind::kOk:
      return InfoText(modem, result.info) + ResultText(modem, "OK", 0);
    case CommandResult::Kind::kEquipmentError:
      return ErrorText(modem, "+CME ERROR: ", result.code, EquipmentErrorText(result.code));
    case CommandResult::Kind::kMessageError:
      return ErrorText(modem, "+CMS ERROR: ", result.code, MessageErrorText(result.code));
    case CommandResult::Kind::kNoCarrier:
      return ResultText(modem, "NO CARRIER", 3);
    case CommandResult::Kind::kPrompt:
      return std::string(kPrompt);
    case CommandResult::Kind::kError:
      break;
  }
  return ResultText(modem, "ERROR", 4);
}

// Runs the commands until one fails or waits for a PDU.
std::string SimulatedModem::State::RunCommands(std::string_view text) {
  const std::optional<std::vector<AtCommand>> parsed = ParseCommands(text);
  CommandResult result;
  std::string answer;
  if (!parsed) result = Error();
  for (std::size_t i = 0; parsed && i < parsed->size(); ++i) {
    result = RunCommand(modem, (*parsed)[i]);
    if (result.kind != CommandResult::Kind::kOk) break;
    if (i + 1 < parsed->size()) answer += InfoText(modem, result.info);
  }
  return answer.empty() ? Format(result) : answer + Format(result);
}

// Puts an answer into the output, by the pieces and delays of the reply.
void SimulatedModem::State::Say(const ModemReply& reply, std::string own) {
  std::vector<ModemReply::Piece> pieces = reply.pieces;
  if (!own.empty()) pieces.push_back({0, std::move(own)});
  if (reply.pieceSize > 0) pieces = Cut(pieces, reply.pieceSize, reply.gapMs);
  if (pieces.empty()) pieces.emplace_back();
  std::int64_t due = std::max(modem.nowMs + modem.settings.latencyMs, answeredMs) + reply.delayMs;
  std::size_t left = reply.lineLostAfter;
  for (ModemReply::Piece& piece : pieces) {
    due += piece.delayMs;
    const bool loses = left <= piece.bytes.size();
    if (loses) piece.bytes.resize(left);
    if (left != ModemReply::npos) left -= piece.bytes.size();
    if (loses || !piece.bytes.empty()) output.Add(due, std::move(piece.bytes), loses);
    if (loses) break;
  }
  answeredMs = due;
}

// Answers by the first rule that applies, or as the modem does by itself.
template <typename Execute>
void SimulatedModem::State::Reply(std::vector<Rule>& rules, std::string_view capitals, Execute execute) {
  const auto rule = std::find_if(rules.begin(), rules.end(), [&](const Rule& each) { return each.Applies(capitals); });
  if (rule == rules.end()) {
    Say({}, execute());
  } else {
    if (rule->times > 0) --rule->times;
    const ModemReply& reply = rule->reply;
    std::string own;
    if (reply.executed || (IsEntryCommand(capitals) && HoldsPrompt(reply))) own = execute();
    Say(reply, reply.own ? std::move(own) : std::string());
  }
  FlushUnsolicited();
}

void SimulatedModem::State::FlushEcho() {
  if (echo.empty()) return;
  output.Add(modem.nowMs, std::move(echo));
  echo.clear();
}

void SimulatedModem::State::FlushUnsolicited() {
  for (std::string& text : modem.unsolicited) output.Add(std::max(modem.nowMs, answeredMs), std::move(text));
  modem.unsolicited.clear();
}

void SimulatedModem::State::LoseLine() {
  lineLost = true;
  ++lineLosses;
  output.Clear();
  line.clear();
  echo.clear();
  modem.entry = ModemState::Entry::kNone;
  answeredMs = 0;
}

void SimulatedModem::State::ReceiveByte(char byte) {
  const bool isEntry = modem.entry != ModemState::Entry::kNone;
  // A line feed behind a carriage return would come back behind the answer.
  if (modem.settings.echo && byte != '\n' && byte != kEndOfPdu && byte != kEscape) echo += byte;
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
  } else if (static_cast<unsigned char>(byte) >= ' ' && line.size() <= kLongestLine) {
    line += byte;
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
  if (commandsToLoss == 0) return LoseLine();
  if (commandsToLoss > 0) --commandsToLoss;
  repeatable = text;
  Reply(commandRules, InCapitals(text),
        [&] { return isTooLong ? Format(Error()) : RunCommands(std::string_view(text).substr(2)); });
}

void SimulatedModem::State::EndPdu() {
  FlushEcho();
  pdus.push_back({modem.nowMs, std::exchange(line, {})});
  const std::string& pdu = pdus.back().text;
  const ModemState::Entry entry = std::exchange(modem.entry, ModemState::Entry::kNone);
  Reply(pduRules, {}, [&] { return Format(RunPdu(modem, entry, pdu)); });
}

void SimulatedModem::State::CancelPdu() {
  FlushEcho();
  line.clear();
  modem.entry = ModemState::Entry::kNone;
  Say({}, Format({}));
}

SimulatedModem::SimulatedModem(ModemSettings settings) : state_(std::make_unique<State>(std::move(settings))) {}

SimulatedModem::~SimulatedModem() = default;

void SimulatedModem::Receive(std::string_view bytes, std::int64_t nowMs) {
  state_->modem.nowMs = nowMs;
  for (const char byte : bytes) {
    if (state_->lineLost) return;
    state_->ReceiveByte(byte);
  }
  state_->FlushEcho();
}

std::optional<std::int64_t> SimulatedModem::NextOutput() const { return state_->output.Next(); }

std::string SimulatedModem::TakeOutput(std::int64_t nowMs) {
  bool loses = false;
  std::string bytes = state_->output.Take(nowMs, loses);
  if (loses) state_->LoseLine();
  return bytes;
}

ModemSettings& SimulatedModem::Settings() { return state_->modem.settings; }

void SimulatedModem::Answer(std::string_view command, ModemReply reply, int times) {
  const bool isPrefix = command.ends_with('*');
  if (isPrefix) command.remove_suffix(1);
  state_->commandRules.push_back({InCapitals(command), isPrefix, std::move(reply), times});
}

void SimulatedModem::AnswerPdu(ModemReply reply, int times) {
  state_->pduRules.push_back({{}, true, std::move(reply), times});
}

void SimulatedModem::ForgetAnswers() {
  state_->commandRules.clear();
  state_->pduRules.clear();
}

void SimulatedModem::Unsolicited(std::string_view line, std::int64_t nowMs) {
  Output("\r\n" + std::string(line) + "\r\n", nowMs);
}

void SimulatedModem::Output(std::string bytes, std::int64_t dueMs) {
  if (!state_->lineLost) state_->output.Add(dueMs, std::move(bytes));
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
  state_->modem.nowMs = nowMs;
  const int location = ReceiveMessage(state_->modem, pdu);
  state_->FlushUnsolicited();
  return location;
}

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
