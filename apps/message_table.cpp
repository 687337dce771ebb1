#include "message_table.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <iostream>
#include <utility>

#include "character_width.h"
#include "console.h"
#include "platform/utf8.h"
#include "tavro_output.h"

namespace {

constexpr int kGap = 2;             // columns between two
constexpr int kNarrowestText = 24;  // below that the text stands below
constexpr int kIndent = 2;

// One character as it is shown.
struct Cell {
  std::string bytes;
  int width = 1;
};

std::vector<Cell> CellsOf(std::string_view text) {
  std::vector<Cell> cells;
  for (const char32_t character : CodePoints(text)) {
    const std::string bytes = Utf8Of(character);
    Cell cell{ShownText(bytes), CharacterWidth(character)};
    if (cell.bytes != bytes && cell.bytes.size() > 1) cell.width = static_cast<int>(cell.bytes.size());  // escaped
    cells.push_back(std::move(cell));
  }
  return cells;
}

std::string Blanks(int count) { return std::string(static_cast<std::size_t>(std::max(count, 0)), ' '); }

int WidthOf(const std::vector<Cell>& cells) {
  int width = 0;
  for (const Cell& cell : cells) width += cell.width;
  return width;
}

bool IsAscii(std::string_view text) {
  return std::all_of(text.begin(), text.end(), [](char c) { return static_cast<unsigned char>(c) < 0x80; });
}

int WidthOf(std::string_view text) { return IsAscii(text) ? static_cast<int>(text.size()) : WidthOf(CellsOf(text)); }

// Filled up with blanks: on the left for numbers.
std::string Padded(const std::string& text, int width, bool right = false) {
  const std::string shown = ShownText(text), blanks = Blanks(width - WidthOf(text));
  return right ? blanks + shown : shown + blanks;
}

// A line without line feeds, onto the end of `lines`.
void Wrap(std::string_view line, int width, std::vector<std::string>& lines) {
  const std::vector<Cell> cells = CellsOf(line);
  std::size_t start = 0;
  do {
    std::size_t end = start, blank = start;  // the last blank that a line may end at
    for (int used = 0; end < cells.size() && (width == 0 || used + cells[end].width <= width || end == start); ++end) {
      used += cells[end].width;
      if (cells[end].bytes == " ") blank = end;
    }
    std::size_t next = end;
    if (end < cells.size()) {
      if (cells[end].bytes == " ") {
        next = end + 1;
      } else if (blank > start) {
        end = blank;
        next = blank + 1;
      }
      while (end > start + 1 && cells[end - 1].bytes == " ") --end;
    }
    std::string& shown = lines.emplace_back();
    for (std::size_t i = start; i < end; ++i) shown += cells[i].bytes;
    start = next;
  } while (start < cells.size());
}

struct Column {
  const char* heading;
  bool right = false;
  int width = 0;
};
constexpr std::size_t kColumns = 5;
using Row = std::array<std::string, kColumns>;

Row RowOf(const ListedMessage& listed) {
  const tavro::Message& message = *listed.message;
  return {listed.memory, listed.isNumbered ? std::to_string(message.Index()) : "", StateOf(listed),
          VisibleLine(message.Phone()), ShortTime(message.TimeStamp())};
}

void PrintPlain(const Row& row, const std::array<Column, kColumns>& columns, const std::string& text) {
  for (std::size_t i = 0; i < kColumns; ++i) {
    if (columns[i].width > 0) std::cout << Padded(row[i], columns[i].width, columns[i].right) << Blanks(kGap);
  }
  std::cout << ShownText(text) << '\n';
}

void PrintIndented(const std::vector<std::string>& lines, int indent) {
  for (const std::string& line : lines) std::cout << Blanks(line.empty() ? 0 : indent) << line << '\n';
}

// For a terminal that has no room for columns.
void PrintBelow(const Row& row, const std::string& text, int width, bool isNew) {
  std::string head;
  for (const std::string& field : row) {
    if (!field.empty()) head += (head.empty() ? "" : "  ") + field;
  }
  for (const std::string& line : Wrapped(head, width)) {
    std::cout << (isNew ? Coloured(Stream::kOutput, Colour::kBold, line) : line) << '\n';
  }
  PrintIndented(Wrapped(text, width - kIndent), kIndent);
}

void PrintBeside(const Row& row, const std::array<Column, kColumns>& columns, const std::string& text, int left,
                 int width, bool isNew) {
  std::string head;
  for (std::size_t i = 0; i < kColumns; ++i) {
    if (columns[i].width > 0) head += Padded(row[i], columns[i].width, columns[i].right) + Blanks(kGap);
  }
  std::vector<std::string> lines = Wrapped(text, width - left);
  const std::string first = std::exchange(lines.front(), {});
  std::cout << (isNew ? Coloured(Stream::kOutput, Colour::kBold, head) : head) << first << '\n';
  lines.erase(lines.begin());
  PrintIndented(lines, left);
}

}  // namespace

