#include "link/answer_fields.h"

#include <charconv>

#include "base/text.h"

namespace tavro {

namespace {

// Latin to Arabic letters and the signs with them.
bool IsLikelyCharacter(unsigned unit) { return unit >= 0x20 && unit < 0x0700; }

}  // namespace

std::vector<std::string> AnswerFields(std::string_view information) {
  const std::string cleaned = Trimmed(RemoveAll(information, "\""));
  std::vector<std::string> fields;
  for (const std::string_view field : Split(cleaned, ",")) fields.push_back(Trimmed(field));
  return fields;
}

std::string WithTypeOfNumber(const std::string& number, std::string_view type) {
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
