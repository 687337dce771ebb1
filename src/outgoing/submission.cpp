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
#include "outgoing/submit_cause.h"

namespace tavro {

namespace {

constexpr char kCtrlZ = 26;
constexpr std::uint32_t kAllBits = 0xFFFFFFFF;
constexpr SerialTimeOuts kFastTimeOuts{500, kAllBits, kAllBits, 3, 0};                   // above 9600 bits per second
constexpr SerialTimeOuts kSlowTimeOuts{1000, kAllBits, kAllBits, 6, 0};                  // up to it
constexpr std::int32_t kLateResultLimit = 5000;                                          // ms
constexpr std::uint32_t kPumpInterval = 10, kPromptInterval = 1, kResultInterval = 500;  // ms

bool HoldsError(std::string_view response) { return ContainsNoCase(response, "ERROR"); }

// Octets without the SMSC field, whose first octet is the number of those behind it.
std::size_t TpduLength(const std::string& pdu) {
  return pdu.size() / 2 - static_cast<std::size_t>(HexToLong(std::string_view(pdu).substr(0, 2))) - 1;
}

// The message reference in an answer; "" when it has none.
std::string ReferenceIn(std::string_view response) {
  constexpr std::string_view kPrefix = "+CMGS:";
  const std::string upper = Upper(WithoutQuotedText(response));
  std::string_view answer = std::string_view(upper).substr(0, upper.find("ERROR"));
  const std::size_t prefix = answer.find(kPrefix);
  if (prefix == std::string_view::npos) return {};
  answer.remove_prefix(prefix + kPrefix.size());
  // On its line only, as an unsolicited line may follow.
  answer.remove_prefix(std::min(answer.find_first_not_of(" \r\n"), answer.size()));
  std::string reference = CleanResponse(answer.substr(0, answer.find_first_of(",\r\n")));
  return IsNumeric(reference) ? reference : std::string();
}

// The same while the modem has not confirmed the message by OK: "". A confirmation stands whatever comes behind it: the
// message is out and must not be sent again for an unsolicited text that speaks of an error.
std::string ConfirmedReference(std::string_view response) {
  const std::string upper = Upper(WithoutQuotedText(response));
  const bool confirmed = Contains(std::string_view(upper).substr(0, upper.find("ERROR")), "OK\r\n");
  return confirmed ? ReferenceIn(response) : std::string();
}

// Without a last line that has not ended: more digits may be missing.
std::string_view WholeLines(std::string_view response) { return response.substr(0, response.find_last_of("\r\n") + 1); }

// Whether a line of it says that the modem refused the command and so waits for nothing more.
bool HoldsErrorLine(std::string_view response) {
  const std::string upper = Upper(response);
  for (const char* code : {"ERROR", "+CMS ERROR", "+CME ERROR"}) {
    if (upper.starts_with(code) || Contains(upper, std::string("\n") + code)) return true;
  }
  return false;
}

PendingError InvalidResult(const SubmissionErrors& errors, const std::string& response) {
  return {errors.invalidResult.code, errors.invalidResult.text + response + "]"};
}

}  // namespace

Submission::Submission(const DialogueContext& dialogue, Registration& registration, ModemConnection& connection,
                       MessageSteps& steps, ServiceCentre& serviceCentre)
    : DialoguePart(dialogue),
      registration_(registration),
      connection_(connection),
      steps_(steps),
      serviceCentre_(serviceCentre) {}

std::string Submission::SmscField(const SubmissionErrors& errors) {
  if (serviceCentre_.SmscNumber().empty()) serviceCentre_.QuerySmsc();
  if (serviceCentre_.SmscNumber().empty()) {
    if (manner_.leavesServiceCentreToModem) {
      errors_.ClearError();
    } else {
      errors_.SetError(errors.smscNotSpecified);
    }
  }
  return serviceCentre_.SmscField();
}

SubmissionResult Submission::Submit(const std::string& pdu, bool first, const SubmissionErrors& errors) {
  for (int failures = 0;;) {
    SubmissionResult result = Attempt(pdu, first && failures == 0, errors);
    lastSend_.emplace(platform_, settings_.pauses.send);
    if (!result.reference.empty()) return result;
    if (!result.error) result.error = errors.unknown;
    if (++failures > settings_.sendRetry || result.final || platform_.IsInterrupted()) return result;
    errors_.SetError(result.error.code, result.error.text + " [Send Attempt: " + std::to_string(failures) + "]");
  }
}

SubmissionResult Submission::Attempt(const std::string& pdu, bool first, const SubmissionErrors& errors) {
  errors_.ClearError();
  if (PendingError error = steps_.Connect(errors.steps)) return {{}, error};
  if (!state_.IsReady()) return {{}, errors.steps.cannotConnect};
  if (!registration_.EnsureNetwork()) return {{}, registration_.Error(), true};

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

  if (PendingError error = AwaitPrompt(errors)) return {{}, error};

  exchange_.Pace();
  const bool written = exchange_.Write(pdu + kCtrlZ);
  log_.WriteLog("PDU: " + pdu);
  if (!written) {
    LogPortError();
    const bool mayBeOut = manner_.sendsOnce && exchange_.MayBeWritten();
    CancelPrompt();
    connection_.DisconnectModem();
    if (mayBeOut) return {{}, InvalidResult(errors, "Result unknown"), true};
    return {{}, errors.submitError};
  }

  return AwaitResult(errors);
}

// The application's events go on meanwhile.
void Submission::WaitSendDelay(bool first) {
  const auto delay = static_cast<std::uint32_t>(settings_.pauses.send);
  if (first) {
    // At least so many seconds on the clock, and at least so many milliseconds.
    while (lastSend_ && !(lastSend_->IsOver(settings_.pauses.send) && lastSend_->Elapsed() >= delay) &&
           !platform_.IsInterrupted()) {
      platform_.PumpMessages();
      platform_.Sleep(kPumpInterval);
    }
    return;
  }
  const std::uint32_t start = platform_.TickCount();
  for (std::uint32_t elapsed = 0; elapsed < delay && !platform_.IsInterrupted();
       elapsed = platform_.TickCount() - start) {
    platform_.PumpMessages();
    platform_.Sleep(std::min(kPumpInterval, delay - elapsed));
  }
}

void Submission::LogPortError() { log_.WriteLog("Comm Error: [" + std::to_string(exchange_.PortError()) + "] "); }

// All that came, cleaned, or what the newest read brought: ">" alone is the prompt, in whatever pieces it came.
// Anything that comes in one read with it, an echo of the command or an unsolicited line, makes it none; this is meant.
PendingError Submission::AwaitPrompt(const SubmissionErrors& errors) {
  std::string received, response, newest;
  bool refused = false;
  const auto isPrompt = [&] { return response == ">" || newest == ">"; };
  exchange_.AwaitAnswer(kPromptInterval, [&](const std::string& read) {
    received += read;
    newest = CleanResponse(read);
    response = CleanResponse(received);
    refused = HoldsError(WithoutQuotedText(received));
    return isPrompt() || refused;
  });
  log_.WriteLog("Recv: " + response);
  if (isPrompt() && !refused) return {};
  log_.WriteLog("Modem Response: " + response);
  if (!HoldsErrorLine(received) || Contains(response, ">")) CancelPrompt();
  if (!refused && newest.empty()) connection_.DisconnectModem();
  return errors.invalidPrompt;
}

SubmissionResult Submission::AwaitResult(const SubmissionErrors& errors) {
  std::string response, reference;
  exchange_.AwaitAnswer(kResultInterval, std::max(settings_.timeout, manner_.submitTimeout),
                        [&](const std::string& read) {
                          response += read;
                          reference = ConfirmedReference(response);
                          return !reference.empty() || HoldsError(WithoutQuotedText(response));
                        });
  log_.WriteLog("Modem Response: " + response);
  if (!reference.empty()) return {std::move(reference), {}};
  if (manner_.sendsOnce) return JudgeOnce(std::move(response), errors);
  const std::string codes = WithoutQuotedText(response);
  const bool refused = HoldsError(codes);
  if (!refused && !ContainsNoCase(codes, "OK")) CancelPrompt();
  if (refused || Trim(response).empty()) connection_.DisconnectModem();
  return {{}, InvalidResult(errors, response)};
}

// What came of a PDU that the modem did not confirm. Only a clear refusal says that the message is not out.
SubmissionResult Submission::JudgeOnce(std::string response, const SubmissionErrors& errors) {
  if (std::string reference = ReferenceIn(WholeLines(response)); !reference.empty()) return {std::move(reference), {}};
  const auto cause = SubmitCauseIn(WholeLines(response));  // of a number, more digits may be missing
  const std::string words = cause && !cause->text.empty() ? " (" + std::string(cause->text) + ")" : "";
  if (cause && cause->kind != SubmitCause::Kind::kUnclear) {
    // It answers: there is no need to connect anew.
    return {{}, InvalidResult(errors, response + words), cause->kind == SubmitCause::Kind::kPermanent};
  }
  const auto unknown = [&] {
    return InvalidResult(errors, "Result unknown" + (response.empty() ? "" : ": " + response + words));
  };
  if (cause) return {{}, unknown(), true};
  // The modem may still wait for the PDU's end; if it does not, its result may come now.
  CancelPrompt();
  std::string late;
  exchange_.AwaitAnswer(kResultInterval, std::min(settings_.timeout, kLateResultLimit), [&](const std::string& read) {
    late += read;
    return !late.empty();
  });
  log_.WriteLog("Modem Response: " + late);
  if (std::string reference = ReferenceIn(WholeLines(late)); !reference.empty()) return {std::move(reference), {}};
  if (!settings_.recovery.IsAllowed()) connection_.DisconnectModem();  // otherwise it is recovered the next time
  return {{}, unknown(), true};
}

// A modem that waits for a PDU, or is late to ask for one, would take the next command for it.
void Submission::CancelPrompt() {
  log_.WriteLog("Cancelling the message");
  exchange_.CancelInput();
}

}  // namespace tavro
