// Messages as people read them: a table that fits the terminal, or everything that is known of each.
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "tavro/message.h"

// One of a list, and what the list knows of it.
struct ListedMessage {
  std::shared_ptr<tavro::Message> message;
  std::string memory = {};  // empty where it is the only one
  bool isNumbered = false;  // whether its index means anything
  std::optional<bool> isUnread = {};
};

// "read", "unread" or, when that is not known, "".
const char* StateOf(const ListedMessage& message);

// Columns for a table on standard output; 0, for any length, where that is no terminal.
int TableWidth();

// A line for each on standard output, without heading and line ends of the text, when the width is 0. A terminal gets
// texts wrapped at its width, below one another where it is narrow.
void PrintTable(const std::vector<ListedMessage>& messages, int width);
// All fields of each, one below the other.
void PrintFull(const std::vector<ListedMessage>& messages, int width);

// The text in lines of so many columns, 1 at least: broken between words, or within one that is longer. Line feeds in
// it end a line. As the user's locale can show it. A width of 0 breaks none.
std::vector<std::string> Wrapped(std::string_view text, int width);
