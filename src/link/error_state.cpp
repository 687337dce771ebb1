#include "link/error_state.h"

#include <exception>

namespace tavro {

ErrorState::ErrorState(Platform& platform, LogHandling& log, const Settings& settings)
    : platform_(platform), log_(log), settings_(settings) {}

void ErrorState::BeginCall() {
  if (holds_ > 0) return;
  ClearError();
  callEnd_ = {};
  if (begin_) begin_();
}

void ErrorState::SetError(std::int32_t code, std::string_view text) {
  if (code != 0 && code != kCannotOpenLog.code) operationFailed_ = true;
  // The first error stands: an outer operation must not overwrite the more precise error of an inner one.
  if (code != 0 && lastCode_ != 0) return;
  if (lastCode_ > 0) {
    previousCode_ = lastCode_;
    previousText_ = lastText_;
  }
  if (code == 0) operationFailed_ = false;
  lastCode_ = code;
  lastText_ = OnOneLine(text);
  if (code <= 0) return;
  if (settings_.debugMode) {
    const auto line = [](std::int32_t number, const std::string& description) {
      return "ERROR " + std::to_string(number) + ": " + description;
    };
    const std::string previous = previousCode_ < 1 ? "NONE" : "\r\n" + line(previousCode_, previousText_);
    ShowErrorBox(platform_.FromCodePage(line(lastCode_, lastText_) + "\r\n\r\nPrevious Error: " + previous),
                 kErrorBoxStyle, u"Tavro SMS Component");
  }
  log_.WriteErrorLine(code, text);
}

void ErrorState::BreakOffCall() noexcept {
  if (holds_ > 0) return;
  if (lastCode_ > 0) {
    previousCode_ = lastCode_;
    previousText_.swap(lastText_);
  }
  operationFailed_ = true;
  lastCode_ = kOutOfMemory.code;
  lastText_.assign(kOutOfMemory.text);
  const auto attempt = [](auto&& action) {
    try {
      action();
    } catch (const std::exception&) {  // there is still no memory
    }
  };
  attempt([&] { log_.WriteErrorLine(lastCode_, lastText_); });
  if (breakOff_) attempt(breakOff_);
}

void ErrorState::ClearError() {
  if (lastCode_ >= 1 && holds_ == 0) SetError(0, "");
}

void ErrorState::Warn(const PendingError& error) {
  SetError(error);
  ClearError();
}

void ErrorState::ShowErrorBox(std::u16string_view text, std::uint32_t style, std::u16string_view title) {
  platform_.ShowMessageBox(text, style, title);
}

}  // namespace tavro
