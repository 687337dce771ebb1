#include "simulator/character_set.h"

#include <algorithm>
#include <iterator>

#include "platform/utf8.h"
#include "simulator/gsm_text.h"
#include "simulator/looped_message.h"

namespace tavro {

namespace {

using Set = ModemState::CharacterSet;

struct SetName {
  Set set;
  std::string_view name;
};

constexpr SetName kNames[] = {{Set::kGsm, "GSM"}, {Set::kIra, "IRA"}, {Set::kUcs2, "UCS2"}, {Set::kHex, "HEX"}};

std::string ToAscii(std::string_view text) {
  std::string ascii;
  for (const char16_t unit : FromUtf8(text)) ascii += unit < 0x80 ? static_cast<char>(unit) : '?';
  return ascii;
}

}  // namespace

std::string Encoded(const ModemState& modem, std::string_view text) {
  switch (modem.TextSet()) {
    case Set::kUcs2:
      return HexFromOctets(Ucs2FromUtf8(text));
    case Set::kHex:
      return HexFromOctets(NearestSeptets(text));
    case Set::kIra:
      return ToAscii(text);
    case Set::kGsm:
      break;
  }
  return NearestSeptets(text);
}

std::optional<std::string> Decoded(const ModemState& modem, std::string_view text) {
  switch (modem.TextSet()) {
    case Set::kUcs2:
      return Utf8FromUcs2Hex(text);
    case Set::kHex: {
      const std::optional<std::string> septets = OctetsFromHex(text);
      if (!septets || !IsAscii(*septets)) return std::nullopt;
      return Utf8FromSeptets(*septets);
    }
    case Set::kIra:
      return std::string(text);
    case Set::kGsm:
      break;
  }
  return IsAscii(text) ? std::optional(Utf8FromSeptets(text)) : std::nullopt;
}

std::string Quoted(const ModemState& modem, std::string_view text) { return "\"" + Encoded(modem, text) + "\""; }

std::string DecodedWord(const ModemState& modem, std::string_view text) {
  const std::optional<std::string> decoded = Decoded(modem, text);
  return decoded && IsAscii(*decoded) ? *decoded : std::string(text);
}

bool IsAscii(std::string_view text) {
  return std::all_of(text.begin(), text.end(), [](char octet) { return static_cast<unsigned char>(octet) < 0x80; });
}

std::optional<std::string> Utf8FromUcs2Hex(std::string_view hex) {
  const std::optional<std::string> octets = OctetsFromHex(hex);
  if (!octets || octets->size() % 2 != 0) return std::nullopt;
  return Utf8FromUcs2(*octets);
}

CommandResult SelectCharacterSet(ModemState& modem, const AtCommand& command) {
  using Kind = AtCommand::Kind;
  if (command.kind == Kind::kTest) return Info("+CSCS: (\"GSM\",\"IRA\",\"UCS2\",\"HEX\")");
  const auto named = [&](const auto& isWanted) { return std::find_if(std::begin(kNames), std::end(kNames), isWanted); };
  if (command.kind == Kind::kRead) {
    const auto current = named([&](const SetName& each) { return each.set == modem.TextSet(); });
    return Info("+CSCS: \"" + std::string(current->name) + "\"");
  }
  const std::vector<std::string> values = command.Values();
  const std::string name = values.size() == 1 ? InCapitals(DecodedWord(modem, values[0])) : std::string();
  const auto wanted = named([&](const SetName& each) { return each.name == name; });
  if (wanted == std::end(kNames)) return EquipmentError(kCmeBadParameter);
  if (!modem.settings.characterSetStuck) modem.SetTextSet(wanted->set);
  return {};
}

}  // namespace tavro
