// One call of the public interface.
#pragma once

#include <memory>
#include <new>
#include <stdexcept>
#include <type_traits>
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

  // What `body` returns, which is given the call. No exception leaves it: where there is no memory left the call is
  // broken off with the error 1043, and returns `failed`, or else an empty value.
  template <class Owner, class Body>
  static auto Run(const Owner& owner, Body&& body) {
    using Result = std::invoke_result_t<Body, const PublicCall&>;
    if constexpr (std::is_void_v<Result>) {
      Guard(owner, body);
    } else {
      return Run(owner, Result(), std::forward<Body>(body));
    }
  }
  template <class Owner, class Result, class Body>
  static Result Run(const Owner& owner, Result failed, Body&& body) {
    Guard(owner, [&](const PublicCall& call) { failed = body(call); });
    return failed;
  }
  // A call that is no more than its beginning.
  template <class Owner>
  static void Begin(const Owner& owner) {
    Guard(owner, [](const PublicCall&) {});
  }

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
  template <class Owner, class Body>
  static void Guard(const Owner& owner, Body&& body) {
    try {
      const PublicCall call(owner);
      body(call);
    } catch (const std::bad_alloc&) {
      BreakOff(owner);
    } catch (const std::length_error&) {  // more than there can be
      BreakOff(owner);
    }
  }
  static void BreakOff(const std::shared_ptr<Services>& services) noexcept { services->errors.BreakOffCall(); }
  static void BreakOff(const std::weak_ptr<Services>& services) noexcept {
    if (const auto locked = services.lock()) locked->errors.BreakOffCall();
  }

  std::shared_ptr<Services> services_;
};

}  // namespace tavro
