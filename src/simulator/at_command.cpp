#include "simulator/at_command.h"

#include <algorithm>
#include <charconv>

namespace tavro {

namespace {

char Capital(char letter) { return letter >= 'a' && letter <= 'z' ? static_cast<char>(letter - 'a' + 'A') : letter; }
bool IsDigit(char character) { return character >= '0' && character <= '9'; }
bool IsLetter(char character) { return Capital(character) >= 'A' && Capital(character) <= 'Z'; }

// The end of what stands in front of `stop` outside quotes.
std::size_t FindUnquoted(std::string_view text, char stop, std::size_t start) {
  bool quoted = false;
  for (std::size_t i = start; i < text.size(); ++i) {
    if (text[i] == '"') quoted = !quoted;
    if (text[i] == stop && !quoted) return i;
  }
  return text.size();
}

std::string_view WithoutSpaces(std::string_view text) {
  while (text.starts_with(' ')) text.remove_prefix(1);
  while (text.ends_with(' ')) text.remove_suffix(1);
  return text;
}

AtCommand ParseExtended(std::string_view text) {
  AtCommand command;
  const std::size_t end = std::min(text.find_first_of("=?"), text.size());
  command.name = InCapitals(WithoutSpaces(text.substr(0, end)));
  const std::string_view rest = WithoutSpaces(text.substr(end));
  if (rest == "?") {
    command.kind = AtCommand::Kind::kRead;
  } else if (rest == "=?") {
    command.kind = AtCommand::Kind::kTest;
  } else if (rest.starts_with('=')) {
    command.kind = AtCommand::Kind::kSet;
    command.value = rest.substr(1);
  } else if (!rest.empty()) {
    command.name += rest;  // "?" with something behind it: no command that there is
  }
  return command;
}

// A basic command or an S register; advances past it.
std::optional<AtCommand> ParseBasic(std::string_view text, std::size_t& position) {
  AtCommand command;
  if (text[position] == '&') command.name = text[position++];
  if (position == text.size() || !IsLetter(text[position])) return std::nullopt;
  command.name += Capital(text[position++]);
  const auto takeNumber = [&] {
    const std::size_t start = position;
    while (position < text.size() && IsDigit(text[position])) ++position;
    return std::string(text.substr(start, position - start));
  };
  if (command.name == "D") {
    command.value = text.substr(position);
    position = text.size();
    return command;
  }
  command.value = takeNumber();
  if (command.name == "S") {
    command.name += command.value;
    command.value.clear();
    if (position < text.size() && text[position] == '?') {
      command.kind = AtCommand::Kind::kRead;
      ++position;
    } else if (position < text.size() && text[position] == '=') {
      command.kind = AtCommand::Kind::kSet;
      ++position;
      command.value = takeNumber();
    }
  }
  return command;
}

}  // namespace

std::vector<std::string> AtCommand::Values() const {
  std::vector<std::string> values;
  for (std::size_t start = 0; start <= value.size();) {
    const std::size_t end = FindUnquoted(value, ',', start);
    std::string_view piece = WithoutSpaces(std::string_view(value).substr(start, end - start));
    if (piece.size() >= 2 && piece.front() == '"' && piece.back() == '"') piece = piece.substr(1, piece.size() - 2);
    values.emplace_back(piece);
    start = end + 1;
  }
  return values;
}

std::optional<int> AtCommand::Number(std::size_t index) const {
  const std::vector<std::string> values = Values();
  return index < values.size() ? WholeNumber(values[index]) : std::nullopt;
}

std::size_t FindAttention(std::string_view line) {
  for (std::size_t i = 0; i + 1 < line.size(); ++i) {
    if (Capital(line[i]) == 'A' && Capital(line[i + 1]) == 'T') return i;
  }
  return std::string_view::npos;
}

std::optional<std::vector<AtCommand>> ParseCommands(std::string_view text) {
  std::vector<AtCommand> commands;
  std::size_t position = 0;
  while (position < text.size()) {
    if (text[position] == ' ' || text[position] == ';') {
      ++position;
    } else if (text[position] == '+') {
      const std::size_t end = FindUnquoted(text, ';', position);
      commands.push_back(ParseExtended(text.substr(position, end - position)));
      position = end;
    } else {
      std::optional<AtCommand> command = ParseBasic(text, position);
      if (!command) return std::nullopt;
      commands.push_back(std::move(*command));
    }
  }
  return commands;
}

std::string InCapitals(std::string_view text) {
  std::string capitals(text);
  std::transform(capitals.begin(), capitals.end(), capitals.begin(), Capital);
  return capitals;
}

std::optional<int> WholeNumber(std::string_view text) {
  if (text.empty() || text.size() > 9 || !std::all_of(text.begin(), text.end(), IsDigit)) return std::nullopt;
  int number = 0;
  std::from_chars(text.data(), text.data() + text.size(), number);
  return number;
}

}  // namespace tavro
