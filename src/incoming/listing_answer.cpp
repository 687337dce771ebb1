#include "incoming/listing_answer.h"

#include <algorithm>
#include <array>

#include "base/text.h"

namespace tavro {

namespace {

constexpr std::size_t kBlockSize = 65536;
constexpr std::size_t kMaxNumber = 32;  // octets behind "+CMS ERROR" that may hold its number
constexpr int kSilentReads = 1000;      // at least 1 ms each, that a number cut short is waited for

// What a line is judged by: its ends, its quotes, and the last letters of OK and ERROR. No PDU has any of these.
constexpr auto kJudged = [] {
  std::array<bool, 256> judged{};
  for (const char c : {'\r', '\n', '"', 'K', 'k', 'R', 'r'}) judged[static_cast<unsigned char>(c)] = true;
  return judged;
}();

// Whether the text ends in the word, which is in capitals.
bool EndsIn(std::string_view text, std::string_view word) {
  return text.size() >= word.size() && Upper(text.substr(text.size() - word.size())) == word;
}

}  // namespace

void ListingAnswer::Append(std::string_view data) {
  if (data.empty()) {
    if (numberPending_ && ++silentReads_ > kSilentReads) numberPending_ = false;
    return;
  }
  silentReads_ = 0;
  if (blocks_.empty() || blocks_.back().size() + data.size() > fullSize_) StartBlock();
  std::string& block = blocks_.back();
  block += data;
  for (; judged_ < block.size(); ++judged_) {
    if (kJudged[static_cast<unsigned char>(block[judged_])]) JudgeAt(judged_);
  }
  if (numberPending_) JudgeErrorNumber();
}

void ListingAnswer::StartBlock() {
  std::string next;
  next.reserve(kBlockSize);
  if (!blocks_.empty()) {
    std::string& last = blocks_.back();
    const std::size_t cut = last.rfind("\n+") + 1;
    fullSize_ = last.size() + kBlockSize;
    if (cut == 0 || numberPending_) return;  // it grows, and is tried again later
    next.append(last, cut);
    last.resize(cut);
    judged_ -= cut;
  }
  fullSize_ = kBlockSize;
  blocks_.push_back(std::move(next));
}

void ListingAnswer::JudgeAt(std::size_t position) {
  const std::string_view text = std::string_view(blocks_.back()).substr(0, position + 1);
  const char c = text.back();
  if (c == '"') quoted_ = !quoted_;
  if (c == '\r' || c == '\n') quoted_ = false;
  if (quoted_) return;
  ok_ = ok_ || EndsIn(text, "OK");
  if (!EndsIn(text, "ERROR")) return;
  error_ = true;
  if (EndsIn(text, "+CMS ERROR") && errorNumber_ == std::string::npos) {
    errorNumber_ = position + 1;
    numberPending_ = true;
  }
}

void ListingAnswer::JudgeErrorNumber() {
  const std::string_view rest = std::string_view(blocks_.back()).substr(errorNumber_, kMaxNumber);
  const std::size_t lineEnd = rest.find_first_of("\r\n");
  nothingStored_ = nothingStored_ || Contains(rest.substr(0, lineEnd), "321");
  numberPending_ = lineEnd == std::string_view::npos && rest.size() < kMaxNumber;
}

bool ListingAnswer::IsBlank() const {
  return std::all_of(blocks_.begin(), blocks_.end(), [](const std::string& block) { return Trim(block).empty(); });
}

std::string ListingAnswer::Text() const {
  std::string text;
  for (const std::string& block : blocks_) text += block;
  return text;
}

}  // namespace tavro
