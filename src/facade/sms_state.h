// What an SMS object holds: the engine, and the objects that it hands out.
#pragma once

#include <memory>
#include <string>
#include <string_view>

#include "facade/gsm.h"
#include "link/public_call.h"
#include "tavro/sms.h"

namespace tavro {

struct SMS::State {
  using Call = PublicCall<GSM>;

  State(std::shared_ptr<Platform> platform, const Options& options);
  ~State();

  // Begins a public call, which is the way to the engine.
  Call Begin() { return Call(gsm_); }
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
