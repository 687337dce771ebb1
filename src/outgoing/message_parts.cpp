#include "outgoing/message_parts.h"

#include <cstddef>
#include <limits>

#include "outgoing/encodings.h"
#include "outgoing/gsm_alphabet.h"
#include "tavro/long_message_type.h"

namespace tavro {

namespace {

constexpr std::size_t kMaxParts = 255;         // the header counts them in one octet
constexpr std::size_t kMaxFormattedParts = 9;  // the marker counts them in one digit
constexpr std::size_t kMarkerLength = 12;      // "..", CR, "-Msg 1/9-"

// In code values.
struct Capacity {
  std::size_t single;
  std::size_t concatenated;
};

Capacity CapacityOf(int coding, bool wideReferences) {
  switch (coding) {
    case 7:
      return {160, 152};  // the header leaves room for 153 with 8-bit references; 152 is meant
    case 8:
      return {140, wideReferences ? 133U : 134U};
    case 16:
      return {70, wideReferences ? 66U : 67U};
    default:
      return {0, 0};
  }
}

// How a mode cuts a text that is longer than one message.
struct Cutting {
  std::size_t partLength;
  std::size_t textLength;  // the rest is dropped
  std::size_t maxParts = std::numeric_limits<std::size_t>::max();
};

// An escape that moves on to the next part leaves its own part shorter, so a text of the full length may need more
// parts than header or marker can count; it ends with the last one that they can.
Cutting CuttingOf(std::int16_t longMessage, const Capacity& capacity) {
  switch (longMessage) {
    case MessageTruncate:
      return {capacity.single, capacity.single};
    case MessageSplit:
      return {capacity.single, capacity.single * kMaxParts};
    case MessageFormattedSplit: {
      const std::size_t length = capacity.single - kMarkerLength;
      return {length, length * kMaxFormattedParts, kMaxFormattedParts};
    }
    default:
      return {capacity.concatenated, capacity.concatenated * kMaxParts, kMaxParts};
  }
}

bool IsHighSurrogate(char16_t unit) { return unit >= 0xD800 && unit < 0xDC00; }

// The first `length` codes, or less in the 7-bit coding: an escape at the end belongs to the code behind it. A
// surrogate pair of UTF-16 may be cut unless the rules keep it; it is whole again when concatenated parts are joined.
std::u16string_view FirstCodes(std::u16string_view codes, std::size_t length, int coding, const PartsRules& rules) {
  const bool cut = codes.size() > length;
  codes = codes.substr(0, length);
  if (cut && coding == 16 && rules.keepsSurrogatePairs && codes.size() > 1 && IsHighSurrogate(codes.back())) {
    codes.remove_suffix(1);
  }
  while (coding == 7 && !codes.empty() && codes.back() == kGsmEscape) codes.remove_suffix(1);
  return codes;
}

void AddMarkers(std::vector<std::u16string>& texts) {
  const auto digit = [](std::size_t number) { return static_cast<char16_t>(u'0' + number); };
  const std::size_t total = texts.size();
  for (std::size_t number = 1; number <= total; ++number) {
    std::u16string& text = texts[number - 1];
    text += number < total ? u"..\r-Msg " : u"\r-Msg ";
    text += {digit(number), u'/', digit(total), u'-'};
  }
}

}  // namespace

MessageParts PrepareParts(std::u16string_view text, int coding, std::int16_t longMessage, const PartsRules& rules) {
  const Capacity capacity = CapacityOf(coding, rules.wideReferences);
  if (capacity.single == 0) return {};
  const std::u16string codes = coding == 7 ? ToGsmAlphabet(text) : std::u16string(text);
  Cutting cutting = CuttingOf(longMessage, capacity);
  std::u16string_view rest = FirstCodes(codes, cutting.textLength, coding, rules);
  // A text that fits one message is sent as one in every mode.
  if (rest.size() <= capacity.single) cutting.partLength = capacity.single;

  MessageParts parts;
  parts.dropped = codes.size();
  while (!rest.empty() && parts.texts.size() < cutting.maxParts) {
    const std::u16string_view part = FirstCodes(rest, cutting.partLength, coding, rules);
    parts.texts.emplace_back(part);
    rest.remove_prefix(part.size());
    parts.dropped -= part.size();
  }
  parts.concatenated = longMessage == MessageConcatenate && parts.texts.size() >= 2;
  if (longMessage == MessageFormattedSplit && parts.texts.size() >= 2) AddMarkers(parts.texts);
  return parts;
}

}  // namespace tavro
