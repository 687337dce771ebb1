// Codes to the network and its answers (USSD; AT+CUSD, 3GPP TS 27.007, 7.15).
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "connection/registration.h"
#include "incoming/ussd_answer.h"
#include "link/dialogue.h"
#include "tavro/ussd.h"

namespace tavro {

class UssdSession : DialoguePart {
 public:
  UssdSession(const DialogueContext& dialogue, Registration& registration);

  // Sends a code, or the reply that the session expects, and waits for the answer. Nothing on failure, with the error
  // raised.
  std::optional<UssdReply> Send(const std::u16string& code);
  // Ends the session; 9008 is raised when the modem refuses.
  bool Cancel();
  // A line that the modem sent of its own accord: the network's answer may be one.
  void Take(std::string_view line);

 private:
  bool Request(const std::u16string& code);
  Answer SendIn(UssdForm form, const std::u16string& code);
  bool HasUcs2CharacterSet();
  bool HasCome() const { return line_ && lineWrite_ == exchange_.WriteCount(); }
  void Await();
  std::optional<UssdReply> Judge();
  std::optional<UssdReply> FailWith(const PendingError& error);

  Registration& registration_;
  std::optional<std::string> line_;  // the newest answer or error, which came
  std::uint32_t lineWrite_ = 0;      // when so often had been written
};

}  // namespace tavro
