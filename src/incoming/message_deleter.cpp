#include "incoming/message_deleter.h"

#include "base/text.h"

namespace tavro {

namespace {

constexpr MessageStepTexts kDeleteSteps{kDeleteCannotConnect, kDeletePduModeUnchecked, kDeleteNoPduMode,
                                        "Verifying network registration status", "Verifying PDU support in modem"};

std::string Join(const std::vector<std::int16_t>& locations) {
  std::string text;
  for (const std::int16_t location : locations) {
    if (!text.empty()) text += ',';
    text += std::to_string(location);
  }
  return text;
}

}  // namespace

MessageDeleter::MessageDeleter(const DialogueContext& dialogue, ModemConnection& connection, MessageSteps& steps)
    : DialoguePart(dialogue), connection_(connection), steps_(steps) {}

bool MessageDeleter::DeleteStoredMessage(SIMBox& box, std::int16_t inboxIndex,
                                         const std::vector<std::int16_t>& locations) {
  log_.WriteLog("Deleting message " + std::to_string(inboxIndex) + " [Memory Loc: " + Join(locations) + "]");
  error_ = Delete(box, locations);
  return !error_;
}

PendingError MessageDeleter::Delete(SIMBox& box, const std::vector<std::int16_t>& locations) {
  int connection = connection_.Count();
  if (PendingError error = steps_.PrepareDeleting(kDeleteSteps, box.Memory())) return error;
  for (const std::int16_t location : locations) {
    if (PendingError error = steps_.Connect(kDeleteSteps)) return error;
    // A new connection may have come up with another memory, where the location is another message's.
    if (connection != connection_.Count()) {
      if (PendingError error = steps_.RequireMemory(kDeleteSteps, box.Memory())) return error;
      connection = connection_.Count();
    }
    if (PendingError error = DeleteLocation(location)) return error;
    box.RemoveRecord(location);
  }
  return {};
}

PendingError MessageDeleter::DeleteLocation(std::int16_t location) {
  const std::string command = "AT+CMGD=" + std::to_string(location) + "\r";
  exchange_.Pace();
  exchange_.Purge();  // a late answer to an earlier command is not this one's
  const bool written = exchange_.Write(command);
  log_.WriteLog("Modem Command: " + command);
  if (!written) {
    connection_.DisconnectModem();
    return kDeleteCommandError;
  }
  std::string answer;
  exchange_.AwaitAnswer(1, [&](const std::string& read) {
    answer += read;
    return ContainsNoCase(answer, "OK") || ContainsNoCase(answer, "ERROR");
  });
  exchange_.MarkCommandEnd();
  if (IsGoodResponse(answer)) return {};
  log_.WriteLog("Modem Response: " + answer);
  if (Trim(answer).empty()) connection_.DisconnectModem();
  return kDeleteInvalidResponse;
}

}  // namespace tavro
