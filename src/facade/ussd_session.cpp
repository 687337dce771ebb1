#include "facade/ussd_session.h"

#include <algorithm>
#include <iterator>
#include <utility>

#include "base/restored.h"
#include "base/text.h"
#include "link/answer_sorter.h"
#include "outgoing/encodings.h"
#include "outgoing/gsm_alphabet.h"

namespace tavro {

namespace {

constexpr std::size_t kLongestCode = 182;            // septets
constexpr std::int32_t kLeastAnswerTimeout = 60000;  // ms; networks take half a minute and more

// Whether a modem takes the characters as they are, between quotes.
bool IsPlain(std::u16string_view code) {
  return std::all_of(code.begin(), code.end(),
                     [](char16_t c) { return c >= u' ' && c != u'"' && IsGsmSameAsAscii(c); });
}

// The octets, most significant digit first. Where seven bits would be spare, they hold CR, which must not look like a
// character; a CR that ends an octet gets another one (3GPP TS 23.038, 6.1.2.3.1).
std::string PackedCode(std::u16string_view code) {
  std::u16string codes = ToGsmAlphabet(code);
  const std::size_t over = codes.size() % 8;
  if (over == 7 || (over == 0 && codes.ends_with(u'\r'))) codes += u'\r';
  return EncodeUserData(codes, 7);
}

bool IsErrorLine(std::string_view line) {
  const std::string capitals = Upper(line);
  return capitals == "ERROR" || capitals.starts_with("+CME ERROR") || capitals.starts_with("+CMS ERROR");
}

// Whether a modem may refuse the form of a code so: with the errors (3GPP TS 27.007, 9.2) operation not allowed, not
// supported, incorrect parameters, unknown, or without one.
bool MayRefuseForm(const std::string& refusal) {
  const std::string capitals = Upper(refusal);
  const std::size_t colon = capitals.find("ERROR:");
  if (colon == std::string::npos) return true;
  int number = 0;
  if (!ParseWhole(std::string_view(capitals).substr(colon + 6), number)) return true;
  constexpr int kFormErrors[] = {3, 4, 24, 25, 26, 27, 50, 100, 304, 305};
  return std::find(std::begin(kFormErrors), std::end(kFormErrors), number) != std::end(kFormErrors);
}

PendingError Refused(const std::string& response) {
  return {kUssdRefused, "USSD code refused [Response: " + response + "]"};
}

}  // namespace

UssdSession::UssdSession(const DialogueContext& dialogue, Registration& registration)
    : DialoguePart(dialogue), registration_(registration) {}

std::optional<UssdReply> UssdSession::Send(const std::u16string& code) {
  if (code.empty() || !FitsGsmAlphabet(code) || ToGsmAlphabet(code).size() > kLongestCode) {
    return FailWith(kInvalidUssdCode);
  }
  if (!registration_.EnsureReadyForNetwork()) return {};
  log_.WriteLog("Sending USSD code '" + platform_.ToCodePage(code) + "'");
  if (!Request(code)) return {};
  Await();
  if (HasCome()) return Judge();
  if (!exchange_.IsPortOpen()) return FailWith(kCannotReadResponse);
  // The network may answer yet, and what is sent next must not be taken for a reply.
  if (!platform_.IsInterrupted()) exchange_.SendCommand("AT+CUSD=2\r");
  errors_.ClearError();
  return FailWith(kNoUssdAnswer);
}

bool UssdSession::Cancel() {
  if (!registration_.EnsureReady()) return false;
  log_.WriteLog("Cancelling USSD session");
  if (exchange_.SendCommand("AT+CUSD=2\r").IsGood()) return true;
  errors_.SetError(kCannotCancelUssd);
  return false;
}

void UssdSession::Take(std::string_view line) {
  if ((!IsUssdAnswer(line) && !IsErrorLine(line)) || HasCome()) return;
  line_ = line;
  lineWrite_ = exchange_.WriteCount();
}

// Whether the modem took the code in one of the forms: in the one that it took last, or else in the others.
bool UssdSession::Request(const std::u16string& code) {
  const UssdForm known = state_.ussdForm;
  std::string refusal;
  for (const UssdForm form : {known, UssdForm::kPlain, UssdForm::kPacked, UssdForm::kUcs2}) {
    if (!refusal.empty() && form == known) continue;
    if (form == UssdForm::kPlain && !IsPlain(code)) continue;
    if (form == UssdForm::kUcs2 && form != known && !HasUcs2CharacterSet()) continue;
    const Answer answer = SendIn(form, code);
    if (answer.IsEmpty() && !HasCome()) return false;
    errors_.ClearError();  // a result that did not come, but what it was for did
    const bool refused = HasCome() ? Answer(WithoutQuotedText(answer.Text())).HoldsError() : answer.HoldsError();
    if (!refused) {
      state_.ussdForm = form;
      return true;
    }
    refusal = CleanResponse(answer.Text());
    if (!MayRefuseForm(refusal)) break;
  }
  errors_.SetError(MayRefuseForm(refusal) ? PendingError(kModemWithoutUssd) : Refused(refusal));
  return false;
}

Answer UssdSession::SendIn(UssdForm form, const std::u16string& code) {
  std::string text = platform_.ToCodePage(code);
  if (form == UssdForm::kPacked) text = PackedCode(code);
  if (form == UssdForm::kUcs2) text = EncodeUserData(code, 16);
  // Some modems give the result behind the network's answer.
  const Answer answer = [&] {
    const Restored timeout(settings_.timeout, std::max(settings_.timeout, kLeastAnswerTimeout));
    return exchange_.SendCommand("AT+CUSD=1,\"" + text + "\",15\r");
  }();
  // Of an answer that was not sorted, the network's may be a part.
  AnswerSorter lines({}, false);
  lines.Append(answer.Text());
  lines.Finish();
  for (const std::string& line : lines.TakeUnsolicited()) {
    if (IsUssdAnswer(line)) Take(line);
  }
  return answer;
}

// Also where the modem spells that name in it.
bool UssdSession::HasUcs2CharacterSet() {
  const std::string answer = Upper(exchange_.SendCommand("AT+CSCS?\r").Text());
  return Contains(answer, "\"UCS2\"") || Contains(answer, "0055004300530032");
}

void UssdSession::Await() {
  const auto limit = static_cast<std::uint32_t>(std::max(settings_.timeout, kLeastAnswerTimeout));
  const std::uint32_t start = platform_.TickCount();
  std::uint32_t elapsed = 0;
  while (!HasCome() && elapsed < limit && exchange_.IsPortOpen() && !platform_.IsInterrupted()) {
    exchange_.AwaitUnsolicited(limit - elapsed);
    elapsed = platform_.TickCount() - start;
  }
}

std::optional<UssdReply> UssdSession::Judge() {
  if (!IsUssdAnswer(*line_)) return FailWith(Refused(*line_));
  const auto answer = ReadUssdAnswer(*line_);
  if (!answer) return FailWith(kInvalidUssdAnswer);
  using Status = UssdAnswer::Status;
  switch (answer->status) {
    case Status::kOtherClient:
      return FailWith(Refused(*line_));
    case Status::kNotSupported:
      return FailWith(kUssdNotSupported);
    case Status::kTimeOut:
      return FailWith(kNoUssdAnswer);
    case Status::kEnded:
      if (answer->text.empty()) return FailWith(kUssdEnded);
      break;
    default:
      break;
  }
  UssdReply reply{UssdText(*answer, state_.ussdForm), answer->status == Status::kReplyExpected};
  log_.WriteLog("USSD answer: '" + platform_.ToCodePage(reply.text) + "'");
  return reply;
}

std::optional<UssdReply> UssdSession::FailWith(const PendingError& error) {
  errors_.SetError(error);
  return {};
}

}  // namespace tavro
