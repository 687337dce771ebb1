#include "connection/modem_initialisation.h"

#include <utility>

#include "base/restored.h"
#include "base/text.h"

namespace tavro {

namespace {

constexpr std::int32_t kNetworkSelectionTimeout = 60000;  // ms

// <pas> of 3GPP TS 27.007, 8.1.
const char* ActivityText(std::string_view status) {
  if (status == "0") return "ME is in ready state";
  if (status == "1") return "ME is not available";
  if (status == "3") return "ME is ready but ringer is active";
  if (status == "4") return "ME is ready but call is in progress";
  if (status == "5") return "ME is asleep (low functionality state)";
  return "ME is in a unknown state";
}

}  // namespace

// A command of the sequence with the warnings for no answer, an error of the exchange and an answer of ERROR.
struct ModemInitialisation::Step {
  const char* logLine;
  const char* command;
  const ErrorDefinition& noResponse;
  const ErrorDefinition* failed;
  const ErrorDefinition* errorResponse;
};

ModemInitialisation::ModemInitialisation(const DialogueContext& dialogue, PinCheck& pin, Registration& registration)
    : DialoguePart(dialogue), pin_(pin), registration_(registration) {}

bool ModemInitialisation::InitializeModem() {
  static const Step kEchoOff{"Disable modem echo", "ATE0\r", kEchoOffNoResponse, &kEchoOffFailed,
                             &kEchoOffErrorResponse};
  static const Step kLongResultCodes{"Enable long result code format", "ATV1\r", kLongResultCodesNoResponse,
                                     &kLongResultCodesFailed, &kLongResultCodesErrorResponse};
  static const Step kNumericErrors{"", "AT+CMEE=1\r", kNumericErrorsNoResponse, &kNumericErrorsFailed,
                                   &kNumericErrorsErrorResponse};
  // An ERROR to this one is no failure.
  static const Step kRegistrationCodesOff{"Disable network registration unsolicited result code", "AT+CREG=0\r",
                                          kRegistrationCodesOffNoResponse, &kRegistrationCodesOffFailed, nullptr};

  if (!CheckActivity()) return false;
  RunUserInit();
  RunStep(kEchoOff);
  RunStep(kLongResultCodes);
  bool defaultsDone = RunStep(kNumericErrors);
  defaultsDone = RunStep(kRegistrationCodesOff) && defaultsDone;
  if (manner_.setsCharacterSet) SelectCharacterSet();
  if (IsDeviceGone()) return false;
  if (!registration_.Verify()) defaultsDone = SelectNetworkAutomatically() && defaultsDone;
  if (IsDeviceGone()) return false;
  if (!defaultsDone) errors_.Warn(kDefaultInitFailed);
  return true;
}

// Names and numbers in the GSM alphabet (AT+CSCS, 3GPP TS 27.007, 5.5). A modem that has no other refuses it.
void ModemInitialisation::SelectCharacterSet() {
  log_.WriteLog("Select character set GSM");
  exchange_.CheckCommandResponse("AT+CSCS=\"GSM\"\r");
  errors_.ClearError();
}

// A write that failed has closed the port.
bool ModemInitialisation::IsDeviceGone() {
  if (exchange_.IsPortOpen()) return false;
  errors_.SetError(kCannotSendCommand);
  return true;
}

bool ModemInitialisation::CheckActivity() {
  const std::string status = ActivityStatus();
  if (status == "1") {
    errors_.SetError(kModemNotAvailable);
    return false;
  }
  if (status != "5") return true;
  SetFullFunctionality();
  log_.WriteLog("Verify PIN status after full functionality mode");
  const bool ready = pin_.CheckPIN();
  if (ready && !pin_.Error()) return true;
  errors_.SetError(pin_.Error() ? pin_.Error() : PendingError(kPinStatusAfterFullFunctionality));
  return false;
}

// <pas>, or "" when the modem gave no usable answer.
std::string ModemInitialisation::ActivityStatus() {
  log_.WriteLog("Checking ME activity status");
  const Answer answer = exchange_.CheckCommandResponse("AT+CPAS\r");
  const std::string status = answer.IsGood() ? answer.Information("+CPAS:") : std::string();
  log_.WriteLog(status.empty() ? "Error checking ME state" : ActivityText(status));
  return status;
}

void ModemInitialisation::WakeIfAsleep() {
  if (ActivityStatus() == "5") SetFullFunctionality();
}

void ModemInitialisation::RunUserInit() {
  std::string command = Trimmed(settings_.modemInitString);
  if (command.empty()) return;
  log_.WriteLog("Initializing modem (user defined)");
  if (Upper(command.substr(0, 2)) != "AT") command.insert(0, "AT");
  const Answer answer = exchange_.CheckCommandResponse(command + "\r");
  if (answer.HoldsError()) errors_.SetError(kUserInitErrorResponse);
  // The error that is pending stands, being the more precise one.
  if (errors_.IsPending()) errors_.Warn(kUserInitFailed);
}

// Whether the step left no warning.
bool ModemInitialisation::RunStep(const Step& step) {
  log_.WriteLog(step.logLine);
  const Answer answer = exchange_.CheckCommandResponse(step.command);
  if (answer.IsEmpty()) {
    errors_.Warn(step.noResponse);
  } else if (step.failed && errors_.IsPending()) {
    errors_.Warn(*step.failed);
  } else if (step.errorResponse && answer.HoldsError()) {
    errors_.Warn(*step.errorResponse);
  } else {
    return true;
  }
  return false;
}

bool ModemInitialisation::SelectNetworkAutomatically() {
  static const Step kAutomaticSelection{"Enable automatic network selection", "AT+COPS=0\r",
                                        kNetworkSelectionNoResponse, &kNetworkSelectionFailed,
                                        &kNetworkSelectionErrorResponse};
  errors_.ClearError();
  SetMinimumFunctionality();
  SetFullFunctionality();
  const Restored timeout(settings_.timeout, kNetworkSelectionTimeout);
  return RunStep(kAutomaticSelection);
}

void ModemInitialisation::SetMinimumFunctionality() {
  static const Step kMinimum{"Set ME to minimum functionality mode", "AT+CFUN=0\r", kMinimumFunctionalityNoResponse,
                             &kMinimumFunctionalityFailed, &kMinimumFunctionalityFailed};
  RunStep(kMinimum);
  platform_.Sleep(static_cast<std::uint32_t>(settings_.pauses.functionality));
}

void ModemInitialisation::SetFullFunctionality() {
  static const Step kFull{"Set ME to full functionality mode", "AT+CFUN=1\r", kFullFunctionalityNoResponse,
                          &kFullFunctionalityFailed, &kFullFunctionalityFailed};
  RunStep(kFull);
  platform_.Sleep(static_cast<std::uint32_t>(settings_.pauses.functionality));
}

void ModemInitialisation::DisableNewMessageIndications() {
  if (!DisableNewMessageIndications("2")) DisableNewMessageIndications("3");
}

bool ModemInitialisation::DisableNewMessageIndications(const std::string& mode) {
  const auto send = [&](const char* bfr) {
    return exchange_.CheckCommandResponse("AT+CNMI=" + mode + ",0,0,0," + bfr + "\r");
  };
  const auto warn = [&](std::int32_t code, const std::string& text) {
    errors_.Warn({code, text});
    return false;
  };
  const std::string noResponse = "No response to disable new message indication command (";
  const std::string failed = "Disabling new message indication failed (mode=" + mode;

  log_.WriteLog("Disable new message indication");
  Answer answer = send("0");
  if (answer.IsEmpty()) return warn(kIndicationsOffNoResponse, noResponse + "bfr=0)");
  if (answer.IsGood()) return true;
  if (!answer.HoldsError()) return warn(kIndicationsOffFailed, failed + ",bfr=0)");
  answer = send("1");  // some modems cannot drop what they buffered while switched off
  if (answer.IsEmpty()) return warn(kIndicationsOffNoResponse, noResponse + "mode=" + mode + ",bfr=1)");
  if (answer.IsGood()) return true;
  return warn(kIndicationsOffFailed, failed + ",bfr=1)");
}

}  // namespace tavro
