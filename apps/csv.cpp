#include "csv.h"

#include <algorithm>
#include <cstddef>

#include "platform/utf8.h"

namespace {

constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";

[[noreturn]] void Refuse(int line, const std::string& why) {
  throw CsvError("line " + std::to_string(line) + ": " + why);
}

class Parser {
 public:
  explicit Parser(std::string_view file) : file_(file) {}

  std::vector<CsvRow> Rows() {
    std::vector<CsvRow> rows;
    while (!AtEnd()) {
      CsvRow row = Row();
      if (row.fields.size() > 1 || !row.fields.front().empty() || isQuoted_) rows.push_back(std::move(row));
    }
    return rows;
  }

 private:
  bool AtEnd() const { return position_ == file_.size(); }
  bool Take(std::string_view text) {
    if (!file_.substr(position_).starts_with(text)) return false;
    position_ += text.size();
    line_ += static_cast<int>(std::count(text.begin(), text.end(), '\n'));
    return true;
  }

  CsvRow Row() {
    CsvRow row{line_, {}};
    do row.fields.push_back(Field());
    while (Take(","));
    if (!AtEnd() && !Take("\r\n") && !Take("\n")) {
      Refuse(line_, isQuoted_ ? "something stands behind the closing quotes" : "a carriage return ends no line");
    }
    return row;
  }

  std::string Field() {
    isQuoted_ = Take("\"");
    if (isQuoted_) return Quoted();
    const std::size_t end = std::min(file_.find_first_of(",\"\r\n", position_), file_.size());
    const std::string field(file_.substr(position_, end - position_));
    position_ = end;
    if (!AtEnd() && file_[position_] == '"') Refuse(line_, "quotes stand in a field that does not begin with them");
    return field;
  }

  std::string Quoted() {
    const int start = line_;
    std::string field;
    while (!AtEnd()) {
      if (Take("\"\"")) {
        field += '"';
      } else if (Take("\"")) {
        return field;
      } else {
        field += file_[position_];
        Take(file_.substr(position_, 1));
      }
    }
    Refuse(start, "the quotes are not closed");
  }

  const std::string_view file_;
  std::size_t position_ = 0;
  int line_ = 1;
  bool isQuoted_ = false;  // the last field
};

}  // namespace

std::vector<CsvRow> ParseCsv(std::string_view file) {
  if (file.starts_with(kByteOrderMark)) file.remove_prefix(kByteOrderMark.size());
  std::vector<CsvRow> rows = Parser(file).Rows();
  for (const CsvRow& row : rows) {
    for (const std::string& field : row.fields) {
      // What is no UTF-8 does not come back as it was.
      if (tavro::ToUtf8(tavro::FromUtf8(field)) != field) Refuse(row.line, "it is not in UTF-8");
      if (field.find('\0') != std::string::npos) Refuse(row.line, "it has a NUL character");
    }
  }
  return rows;
}

std::string CsvField(std::string_view text) {
  if (text.find_first_of(",\"\r\n") == std::string_view::npos && !text.empty()) return std::string(text);
  std::string field = "\"";
  for (const char c : text) field += c == '"' ? std::string("\"\"") : std::string(1, c);
  return field + '"';
}
