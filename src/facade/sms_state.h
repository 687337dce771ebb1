// What an SMS object holds: the engine, and the objects that it hands out.
#pragma once

#include <memory>
#include <string>
#include <string_view>
#include <utility>

#include "facade/gsm.h"
#include "link/public_call.h"
#include "tavro/sms.h"

namespace tavro {

struct TAVRO_PRIVATE SMS::State {
  using Call = PublicCall<GSM>;

  State(std::shared_ptr<Platform> platform, const Options& options);
  ~State();

  // A public call, which is the way to the engine (PublicCall::Run).
  template <class Body>
  auto Run(Body&& body) {
    return Call::Run(gsm_, std::forward<Body>(body));
  }
  template <class Result, class Body>
  Result Run(Result failed, Body&& body) {
    return Call::Run(gsm_, failed, std::forward<Body>(body));
  }
  const std::shared_ptr<GSM>& Gsm() const { return gsm_; }
  // For the calls that tell the last error and leave it as it is.
  ErrorState& Errors() { return gsm_->errors; }

  // A fresh store and inbox; the objects handed out before keep the old ones, whose messages can no longer be deleted.
  void ReplaceInbox();
  // Whether the port is open, with its error raised: its settings cannot be changed then.
  bool IsPortLocked(const Call& call);

  std::string Bytes(std::u16string_view text) const { return gsm_->platform->ToCodePage(text); }
  std::u16string Text(std::string_view bytes) const { return gsm_->platform->FromCodePage(bytes); }

  const std::shared_ptr<Cancellation> cancellation;
  std::shared_ptr<SIMBox> box;
  std::shared_ptr<tavro::Inbox> inbox;
  std::shared_ptr<tavro::Wap> wap;

 private:
  State(std::shared_ptr<GSM> gsm, const Options& options);

  std::shared_ptr<GSM> gsm_;
};

}  // namespace tavro
