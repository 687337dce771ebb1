#include "modem_setting.h"

#include <algorithm>
#include <stdexcept>
#include <variant>
#include <vector>

#include "simulator/looped_message.h"

namespace {

using tavro::ModemSettings;

struct Setting {
  const char* name;
  const char* effect;
  std::variant<bool ModemSettings::*, int ModemSettings::*, std::int64_t ModemSettings::*, std::size_t ModemSettings::*,
               std::string ModemSettings::*, std::vector<int> ModemSettings::*>
      member;
};

const Setting kSettings[] = {
    {"manufacturer", "+CGMI", &ModemSettings::manufacturer},
    {"model", "+CGMM", &ModemSettings::model},
    {"revision", "+CGMR", &ModemSettings::revision},
    {"imei", "+CGSN", &ModemSettings::imei},
    {"imsi", "+CIMI", &ModemSettings::imsi},
    {"service-centre", "+CSCA", &ModemSettings::serviceCentre},
    {"registration", "statuses of +CREG, one a query, the last one stays: 2,2,6", &ModemSettings::registration},
    {"packet-registration", "of +CGREG; otherwise as +CREG", &ModemSettings::packetRegistration},
    {"lte-registration", "of +CEREG; otherwise the command is not known", &ModemSettings::lteRegistration},
    {"5g-registration", "of +C5GREG; likewise", &ModemSettings::fiveGRegistration},
    {"activity", "+CPAS", &ModemSettings::activity},
    {"signal", "+CSQ, 0 to 31 or 99", &ModemSettings::signal},
    {"sim-capacity", "messages that the memory SM holds", &ModemSettings::simCapacity},
    {"phone-capacity", "messages that the memory ME holds", &ModemSettings::phoneCapacity},
    {"pin-attempts", "attempts left for the PIN; with 0 the SIM asks for its PUK", &ModemSettings::pinAttempts},
    {"tells-pin-attempts", "AT+CPINR is known", &ModemSettings::tellsPinAttempts},
    {"ready-state", "+CPIN of a SIM that is not locked: SIM PIN2", &ModemSettings::readyState},
    {"quotes-pin-state", "+CPIN: \"READY\"", &ModemSettings::quotesPinState},
    {"deaf-commands", "so many commands are lost at first, their echo too", &ModemSettings::deafCommands},
    {"start-ms", "nothing is heard until so long after the first byte", &ModemSettings::startMs},
    {"sim-busy-commands", "so many commands find the SIM busy at first", &ModemSettings::simBusyCommands},
    {"sim-busy-ms", "the SIM is busy until so long after the first byte", &ModemSettings::simBusyMs},
    {"report-delay-ms", "milliseconds from a message to the report on it", &ModemSettings::reportDelayMs},
    {"report-status", "TP-ST of the reports", &ModemSettings::reportStatus},
    {"reports-foreign", "1; with 0 only messages to the own number get reports", &ModemSettings::reportsForeign},
    {"acknowledge-ms", "how long the network waits for AT+CNMA", &ModemSettings::acknowledgeMs},
    {"redeliver-ms", "until it delivers again what was not acknowledged", &ModemSettings::redeliverMs},
    {"ussd-delay-ms", "from a code (AT+CUSD) to the answer", &ModemSettings::ussdDelayMs},
    {"ussd-unknown", "4; what +CUSD says to a code that is not known", &ModemSettings::ussdUnknown},
    {"ussd-error", "codes are refused with this +CME ERROR: 30", &ModemSettings::ussdError},
    {"ussd-silent", "codes are not answered", &ModemSettings::ussdSilent},
    {"ussd-form", "text; others are packed (septets) and ucs2, in digits", &ModemSettings::ussdForm},
    {"send-ms", "from a PDU to its result", &ModemSettings::sendMs},
    {"piece-size", "answers come in pieces of so many bytes,", &ModemSettings::pieceSize},
    {"piece-gap-ms", "that are so far apart", &ModemSettings::pieceGapMs},
    {"line-end", "\\r\\n; others are \\n and \\r\\r\\n", &ModemSettings::lineEnd},
    {"blank-behind-colon", "1; with 0 +CSQ:23,0", &ModemSettings::blankBehindColon},
    {"result-first", "the result code comes in front of the text", &ModemSettings::resultFirst},
    {"ucs2", "+CSCA, +COPS and +CNUM in UCS2 until AT+CSCS=\"GSM\"", &ModemSettings::ucs2},
    {"character-set-stuck", "AT+CSCS has no effect", &ModemSettings::characterSetStuck},
    {"listing", "of a message: {location},{stat},,{length}\\r\\n{pdu}", &ModemSettings::listing},
    {"pdu-filled-to", "octets of a listed PDU, filled up with FF", &ModemSettings::pduFilledTo},
    {"lists-everything", "AT+CMGL=0 lists drafts, sent and read messages too", &ModemSettings::listsEverything},
};

// False when the text is no such value.
bool Assign(bool& value, const std::string& text) {
  value = text == "1";
  return value || text == "0";
}
bool Assign(std::string& value, const std::string& text) {
  value = Unescaped(text);
  return true;
}
bool Assign(std::vector<int>& values, const std::string& text) {
  values.clear();
  for (std::size_t start = 0; start <= text.size();) {
    const std::size_t end = std::min(text.find(',', start), text.size());
    const std::optional<int> number = NumberFrom<int>(std::string_view(text).substr(start, end - start));
    if (!number) return false;
    values.push_back(*number);
    start = end + 1;
  }
  return true;
}
template <typename Number>
bool Assign(Number& value, const std::string& text) {
  const std::optional<Number> number = NumberFrom<Number>(text);
  value = number.value_or(0);
  return number.has_value();
}

}  // namespace

std::string Unescaped(std::string_view text) {
  std::string bytes;
  for (std::size_t i = 0; i < text.size(); ++i) {
    const char next = text[i] == '\\' && i + 1 < text.size() ? text[i + 1] : '\0';
    const auto octet = next == 'x' ? tavro::OctetsFromHex(text.substr(i + 2, 2)) : std::nullopt;
    if (octet && octet->size() == 1) {
      bytes += *octet;
      i += 3;
    } else if (next == 'r' || next == 'n' || next == '\\') {
      bytes += next == 'r' ? '\r' : next == 'n' ? '\n' : '\\';
      ++i;
    } else {
      bytes += text[i];
    }
  }
  return bytes;
}

void SetModemSetting(ModemSettings& settings, const std::string& option) {
  const std::size_t equals = std::min(option.find('='), option.size());
  const std::string name = option.substr(0, equals), value = equals < option.size() ? option.substr(equals + 1) : "1";
  const auto setting =
      std::find_if(std::begin(kSettings), std::end(kSettings), [&](const Setting& each) { return each.name == name; });
  if (setting == std::end(kSettings)) throw std::runtime_error(option + ": there is no such setting");
  const bool isGood = std::visit([&](auto member) { return Assign(settings.*member, value); }, setting->member);
  if (!isGood) throw std::runtime_error(option + ": the setting takes no such value");
}

std::string DescribeSettings() {
  std::string text;
  for (const Setting& setting : kSettings) text += TwoColumns(setting.name, setting.effect);
  return text;
}

std::string TwoColumns(std::string_view name, std::string_view effect) {
  constexpr std::size_t kWidth = 22;
  const std::size_t blanks = std::max(kWidth, name.size() + 1) - name.size();
  return "  " + std::string(name) + std::string(blanks, ' ') + std::string(effect) + "\n";
}
