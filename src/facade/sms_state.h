// What an SMS object holds: the engine, and the objects that it hands out.
#pragma once

#include <memory>
#include <string>
#include <string_view>

#include "facade/gsm.h"
#include "tavro/sms.h"

namespace tavro {

struct SMS::State {
  explicit State(std::shared_ptr<Platform> platform);
  ~State();

  // A fresh store and inbox; the objects handed out before keep the old ones, whose messages can no longer be deleted.
  void ReplaceInbox();

  // Raises an error and gives what the failing call returns.
  template <typename T>
  T Fail(const ErrorDefinition& error, T result) {
    gsm->errors.SetError(error);
    return result;
  }
  // Whether the port is open, with its error raised: its settings cannot be changed then.
  bool IsPortLocked();

  std::string Bytes(std::u16string_view text) const { return gsm->platform->ToCodePage(text); }
  std::u16string Text(std::string_view bytes) const { return gsm->platform->FromCodePage(bytes); }

  std::shared_ptr<GSM> gsm;
  std::shared_ptr<SIMBox> box;
  std::shared_ptr<tavro::Inbox> inbox;
  std::shared_ptr<tavro::Wap> wap;
};

}  // namespace tavro
