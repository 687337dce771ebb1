// One call at a time for an SMS object and the objects that it hands out.
//
// The component lets window messages run while it waits for the modem. Through them the host's own event handlers call
// in, and so do other apartments, whose calls COM brings as window messages.
#pragma once

#include <ole2.h>
#include <wrl/client.h>

#include <atomic>
#include <memory>
#include <optional>

#include "facade/error_hold.h"
#include "tavro/sms.h"

namespace tavro::automation {

class CallGate {
 public:
  // Does not keep the SMS object.
  explicit CallGate(const std::shared_ptr<SMS>& sms) : sms_(sms) {}
  CallGate(const CallGate&) = delete;
  CallGate& operator=(const CallGate&) = delete;

  enum Kind {
    kActs,   // may talk to the modem or change something: refused while another such call runs
    kReads,  // only reads and cannot fail: may come while another call waits, and leaves that one's error in place
  };

  // A call, for as long as it lives; false when it is refused. It keeps the called object and the SMS object: the
  // handler of a window message may release them meanwhile.
  class Call {
   public:
    Call(CallGate& gate, Kind kind, IUnknown* called);
    ~Call();
    Call(const Call&) = delete;
    Call& operator=(const Call&) = delete;
    explicit operator bool() const { return kind_ == kReads || runs_; }
    // Throws std::bad_alloc when there was no memory for what the call did.
    void CheckMemory() const;

   private:
    const Microsoft::WRL::ComPtr<IUnknown> called_;
    CallGate& gate_;
    const Kind kind_;
    const bool runs_;
    std::shared_ptr<SMS> sms_;
    std::optional<ErrorHold> hold_;
  };

 private:
  const std::weak_ptr<SMS> sms_;
  std::atomic<bool> running_ = false;
};

}  // namespace tavro::automation
