// Sending a text: its parts, their PDUs, their submission.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "connection/new_message_indications.h"
#include "link/dialogue.h"
#include "outgoing/message_reference.h"
#include "outgoing/sent_messages.h"
#include "outgoing/submission.h"

namespace tavro {

class TextSender : DialoguePart {
 public:
  TextSender(const DialogueContext& dialogue, Submission& submission, NewMessageIndications& indications,
             SentMessages& sent);

  // Sends a text as Character and LongMessage say. Returns the message references in part order, joined by ",", or
  // nothing with the error raised: 4004, 4006 to 4020, or one of the connection. Parts behind one that failed are not
  // sent; those before it are.
  std::optional<std::string> SendSMS(const std::string& destination, std::u16string_view text, bool alert);

 private:
  // "" on failure; the error is raised already or pending.
  std::string SendTextMessage(const std::string& destination, std::u16string_view text, bool alert);

  Submission& submission_;
  NewMessageIndications& indications_;
  SentMessages& sent_;
  MessageReference reference_;
  PendingError pending_;
};

}  // namespace tavro