const char* StateOf(const ListedMessage& message) {
  return !message.isUnread ? "" : *message.isUnread ? "unread" : "read";
}

int TableWidth() { return IsTerminal(Stream::kOutput) ? TerminalWidth() : 0; }

std::vector<std::string> Wrapped(std::string_view text, int width) {
  std::vector<std::string> lines;
  for (std::size_t start = 0; start <= text.size();) {
    const std::size_t end = std::min(text.find('\n', start), text.size());
    Wrap(text.substr(start, end - start), width, lines);
    start = end + 1;
  }
  return lines;
}

void PrintTable(const std::vector<ListedMessage>& messages, int width) {
  std::array<Column, kColumns> columns = {{{""}, {"No", true}, {"State"}, {"From"}, {"Time"}}};
  std::vector<Row> rows;
  int left = 0;
  for (const ListedMessage& message : messages) rows.push_back(RowOf(message));
  for (std::size_t i = 0; i < kColumns; ++i) {
    for (const Row& row : rows) columns[i].width = std::max(columns[i].width, WidthOf(row[i]));
    if (columns[i].width == 0) continue;
    if (width > 0) columns[i].width = std::max(columns[i].width, DisplayWidth(columns[i].heading));
    left += columns[i].width + kGap;
  }
  const bool isBeside = width - left >= kNarrowestText;
  if (isBeside && !messages.empty()) {
    std::string heading;
    for (const Column& column : columns) {
      if (column.width > 0) heading += Padded(column.heading, column.width, column.right) + Blanks(kGap);
    }
    std::cout << Coloured(Stream::kOutput, Colour::kDim, heading + "Text") << '\n';
  }
  for (std::size_t i = 0; i < rows.size(); ++i) {
    const bool isNew = messages[i].isUnread.value_or(false);
    const std::u16string& text = messages[i].message->Text();
    if (width == 0) {
      PrintPlain(rows[i], columns, VisibleLine(text));
    } else if (isBeside) {
      PrintBeside(rows[i], columns, Visible(text), left, width, isNew);
    } else {
      PrintBelow(rows[i], Visible(text), width, isNew);
    }
  }
}

void PrintFull(const std::vector<ListedMessage>& messages, int width) {
  for (const ListedMessage& listed : messages) {
    const Json json = JsonOf(*listed.message);
    const auto item = [&](const std::string& label, const std::string& value) {
      constexpr int kLabelWidth = 16;
      if (value.empty()) return;
      const bool isBeside = width == 0 || width >= 2 * kLabelWidth + kIndent;
      const int indent = isBeside ? kLabelWidth + kIndent : kIndent + kIndent;
      std::vector<std::string> lines = Wrapped(value, width == 0 ? 0 : width - indent);
      std::cout << Blanks(kIndent) << Coloured(Stream::kOutput, Colour::kDim, label + ':');
      if (isBeside) {
        std::cout << Blanks(kLabelWidth - static_cast<int>(label.size()) - 1) << lines.front();
        lines.erase(lines.begin());
      }
      std::cout << '\n';
      PrintIndented(lines, indent);
    };
    const tavro::Message& message = *listed.message;
    std::string head = listed.isNumbered ? "Message " + std::to_string(message.Index()) : "Message";
    if (!listed.memory.empty()) head += " in " + listed.memory;
    if (listed.isUnread) head += std::string(", ") + StateOf(listed);
    std::cout << Coloured(Stream::kOutput, Colour::kBold, head) << '\n';
    item("From", VisibleLine(message.Phone()));
    item("Time", VisibleLine(message.TimeStampRFC()));
    item("Service centre", VisibleLine(message.SMSC()));
    if (message.Parts() > 1) item("Parts", std::to_string(message.Parts()));
    std::string missing;
    for (const int part : message.MissingParts()) missing += (missing.empty() ? "" : ", ") + std::to_string(part);
    item("Missing parts", missing);
    if (const auto ports = message.Ports()) {
      item("Ports", "to " + std::to_string(ports->destination) + ", from " + std::to_string(ports->source));
    }
    if (const auto which = message.MessageClass()) item("Class", std::to_string(*which));
    if (message.IsReplacement()) item("Replaces", "an earlier message of its kind");
    for (const Json& waiting : json["waiting"]) {
      const std::string count = waiting["count"].is_null() ? "some" : waiting["count"].dump();
      item("Waiting", waiting["kind"].get<std::string>() + ": " + (waiting["active"].get<bool>() ? count : "none"));
    }
    item("Text", Visible(message.Text()));
    item("Data", json["data"].get<std::string>());
  }
}
