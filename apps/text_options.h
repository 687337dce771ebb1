// How a text becomes short messages: what send and pdu encode are told alike.
#pragma once

#include <CLI/CLI.hpp>
#include <cstddef>
#include <cstdint>
#include <string>

#include "tavro/long_message_type.h"

struct TextOptions {
  std::int16_t coding = 0;  // 7, 8 or 16; 0: 7 where that keeps the text, 16 otherwise
  std::int16_t longMessage = tavro::MessageConcatenate;
  std::string validity;  // empty: the component's own
  bool flash = false;
};

void AddTextOptions(CLI::App& command, TextOptions& options);

// The number of messages that the text, in UTF-8, goes out in. Throws CLI::ValidationError of that name when there are
// not enough of them for it, unless it is to be truncated.
std::size_t PartsOf(const std::string& name, const std::string& text, const TextOptions& options, bool wideReferences);

// The text that the argument stands for: "-" reads it from standard input, without the line feed at its end.
std::string TextOf(const std::string& argument);
