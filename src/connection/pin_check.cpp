#include "connection/pin_check.h"

#include "base/text.h"
#include "link/whole_second_wait.h"

namespace tavro {

namespace {

constexpr std::uint32_t kUnlockPollInterval = 75;  // ms
constexpr std::uint32_t kBusyPollInterval = 500;   // ms

// What a "+CME ERROR:" number means for the SIM.
PendingError ErrorOfNumber(std::string_view number) {
  if (number == "13") return kSimDamaged;
  if (number == "10") return kNoSim;
  if (number == "16") return kInvalidOrWrongPin;
  if (number == "10") return kInvalidOrWrongPuk;  // never reached, 10 being taken above; the order of tests is meant
  return kInvalidPinStatusResponse;
}

}  // namespace

bool PinCheck::QueryState() {
  error_ = {};
  exchange_.CheckCommandResponse("AT+CMEE=1\r");
  if (!exchange_.IsPortOpen()) {
    // A connection that failed is not tried again: it may have cost the SIM's PIN an attempt.
    error_ = kPinStatusCommunicationError;
    return false;
  }
  log_.WriteLog("Checking PIN status");
  const Answer answer = AskState();
  if (errors_.IsPending()) {
    error_ = kPinStatusCommunicationError;
  } else if (answer.HoldsError()) {
    error_ = ErrorOfNumber(Upper(answer.Information("+CME ERROR:")));
    state_.modemState = "ERROR";
  } else {
    const std::string state = StateIn(answer);
    state_.modemState = Contains(state, "READY") ? "READY" : state;
    if (state == "SIM PIN") {
      log_.WriteLog("Modem is waiting for PIN");
    } else if (state == "SIM PUK") {
      error_ = kWaitingForPuk;
    } else if (!state_.IsReady()) {
      error_ = kUnknownPinStatus;
    }
  }
  return !error_;
}

// Asks again while the SIM is busy, as it is when the modem starts.
Answer PinCheck::AskState() {
  const WholeSecondWait wait(platform_, settings_.timeout);
  bool isInStep = !manner_.answersEndAtResult;
  for (;;) {
    Answer answer = exchange_.CheckCommandResponse("AT+CPIN?\r");
    // The result of what a program before this one cancelled can set all answers back by one.
    if (!isInStep && answer.IsGood() && answer.Information("+CPIN:").empty()) {
      isInStep = true;
      if (exchange_.Resynchronise()) continue;
    }
    const std::string text = answer.Information("+CME ERROR:");
    const bool busy = answer.HoldsError() && (text == "14" || Contains(text, "SIM BUSY"));
    if (!manner_.waitsForSim || !busy || wait.IsOver()) return answer;
    log_.WriteLog("SIM is busy");
    platform_.Sleep(kBusyPollInterval);
  }
}

std::string PinCheck::StateIn(const Answer& answer) const {
  std::string state = answer.Information("+CPIN:");
  if (!manner_.readsPinStateLoosely) return state;
  state = Trimmed(RemoveAll(state, "\""));
  return state == "SIM PIN2" || state == "SIM PUK2" ? "READY" : state;
}

bool PinCheck::CheckPIN() {
  if (settings_.disableCheckPin) {
    log_.WriteLog("Bypassing PIN status check because disabled");
    error_ = {};
    state_.modemState = "READY";
    return true;
  }
  if (!QueryState()) return false;
  if (state_.IsReady()) return true;
  return SendPin();
}

bool PinCheck::SendPin() {
  error_ = Refusal();
  if (error_) return false;
  if (settings_.pin.empty()) {
    error_ = kBlankPin;
  } else if (!IsQuotable(settings_.pin)) {
    error_ = kInvalidPin;
  } else if (manner_.sparesLastPinAttempt && !settings_.sendsPinOnLastAttempt && IsLastAttempt()) {
    error_ = kLastPinAttempt;
  } else {
    error_ = Unlock();
    if (error_) errors_.EndCall(error_);
    if (manner_.remembersRefusedPin && error_.code == kInvalidPin.code) refusal_ = error_;
  }
  return !error_;
}

const PendingError& PinCheck::Refusal() const { return errors_.CallEnd() ? errors_.CallEnd() : refusal_; }

// Whether the modem says that the SIM takes one more PIN (AT+CPINR, 3GPP TS 27.007, 8.65). Many do not say.
bool PinCheck::IsLastAttempt() {
  const Answer answer = exchange_.SendCommand("AT+CPINR=\"SIM PIN\"\r");
  const auto fields = Fields(answer.Information("+CPINR:"));
  errors_.ClearError();
  return answer.IsGood() && fields.size() > 1 && fields[0] == "SIM PIN" && fields[1] == "1";
}

PendingError PinCheck::Unlock() {
  log_.WriteLog("Sending PIN [" + log_.Secret(settings_.pin) + "]");
  // Sent once whatever the answer: a modem that is busy may have taken it.
  const std::string answer =
      Upper(CleanResponse(exchange_.SendCommand("AT+CPIN=\"" + settings_.pin + "\"\r").Text(), false));
  const WholeSecondWait sinceSent = exchange_.SinceWritten();
  if (errors_.IsPending()) return kPinCommunicationError;
  if (Contains(answer, "ERROR")) return kInvalidPin;
  if (!Contains(answer, "OK")) return kUnknownErrorSendingPin;

  while (!state_.IsReady() && !sinceSent.IsOver() && exchange_.IsPortOpen()) {
    platform_.Sleep(kUnlockPollInterval);
    QueryState();
  }
  if (!state_.IsReady()) return kUnknownErrorAfterPin;
  log_.WriteLog("Modem unlocked with PIN");
  platform_.Sleep(static_cast<std::uint32_t>(settings_.pauses.afterPin));
  return {};
}

}  // namespace tavro
