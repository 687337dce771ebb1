#include "tavro/inbox.h"

#include <cstddef>
#include <utility>

#include "incoming/inbox_state.h"
#include "incoming/incoming_call.h"
#include "incoming/message_reader.h"
#include "incoming/message_waiter.h"
#include "link/settings.h"

namespace tavro {

Inbox::Inbox(std::unique_ptr<State> state) : state_(std::move(state)) {}
Inbox::~Inbox() = default;

std::shared_ptr<tavro::Message> Inbox::Message(std::int16_t index) {
  return IncomingCall::Run(state_->services, [&](const auto& call) -> std::shared_ptr<tavro::Message> {
    if (index < 1 || index > state_->box->Count()) {
      call.Fail(kInvalidMessageIndex);
      return nullptr;
    }
    return (*state_->box->InboxMessages())[static_cast<std::size_t>(index - 1)];
  });
}

bool Inbox::Concatenate() {
  return IncomingCall::Run(state_->services, [&](const auto& call) { return call && call->settings.concatenate; });
}

void Inbox::SetConcatenate(bool concatenate) {
  IncomingCall::Run(state_->services, [&](const auto& call) {
    if (call) call->settings.concatenate = concatenate;
  });
}

bool Inbox::Refresh(std::int16_t messageType) {
  return IncomingCall::Run(state_->services, [&](const auto& call) -> bool {
    if (!call) return false;
    if (messageType < 0 || messageType > 2) return call.Fail(kInvalidReadType);
    if (call->reader.ReadMessages(*state_->box, messageType, true)) return true;
    const PendingError& error = call->reader.Error();
    return call.Fail(error ? error : kReadMessageError);
  });
}

bool Inbox::Wait(std::int32_t milliseconds) {
  return IncomingCall::Run(state_->services, [&](const auto& call) -> bool {
    if (!call) return false;
    if (milliseconds < 0) return call.Fail(kInvalidWaitTime);
    return call->waiter.AwaitMessage(*state_->box, milliseconds) || call.Fail(call->waiter.Error());
  });
}

std::vector<std::shared_ptr<tavro::Message>> Inbox::NewMessages() {
  return IncomingCall::Run(state_->services, [&](const auto&) { return state_->box->NewMessages(); });
}

void Inbox::Cancel() { state_->cancellation->Cancel(); }

bool Inbox::HasMessages() { return Count() > 0; }

bool Inbox::IsEmpty() { return Count() < 1; }

std::int16_t Inbox::Count() {
  return IncomingCall::Run(state_->services, [&](const auto&) { return state_->box->Count(); });
}

bool Inbox::Clear() {
  return IncomingCall::Run(state_->services, [&](const auto& call) -> bool {
    if (!call) return false;
    SIMBox& box = *state_->box;
    if (box.Count() == 0) return call.Fail(kInboxEmpty);

    const std::size_t recordsBefore = box.RecordCount();
    const auto locations = box.LocationsByMessage();
    bool allDeleted = true;
    for (std::size_t index = locations.size() - 1; index > 0; --index) {
      const PendingError error = DeleteFromStore(*call, box, static_cast<std::int16_t>(index), locations[index]);
      if (!error) continue;
      allDeleted = false;
      if (call->errors.CallEnd()) break;  // a refused PIN is the error of the whole call
      call->errors.Warn(error);           // it stays as the previous error
      // Each attempt to connect may cost the SIM's PIN one of its three.
      if (error.code == kDeleteCannotConnect.code) break;
    }
    if (box.RecordCount() != recordsBefore) box.BuildInbox(call->settings.concatenate);
    return allDeleted || call.Fail(kCannotDeleteAll);
  });
}

struct TAVRO_PRIVATE Inbox::Iterator::Snapshot {
  std::shared_ptr<const SIMBox::Messages> messages;
};

Inbox::Iterator Inbox::begin() {
  return IncomingCall::Run(state_->services, [&](const auto&) {
    Iterator iterator;
    iterator.snapshot_ = std::make_shared<const Iterator::Snapshot>(Iterator::Snapshot{state_->box->InboxMessages()});
    return iterator;
  });
}

bool Inbox::Iterator::AtEnd() const { return !snapshot_ || position_ >= snapshot_->messages->size(); }

Inbox::Iterator::reference Inbox::Iterator::operator*() const { return *(*snapshot_->messages)[position_]; }

std::shared_ptr<tavro::Message> Inbox::Iterator::Get() const { return (*snapshot_->messages)[position_]; }

bool Inbox::Iterator::operator==(const Iterator& other) const {
  return AtEnd() || other.AtEnd() ? AtEnd() == other.AtEnd() : position_ == other.position_;
}

}  // namespace tavro
