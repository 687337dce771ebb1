// For a host that lets a second call in while one waits.
#pragma once

namespace tavro {

class ErrorState;
class SMS;

// While it lives, reading a property of the SMS object, or of one that it handed out, leaves the last error in place.
class ErrorHold {
 public:
  explicit ErrorHold(SMS& sms);
  ~ErrorHold();
  ErrorHold(const ErrorHold&) = delete;
  ErrorHold& operator=(const ErrorHold&) = delete;

 private:
  ErrorState& errors_;
};

}  // namespace tavro
