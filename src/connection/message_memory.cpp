#include "connection/message_memory.h"

#include "base/text.h"

namespace tavro {

namespace {

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
  const std::string command = "AT+CPMS=\"" + name + "\",,\"" + name + "\"\r";
  if (!exchange_.SendCommand(command).IsGood() && !exchange_.SendCommand(command).IsGood()) return false;
  settings_.messageMemory = name;
  state_.memorySelected = true;
  log_.WriteLog("Message memory set as '" + name + "'");
  return true;
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
  return memory;
}

bool MessageMemory::Visit(const std::string& memory, const std::function<void()>& visit) {
  const auto select = [this](const std::string& name) {
    const bool selected = exchange_.CheckCommandResponse("AT+CPMS=\"" + name + "\"\r").IsGood();
    errors_.ClearError();
    return selected;
  };
  const bool isCurrent = state_.memorySelected && memory == settings_.messageMemory;
  if (isCurrent) {
    visit();
    return true;
  }
  if (!IsQuotable(memory) || !select(memory)) return false;
  visit();
  errors_.ClearError();
  // When it does not go back, the next reading selects its memory first.
  if (!exchange_.IsPortOpen() || !state_.memorySelected || !select(settings_.messageMemory))
    state_.memorySelected = false;
  return true;
}

}  // namespace tavro
