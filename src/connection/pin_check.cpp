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

PinCheck::PinCheck(Platform& platform, AtExchange& exchange, ErrorState& errors, LogHandling& log,
                   const Settings& settings, ConnectionState& state)
    : platform_(platform), exchange_(exchange), errors_(errors), log_(log), settings_(settings), state_(state) {}

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
  const auto fail = [this](const ErrorDefinition& error) {
    error_ = error;
    return false;
  };
  if (settings_.pin.empty()) return fail(kBlankPin);
  // On the line these would end the PIN and begin another command.
  if (settings_.pin.find_first_of("\"\r\n") != std::string::npos) return fail(kInvalidPin);

  log_.WriteLog("Sending PIN [" + settings_.pin + "]");
  const std::string answer =
      Upper(CleanResponse(exchange_.CheckCommandResponse("AT+CPIN=\"" + settings_.pin + "\"\r"), false));
  const WholeSecondWait wait(platform_, settings_.timeout);
  if (errors_.IsPending()) return fail(kPinCommunicationError);
  if (Contains(answer, "ERROR")) return fail(kInvalidPin);
  if (!Contains(answer, "OK")) return fail(kUnknownErrorSendingPin);

  while (!state_.IsReady() && !wait.IsOver()) {
    platform_.Sleep(kUnlockPollInterval);
    QueryState();
  }
  if (!state_.IsReady()) return fail(kUnknownErrorAfterPin);
  log_.WriteLog("Modem unlocked with PIN");
  platform_.Sleep(static_cast<std::uint32_t>(settings_.delayAfterPin));
  return true;
}

}  // namespace tavro
