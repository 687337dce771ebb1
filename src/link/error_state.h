// The component's error slot. The first error after a clearing is kept; later ones are dropped unlogged.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <utility>

#include "base/error_codes.h"
#include "link/settings.h"
#include "log/log_handling.h"
#include "platform/platform.h"

namespace tavro {

// An error that an operation keeps until it decides whether to raise it.
struct PendingError {
  std::int32_t code = 0;
  std::string text;

  PendingError() = default;
  PendingError(std::int32_t errorCode, std::string_view errorText) : code(errorCode), text(errorText) {}
  PendingError(const ErrorDefinition& error) : code(error.code), text(error.text) {}  // NOLINT: a table entry is one

  explicit operator bool() const { return code != 0; }
};

// The message box of an error: a stop icon and an OK button.
inline constexpr std::uint32_t kErrorBoxStyle = 16;

class ErrorState {
 public:
  ErrorState(Platform& platform, LogHandling& log, const Settings& settings);

  // Begins a public call: clears the last error, and what ended the call before.
  void BeginCall();
  // What every call begins with besides.
  void SetBeginning(std::function<void()> begin) { begin_ = std::move(begin); }

  // What a call that was broken off leaves to be done, now or when the next one begins.
  void SetBreakingOff(std::function<void()> breakOff) { breakOff_ = std::move(breakOff); }
  // Ends a public call for which there was no memory, with 1043 whatever error it had.
  void BreakOffCall() noexcept;

  // Records an error unless one is recorded already: logs it and, in debug mode, shows it. Code 0 clears. A negative
  // code is recorded but neither logged nor shown, and it survives ClearError.
  void SetError(std::int32_t code, std::string_view text);
  void SetError(const PendingError& error) { SetError(error.code, error.text); }
  // Moves the error to the previous one, unless it is held.
  void ClearError();
  // Sets an error, which logs it, and clears it at once, which leaves it as the previous one.
  void Warn(const PendingError& error);

  // An error after which the rest of the public call must not try again: a PIN that was refused, which would lock the
  // SIM. It is not raised by this.
  void EndCall(const PendingError& error) { callEnd_ = error; }
  const PendingError& CallEnd() const { return callEnd_; }

  std::int32_t LastErrorCode() const { return lastCode_; }
  // In one line: "<cr>" and "<lf>" stand for line ends. In the platform's code page.
  const std::string& LastErrorText() const { return lastText_; }
  std::int32_t PreviousErrorCode() const { return previousCode_; }
  const std::string& PreviousErrorText() const { return previousText_; }
  PendingError Last() const { return {lastCode_, lastText_}; }

  // Whether an operation failed since the last clearing. A log that cannot be written (8004) shows as the last error
  // but fails no dialogue with the modem: a message must not be sent twice because a disk is full.
  bool IsPending() const { return operationFailed_; }

  void ShowErrorBox(std::u16string_view text, std::uint32_t style, std::u16string_view title);

  // Between the two, the error belongs to a call that waits: another call that only reads does not clear it.
  void Hold() { ++holds_; }
  void LetGo() { --holds_; }

 private:
  Platform& platform_;
  LogHandling& log_;
  const Settings& settings_;
  std::int32_t lastCode_ = 0;
  std::string lastText_;
  std::int32_t previousCode_ = 0;
  std::string previousText_;
  bool operationFailed_ = false;
  PendingError callEnd_;
  int holds_ = 0;
  std::function<void()> begin_, breakOff_;
};

}  // namespace tavro
