#include "connection/pin_check.h"

#include "base/text.h"
#include "link/whole_second_wait.h"

namespace tavro {

namespace {

constexpr std::uint32_t kUnlockPollInterval = 75;  // ms

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
  std::string answer = exchange_.CheckCommandResponse("AT+CPIN?\r");
  if (errors_.IsPending()) {
    error_ = kPinStatusCommunicationError;
  } else if (Contains(answer, "ERROR")) {
    answer = Trimmed(RemoveAll(Upper(CleanResponse(answer)), "+CME ERROR:"));
    error_ = ErrorOfNumber(answer);
    state_.modemState = "ERROR";
  } else {
    answer = Trimmed(CleanResponse(RemoveAll(answer, "+CPIN:")));
    state_.modemState = Contains(answer, "READY") ? "READY" : answer;
    if (answer == "SIM PIN") {
      log_.WriteLog("Modem is waiting for PIN");
    } else if (answer == "SIM PUK") {
      error_ = kWaitingForPuk;
    } else if (!state_.IsReady()) {
      error_ = kUnknownPinStatus;
    }
  }
  return !error_;
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
  error_ = errors_.CallEnd();
  if (error_) return false;
  if (settings_.pin.empty()) {
    error_ = kBlankPin;
  } else if (!IsQuotable(settings_.pin)) {
    error_ = kInvalidPin;
  } else {
    error_ = Unlock();
    if (error_) errors_.EndCall(error_);
  }
  return !error_;
}

PendingError PinCheck::Unlock() {
  log_.WriteLog("Sending PIN [" + settings_.pin + "]");
  const std::string answer =
      Upper(CleanResponse(exchange_.CheckCommandResponse("AT+CPIN=\"" + settings_.pin + "\"\r"), false));
  const WholeSecondWait sinceSent = exchange_.SinceCommand();
  if (errors_.IsPending()) return kPinCommunicationError;
  if (Contains(answer, "ERROR")) return kInvalidPin;
  if (!Contains(answer, "OK")) return kUnknownErrorSendingPin;

  while (!state_.IsReady() && !sinceSent.IsOver()) {
    platform_.Sleep(kUnlockPollInterval);
    QueryState();
  }
  if (!state_.IsReady()) return kUnknownErrorAfterPin;
  log_.WriteLog("Modem unlocked with PIN");
  platform_.Sleep(static_cast<std::uint32_t>(settings_.delayAfterPin));
  return {};
}

}  // namespace tavro
