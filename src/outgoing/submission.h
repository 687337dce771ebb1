// The dialogue that hands one PDU to the modem for sending (AT+CMGS in PDU mode, 3GPP TS 27.005, 3.5.1), with its
// attempts and its pacing. Text messages and pushes share it.
#pragma once

#include <optional>
#include <string>

#include "base/error_codes.h"
#include "connection/connection_state.h"
#include "connection/modem_connection.h"
#include "link/at_exchange.h"
#include "link/error_state.h"
#include "link/settings.h"
#include "link/whole_second_wait.h"
#include "log/log_handling.h"
#include "outgoing/service_centre.h"
#include "platform/platform.h"

namespace tavro {

// What differs between a text message and a push.
struct SubmissionErrors {
  ErrorDefinition pduModeUnchecked;
  ErrorDefinition noPduMode;
  ErrorDefinition smscNotSpecified;
  ErrorDefinition cannotConnect;
  ErrorDefinition commandError;
  ErrorDefinition invalidPrompt;
  ErrorDefinition submitError;
  ErrorDefinition invalidResult;  // the start of the text; the modem's answer and "]" follow
  ErrorDefinition unknown;
};

struct SubmissionResult {
  std::string reference;  // the modem's message reference, a number; empty on failure
  PendingError error;
};

class Submission {
 public:
  Submission(Platform& platform, AtExchange& exchange, ModemConnection& connection, ErrorState& errors,
             LogHandling& log, const Settings& settings, const ConnectionState& state, ServiceCentre& serviceCentre);

  // Makes sure of the connection and of the modem's PDU mode. Returns the error on failure.
  PendingError Prepare(const SubmissionErrors& errors);

  // The SMSC field of the PDUs. With no service centre known, and none to be read from the modem, an error is raised.
  std::string SmscField(const SubmissionErrors& errors);

  // Submits a PDU, up to SendRetry + 1 times. `first`: it opens a message, whose distance from the message before is
  // counted in whole seconds. The errors of all attempts but the last are raised with the attempt's number and cleared.
  SubmissionResult Submit(const std::string& pdu, bool first, const SubmissionErrors& errors);

 private:
  SubmissionResult Attempt(const std::string& pdu, bool first, const SubmissionErrors& errors);
  void WaitSendDelay(bool first);
  void LogPortError();
  std::string AwaitPrompt();
  std::string AwaitResult(std::string& response);
  void CancelPrompt();

  Platform& platform_;
  AtExchange& exchange_;
  ModemConnection& connection_;
  ErrorState& errors_;
  LogHandling& log_;
  const Settings& settings_;
  const ConnectionState& state_;
  ServiceCentre& serviceCentre_;
  std::optional<WholeSecondWait> lastSend_;  // since the end of the last attempt
};

}  // namespace tavro
