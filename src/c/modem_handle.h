// What a tavro_modem stands for, and the way into it.
#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>

#include "c/arguments.h"
#include "c/failure.h"
#include "c/handle_table.h"
#include "platform/platform.h"
#include "platform/process.h"
#include "tavro/sms.h"

namespace tavro {

class ModemHandle : public Handled {
 public:
  ModemHandle(const Options& options, std::shared_ptr<Platform> platform,
              std::shared_ptr<std::atomic<bool>> interruption);
  ~ModemHandle() override;

  // Keeps other calls out. Throws Misuse when another call is under way, the modem was closed meanwhile, or it is
  // another process's.
  class Use {
   public:
    explicit Use(std::shared_ptr<ModemHandle> modem);
    ~Use() { modem_->isInUse_ = false; }
    Use(const Use&) = delete;
    Use& operator=(const Use&) = delete;

   private:
    const std::shared_ptr<ModemHandle> modem_;
  };

  // The rest is for whoever uses it.

  SMS& Sms() { return *sms_; }
  Platform& System() { return *platform_; }
  Failure& LastFailure() { return failure_; }
  // Throws the error of the last call of `Sms()`, when it has one.
  void Check();
  // A text that belongs to the modem, in the place of the one before.
  tavro_text Keep(std::u16string_view text);
  // Closes the port. For good: nothing else is called behind it.
  void Close();

  // These are for any thread.

  // Whether another process made it, which then made this one by fork. RequireOwn throws Misuse.
  bool IsForeign() const { return process_ != ProcessId(); }
  void RequireOwn() const;
  void Cancel();
  void Interrupt(bool wanted) { *interruption_ = wanted; }
  // Of a child made by fork: forgets the SMS object without a word to port, modem and log.
  void Abandon();

 private:
  const std::uint64_t process_ = ProcessId();
  const std::shared_ptr<Platform> platform_;
  const std::shared_ptr<std::atomic<bool>> interruption_;
  std::atomic<bool> isInUse_ = false;
  std::mutex closing_;  // of a Cancel, which may come at the same time
  std::unique_ptr<SMS> sms_;
  Failure failure_;
  std::string text_;
};

// A call with a modem's handle: runs the body, which is given the ModemHandle, and returns TAVRO_OK or the code of the
// failure that it ended with, which is then the thread's, and the modem's unless it was in use or another process's. A
// body fails by an exception.
template <class Body>
int ModemCall(tavro_modem* handle, Body&& body) noexcept {
  return PlainCall([&] {
    const auto modem = ObjectOf<ModemHandle>(handle);
    const ModemHandle::Use use(modem);
    try {
      body(*modem);
    } catch (...) {
      throw modem->LastFailure() = CurrentException();
    }
  });
}

}  // namespace tavro
