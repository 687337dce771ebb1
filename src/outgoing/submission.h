// The dialogue that hands one PDU to the modem for sending (AT+CMGS in PDU mode, 3GPP TS 27.005, 3.5.1), with its
// attempts and its pacing. Text messages and pushes share it.
#pragma once

#include <optional>
#include <string>

#include "base/error_codes.h"
#include "connection/message_steps.h"
#include "connection/modem_connection.h"
#include "connection/registration.h"
#include "link/dialogue.h"
#include "link/whole_second_wait.h"
#include "outgoing/service_centre.h"

namespace tavro {

// What differs between a text message and a push.
struct SubmissionErrors {
  MessageStepTexts steps;
  ErrorDefinition smscNotSpecified;
  ErrorDefinition commandError;
  ErrorDefinition invalidPrompt;
  ErrorDefinition submitError;
  ErrorDefinition invalidResult;  // the start of the text; the modem's answer and "]" follow
  ErrorDefinition unknown;
};

struct SubmissionResult {
  std::string reference;  // the modem's message reference, a number; empty on failure
  PendingError error;
  bool final = false;  // trying again would send it twice or be refused again
};

class Submission : DialoguePart {
 public:
  Submission(const DialogueContext& dialogue, Registration& registration, ModemConnection& connection,
             MessageSteps& steps, ServiceCentre& serviceCentre);

  // Makes sure of the connection and of the modem's PDU mode. Returns the error on failure.
  PendingError Prepare(const SubmissionErrors& errors) { return steps_.PrepareSending(errors.steps); }

  // The SMSC field of the PDUs. With no service centre known, and none to be read from the modem, an error is raised.
  std::string SmscField(const SubmissionErrors& errors);

  // Submits a PDU, up to SendRetry + 1 times. `first`: it opens a message, whose distance from the message before is
  // counted in whole seconds. The errors of all attempts but the last are raised with the attempt's number and cleared.
  SubmissionResult Submit(const std::string& pdu, bool first, const SubmissionErrors& errors);

 private:
  SubmissionResult Attempt(const std::string& pdu, bool first, const SubmissionErrors& errors);
  void WaitSendDelay(bool first);
  void LogPortError();
  SubmissionResult JudgeOnce(std::string response, const SubmissionErrors& errors);
  PendingError AwaitPrompt(const SubmissionErrors& errors);
  SubmissionResult AwaitResult(const SubmissionErrors& errors);
  void CancelPrompt();

  Registration& registration_;
  ModemConnection& connection_;
  MessageSteps& steps_;
  ServiceCentre& serviceCentre_;
  std::optional<WholeSecondWait> lastSend_;  // since the end of the last attempt
};

}  // namespace tavro
