#include "link/answer_sorter.h"

#include <algorithm>
#include <iterator>
#include <utility>

#include "base/text.h"

namespace tavro {

namespace {

constexpr char kCtrlZ = 26;
constexpr std::string_view kPrefixMarks = "+^*#%$&!_";
constexpr std::size_t kLongestQuotedText = 16384;

// What modems say of their own accord without a prefix, by its beginning, in capitals.
constexpr std::string_view kUnsolicitedWords[] = {
    "RING", "CALL READY",        "SMS READY",     "SMS DONE", "PB DONE",      "PBREADY", "SIM READY",
    "NITZ", "NORMAL POWER DOWN", "UNDER-VOLTAGE", "RDY",      "OVER-VOLTAGE", "DST:",    "PSUTTZ:",
};
// The same with a prefix, for commands that do not show which prefix their answer has (ATI).
constexpr std::string_view kUnsolicitedPrefixes[] = {
    "+CRING", "+CMTI",   "+CMT",  "+CDS",       "+CDSI", "+CBM",   "+CBMI",  "+CUSD",   "+CREG",   "+CGREG",
    "+CEREG", "+C5GREG", "+CLIP", "+CCWA",      "+CSSI", "+CSSU",  "+CPIN",  "+CTZV",   "+ZUSIMR", "+ZDONR",
    "^RSSI",  "^BOOT",   "^MODE", "^DSFLOWRPT", "^HCSQ", "^SIMST", "^SRVST", "*PSUTTZ", "#STN",    "+PACSP"};
// Those with a second line, a PDU.
constexpr std::string_view kTwoLinePrefixes[] = {"+CMT", "+CDS", "+CBM"};
// Answers that some modems give under the name of the sibling.
constexpr std::pair<std::string_view, std::string_view> kSiblings[] = {
    {"+GMI", "+CGMI"}, {"+GMM", "+CGMM"}, {"+GMR", "+CGMR"}, {"+GSN", "+CGSN"}};
constexpr std::string_view kRegistrations[] = {"+CREG", "+CGREG", "+CEREG", "+C5GREG"};

constexpr std::string_view kOkWords[] = {"OK"};
constexpr std::string_view kErrorWords[] = {"ERROR", "NO CARRIER", "BUSY", "NO ANSWER", "NO DIALTONE", "NO DIAL TONE"};
constexpr std::string_view kErrorBeginnings[] = {"+CME ERROR", "+CMS ERROR", "COMMAND NOT SUPPORT",
                                                 "TOO MANY PARAMETERS"};

template <class List>
bool IsIn(const List& list, std::string_view text) {
  return std::find(std::begin(list), std::end(list), text) != std::end(list);
}

template <class List>
bool BeginsWithOneOf(const List& list, std::string_view text) {
  return std::any_of(std::begin(list), std::end(list),
                     [&](std::string_view beginning) { return text.starts_with(beginning); });
}

bool IsNameCharacter(char c) { return (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '_'; }

// The names of the commands on a line, "+CSQ" and "+CREG" for "AT+CSQ;+CREG?".
std::vector<std::string> NamesIn(std::string_view capitals) {
  std::vector<std::string> names;
  if (!capitals.starts_with("AT")) return names;
  bool quoted = false, begins = true;
  for (std::size_t i = 2; i < capitals.size(); ++i) {
    if (capitals[i] == '"') quoted = !quoted;
    if (quoted) continue;
    if (begins && kPrefixMarks.find(capitals[i]) != std::string_view::npos) {
      std::size_t end = i + 1;
      while (end < capitals.size() && IsNameCharacter(capitals[end])) ++end;
      names.emplace_back(capitals.substr(i, end - i));
    }
    begins = capitals[i] == ';' || (begins && capitals[i] == ' ');
  }
  return names;
}

// "+CSQ" of "+CSQ: 9,0"; empty for a line without a prefix.
std::string PrefixOf(std::string_view line) {
  if (line.empty() || kPrefixMarks.find(line[0]) == std::string_view::npos) return {};
  const std::string prefix = Upper(line.substr(0, line.find(':')));
  const bool named = prefix.size() > 1 && prefix.size() < line.size() &&
                     std::all_of(prefix.begin() + 1, prefix.end(), IsNameCharacter);
  return named ? prefix : std::string();
}

// "+CREG: 0,1" answers AT+CREG?; "+CREG: 1" and "+CREG: 1,\"00C3\",\"0A1B\"" tell of a change: there the second field
// is a location area in quotes or of three digits and more (3GPP TS 27.007, 7.2).
bool IsRegistrationAnswer(std::string_view line) {
  const auto fields = Split(line.substr(line.find(':') + 1), ",");
  if (fields.size() < 2) return false;
  const std::string_view status = Trim(fields[1]);
  constexpr int kHighest = 99;  // 11 is in use
  int number = 0;
  return !status.empty() && status.size() <= 3 && status.find_first_not_of("0123456789") == std::string_view::npos &&
         ParseWhole(status, number) && number <= kHighest;
}

std::string_view WithoutControls(std::string_view text) {
  while (!text.empty() && static_cast<unsigned char>(text.front()) <= ' ') text.remove_prefix(1);
  while (!text.empty() && static_cast<unsigned char>(text.back()) <= ' ') text.remove_suffix(1);
  return text;
}

}  // namespace

AnswerSorter::AnswerSorter(std::string_view command, bool numericResults)
    : idle_(command.empty()), entry_(command.ends_with(kCtrlZ)), numericResults_(numericResults) {
  command_ = Upper(WithoutControls(command));
  prefixes_ = entry_ ? std::vector<std::string>{"+CMGS", "+CMGW"} : NamesIn(command_);
  promptExpected_ = command_.starts_with("AT+CMGS=") || command_.starts_with("AT+CMGW=");
  resultMayLack_ = command_ == "AT+CPIN?";
}

void AnswerSorter::AppendEarlier(std::string_view data) {
  isEarlier_ = beganEarlier_ = true;
  Append(data);
  isEarlier_ = false;
  blank_.clear();
  beganEarlier_ = !line_.empty();
}

std::size_t AnswerSorter::Append(std::string_view data) {
  std::size_t taken = 0;
  while (taken < data.size() && end_ == End::kNone) {
    const char c = data[taken];
    // A carriage return ends a line, and the line feed behind it belongs to it.
    if (carriageReturn_ && c != '\n' && c != '\r') {
      EndLine();
      if (end_ != End::kNone) break;
    }
    ++taken;
    if (entry_ && c == ' ' && line_.empty() && blank_.empty()) continue;  // the prompt's own
    if (c != '\r' && c != '\n') {
      line_ += c;
      if (line_.size() > 2) {  // no prompt any more: the rest of the line at once
        const std::size_t end = std::min(data.find_first_of("\r\n", taken), data.size());
        line_.append(data, taken, end - taken);
        taken = end;
      }
      // At the start of a line, with its blank; some modems give none.
      if (!idle_ && !entry_ && !beganEarlier_ && (line_ == "> " || (promptExpected_ && line_ == ">"))) {
        EndWithPrompt();
      }
    } else if (line_.empty()) {
      blank_ += c;
    } else if (EndsInQuotes()) {
      line_ += c;
    } else {
      const bool isFirst = !std::exchange(carriageReturn_, true);
      line_ += c;
      if (!isFirst && c == '\r') continue;  // it was looked at
      // An echo ends with the command's own carriage return, a number with one that nothing follows.
      const std::string_view line = WithoutControls(line_);
      if (c == '\n' || (c == '\r' && IsEcho(line)) || (numericResults_ && line.size() == 1)) EndLine();
    }
  }
  return taken;
}

void AnswerSorter::Pause() {
  if (carriageReturn_) EndLine();
}

bool AnswerSorter::MayBeWhole() const { return resultMayLack_ && sawPrefix_ && line_.empty() && end_ == End::kNone; }

void AnswerSorter::Finish() {
  if (end_ != End::kNone) return;
  if (WithoutControls(line_) == ">" && !idle_) {
    EndWithPrompt();
  } else if (!line_.empty()) {
    EndLine();
  }
  takesNextLine_ = false;
  EndHeld();
  if (MayBeWhole()) end_ = End::kOk;
}

// Only the text of +CUSD has line ends in its quotes; elsewhere a quote that is not closed ends with its line.
bool AnswerSorter::EndsInQuotes() {
  if (!line_.starts_with("+CUSD:") || line_.size() >= kLongestQuotedText) return false;
  for (; quotesCountedTo_ < line_.size(); ++quotesCountedTo_) {
    if (line_[quotesCountedTo_] == '"') isQuoteOpen_ = !isQuoteOpen_;
  }
  return isQuoteOpen_;
}

// A line of the modem's own accord may stand in the middle of an echo.
bool AnswerSorter::EndsBrokenEcho(std::string_view line) {
  const std::string capitals = Upper(line);
  if (!idle_ && !entry_ && brokenEcho_.empty() && capitals.size() < command_.size() && command_.starts_with(capitals) &&
      (capitals == "A" || capitals.starts_with("AT"))) {
    brokenEcho_ = capitals;
    return true;
  }
  if (brokenEcho_.empty() || brokenEcho_ + capitals != command_) return false;
  brokenEcho_.clear();
  return true;
}

bool AnswerSorter::IsEcho(std::string_view line) const {
  if (idle_) return false;
  // A PDU is echoed behind its prompt.
  if (entry_) line = WithoutControls(line.substr(std::min(line.find_first_not_of("> "), line.size())));
  return Upper(line) == command_;
}

AnswerSorter::End AnswerSorter::ResultOf(std::string_view line) const {
  const std::string capitals = Upper(line);
  if (IsIn(kOkWords, capitals)) return End::kOk;
  if (IsIn(kErrorWords, capitals) || BeginsWithOneOf(kErrorBeginnings, capitals)) return End::kError;
  if (numericResults_ && capitals == "0") return End::kOk;
  if (numericResults_ && (capitals == "3" || capitals == "4")) return End::kError;
  return End::kNone;
}

bool AnswerSorter::IsOwnPrefix(std::string_view prefix, std::string_view line) const {
  const bool named = std::any_of(prefixes_.begin(), prefixes_.end(), [&](const std::string& own) {
    return own == prefix || std::any_of(std::begin(kSiblings), std::end(kSiblings), [&](const auto& siblings) {
             return (own == siblings.first && prefix == siblings.second) ||
                    (own == siblings.second && prefix == siblings.first);
           });
  });
  if (!named) return false;
  const bool read = command_.ends_with('?');
  if (read && IsIn(kRegistrations, prefix) && !command_.ends_with("=?")) return IsRegistrationAnswer(line);
  return prefix != "+CUSD" || read;
}

void AnswerSorter::EndLine() {
  carriageReturn_ = isQuoteOpen_ = false;
  quotesCountedTo_ = 0;
  std::string line(WithoutControls(line_));
  if (line.empty()) {
    if (beganEarlier_) line_.clear();
    blank_ += std::exchange(line_, {});
  } else {
    Judge(std::move(line));
    // What was not added is taken out.
    blank_.clear();
    line_.clear();
  }
  beganEarlier_ = isEarlier_;
}

void AnswerSorter::Judge(std::string line) {
  const bool isOther = idle_ || beganEarlier_;
  // A result code or another indication is no PDU, which was lost then.
  const bool isRest = std::exchange(takesNextLine_, false) && PrefixOf(line).empty() && ResultOf(line) == End::kNone;
  if (isRest) {
    unsolicited_.back() += "\r\n" + line;
    return;
  }
  if (IsEcho(line) || EndsBrokenEcho(line)) return;
  if (const End result = isOther ? End::kNone : ResultOf(line); result != End::kNone) {
    EndHeld();
    AddOwn();
    end_ = result;
    hasResult_ = true;
    sawWords_ = line.size() > 1;
    return;
  }
  const std::string prefix = PrefixOf(line);
  const bool own = IsOwnPrefix(prefix, line);
  const bool known =
      prefix.empty() ? BeginsWithOneOf(kUnsolicitedWords, Upper(line)) : IsIn(kUnsolicitedPrefixes, prefix);
  if (isOther || (known && !own)) {
    takesNextLine_ = IsIn(kTwoLinePrefixes, prefix);
    AddUnsolicited(std::move(line));
  } else if (own || prefixes_.empty() || (sawPrefix_ && prefix.empty())) {
    sawPrefix_ = sawPrefix_ || own;
    AddOwn();
  } else {
    held_.push_back({blank_ + line_, std::move(line), !prefix.empty()});
    heldSize_ += held_.back().octets.size();
  }
}

// Of lines with the command's prefix, without any, and with another, those of the first kind that came are the answer.
void AnswerSorter::EndHeld() {
  const bool anyBare = std::any_of(held_.begin(), held_.end(), [](const HeldLine& held) { return !held.hasPrefix; });
  for (HeldLine& held : held_) {
    if (sawPrefix_ || (held.hasPrefix && anyBare)) {
      AddUnsolicited(std::move(held.line));
    } else {
      own_ += held.octets;
    }
  }
  held_.clear();
  heldSize_ = 0;
}

void AnswerSorter::EndWithPrompt() {
  sawPrefix_ = true;  // a prompt has no other lines
  EndHeld();
  AddOwn();
  end_ = End::kPrompt;
  hasResult_ = true;
}

void AnswerSorter::AddOwn() { own_ += std::exchange(blank_, {}) + std::exchange(line_, {}); }

void AnswerSorter::AddUnsolicited(std::string line) { unsolicited_.push_back(std::move(line)); }

std::vector<std::string> AnswerSorter::TakeUnsolicited() {
  // One whose second line is still to come stays.
  if (!takesNextLine_) return std::exchange(unsolicited_, {});
  std::vector<std::string> taken(std::make_move_iterator(unsolicited_.begin()),
                                 std::make_move_iterator(unsolicited_.end() - 1));
  unsolicited_.erase(unsolicited_.begin(), unsolicited_.end() - 1);
  return taken;
}

std::string AnswerSorter::TakeRest() {
  std::string rest;
  if (takesNextLine_) rest = std::exchange(unsolicited_, {}).back() + "\r\n";
  takesNextLine_ = false;
  return rest + std::exchange(blank_, {}) + std::exchange(line_, {});
}

}  // namespace tavro
