// Sending a WAP push.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "link/dialogue.h"
#include "outgoing/service_indication.h"
#include "outgoing/submission.h"

namespace tavro {

// What the application set.
struct WapPush {
  std::string destination;
  std::u16string text;
  std::u16string url;
  std::int16_t action = 2;        // 1 signal-low, 2 signal-medium, 3 signal-high
  std::optional<double> created;  // OLE Automation date; the time of sending when not set
  std::string expiry = "0";
};

// The push as it would be sent now.
ServiceIndication IndicationOf(const WapPush& push, Platform& platform);

class PushSender : DialoguePart {
 public:
  PushSender(const DialogueContext& dialogue, Submission& submission);

  // True when the modem confirmed it; otherwise the error is raised: 7008 to 7016, 7018, 7022, 7023, or one of the
  // connection.
  bool Send(const WapPush& push);

 private:
  // On failure the error is given, or raised already.
  SubmissionResult Submit(const WapPush& push, const ServiceIndication& indication);

  Submission& submission_;
};

}  // namespace tavro
