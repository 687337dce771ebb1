#include "link/answer_fields.h"

#include <algorithm>
#include <charconv>

#include "base/text.h"

namespace tavro {

namespace {

bool ClosesItsQuotes(std::string_view text) { return std::count(text.begin(), text.end(), '"') % 2 == 0; }

// Latin to Arabic letters and the signs with them.
bool IsLikelyCharacter(unsigned unit) { return unit >= 0x20 && unit < 0x0700; }

}  // namespace

AnswerFieldList AnswerFields(std::string_view information) {
  const std::string cleaned = Trimmed(RemoveAll(information, "\""));
  AnswerFieldList fields;
  for (const std::string_view field : Split(cleaned, ",")) fields.push_back(Trimmed(field));
  return fields;
}

std::vector<AnswerFieldList> AnswerLists(std::string_view information) {
  const std::string cleaned = RemoveAll(information, "\"");
  const std::string_view list = std::string_view(cleaned).substr(0, cleaned.find(",,("));
  std::vector<AnswerFieldList> lists;
  const auto entries = Split(list, "(");
  for (std::size_t i = 1; i < entries.size(); ++i) {
    lists.push_back(AnswerFields(RemoveAll(RemoveAll(RemoveAll(entries[i], "),,"), "),"), ")")));
  }
  return lists;
}

AnswerFieldList QuotedFields(std::string_view information) {
  if (!ClosesItsQuotes(information)) return AnswerFields(information);
  AnswerFieldList fields(1);
  bool quoted = false;
  for (const char c : information) {
    if (c == '"') {
      quoted = !quoted;
    } else if (c == ',' && !quoted) {
      fields.emplace_back();
    } else {
      fields.back() += c;
    }
  }
  for (std::string& field : fields) field = Trimmed(field);
  return fields;
}

std::vector<AnswerFieldList> QuotedLists(std::string_view information) {
  if (!ClosesItsQuotes(information)) return AnswerLists(information);
  std::vector<AnswerFieldList> lists;
  bool quoted = false, inside = false;
  std::size_t start = 0;
  for (std::size_t i = 0; i < information.size(); ++i) {
    const char c = information[i];
    if (c == '"') quoted = !quoted;
    if (quoted) continue;
    if (c == '(') {
      start = i + 1;
      inside = true;
    } else if (c == ')' && inside) {
      lists.push_back(QuotedFields(information.substr(start, i - start)));
      inside = false;
    } else if (!inside && information.substr(i).starts_with(",,")) {
      break;
    }
  }
  return lists;
}

std::string WithTypeOfNumber(const std::string& number, std::string_view type) {
  constexpr int kTypeBits = 0x70, kInternational = 0x10;
  int value = 0;
  const bool national = ParseWhole(type, value) && (value & kTypeBits) != kInternational;
  return national || number.starts_with('+') ? number : "+" + number;
}

std::string WithAnyKnownType(const std::string& number, std::string_view type) {
  return type == "129" || number.starts_with('+') ? number : "+" + number;
}

std::optional<std::u16string> Ucs2Text(std::string_view field) {
  constexpr std::size_t kDigits = 4;
  if (field.size() < 2 * kDigits || field.size() % kDigits != 0) return {};
  std::u16string text;
  for (; !field.empty(); field.remove_prefix(kDigits)) {
    unsigned unit = 0;
    const char* const end = field.data() + kDigits;
    if (std::from_chars(field.data(), end, unit, 16).ptr != end || !IsLikelyCharacter(unit)) return {};
    text += static_cast<char16_t>(unit);
  }
  return text;
}

std::optional<std::string> Ucs2Number(std::string_view field) {
  const auto text = Ucs2Text(field);
  if (!text || text->size() < 3 || text->find_first_not_of(u"+*#0123456789") != std::u16string::npos) return {};
  return std::string(text->begin(), text->end());
}

}  // namespace tavro
