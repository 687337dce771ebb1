//   line     = "+CUSD:" status [ "," text [ "," coding ] ]
//   status   = "0" .. "5"
//   text     = <"> anything <"> / anything       the closing quote may be missing
//
// The text itself, by the data coding scheme (3GPP TS 23.038, 5), the modem's character set and its maker's mind:
//
//   text     = characters                        in the GSM alphabet, one an octet, or in UTF-8
//   text     =/ 2*hex                            octets: packed septets, 8-bit data or UCS2
//   octets   = [ language ] characters [ CR ]    language: two letters and CR in the GSM alphabet, or two letters in
//   two
//                                                octets in front of UCS2; CR: fills seven spare bits (23.038, 6.1.2.3)
#include "incoming/ussd_answer.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <utility>
#include <vector>

#include "base/text.h"
#include "incoming/listing_entry.h"
#include "incoming/septets.h"
#include "platform/utf8.h"

namespace tavro {

namespace {

constexpr std::string_view kPrefix = "+CUSD:";

using Octets = std::vector<std::uint8_t>;

// A text of digits alone is a number, unless it is longer than numbers are.
constexpr std::size_t kLongestNumber = 20;
// Shorter texts of digits and the letters A to F are no hexadecimal digits, where nothing else says so.
constexpr std::size_t kShortestHex = 8;

bool IsDigit(char16_t c) { return c >= u'0' && c <= u'9'; }
bool IsLetter(char16_t c) { return (c >= u'A' && c <= u'Z') || (c >= u'a' && c <= u'z'); }

// --- The coding ---

enum class Alphabet { kGsm, kOctets, kUcs2 };

struct Coding {
  Alphabet alphabet = Alphabet::kGsm;
  bool beginsWithLanguage = false;
};

Coding CodingOf(int scheme) {
  constexpr Alphabet kAlphabets[] = {Alphabet::kGsm, Alphabet::kOctets, Alphabet::kUcs2, Alphabet::kGsm};
  const int group = scheme >> 4, low = scheme & 0xF;
  if (group == 1) return {low == 1 ? Alphabet::kUcs2 : Alphabet::kGsm, low <= 1};
  if ((group >= 4 && group <= 7) || group == 9) return {kAlphabets[low >> 2], false};
  if (group == 15) return {low & 4 ? Alphabet::kOctets : Alphabet::kGsm, false};
  return {};
}

// --- Texts of hexadecimal digits ---

std::u16string Ucs2(const Octets& octets) {
  std::u16string text;
  for (std::size_t i = 0; i + 1 < octets.size(); i += 2) text += static_cast<char16_t>(octets[i] << 8 | octets[i + 1]);
  return text;
}

std::u16string Ucs2BehindLanguage(const Octets& octets) {
  const std::u16string language = SeptetText(octets, 0, 2);
  const bool named = octets.size() >= 2 && octets[1] < 0x40 && std::all_of(language.begin(), language.end(), IsLetter);
  return Ucs2(named ? Octets(octets.begin() + 2, octets.end()) : octets);
}

std::u16string WithoutLanguage(std::u16string text) {
  constexpr std::size_t kLanguage = 3;
  const bool named = text.size() >= kLanguage && IsLetter(text[0]) && IsLetter(text[1]) && text[2] == u'\r';
  return named ? text.substr(kLanguage) : text;
}

std::u16string Unpacked(const Octets& octets) {
  std::u16string text = SeptetText(octets, 0, octets.size() * 8 / 7);
  // Seven spare bits hold CR; where they hold nothing, they look like "@".
  if (octets.size() % 7 == 0 && (text.ends_with(u'\r') || text.ends_with(u'@'))) text.pop_back();
  return text;
}

// Whether somebody may have written it. Unpacking what was never packed gives signs that no text has, and Greek
// capitals among few letters; a Greek text has them, and blanks.
bool IsSensible(std::u16string_view text) {
  static constexpr std::u16string_view kRare =
      u"\u00A1\u00A4\u00A7\u00BF\u0394\u03A6\u0393\u039B\u03A9\u03A0\u03A8\u03A3\u0398\u039E";
  const auto count = [&](auto is) { return std::count_if(text.begin(), text.end(), is); };
  const auto size = static_cast<std::ptrdiff_t>(text.size());
  if (count([](char16_t c) { return c < u' ' && c != u'\n' && c != u'\r'; }) > 0) return false;
  const auto rare = count([](char16_t c) { return kRare.find(c) != std::u16string_view::npos; });
  const auto letters = count([](char16_t c) { return IsLetter(c) || IsDigit(c); });
  const bool hasBlank = text.find(u' ') != std::u16string_view::npos;
  return hasBlank ? rare * 5 <= size * 2 : rare == 0 && letters * 2 >= size;
}

// Latin to Arabic letters with some of ASCII among them; of digits alone that may be a number, nothing else.
bool IsLikelyUcs2(std::u16string_view text, bool maybeNumber) {
  const auto isAscii = [](char16_t c) { return (c >= u' ' && c < 0x7F) || c == u'\n' || c == u'\r'; };
  const auto isLikely = [&](char16_t c) { return isAscii(c) || (c >= 0xA0 && c < 0x0700) || (c >> 8) == 0x20; };
  const auto ascii = std::count_if(text.begin(), text.end(), isAscii);
  return text.size() >= 2 && std::all_of(text.begin(), text.end(), isLikely) &&
         (maybeNumber ? ascii == static_cast<std::ptrdiff_t>(text.size()) : ascii > 0);
}

// --- Texts of characters ---

// A modem that knows only ASCII gives brackets, which in the GSM alphabet are letters that no language has together.
bool HasAsciiBrackets(std::string_view text) {
  const auto has = [&](char open, char close) {
    const std::size_t at = text.find(open);
    return at != std::string_view::npos && text.find(close, at) != std::string_view::npos;
  };
  return has('[', ']') || has('{', '}');
}

std::u16string Characters(std::string_view text) {
  const bool isGsm = std::all_of(text.begin(), text.end(), [](char c) { return static_cast<unsigned char>(c) < 0x80; });
  if (!isGsm || HasAsciiBrackets(text)) return FromUtf8(text);
  std::u16string characters = CodesText(Octets(text.begin(), text.end()));
  // Nobody counts in the currency sign of the GSM alphabet, but modems that know only ASCII in dollars.
  std::replace(characters.begin(), characters.end(), u'\u00A4', u'$');
  return characters;
}

// The text of hexadecimal digits whose coding is the GSM alphabet or not known; nothing when they are not meant as
// such.
std::optional<std::u16string> GuessedText(std::string_view digits, const Octets& octets, UssdForm form) {
  if (form == UssdForm::kUcs2 && digits.size() % 4 == 0) return Ucs2(octets);
  const bool maybeNumber = form == UssdForm::kPlain && digits.size() <= kLongestNumber &&
                           digits.find_first_not_of("0123456789") == std::string_view::npos;
  if (digits.size() % 4 == 0 && IsLikelyUcs2(Ucs2(octets), maybeNumber)) return Ucs2(octets);
  if (maybeNumber || (form == UssdForm::kPlain && digits.size() < kShortestHex)) return {};
  std::u16string unpacked = Unpacked(octets);
  if (!IsSensible(unpacked)) return {};
  return unpacked;
}

}  // namespace

bool IsUssdAnswer(std::string_view line) { return Upper(line.substr(0, kPrefix.size())) == kPrefix; }

std::optional<UssdAnswer> ReadUssdAnswer(std::string_view line) {
  if (!IsUssdAnswer(line)) return {};
  line = Trim(line.substr(kPrefix.size()));
  const std::string_view status = Trim(line.substr(0, line.find(',')));
  if (status.size() != 1 || status[0] < '0' || status[0] > '5') return {};
  UssdAnswer answer;
  answer.status = static_cast<UssdAnswer::Status>(status[0] - '0');
  std::string_view rest = line.substr(std::min(line.find(','), line.size()));
  if (rest.empty()) return answer;
  rest = Trim(rest.substr(1));

  // Behind the last comma, unless that stands in the quotes.
  const std::size_t comma = rest.rfind(',');
  const std::size_t lastQuote = rest.rfind('"');
  const bool quoted = rest.starts_with('"'), closed = quoted && lastQuote > 0;
  constexpr int kHighestCoding = 255;
  int coding = 0;
  if (comma != std::string_view::npos && !(closed && comma < lastQuote)) {
    const std::string_view field = Trim(rest.substr(comma + 1));
    const bool isNumber = !field.empty() && field.find_first_not_of("0123456789") == std::string_view::npos;
    if (isNumber && ParseWhole(field, coding) && coding <= kHighestCoding) answer.coding = coding;
    if (answer.coding) rest = Trim(rest.substr(0, comma));
  }
  if (closed) rest = rest.substr(0, lastQuote);
  if (quoted) rest.remove_prefix(1);
  answer.text = rest;
  return answer;
}

std::u16string UssdText(const UssdAnswer& answer, UssdForm form) {
  const std::string digits = Upper(answer.text);
  const bool isHex =
      !digits.empty() && digits.size() % 2 == 0 && digits.find_first_not_of("0123456789ABCDEF") == std::string::npos;
  const Coding coding = answer.coding ? CodingOf(*answer.coding) : Coding();
  if (isHex) {
    const Octets octets = ReadOctets(digits);
    if (coding.alphabet == Alphabet::kOctets) return FromUtf8(std::string(octets.begin(), octets.end()));
    if (coding.alphabet == Alphabet::kUcs2 && octets.size() % 2 == 0) {
      return coding.beginsWithLanguage ? Ucs2BehindLanguage(octets) : Ucs2(octets);
    }
    if (auto text = GuessedText(digits, octets, form)) {
      return coding.beginsWithLanguage ? WithoutLanguage(*std::move(text)) : *std::move(text);
    }
  }
  if (coding.alphabet != Alphabet::kGsm) return FromUtf8(answer.text);
  std::u16string text = Characters(answer.text);
  return coding.beginsWithLanguage ? WithoutLanguage(std::move(text)) : text;
}

}  // namespace tavro
