#include "connection/message_steps.h"

namespace tavro {

MessageSteps::MessageSteps(const DialogueContext& dialogue, ModemConnection& connection, Registration& registration,
                           MessageMemory& memory)
    : DialoguePart(dialogue), connection_(connection), registration_(registration), memory_(memory) {}

PendingError MessageSteps::PrepareSending(const MessageStepTexts& texts) {
  if (PendingError error = Recover(texts)) return error;
  if (!state_.IsReady() && !connection_.EnsureConnection()) return errors_.Last();
  // What is known of a connection that is closed says nothing of the one that the first attempt opens.
  return exchange_.IsPortOpen() ? CheckMode(texts) : PendingError();
}

PendingError MessageSteps::PrepareReading(const MessageStepTexts& texts) {
  if (PendingError error = Recover(texts)) return error;
  if (!SelectMemory()) {
    if (!exchange_.IsPortOpen()) return texts.cannotConnect;  // tried once: it may cost the PIN an attempt
    errors_.ClearError();                                     // what the modem reads from by itself is listed
  }
  return CheckRegistrationAndMode(texts);
}

PendingError MessageSteps::PrepareDeleting(const MessageStepTexts& texts, const std::string& required) {
  if (PendingError error = Recover(texts)) return error;
  if (PendingError error = RequireMemory(texts, required)) return error;
  return CheckRegistrationAndMode(texts);
}

PendingError MessageSteps::Connect(const MessageStepTexts& texts) {
  if (PendingError error = Recover(texts)) return error;
  if (!exchange_.IsPortOpen()) connection_.ConnectModem();
  return exchange_.IsPortOpen() ? PendingError() : texts.cannotConnect;
}

// What is to be sent now must not go to a modem that hangs.
PendingError MessageSteps::Recover(const MessageStepTexts& texts) {
  const bool wasOpen = exchange_.IsPortOpen();
  connection_.Recover();
  return wasOpen && !exchange_.IsPortOpen() ? texts.cannotConnect : PendingError();
}

PendingError MessageSteps::RequireMemory(const MessageStepTexts& texts, const std::string& required) {
  if (SelectMemory()) return settings_.messageMemory == required ? PendingError() : kMessageNotFound;
  if (!exchange_.IsPortOpen()) return texts.cannotConnect;
  if (!required.empty()) return kMessageMemoryNotSupported;
  errors_.ClearError();
  return {};
}

std::string MessageSteps::Memory() const { return state_.memorySelected ? settings_.messageMemory : std::string(); }

bool MessageSteps::SelectMemory() {
  return state_.memorySelected || memory_.SelectMessageMemory(settings_.messageMemory);
}

PendingError MessageSteps::CheckRegistrationAndMode(const MessageStepTexts& texts) {
  if (!state_.IsReady() || !state_.registered) {
    log_.WriteLog(texts.registrationLine);
    if (!registration_.EnsureRegistered()) return registration_.Error();
  }
  return CheckMode(texts);
}

PendingError MessageSteps::CheckMode(const MessageStepTexts& texts) {
  if (!state_.pduSupportChecked) log_.WriteLog(texts.pduModeLine);
  if (!connection_.CheckPDUSupport()) return texts.pduModeUnchecked;
  return state_.pduSupported ? PendingError() : texts.noPduMode;
}

}  // namespace tavro
