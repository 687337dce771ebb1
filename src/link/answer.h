// What a modem answered to a command.
#pragma once

#include <string>
#include <string_view>
#include <utility>

namespace tavro {

// An answer whose lines were sorted knows its result code. That of an answer that is just what came is found by
// searching its text, in any letter case, wherever in it "OK" and "ERROR" stand; this is meant.
class Answer {
 public:
  enum class Result { kUnsorted, kOk, kError };

  Answer() = default;
  explicit Answer(std::string text, Result result = Result::kUnsorted) : text_(std::move(text)), result_(result) {}

  // Without the echo, line ends and result code included; empty when there was no answer.
  const std::string& Text() const { return text_; }
  bool IsEmpty() const { return text_.empty(); }
  bool HoldsOk() const;
  bool HoldsError() const;
  bool IsGood() const { return HoldsOk() && !HoldsError(); }
  // Without the result code, line ends, and every occurrence of the information's prefix ("+CSQ:"); trimmed.
  std::string Information(std::string_view prefix = {}) const;
  // An information text for people, several lines perhaps: without the prefix of the command or of its sibling
  // ("+CGMI:" for "+GMI:"), and without quotes around it. Of an answer that was not sorted: the information.
  std::string Description(std::string_view prefix, std::string_view siblingPrefix) const;
  // The same answer in capitals.
  Answer InCapitals() const;

 private:
  std::string_view WithoutResult() const;

  std::string text_;
  Result result_ = Result::kUnsorted;
};

// The answer without "OK" (as written, anywhere), carriage returns and line feeds, as chosen, and without spaces at its
// ends. The name NOKIA survives the removal of "OK"; such an answer comes back in capitals.
std::string CleanResponse(std::string_view text, bool removeOk = true, bool removeCr = true, bool removeLf = true);

// Whether the answer, in any letter case, holds "OK" and no "ERROR".
bool IsGoodResponse(std::string_view answer);

// The answer without what stands between quotes: a name or a text there is no result code. A quote that is not closed
// ends with its line, but for the text of +CUSD, which may have several.
std::string WithoutQuotedText(std::string_view answer);

}  // namespace tavro
