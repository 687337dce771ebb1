//   answer to AT+CPMS?   = "+CPMS:" <"> name <"> "," used "," total      of reading, writing and receiving, each
//   answer to AT+CPMS=.. = "+CPMS:" used "," total                       likewise
//   answer to AT+CPMS=?  = "+CPMS:" "(" names ")" "," ...                likewise; some have no brackets
//
// Older modems leave out the last of the three, or two.
#include "connection/message_memory.h"

#include <algorithm>

#include "base/text.h"

namespace tavro {

namespace {

// A name that was damaged on the way would not be taken back.
bool IsName(std::string_view text) {
  return text.size() >= 2 &&
         std::all_of(text.begin(), text.end(), [](char c) { return (c >= 'A' && c <= 'Z') || c == '_'; });
}

bool IsSelectable(std::string_view memory) { return memory == "SM" || memory == "ME" || memory == "MT"; }

}  // namespace

MessageMemory::MessageMemory(const DialogueContext& dialogue, Registration& registration)
    : DialoguePart(dialogue), registration_(registration) {}

bool MessageMemory::SelectMessageMemory(std::string_view memory) {
  const std::string name = Upper(memory);
  if (!IsSelectable(name)) {
    errors_.SetError(kInvalidMessageMemory);
    return false;
  }
  if (!registration_.EnsureReady()) return false;
  log_.WriteLog("Setting message memory as '" + name + "'");
  // The memory for writing, in the middle, stays as it is.
  const std::string memories = "\"" + name + "\",,\"" + name + "\"";
  Answer answer = Select(memories);
  if (!answer.IsGood()) answer = Select(memories);
  if (!answer.IsGood() && manner_.selectsMemoryByAllMeans) answer = SelectOtherwise(name);
  if (!answer.IsGood()) return false;
  settings_.messageMemory = name;
  state_.memorySelected = true;
  log_.WriteLog("Message memory set as '" + name + "'");
  NoteUsage(answer, name);
  return true;
}

// Without a clear answer it may have taken effect: the next reading or deletion selects its memory first.
Answer MessageMemory::Select(const std::string& memories) {
  Answer answer = exchange_.SendCommand("AT+CPMS=" + memories + "\r");
  if (!answer.IsGood() && !answer.HoldsError()) state_.memorySelected = false;
  return answer;
}

// Some modems want all three, and some have a memory that they do not receive into.
Answer MessageMemory::SelectOtherwise(const std::string& name) {
  const std::string quoted = "\"" + name + "\"";
  Answer answer;
  for (const std::string& names : {quoted + "," + quoted + "," + quoted, quoted}) {
    if (!exchange_.IsPortOpen()) break;
    answer = Select(names);
    if (answer.IsGood()) break;
  }
  return answer;
}

std::optional<std::string> MessageMemory::ReadMessageMemory() {
  if (!registration_.EnsureReady()) return {};
  log_.WriteLog("Reading message memory setting");
  const Answer answer = exchange_.SendCommand("AT+CPMS?\r");
  if (!answer.IsGood()) return {};
  const std::string fields = RemoveAll(RemoveAll(answer.Information("+CPMS:"), "\""), " ");
  std::string memory = Upper(Split(fields, ",").front());
  if (memory.empty()) return {};
  if (IsSelectable(memory)) settings_.messageMemory = memory;
  log_.WriteLog("Message memory type: '" + memory + "'");
  NoteUsage(answer);
  return memory;
}

bool MessageMemory::Visit(const std::string& memory, const std::function<void()>& visit) {
  if (state_.memorySelected ? memory == settings_.messageMemory : memory.empty()) {
    visit();
    return true;
  }
  const bool isTaken = IsQuotable(memory) && Select("\"" + memory + "\"").IsGood();
  if (isTaken) {
    visit();
    // When it does not go back, the next reading selects its memory first.
    if (state_.memorySelected) PutBack(settings_.messageMemory);
  }
  errors_.ClearError();
  return isTaken;
}

// The messages in one memory; without its name where the answer has none.
struct MessageMemory::Count {
  std::string name;
  int used = 0, total = 0;
};

std::vector<MessageMemory::Count> MessageMemory::CountsIn(const Answer& answer) const {
  const AnswerFieldList fields = Fields(answer.Information("+CPMS:"));
  std::vector<Count> counts;
  for (std::size_t i = 0; i < fields.size();) {
    Count count;
    if (!ParseWhole(fields[i], count.used)) count.name = Upper(PlainName(fields[i++]));
    if (i + 1 >= fields.size() || !ParseWhole(fields[i], count.used) || !ParseWhole(fields[i + 1], count.total)) break;
    counts.push_back(count);
    i += 2;
  }
  return counts;
}

// `name`: of the memory that is received into, where the answer does not say it.
void MessageMemory::NoteUsage(const Answer& answer, const std::string& name) {
  if (!IsWatched()) return;
  const auto counts = CountsIn(answer);
  if (counts.empty()) return;
  const Count& received = counts.size() > 2 ? counts[2] : counts[0];
  const bool isFull = received.total > 0 && received.used >= received.total;
  if (isFull && !state_.receivedMemoryFull) {
    log_.WriteLog("Message memory '" + (received.name.empty() ? name : received.name) + "' is full (" +
                  std::to_string(received.used) + " of " + std::to_string(received.total) +
                  "): the modem takes no more messages");
  }
  state_.receivedMemoryFull = isFull;
}

bool MessageMemory::IsWatched() const { return manner_.watchesMemory; }

bool MessageMemory::QueryUsage() {
  if (!IsWatched()) return false;
  const Answer answer = exchange_.SendCommand("AT+CPMS?\r");
  if (!answer.IsGood()) return false;
  NoteUsage(answer);
  return true;
}

std::vector<MemoryUsage> MessageMemory::Usage() {
  if (!registration_.EnsureReady()) return {};
  log_.WriteLog("Reading message memory usage");
  const Answer answer = exchange_.SendCommand("AT+CPMS?\r");
  if (!answer.IsGood()) return {};
  NoteUsage(answer);
  std::vector<Count> counts = CountsIn(answer);
  if (counts.empty() || !IsName(counts[0].name)) return {};
  // The application may have selected it by a command of its own, or the name was damaged on the way.
  if (state_.memorySelected && counts[0].name != settings_.messageMemory) {
    const std::string name = counts[0].name;
    counts = CountsIn(exchange_.SendCommand("AT+CPMS?\r"));
    if (counts.empty() || counts[0].name != name) return {};
  }
  const std::string selected = counts[0].name;
  std::vector<std::string> names = ReadableMemories();
  if (errors_.IsPending()) return {};
  if (names.empty()) names = {selected};
  if (!CountOthers(names, counts)) return {};
  std::vector<MemoryUsage> usage;
  for (const std::string& name : names) {
    const auto found =
        std::find_if(counts.begin(), counts.end(), [&](const Count& count) { return count.name == name; });
    if (found == counts.end()) continue;
    usage.push_back({platform_.FromCodePage(name), found->used, found->total});
    log_.WriteLog("Message memory '" + name + "': " + std::to_string(found->used) + " of " +
                  std::to_string(found->total));
  }
  return usage;
}

// Empty when the modem does not tell.
std::vector<std::string> MessageMemory::ReadableMemories() {
  const Answer answer = exchange_.SendCommand("AT+CPMS=?\r");
  if (!answer.IsGood()) return {};
  const std::string information = answer.Information("+CPMS:");
  const auto lists = Lists(information);
  std::vector<std::string> names;
  for (const std::string& field : lists.empty() ? Fields(information) : lists[0]) {
    const std::string name = Upper(PlainName(field));
    if (!name.empty() && IsQuotable(name) && std::find(names.begin(), names.end(), name) == names.end()) {
      names.push_back(name);
    }
  }
  return names;
}

// Adds those that are not counted yet, but for one that the modem refuses to select. False when the modem did not
// answer, or does not take back the memory that was selected, the first one.
bool MessageMemory::CountOthers(const std::vector<std::string>& names, std::vector<Count>& counts) {
  const std::string selected = counts[0].name;
  bool hasChanged = false, answers = true;
  for (const std::string& name : names) {
    const auto isIt = [&](const Count& count) { return count.name == name; };
    if (std::any_of(counts.begin(), counts.end(), isIt)) continue;
    hasChanged = true;
    const Answer answer = exchange_.SendCommand("AT+CPMS=\"" + name + "\"\r");
    answers = !answer.IsEmpty();
    if (!answers) break;
    const std::vector<Count> found = answer.IsGood() ? CountsIn(answer) : std::vector<Count>();
    if (!found.empty()) counts.push_back({name, found[0].used, found[0].total});
  }
  return (!hasChanged || PutBack(selected)) && answers;
}

bool MessageMemory::PutBack(const std::string& memory) {
  const std::string command = "AT+CPMS=\"" + memory + "\"\r";
  for (int attempt = 1; attempt <= 2 && exchange_.IsPortOpen(); ++attempt) {
    if (exchange_.SendCommand(command).IsGood()) return true;
  }
  state_.memorySelected = false;
  return false;
}

}  // namespace tavro
