// Waiting for messages and status reports.
#pragma once

#include <cstdint>
#include <deque>
#include <functional>
#include <memory>
#include <string>

#include "connection/message_memory.h"
#include "connection/message_steps.h"
#include "connection/modem_connection.h"
#include "connection/new_message_indications.h"
#include "incoming/arrivals.h"
#include "incoming/message_reader.h"
#include "incoming/sim_box.h"
#include "link/cancellation.h"
#include "link/dialogue.h"

namespace tavro {

// The modem tells what comes (NewMessageIndications), and is asked for what is unread when it cannot, when it may have
// come unnoticed, and once a minute in case that a line was lost.
class MessageWaiter : DialoguePart {
 public:
  MessageWaiter(const DialogueContext& dialogue, ModemConnection& connection, MessageSteps& steps,
                MessageMemory& memory, NewMessageIndications& indications, Arrivals& arrivals, MessageReader& reader,
                std::shared_ptr<Cancellation> cancellation);

  // Waits until a message can be shown that was not in the store, which has it then and whose inbox is built anew. So
  // many milliseconds at most; 0 takes what has come. False at the limit, when a status report came, when the wait was
  // cancelled, and on failure, with the reason in Error: 5002 to 5006, 5008 when the store is full, 1012 for a device
  // that is lost, or an error of the connection.
  bool AwaitMessage(SIMBox& box, std::int32_t milliseconds);
  // The same until `isDone`, which is asked when something has come. The messages that came are in the store too.
  bool AwaitReports(SIMBox& box, std::int32_t milliseconds, const std::function<bool()>& isDone);
  const PendingError& Error() const { return error_; }

 private:
  bool Await(SIMBox& box, std::int32_t milliseconds, const std::function<bool()>& isDone);
  PendingError Prepare(SIMBox& box);
  PendingError Look(SIMBox& box);
  PendingError ReadArrival(SIMBox& box, const Arrival& arrival);
  PendingError ReadPlace(SIMBox& box, const Arrival& arrival);
  void Acknowledge(const Arrival& arrival);
  PendingError ListUnread(SIMBox& box);
  void NoteUsage();
  bool HasMore() const;
  std::uint32_t LookInterval() const;
  void Pause(std::uint32_t milliseconds);

  ModemConnection& connection_;
  MessageSteps& steps_;
  MessageMemory& memory_;
  NewMessageIndications& indications_;
  Arrivals& arrivals_;
  MessageReader& reader_;
  const std::shared_ptr<Cancellation> cancellation_;
  PendingError error_;
  std::uint32_t lookedTick_ = 0;  // when the modem was asked last
  int lookedConnection_ = -1;     // and under which connection
  // A listing failed: what it was about may count as read by now, and would not be listed as unread again.
  bool readsAgain_ = false;
  std::deque<std::string> unacknowledged_;  // entries that the network may deliver again
};

}  // namespace tavro
