#include "incoming/message_deleter.h"

#include "base/text.h"
#include "link/whole_second_wait.h"

namespace tavro {

namespace {

std::string Join(const std::vector<std::int16_t>& locations) {
  std::string text;
  for (const std::int16_t location : locations) {
    if (!text.empty()) text += ',';
    text += std::to_string(location);
  }
  return text;
}

}  // namespace

MessageDeleter::MessageDeleter(Platform& platform, AtExchange& exchange, ErrorState& errors, LogHandling& log,
                               const Settings& settings, ConnectionState& state, ModemConnection& connection,
                               Registration& registration, MessageMemory& memory)
    : platform_(platform),
      exchange_(exchange),
      errors_(errors),
      log_(log),
      settings_(settings),
      state_(state),
      connection_(connection),
      registration_(registration),
      memory_(memory) {}

bool MessageDeleter::DeleteStoredMessage(SIMBox& box, std::int16_t inboxIndex,
                                         const std::vector<std::int16_t>& locations) {
  error_ = {};
  log_.WriteLog("Deleting message " + std::to_string(inboxIndex) + " [Memory Loc: " + Join(locations) + "]");
  if (!SelectMemoryOf(box)) return false;
  if (!state_.IsReady() || !state_.registered) {
    log_.WriteLog("Verifying network registration status");
    if (!registration_.EnsureRegistered()) return Fail(registration_.Error());
  }
  if (!state_.pduSupportChecked) {
    log_.WriteLog("Verifying PDU support in modem");
    if (!connection_.CheckPDUSupport()) return Fail(kDeletePduModeUnchecked);
  }
  if (!state_.pduSupported) return Fail(kDeleteNoPduMode);
  for (const std::int16_t location : locations) {
    if (!DeleteLocation(box, location)) return false;
    box.RemoveRecord(location);
  }
  return true;
}

// Whether the modem deletes from the memory that the messages were read from. In another one the location is another
// message's, which must not go.
bool MessageDeleter::SelectMemoryOf(const SIMBox& box) {
  if (!state_.memorySelected && !memory_.SelectMessageMemory(settings_.messageMemory)) {
    if (!exchange_.IsPortOpen()) return Fail(kDeleteCannotConnect);  // tried once: it may cost the PIN an attempt
    if (!box.Memory().empty()) return Fail(kMessageMemoryNotSupported);
    errors_.Warn(kMessageMemoryNotSupported);
    return true;
  }
  return settings_.messageMemory == box.Memory() || Fail(kMessageNotFound);
}

bool MessageDeleter::DeleteLocation(const SIMBox& box, std::int16_t location) {
  if (!exchange_.IsPortOpen() && connection_.ConnectModem() && !SelectMemoryOf(box)) return false;
  if (!exchange_.IsPortOpen()) return Fail(kDeleteCannotConnect);
  const std::string command = "AT+CMGD=" + std::to_string(location) + "\r";
  exchange_.Pace();
  exchange_.Purge();  // a late answer to an earlier command is not this one's
  const bool written = exchange_.Write(command);
  log_.WriteLog("Modem Command: " + command);
  if (!written) {
    connection_.DisconnectModem();
    return Fail(kDeleteCommandError);
  }
  std::string answer;
  bool finished = false;
  const WholeSecondWait wait(platform_, settings_.timeout);
  while (!finished && !wait.IsOver()) {
    platform_.Sleep(1);
    platform_.PumpMessages();
    answer += exchange_.Read();
    finished = ContainsNoCase(answer, "OK") || ContainsNoCase(answer, "ERROR");
  }
  exchange_.MarkCommandEnd();
  if (IsGoodResponse(answer)) return true;
  log_.WriteLog("Modem Response: " + answer);
  if (Trim(answer).empty()) connection_.DisconnectModem();
  return Fail(kDeleteInvalidResponse);
}

bool MessageDeleter::Fail(const PendingError& error) {
  error_ = error;
  return false;
}

}  // namespace tavro
