#include "tavro/wap.h"

#include <utility>

#include "base/calendar.h"
#include "base/error_codes.h"
#include "link/public_call.h"
#include "outgoing/encodings.h"
#include "outgoing/push_pdu.h"
#include "outgoing/wap_state.h"

namespace tavro {

namespace {

using Call = PublicCall<PushServices>;

}  // namespace

Wap::Wap(std::unique_ptr<State> state) : state_(std::move(state)) {}
Wap::~Wap() = default;

std::u16string Wap::Destination() {
  return Call::Run(state_->services,
                   [&](const auto&) { return state_->platform->FromCodePage(state_->push.destination); });
}

void Wap::SetDestination(const std::u16string& number) {
  Call::Run(state_->services, [&](const auto& call) {
    std::string destination = state_->platform->ToCodePage(number);
    if (IsInternationalNumber(destination) || IsNationalNumber(destination)) {
      state_->push.destination = std::move(destination);
    } else {
      call.Fail(kInvalidPushDestination);
    }
  });
}

std::u16string Wap::Text() {
  return Call::Run(state_->services, [&](const auto&) { return state_->push.text; });
}

void Wap::SetText(const std::u16string& text) {
  Call::Run(state_->services, [&](const auto& call) {
    if (!text.empty()) {
      state_->push.text = text;
    } else {
      call.Fail(kEmptyPushText);
    }
  });
}

std::u16string Wap::URL() {
  return Call::Run(state_->services, [&](const auto&) { return state_->push.url; });
}

void Wap::SetURL(const std::u16string& url) {
  Call::Run(state_->services, [&](const auto& call) {
    if (!url.empty()) {
      state_->push.url = url;
    } else {
      call.Fail(kEmptyPushUrl);
    }
  });
}

std::int16_t Wap::Action() {
  return Call::Run(state_->services, [&](const auto&) { return state_->push.action; });
}

void Wap::SetAction(std::int16_t action) {
  Call::Run(state_->services, [&](const auto& call) {
    const bool valid = action >= 1 && action <= 3;
    if (!valid) call.Fail(kInvalidAction);
    state_->push.action = valid ? action : std::int16_t{2};
  });
}

std::optional<double> Wap::Created() {
  return Call::Run(state_->services, [&](const auto&) { return state_->push.created; });
}

void Wap::SetCreated(std::optional<double> date) {
  Call::Run(state_->services, [&](const auto& call) {
    if (date && IsOleDate(*date)) {
      state_->push.created = date;
    } else {
      call.Fail(kInvalidCreated);
    }
  });
}

std::u16string Wap::Expiry() {
  return Call::Run(state_->services, [&](const auto&) { return state_->platform->FromCodePage(state_->push.expiry); });
}

void Wap::SetExpiry(const std::u16string& expiry) {
  Call::Run(state_->services, [&](const auto& call) {
    std::string text = state_->platform->ToCodePage(expiry);
    if (IsExpiry(text)) {
      state_->push.expiry = std::move(text);
    } else {
      call.Fail(kInvalidExpiry);
    }
  });
}

bool Wap::Send() {
  return Call::Run(state_->services, [&](const auto& call) -> bool {
    const WapPush push = state_->push;  // the application may change the properties while it is sent
    if (push.text.empty()) return call.Fail(kPushTextNotSpecified);
    if (push.url.empty()) return call.Fail(kPushUrlNotSpecified);
    if (push.destination.empty()) return call.Fail(kPushDestinationNotSpecified);
    return call && call->sender.Send(push);
  });
}

bool Wap::IsLengthOK() {
  return Call::Run(state_->services, [&](const auto&) {
    return PushUserData(IndicationOf(state_->push, *state_->platform)).size() / 2 <= kMaxPushOctets;
  });
}

}  // namespace tavro
