// The status reports for the application: what came, and what became of a message.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "connection/message_memory.h"
#include "connection/modem_connection.h"
#include "incoming/status_box.h"
#include "link/dialogue.h"
#include "outgoing/sent_messages.h"
#include "tavro/status_report.h"

namespace tavro {

class Deliveries : DialoguePart {
 public:
  Deliveries(const DialogueContext& dialogue, ModemConnection& connection, MessageMemory& memory, StatusBox& box,
             const SentMessages& sent);

  // Those that came and were not cleared.
  std::vector<StatusReport> Reports();
  // What is known of the message that was sent last with these references, "12" or "12,13,14". Of references that were
  // never sent, what was reported on them last. Nothing when the text is no list of references.
  std::optional<Delivery> DeliveryOf(std::string_view references);

  // Deletes from the modem what the application has seen. A deletion that fails is tried again when the report is
  // listed again; it raises no error.
  void DeleteHandedOver();

 private:
  const SentMessage* FindSent(const std::vector<int>& references) const;
  const SentPart* FindPart(int reference) const;
  const SentPart* PartOf(const Status& status) const;
  template <class Condition>
  const SentPart* FindNewest(Condition condition) const;
  // The best report on a part, or, without one, on messages of others with the reference; null when there is none.
  const Status* ReportOn(int reference, const SentPart* part);
  void DeleteFrom(const std::string& memory, const std::vector<std::int16_t>& locations);

  ModemConnection& connection_;
  MessageMemory& memory_;
  StatusBox& box_;
  const SentMessages& sent_;
};

}  // namespace tavro
