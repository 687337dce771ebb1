// How another thread ends a wait.
#pragma once

#include <atomic>
#include <memory>
#include <utility>

#include "platform/platform.h"

namespace tavro {

// The one part of an SMS object that any thread may use at any time. It may outlive the object.
class Cancellation {
 public:
  explicit Cancellation(std::shared_ptr<Platform> platform) : platform_(std::move(platform)) {}

  // Ends the wait that is under way, or the next one.
  void Cancel() {
    isCancelled_ = true;
    platform_->Serial().Wake();
  }
  bool IsCancelled() const { return isCancelled_; }
  // Whether it was cancelled; the next wait is not.
  bool Take() { return isCancelled_.exchange(false); }

 private:
  const std::shared_ptr<Platform> platform_;
  std::atomic<bool> isCancelled_ = false;
};

}  // namespace tavro
