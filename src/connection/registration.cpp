#include "connection/registration.h"

#include "base/text.h"
#include "link/whole_second_wait.h"

namespace tavro {

namespace {

constexpr std::uint32_t kPollInterval = 1000;  // ms

// <stat> of "+CREG: <n>,<stat>"; empty when the answer has none.
std::string StatusOf(std::string_view answer) {
  const std::string cleaned = Trimmed(RemoveAll(CleanResponse(answer), "+CREG:"));
  const auto fields = Split(cleaned, ",");
  return fields.size() < 2 ? std::string() : Trimmed(fields[1]);
}

}  // namespace

Registration::Registration(const DialogueContext& dialogue, PinCheck& pin) : DialoguePart(dialogue), pin_(pin) {}

bool Registration::CheckRegistration() {
  error_ = {};
  state_.registered = false;
  if (!state_.IsReady() && (!pin_.CheckPIN() || pin_.Error() || !state_.IsReady())) return false;

  log_.WriteLog("Checking network registration status");
  const std::string status = PollStatus();
  state_.registered = status == "1" || status == "5";
  if (!state_.registered && !errors_.IsPending()) {
    if (status.empty()) {
      error_ = kUnreadableRegistrationStatus;
    } else if (status == "0" || status == "2") {
      error_ = kRegistrationFailed;
    } else if (status == "3") {
      error_ = kRegistrationDenied;
    } else {
      error_ = kUnknownRegistrationStatus;
    }
  }
  return state_.registered;
}

// Asks until the modem no longer searches and is no longer denied; returns the last status.
std::string Registration::PollStatus() {
  const WholeSecondWait wait(platform_, settings_.timeout);
  std::string status;
  while (!wait.IsOver()) {
    const std::string answer = exchange_.CheckCommandResponse("AT+CREG?\r");
    if (errors_.IsPending() || answer.empty() || Contains(answer, "ERROR")) return {};
    status = StatusOf(answer);
    if (status == "2") {
      log_.WriteLog("Modem is searching for a new operator to register to");
    } else if (status == "3") {
      log_.WriteLog("Network registration denied to the modem");
    } else {
      break;
    }
    platform_.Sleep(kPollInterval);
    log_.WriteLog("Checking network registration status again after 1000ms delay");
  }
  return status;
}

bool Registration::Verify() {
  if (CheckRegistration()) return true;
  if (pin_.Error()) {
    error_ = pin_.Error();
  } else if (!error_) {
    error_ = kUnknownRegistrationFailure;
  }
  return false;
}

bool Registration::EnsureRegistered() { return (state_.IsReady() && state_.registered) || Verify(); }

bool Registration::EnsureReady() {
  if (state_.IsReady() && exchange_.IsPortOpen()) return true;
  if (Verify()) return true;
  errors_.SetError(error_);
  return false;
}

}  // namespace tavro
