#include "text_options.h"

#include <iostream>
#include <iterator>

#include "command_line.h"
#include "outgoing/encodings.h"
#include "outgoing/message_parts.h"
#include "platform/utf8.h"

namespace {

const Choices kLongMessageActions = {{"truncate", tavro::MessageTruncate},
                                     {"split", tavro::MessageSplit},
                                     {"formatted", tavro::MessageFormattedSplit},
                                     {"concatenate", tavro::MessageConcatenate}};

}  // namespace

void AddTextOptions(CLI::App& command, TextOptions& options) {
  command.add_flag("--flash", options.flash, "Show it at once and store it nowhere");
  command
      .add_option("--coding", options.coding,
                  "7 the GSM alphabet, 8 octets, 16 UCS2; when not given, 7 if that has all characters, else 16")
      ->check(CLI::IsMember({7, 8, 16}));
  AddChoice(command, "--long", options.longMessage, kLongMessageActions,
            "What to do with a text that does not fit one message")
      ->default_str("concatenate");
  command.add_option("--validity", options.validity, "How long to keep trying: 30M, 12H, 1D, 2W")->default_str("1D");
}

std::size_t PartsOf(const std::string& name, const std::string& text, const TextOptions& options, bool wideReferences) {
  const std::u16string units = tavro::FromUtf8(text);
  const int coding = options.coding != 0 ? options.coding : tavro::FitsGsmAlphabet(units) ? 7 : 16;
  const tavro::MessageParts parts = tavro::PrepareParts(
      units, coding, options.longMessage, {.wideReferences = wideReferences, .keepsSurrogatePairs = true});
  if (parts.dropped > 0 && options.longMessage != tavro::MessageTruncate) {
    throw CLI::ValidationError(name, "it is too long: " + std::to_string(parts.texts.size()) +
                                         " messages are the most, and its last " + std::to_string(parts.dropped) +
                                         " characters do not fit; give a shorter one, or --long truncate, which sends "
                                         "one message");
  }
  return parts.texts.size();
}

std::string TextOf(const std::string& argument) {
  if (argument != "-") return argument;
  std::string text{std::istreambuf_iterator<char>(std::cin), {}};
  if (std::cin.bad()) throw CLI::ValidationError("-", "standard input cannot be read");
  if (!text.empty() && text.back() == '\n') text.pop_back();
  return text;
}
