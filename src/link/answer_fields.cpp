#include "link/answer_fields.h"

#include "base/text.h"
#include "link/at_exchange.h"

namespace tavro {

std::vector<std::string> AnswerFields(std::string_view answer, std::string_view prefix) {
  const std::string cleaned = CleanResponse(RemoveAll(RemoveAll(answer, prefix), "\""));
  std::vector<std::string> fields;
  for (const std::string_view field : Split(cleaned, ",")) fields.push_back(Trimmed(field));
  return fields;
}

std::string WithTypeOfNumber(const std::string& number, std::string_view type) {
  return type == "129" || number.starts_with('+') ? number : "+" + number;
}

}  // namespace tavro
