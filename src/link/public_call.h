// One call of the public interface.
#pragma once

#include <memory>
#include <utility>

#include "link/error_state.h"

namespace tavro {

// The only way from a public object to the engine: it clears the last error, raises the call's own and keeps the engine
// alive meanwhile. An object may be kept longer than the SMS object: the call is then false and there is nobody to
// tell. `Services` has the error state as its member `errors`.
template <class Services>
class PublicCall {
 public:
  explicit PublicCall(std::shared_ptr<Services> services) : services_(std::move(services)) {
    if (services_) services_->errors.BeginCall();
  }
  explicit PublicCall(const std::weak_ptr<Services>& services) : PublicCall(services.lock()) {}

  explicit operator bool() const { return services_ != nullptr; }
  Services& operator*() const { return *services_; }
  Services* operator->() const { return services_.get(); }

  // Raises an error and gives what the failing call returns.
  template <class Result = bool>
  Result Fail(const PendingError& error, Result result = {}) const {
    if (services_) services_->errors.SetError(error);
    return result;
  }

 private:
  std::shared_ptr<Services> services_;
};

}  // namespace tavro
