// One attempt, with a TPDU of 23 octets (3GPP TS 27.005, 3.5.1):
//
//   ->  AT+CMGS=23<cr>            octets of the PDU without its SMSC field
//   <-  <cr><lf>>                 and a space: the prompt
//   ->  pdu <ctrl-z>              or <esc>: nothing is sent
//   <-  <cr><lf>+CMGS: reference[,acknowledgement]<cr><lf><cr><lf>OK<cr><lf>
//   <-  or <cr><lf>ERROR<cr><lf>, <cr><lf>+CMS ERROR: number<cr><lf>
#include "outgoing/submission.h"

#include <algorithm>
#include <cstdint>
#include <string_view>

#include "base/text.h"
#include "outgoing/encodings.h"

namespace tavro {

namespace {

constexpr char kCtrlZ = 26, kEsc = 27;
constexpr std::uint32_t kAllBits = 0xFFFFFFFF;
constexpr SerialTimeOuts kFastTimeOuts{500, kAllBits, kAllBits, 3, 0};                   // above 9600 bits per second
constexpr SerialTimeOuts kSlowTimeOuts{1000, kAllBits, kAllBits, 6, 0};                  // up to it
constexpr std::uint32_t kPumpInterval = 10, kPromptInterval = 1, kResultInterval = 500;  // ms

bool HoldsError(std::string_view response) { return ContainsNoCase(response, "ERROR"); }

// Octets without the SMSC field, whose first octet is the number of those behind it.
std::size_t TpduLength(const std::string& pdu) {
  return pdu.size() / 2 - static_cast<std::size_t>(HexToLong(std::string_view(pdu).substr(0, 2))) - 1;
}

// The message reference, or "" while the modem has not confirmed the message. A confirmation stands whatever comes
// behind it: the message is out and must not be sent again for an unsolicited text that speaks of an error.
std::string ConfirmedReference(std::string_view response) {
  constexpr std::string_view kPrefix = "+CMGS:";
  const std::string upper = Upper(response);
  std::string_view answer = std::string_view(upper).substr(0, upper.find("ERROR"));
  const std::size_t prefix = answer.find(kPrefix);
  if (prefix == std::string_view::npos) return {};
  answer.remove_prefix(prefix + kPrefix.size());
  if (!Contains(answer, "OK\r\n")) return {};
  // On its line only, as an unsolicited line may follow.
  answer.remove_prefix(std::min(answer.find_first_not_of(" \r\n"), answer.size()));
  std::string reference = CleanResponse(answer.substr(0, answer.find_first_of(",\r\n")));
  return IsNumeric(reference) ? reference : std::string();
}

}  // namespace

Submission::Submission(Platform& platform, AtExchange& exchange, ModemConnection& connection, ErrorState& errors,
                       LogHandling& log, const Settings& settings, const ConnectionState& state,
                       ServiceCentre& serviceCentre)
    : platform_(platform),
      exchange_(exchange),
      connection_(connection),
      errors_(errors),
      log_(log),
      settings_(settings),
      state_(state),
      serviceCentre_(serviceCentre) {}

PendingError Submission::Prepare(const SubmissionErrors& errors) {
  if (!state_.IsReady() && !connection_.EnsureConnection()) return errors_.Last();
  // What is known of a connection that is closed says nothing of the one that the first attempt opens.
  if (!exchange_.IsPortOpen()) return {};
  if (!connection_.CheckPDUSupport()) return errors.pduModeUnchecked;
  if (!state_.pduSupported) return errors.noPduMode;
  return {};
}

std::string Submission::SmscField(const SubmissionErrors& errors) {
  if (serviceCentre_.SmscNumber().empty()) serviceCentre_.QuerySmsc();
  if (serviceCentre_.SmscNumber().empty()) errors_.SetError(errors.smscNotSpecified);
  return serviceCentre_.SmscField();
}

SubmissionResult Submission::Submit(const std::string& pdu, bool first, const SubmissionErrors& errors) {
  for (int failures = 0;;) {
    SubmissionResult result = Attempt(pdu, first && failures == 0, errors);
    lastSend_.emplace(platform_, settings_.sendDelay);
    if (!result.reference.empty()) return result;
    if (!result.error) result.error = errors.unknown;
    if (++failures > settings_.sendRetry) return result;
    errors_.SetError(result.error.code, result.error.text + " [Send Attempt: " + std::to_string(failures) + "]");
  }
}

SubmissionResult Submission::Attempt(const std::string& pdu, bool first, const SubmissionErrors& errors) {
  errors_.ClearError();
  if (!exchange_.IsPortOpen()) connection_.ConnectModem();
  if (!exchange_.IsPortOpen() || !state_.IsReady()) return {{}, errors.cannotConnect};

  WaitSendDelay(first);
  exchange_.ApplyTimeOuts('S', settings_.baudRate > 9600 ? kFastTimeOuts : kSlowTimeOuts);

  const std::string command = "AT+CMGS=" + std::to_string(TpduLength(pdu)) + "\r";
  exchange_.Pace();
  exchange_.Purge();
  log_.WriteLog("Modem Command: " + command);
  if (!exchange_.Write(command)) {
    LogPortError();
    connection_.DisconnectModem();
    return {{}, errors.commandError};
  }

  const std::string prompt = AwaitPrompt();
  if (prompt != ">") {
    log_.WriteLog("Modem Response: " + prompt);
    if (!HoldsError(prompt) || Contains(prompt, ">")) CancelPrompt();
    if (prompt.empty()) connection_.DisconnectModem();
    return {{}, errors.invalidPrompt};
  }

  exchange_.Pace();
  const bool written = exchange_.Write(pdu + kCtrlZ);
  log_.WriteLog("PDU: " + pdu);
  if (!written) {
    LogPortError();
    CancelPrompt();
    connection_.DisconnectModem();
    return {{}, errors.submitError};
  }

  std::string response;
  std::string reference = AwaitResult(response);
  log_.WriteLog("Modem Response: " + response);
  if (!reference.empty()) return {std::move(reference), {}};
  if (HoldsError(response) || Trim(response).empty()) connection_.DisconnectModem();
  return {{}, {errors.invalidResult.code, errors.invalidResult.text + response + "]"}};
}

// The application's events go on meanwhile.
void Submission::WaitSendDelay(bool first) {
  if (first) {
    while (lastSend_ && !lastSend_->IsOver(settings_.sendDelay)) {
      platform_.PumpMessages();
      platform_.Sleep(kPumpInterval);
    }
    return;
  }
  const std::uint32_t start = platform_.TickCount();
  const auto delay = static_cast<std::uint32_t>(settings_.sendDelay);
  for (std::uint32_t elapsed = 0; elapsed < delay; elapsed = platform_.TickCount() - start) {
    platform_.PumpMessages();
    platform_.Sleep(std::min(kPumpInterval, delay - elapsed));
  }
}

void Submission::LogPortError() { log_.WriteLog("Comm Error: [" + std::to_string(exchange_.PortError()) + "] "); }

// All that came, cleaned: ">" alone is the prompt, in whatever pieces it came. Anything with it, an echo of the command
// or an unsolicited line, makes it none; this is meant.
std::string Submission::AwaitPrompt() {
  std::string received;
  std::string response;
  const WholeSecondWait wait(platform_, settings_.timeout);
  while (response != ">" && !HoldsError(response) && !wait.IsOver()) {
    platform_.Sleep(kPromptInterval);
    received += exchange_.Read();
    response = CleanResponse(received);
  }
  log_.WriteLog("Recv: " + response);
  return response;
}

std::string Submission::AwaitResult(std::string& response) {
  std::string reference;
  const WholeSecondWait wait(platform_, settings_.timeout);
  while (reference.empty() && !HoldsError(response) && !wait.IsOver()) {
    platform_.Sleep(kResultInterval);
    response += exchange_.Read();
    reference = ConfirmedReference(response);
  }
  return reference;
}

// A modem that waits for a PDU, or is late to ask for one, would take the next command for it.
void Submission::CancelPrompt() {
  log_.WriteLog("Cancelling the message");
  exchange_.Pace();
  exchange_.Write(std::string(1, kEsc));
}

}  // namespace tavro
