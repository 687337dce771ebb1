#include "link/answer.h"

#include "base/text.h"

namespace tavro {

bool Answer::HoldsOk() const {
  return result_ == Result::kUnsorted ? ContainsNoCase(text_, "OK") : result_ == Result::kOk;
}

bool Answer::HoldsError() const {
  return result_ == Result::kUnsorted ? ContainsNoCase(text_, "ERROR") : result_ == Result::kError;
}

std::string Answer::Information(std::string_view prefix) const {
  if (result_ == Result::kUnsorted) return CleanResponse(prefix.empty() ? text_ : RemoveAll(text_, prefix));
  // The result is the last line, and "OK" a part of any other.
  std::string_view lines = text_;
  if (result_ == Result::kOk) {
    const std::size_t end = lines.find_last_not_of("\r\n ");
    const std::size_t start = lines.find_last_of("\r\n", end);
    lines = lines.substr(0, start == std::string_view::npos ? 0 : start);
  }
  return CleanResponse(prefix.empty() ? std::string(lines) : RemoveAll(lines, prefix), false);
}

Answer Answer::InCapitals() const { return Answer(Upper(text_), result_); }

std::string CleanResponse(std::string_view text, bool removeOk, bool removeCr, bool removeLf) {
  std::string result(text);
  if (removeOk) {
    if (ContainsNoCase(result, "NOKIA")) {
      result = ReplaceAll(Upper(result), "NOKIA", "NOXKIA");
      result = ReplaceAll(RemoveAll(result, "OK"), "NOXKIA", "NOKIA");
    } else {
      result = RemoveAll(result, "OK");
    }
  }
  if (removeCr) result = RemoveAll(result, "\r");
  if (removeLf) result = RemoveAll(result, "\n");
  return Trimmed(result);
}

bool IsGoodResponse(std::string_view answer) {
  const std::string upper = Upper(answer);
  return Contains(upper, "OK") && !Contains(upper, "ERROR");
}

std::string WithoutQuotedText(std::string_view answer) {
  constexpr std::string_view kManyLines = "+CUSD:";
  std::string text;
  std::size_t lineStart = 0;
  bool quoted = false;
  for (std::size_t i = 0; i < answer.size(); ++i) {
    const char c = answer[i];
    const bool lineEnd = c == '\r' || c == '\n';
    if (lineEnd && !(quoted && Upper(answer.substr(lineStart, kManyLines.size())) == kManyLines)) {
      quoted = false;
      lineStart = i + 1;
    }
    if (c == '"') {
      quoted = !quoted;
    } else if (!quoted) {
      text += c;
    }
  }
  return text;
}

}  // namespace tavro
