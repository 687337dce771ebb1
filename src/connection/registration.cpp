#include "connection/registration.h"

#include <algorithm>
#include <vector>

#include "base/text.h"
#include "link/whole_second_wait.h"

namespace tavro {

namespace {

constexpr std::uint32_t kPollInterval = 1000;  // ms

// <stat> (3GPP TS 27.007, 7.2).
constexpr std::string_view kSearching = "2", kDenied = "3";

// <stat> of "+CREG: <n>,<stat>"; empty when the answer has none.
std::string StatusOf(const Answer& answer, std::string_view prefix) {
  const std::string information = answer.Information(prefix);
  const auto fields = Split(information, ",");
  return fields.size() < 2 ? std::string() : Trimmed(fields[1]);
}

}  // namespace

// Which networks are asked, and which states count: 1 home, 5 roaming; also for SMS only (6, 7) and with CSFB not
// preferred (9, 10). The others are those of the packet domains (3GPP TS 27.007, 10.1.20, 10.1.22 and 10.1.47).
struct Registration::Networks {
  std::vector<std::string_view> registered;
  std::vector<std::string_view> others;
  bool comparesNumbers;  // "002" is 2
};

const Registration::Networks& Registration::NetworksOf(const Manner& manner) {
  static const Networks kOne{{"1", "5"}, {}, false};
  static const Networks kAll{{"1", "5", "6", "7", "9", "10"}, {"+CEREG", "+CGREG", "+C5GREG"}, true};
  return manner.countsAllNetworks ? kAll : kOne;
}

Registration::Registration(const DialogueContext& dialogue, PinCheck& pin)
    : DialoguePart(dialogue), networks_(NetworksOf(manner_)), pin_(pin) {}

bool Registration::CheckRegistration() {
  error_ = {};
  state_.registered = false;
  if (!state_.IsReady() && (!pin_.CheckPIN() || pin_.Error() || !state_.IsReady())) return false;

  log_.WriteLog("Checking network registration status");
  const std::string status = PollStatus();
  state_.registered = CountsAsRegistered(status);
  if (!state_.registered && !errors_.IsPending()) {
    if (status.empty()) {
      error_ = kUnreadableRegistrationStatus;
    } else if (status == "0" || status == kSearching) {
      error_ = kRegistrationFailed;
    } else if (status == kDenied) {
      error_ = kRegistrationDenied;
    } else {
      error_ = kUnknownRegistrationStatus;
    }
  }
  return state_.registered;
}

bool Registration::CountsAsRegistered(const std::string& status) const {
  return std::find(networks_.registered.begin(), networks_.registered.end(), status) != networks_.registered.end();
}

// Asks until the modem no longer searches and is no longer denied; returns the last status.
std::string Registration::PollStatus() {
  const WholeSecondWait wait(platform_, settings_.timeout);
  std::string status;
  while (!wait.IsOver()) {
    status = QueryStatus();
    if (status == kSearching) {
      log_.WriteLog("Modem is searching for a new operator to register to");
    } else if (status == kDenied) {
      log_.WriteLog("Network registration denied to the modem");
    } else {
      break;
    }
    platform_.Sleep(kPollInterval);
    log_.WriteLog("Checking network registration status again after 1000ms delay");
  }
  return status;
}

// Empty when the modem does not tell; an error of the exchange is raised then.
std::string Registration::QueryStatus() {
  const auto ask = [this](std::string_view name) {
    const Answer answer = exchange_.CheckCommandResponse("AT" + std::string(name) + "?\r");
    if (errors_.IsPending() || answer.IsEmpty() || answer.HoldsError()) return std::string();
    std::string status = StatusOf(answer, std::string(name) + ":");
    int number = 0;
    if (networks_.comparesNumbers && ParseWhole(status, number)) status = std::to_string(number);
    return status;
  };
  std::string status = ask("+CREG");
  if (networks_.others.empty() || CountsAsRegistered(status) || errors_.IsPending()) return status;
  for (const std::string_view name : networks_.others) {
    if (!exchange_.IsPortOpen()) break;
    const std::string other = ask(name);
    if (CountsAsRegistered(other)) return other;
    if (other == kSearching && status != kDenied) status = other;  // there may be a network yet
  }
  errors_.ClearError();  // many modems know only one of these
  return status;
}

bool Registration::VerifyNetwork() {
  if (CheckRegistration()) return true;
  if (pin_.Error()) {
    error_ = pin_.Error();
  } else if (!error_) {
    error_ = kUnknownRegistrationFailure;
  }
  return false;
}

bool Registration::VerifySim() {
  error_ = {};
  if (state_.IsReady() || pin_.CheckPIN()) return true;
  error_ = pin_.Error();
  return false;
}

// Whether a connection stands only with a network.
bool Registration::ConnectionNeedsNetwork() const { return manner_.needsNetworkForAll; }

bool Registration::Verify() { return ConnectionNeedsNetwork() ? VerifyNetwork() : VerifySim(); }

bool Registration::EnsureRegistered() { return (state_.IsReady() && state_.registered) || Verify(); }

bool Registration::EnsureNetwork() {
  return ConnectionNeedsNetwork() || (state_.IsReady() && state_.registered) || VerifyNetwork();
}

bool Registration::EnsureReady() { return RaiseUnless((state_.IsReady() && exchange_.IsPortOpen()) || Verify()); }

bool Registration::EnsureReadyForNetwork() { return EnsureReady() && RaiseUnless(EnsureNetwork()); }

bool Registration::RaiseUnless(bool ready) {
  if (!ready) errors_.SetError(error_);
  return ready;
}

}  // namespace tavro
