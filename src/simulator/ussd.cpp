#include "simulator/ussd.h"

#include <algorithm>
#include <utility>

#include "simulator/character_set.h"
#include "simulator/gsm_text.h"
#include "simulator/looped_message.h"

namespace tavro {

namespace {

// <m> of +CUSD.
enum : int { kNoFurtherAction = 0, kActionRequired = 1, kTerminated = 2 };
constexpr int kDefaultAlphabet = 15, kUcs2 = 72;  // data coding schemes for cell broadcast (3GPP TS 23.038, clause 5)
constexpr std::size_t kSeptetsPerCycle = 8;

// 3GPP TS 23.038, 6.1.2.3.1: a carriage return fills up what would read as a seventh bit of zeros, "@".
std::string PackedHex(std::string septets) {
  if (septets.size() % kSeptetsPerCycle == kSeptetsPerCycle - 1) septets += '\r';
  return HexFromOctets(PackSeptets(septets));
}

std::optional<std::string> FromPackedHex(std::string_view hex) {
  const std::optional<std::string> octets = OctetsFromHex(hex);
  if (!octets) return std::nullopt;
  std::string septets = UnpackSeptets(*octets, octets->size() * 8 / 7);
  if (septets.size() % kSeptetsPerCycle == 0 && septets.ends_with('\r')) septets.pop_back();
  return Utf8FromSeptets(septets);
}

// `"text",15` in the form of the settings.
std::string Shown(const ModemState& modem, std::string_view text) {
  const std::string& form = modem.settings.ussdForm;
  const std::optional<std::string> septets = SeptetsFromUtf8(text);
  if (form == "ucs2" || !septets) {
    return "\"" + HexFromOctets(Ucs2FromUtf8(text)) + "\"," + std::to_string(kUcs2);
  }
  const std::string shown = form == "packed" ? "\"" + PackedHex(*septets) + "\"" : Quoted(modem, text);
  return shown + "," + std::to_string(kDefaultAlphabet);
}

// What was asked, in UTF-8; nothing when it is not in the form of the settings.
std::optional<std::string> Asked(const ModemState& modem, std::string_view text, int coding) {
  const std::string& form = modem.settings.ussdForm;
  if (coding == kUcs2) return Utf8FromUcs2Hex(text);
  if (form == "packed") return FromPackedHex(text);
  if (form != "ucs2") return Decoded(modem, text);
  const std::optional<std::string> decoded = Utf8FromUcs2Hex(text);
  return decoded && !decoded->empty() && IsAscii(*decoded) ? *decoded : std::string(text);
}

void Show(ModemState& modem, int state, std::string_view text) {
  if (!modem.ussdShown) return;
  modem.unsolicited.push_back("+CUSD: " + std::to_string(state) + (text.empty() ? "" : "," + Shown(modem, text)));
}

void AnswerUssd(ModemState& modem, const std::string& path) {
  const std::vector<UssdEntry>& answers = modem.settings.ussd;
  const auto answer =
      std::find_if(answers.begin(), answers.end(), [&](const UssdEntry& each) { return each.code == path; });
  const bool isReply = std::exchange(modem.ussdSession, {}).has_value();
  modem.ussdPending.reset();
  if (answer == answers.end()) return Show(modem, isReply ? kTerminated : modem.settings.ussdUnknown, {});
  if (answer->expectsReply) modem.ussdSession = path;
  Show(modem, answer->expectsReply ? kActionRequired : kNoFurtherAction, answer->text);
}

void EndSession(ModemState& modem) {
  if (modem.ussdPending) modem.events.erase(*modem.ussdPending);
  modem.ussdPending.reset();
  modem.ussdSession.reset();
}

CommandResult Ask(ModemState& modem, std::string_view text, int coding) {
  const ModemSettings& settings = modem.settings;
  const std::optional<std::string> code = Asked(modem, text, coding);
  if (!code || code->empty()) return EquipmentError(kCmeBadParameter);
  if (!modem.IsRegistered()) return EquipmentError(kCmeNoNetwork);
  if (settings.ussdError != 0) return EquipmentError(settings.ussdError);
  if (modem.ussdPending) return EquipmentError(kCmeNotAllowed);
  if (settings.ussdSilent) return {};
  const std::string path = modem.ussdSession ? *modem.ussdSession + " " + *code : *code;
  modem.ussdPending =
      modem.At(modem.nowMs + settings.ussdDelayMs, [path](ModemState& later) { AnswerUssd(later, path); });
  return {};
}

CommandResult Ussd(ModemState& modem, const AtCommand& command) {
  using Kind = AtCommand::Kind;
  constexpr int kEnds = 2;
  if (command.kind == Kind::kTest) return Info("+CUSD: (0-2)");
  if (command.kind == Kind::kRead) return Info(modem.ussdShown ? "+CUSD: 1" : "+CUSD: 0");
  const int what = command.kind == Kind::kExecute ? 0 : command.Number().value_or(kEnds + 1);
  if (what > kEnds) return EquipmentError(kCmeBadParameter);
  if (what == kEnds) {
    EndSession(modem);
    return {};
  }
  modem.ussdShown = what == 1;
  const std::vector<std::string> values = command.Values();
  if (values.size() < 2) return {};
  return Ask(modem, values[1], command.Number(2).value_or(kDefaultAlphabet));
}

constexpr CommandEntry kUssdCommands[] = {{"+CUSD", Ussd}};

}  // namespace

void ReceiveUssd(ModemState& modem, std::string_view text, bool expectsReply) {
  EndSession(modem);
  if (expectsReply) modem.ussdSession = "";
  Show(modem, expectsReply ? kActionRequired : kNoFurtherAction, text);
}

std::span<const CommandEntry> UssdCommands() { return kUssdCommands; }

}  // namespace tavro
