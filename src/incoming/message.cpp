#include "tavro/message.h"

#include <algorithm>
#include <utility>

#include "incoming/incoming_call.h"
#include "incoming/message_state.h"
#include "incoming/sim_box.h"

namespace tavro {

namespace {

const MessageDetails& DetailsOf(const Message::State& state) {
  static const MessageDetails none;
  return state.content->details ? *state.content->details : none;
}

}  // namespace

Message::Message(std::shared_ptr<const State> state) : state_(std::move(state)) {}
Message::~Message() = default;

std::int16_t Message::Index() const {
  IncomingCall::Begin(state_->services);
  return state_->index;
}

const std::u16string& Message::Phone() const {
  IncomingCall::Begin(state_->services);
  return state_->content->phone;
}

const std::u16string& Message::Text() const {
  IncomingCall::Begin(state_->services);
  return state_->content->text;
}

double Message::TimeStamp() const {
  IncomingCall::Begin(state_->services);
  return state_->content->timeStamp;
}

std::int16_t Message::TimeZone() const {
  IncomingCall::Begin(state_->services);
  return state_->content->timeZone;
}

const std::u16string& Message::TimeStampRFC() const {
  IncomingCall::Begin(state_->services);
  return state_->content->timeStampRFC;
}

const std::u16string& Message::SMSC() const {
  IncomingCall::Begin(state_->services);
  return state_->content->smsc;
}

std::vector<std::uint8_t> Message::Data() const {
  return IncomingCall::Run(state_->services, [&](const auto&) { return DetailsOf(*state_).data; });
}

std::optional<ApplicationPorts> Message::Ports() const {
  return IncomingCall::Run(state_->services, [&](const auto&) { return DetailsOf(*state_).ports; });
}

std::optional<int> Message::MessageClass() const {
  return IncomingCall::Run(state_->services, [&](const auto&) { return DetailsOf(*state_).messageClass; });
}

bool Message::IsReplacement() const {
  return IncomingCall::Run(state_->services, [&](const auto&) { return DetailsOf(*state_).isReplacement; });
}

std::vector<WaitingMessages> Message::Waiting() const {
  return IncomingCall::Run(state_->services, [&](const auto&) { return DetailsOf(*state_).waiting; });
}

int Message::Parts() const {
  return IncomingCall::Run(state_->services, [&](const auto&) { return DetailsOf(*state_).parts; });
}

std::vector<int> Message::MissingParts() const {
  return IncomingCall::Run(state_->services, [&](const auto&) -> std::vector<int> {
    const MessageDetails& details = DetailsOf(*state_);
    std::vector<int> missing;
    if (details.shown.empty()) return missing;
    for (std::int16_t part = 1; part <= details.parts; ++part) {
      if (!std::binary_search(details.shown.begin(), details.shown.end(), part)) missing.push_back(part);
    }
    return missing;
  });
}

// In the classic manner the index may be that of another message after a rebuild, which is then deleted; this is meant.
bool Message::Delete() {
  return IncomingCall::Run(state_->services, [&](const auto& call) -> bool {
    if (!call) return false;
    const std::int16_t index = state_->index;
    const std::shared_ptr<SIMBox> box = state_->box.lock();
    if (!box) return call.Fail(kInvalidOwnIndex);
    const bool byParts = box->JoinsWithCare();
    if (!byParts && (index < 1 || index > box->Count())) return call.Fail(kInvalidOwnIndex);

    const std::size_t recordsBefore = box->RecordCount();
    const auto locations = byParts ? box->LocationsOf(state_->parts) : box->LocationsOf(index);
    const PendingError error = DeleteFromStore(*call, *box, index, locations);
    if (box->RecordCount() != recordsBefore) box->BuildInbox(call->settings.concatenate);
    return !error || call.Fail(error);
  });
}

}  // namespace tavro
