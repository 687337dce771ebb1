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
  return CleanResponse(prefix.empty() ? std::string(WithoutResult()) : RemoveAll(WithoutResult(), prefix), false);
}

std::string Answer::Description(std::string_view prefix, std::string_view siblingPrefix) const {
  if (result_ == Result::kUnsorted) return Information(prefix);
  const std::string lines = ReplaceAll(WithoutResult(), "\r", "\n");
  std::string text;
  for (std::string_view line : Split(lines, "\n")) {
    line = Trim(line);
    const std::string capitals = Upper(line);
    for (const std::string_view own : {prefix, siblingPrefix}) {
      if (!own.empty() && capitals.starts_with(own)) {
        line = Trim(line.substr(own.size()));
        break;
      }
    }
    if (!text.empty() && !line.empty()) text += ' ';
    text += line;
  }
  const bool quoted = text.size() >= 2 && text.find('"') == 0 && text.find('"', 1) == text.size() - 1;
  return quoted ? Trimmed(text.substr(1, text.size() - 2)) : text;
}

// A good result is the last line, where there is one, and "OK" a part of any other.
std::string_view Answer::WithoutResult() const {
  const std::string_view lines = text_;
  if (result_ != Result::kOk) return lines;
  const std::size_t end = lines.find_last_not_of("\r\n ");
  const std::size_t start = lines.find_last_of("\r\n", end);
  const std::size_t last = start == std::string_view::npos ? 0 : start + 1;
  const std::string result = Upper(Trim(lines.substr(last, end + 1 - last)));
  return result == "OK" || result == "0" ? lines.substr(0, last) : lines;
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
