#include "tavro/message.h"

#include <utility>

#include "incoming/incoming_call.h"
#include "incoming/message_state.h"
#include "incoming/sim_box.h"

namespace tavro {

Message::Message(std::shared_ptr<const State> state) : state_(std::move(state)) {}
Message::~Message() = default;

std::int16_t Message::Index() const {
  const IncomingCall call(state_->services);
  return state_->index;
}

const std::u16string& Message::Phone() const {
  const IncomingCall call(state_->services);
  return state_->content->phone;
}

const std::u16string& Message::Text() const {
  const IncomingCall call(state_->services);
  return state_->content->text;
}

double Message::TimeStamp() const {
  const IncomingCall call(state_->services);
  return state_->content->timeStamp;
}

std::int16_t Message::TimeZone() const {
  const IncomingCall call(state_->services);
  return state_->content->timeZone;
}

const std::u16string& Message::TimeStampRFC() const {
  const IncomingCall call(state_->services);
  return state_->content->timeStampRFC;
}

const std::u16string& Message::SMSC() const {
  const IncomingCall call(state_->services);
  return state_->content->smsc;
}

// After a rebuild the index may be that of another message, which is then deleted; this is meant.
bool Message::Delete() {
  const IncomingCall call(state_->services);
  if (!call) return false;
  const std::int16_t index = state_->index;
  const std::shared_ptr<SIMBox> box = state_->box.lock();
  if (!box || index < 1 || index > box->Count()) return call.Fail(kInvalidOwnIndex);

  const std::size_t recordsBefore = box->RecordCount();
  const PendingError error = DeleteFromStore(*call, *box, index, box->LocationsOf(index));
  if (box->RecordCount() != recordsBefore) box->BuildInbox(call->settings.concatenate);
  return !error || call.Fail(error);
}

}  // namespace tavro
