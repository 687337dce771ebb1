// What has to hold before messages are sent, read or deleted.
#pragma once

#include <string>

#include "base/error_codes.h"
#include "connection/message_memory.h"
#include "connection/modem_connection.h"
#include "connection/registration.h"
#include "link/dialogue.h"

namespace tavro {

// The errors of a dialogue, and the log lines in front of its steps; "" writes none.
struct MessageStepTexts {
  ErrorDefinition cannotConnect;
  ErrorDefinition pduModeUnchecked;
  ErrorDefinition noPduMode;
  const char* registrationLine = "";
  const char* pduModeLine = "";
};

// Each call returns the error that ended it, or none.
class MessageSteps : DialoguePart {
 public:
  MessageSteps(const DialogueContext& dialogue, ModemConnection& connection, Registration& registration,
               MessageMemory& memory);

  // A connection that answers, in PDU mode.
  PendingError PrepareSending(const MessageStepTexts& texts);

  // The message memory selected (PrepareMemory), the modem registered and in PDU mode.
  PendingError PrepareReading(const MessageStepTexts& texts);
  // The same to delete from the memory `required`.
  PendingError PrepareDeleting(const MessageStepTexts& texts, const std::string& required);

  // An open port; connects when it is closed.
  PendingError Connect(const MessageStepTexts& texts);
  // The memory `required`: the locations of another one are other messages'. 6007 when the settings name another one by
  // now, 2002 when the modem refuses it.
  PendingError RequireMemory(const MessageStepTexts& texts, const std::string& required);
  // The memory that the modem reads from; empty for the one that it uses by itself after it refused a selection.
  std::string Memory() const;

 private:
  PendingError Recover(const MessageStepTexts& texts);
  bool SelectMemory();
  PendingError CheckRegistrationAndMode(const MessageStepTexts& texts);
  PendingError CheckMode(const MessageStepTexts& texts);

  ModemConnection& connection_;
  Registration& registration_;
  MessageMemory& memory_;
};

}  // namespace tavro
