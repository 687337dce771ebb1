#include "automation/call_gate.h"

#include <new>

#include "base/error_codes.h"

namespace tavro::automation {

CallGate::Call::Call(CallGate& gate, Kind kind, IUnknown* called)
    : called_(called),
      gate_(gate),
      kind_(kind),
      runs_(kind == kActs && !gate.running_.exchange(true)),
      sms_(gate.sms_.lock()) {
  if (kind == kReads && sms_ && gate.running_) hold_.emplace(*sms_);
}

void CallGate::Call::CheckMemory() const {
  if (kind_ == kActs && sms_ && sms_->ErrorCode() == kOutOfMemory.code) throw std::bad_alloc();
}

CallGate::Call::~Call() {
  if (!runs_) return;
  sms_.reset();  // may be its end, which waits too
  gate_.running_ = false;
}

}  // namespace tavro::automation
