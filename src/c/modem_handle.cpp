#include "c/modem_handle.h"

#include <utility>

#include "platform/utf8.h"

namespace tavro {

ModemHandle::ModemHandle(const Options& options, std::shared_ptr<Platform> platform,
                         std::shared_ptr<std::atomic<bool>> interruption)
    : platform_(std::move(platform)),
      interruption_(std::move(interruption)),
      sms_(std::make_unique<SMS>(platform_, options)) {}
ModemHandle::~ModemHandle() = default;

ModemHandle::Use::Use(std::shared_ptr<ModemHandle> modem) : modem_(std::move(modem)) {
  modem_->RequireOwn();
  if (modem_->isInUse_.exchange(true)) throw Misuse{TAVRO_IN_USE, "Another thread is in a call with this handle"};
  if (!modem_->sms_) {  // closed since this call found the handle
    modem_->isInUse_ = false;
    throw kInvalidHandle;
  }
}

void ModemHandle::RequireOwn() const {
  if (IsForeign()) throw Misuse{TAVRO_AFTER_FORK, "The modem belongs to the process that made this one"};
}

void ModemHandle::Check() {
  const std::int32_t code = sms_->ErrorCode();
  if (code == 0) return;
  Failure failure;
  failure.Set(code, ToUtf8(sms_->ErrorDescription()));
  throw failure;
}

tavro_text ModemHandle::Keep(std::u16string_view text) {
  text_ = ToUtf8(text);
  return {text_.data(), text_.size()};
}

void ModemHandle::Close() {
  const std::lock_guard lock(closing_);
  sms_.reset();
}

void ModemHandle::Cancel() {
  const std::lock_guard lock(closing_);
  if (sms_) sms_->Cancel();
}

// What a thread of the other process was about may be half done for good.
void ModemHandle::Abandon() {
  if (isInUse_.exchange(true)) {
    static_cast<void>(sms_.release());
    return;
  }
  sms_->SetLogType(0);
  sms_.reset();
}

}  // namespace tavro
