// The commands of 3GPP TS 27.005 that text mode works by.
#include "simulator/command_table.h"
#include "simulator/looped_message.h"
#include "simulator/network_time.h"

namespace tavro {

namespace {

using Kind = AtCommand::Kind;

constexpr int kValidityFormats = 0x18, kEnhanced = 0x08, kRelative = 0x10, kAbsolute = 0x18;

// The octets of <vp> in the format of <fo>; nothing when the text is no such time.
std::optional<std::string> ValidityFrom(const std::string& text, int firstOctet) {
  switch (firstOctet & kValidityFormats) {
    case kRelative: {
      const std::optional<int> number = text.empty() ? 167 : WholeNumber(text);
      if (!number || *number > 255) return std::nullopt;
      return std::string(1, static_cast<char>(*number));
    }
    case kAbsolute: {
      const std::optional<NetworkTime> time = ParseTimeText(text);
      if (!time) return std::nullopt;
      return TimeStampOctets(time->wallClockMs, time->zoneMinutes);
    }
    case kEnhanced: {
      const std::optional<std::string> octets = OctetsFromHex(text);
      return octets && octets->size() == 7 ? octets : std::nullopt;
    }
    default:
      return std::string();
  }
}

std::string ValidityText(const std::string& octets, int firstOctet) {
  switch (firstOctet & kValidityFormats) {
    case kRelative:
      return std::to_string(static_cast<std::uint8_t>(octets[0]));
    case kAbsolute:
      return "\"" + TimeText(octets) + "\"";
    case kEnhanced:
      return "\"" + HexFromOctets(octets) + "\"";
    default:
      return {};
  }
}

CommandResult TextParameters(ModemState& modem, const AtCommand& command) {
  constexpr int kSubmit = 1;
  if (command.kind == Kind::kTest) return {};
  ModemState::TextParameters& parameters = modem.textParameters;
  if (command.kind == Kind::kRead) {
    return Info("+CSMP: " + std::to_string(parameters.firstOctet) + "," +
                ValidityText(parameters.validity, parameters.firstOctet) + "," + std::to_string(parameters.protocol) +
                "," + std::to_string(parameters.coding));
  }
  const std::vector<std::string> values = command.Values();
  if (command.kind != Kind::kSet || values.size() > 4) return MessageError(kCmsBadTextParameter);
  // What is not named stays, the validity too unless its format changes.
  int octets[] = {parameters.firstOctet, 0, parameters.protocol, parameters.coding};
  for (const std::size_t i : {std::size_t{0}, std::size_t{2}, std::size_t{3}}) {
    if (i >= values.size() || values[i].empty()) continue;
    const std::optional<int> value = WholeNumber(values[i]);
    if (!value || *value > 255) return MessageError(kCmsBadTextParameter);
    octets[i] = *value;
  }
  if ((octets[0] & 3) != kSubmit) return MessageError(kCmsBadTextParameter);
  const bool keepsValidity = (values.size() < 2 || values[1].empty()) &&
                             (octets[0] & kValidityFormats) == (parameters.firstOctet & kValidityFormats);
  std::optional<std::string> validity = parameters.validity;
  if (!keepsValidity) validity = ValidityFrom(values.size() < 2 ? "" : values[1], octets[0]);
  if (!validity) return MessageError(kCmsBadTextParameter);
  parameters = {static_cast<std::uint8_t>(octets[0]), *validity, static_cast<std::uint8_t>(octets[2]),
                static_cast<std::uint8_t>(octets[3])};
  return {};
}

// Which cell broadcasts the application wants; there are none.
CommandResult CellBroadcasts(ModemState& modem, const AtCommand& command) {
  if (command.kind == Kind::kTest) return Info("+CSCB: (0,1)");
  if (command.kind == Kind::kRead) {
    return Info("+CSCB: " + std::to_string(modem.Option("+CSCB")) + ",\"" + modem.cellBroadcasts[0] + "\",\"" +
                modem.cellBroadcasts[1] + "\"");
  }
  const std::vector<std::string> values = command.Values();
  const std::optional<int> mode = values[0].empty() ? 0 : WholeNumber(values[0]);
  if (command.kind != Kind::kSet || values.size() > 3 || !mode || *mode > 1) return MessageError(kCmsNotSupported);
  modem.options["+CSCB"] = *mode;
  for (std::size_t i = 1; i < values.size(); ++i) modem.cellBroadcasts[i - 1] = values[i];
  return {};
}

// AT+CSAS and AT+CRES: the settings are never lost.
CommandResult Profile(ModemState&, const AtCommand& command) {
  if (command.kind == Kind::kTest) return Info(command.name + ": (0)");
  return command.kind == Kind::kExecute || command.Number() == 0 ? CommandResult{} : MessageError(kCmsNotSupported);
}

constexpr CommandEntry kTextCommands[] = {
    {"+CSMP", TextParameters}, {"+CSCB", CellBroadcasts}, {"+CSAS", Profile}, {"+CRES", Profile}};

}  // namespace

std::span<const CommandEntry> TextCommands() { return kTextCommands; }

}  // namespace tavro
