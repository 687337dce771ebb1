#include "simulator/text_mode.h"

#include <algorithm>
#include <iterator>

#include "simulator/character_set.h"
#include "simulator/gsm_text.h"
#include "simulator/looped_message.h"
#include "simulator/network_time.h"

namespace tavro {

namespace {

using Kind = MessageFields::Kind;

constexpr std::string_view kStats[] = {"REC UNREAD", "REC READ", "STO UNSENT", "STO SENT", "ALL"};
constexpr std::uint8_t kHasHeader = 0x40;

std::string Number(int number) { return std::to_string(number); }
std::string Stat(const StoredMessage& message) { return "\"" + std::string(kStats[message.stat & 3]) + "\""; }
std::string Time(std::string_view octets) { return "\"" + TimeText(octets) + "\""; }

std::string Address(const ModemState& modem, const MessageFields& fields) {
  return Quoted(modem, AddressText(fields.address));
}
std::string AddressType(std::string_view field) { return Number(static_cast<std::uint8_t>(field[1])); }

// <sca>,<tosca>
std::string ServiceCentre(const ModemState& modem, const MessageFields& fields) {
  const std::string& number = modem.settings.serviceCentre;
  std::string field = fields.serviceCentre;
  if (field.size() < 2) field = AddressField(number);
  if (fields.serviceCentre.size() >= 2) {  // its length counts octets
    const bool isOdd = (static_cast<std::uint8_t>(field.back()) & 0xF0) == 0xF0;
    field[0] = static_cast<char>((field.size() - 2) * 2 - (isOdd ? 1 : 0));
  }
  return Quoted(modem, AddressText(field)) + "," + AddressType(field);
}

std::string Data(const ModemState& modem, const MessageFields& fields) {
  if (!HasSeptets(fields.coding) || fields.HasHeader()) return HexFromOctets(fields.userData);
  return Encoded(modem, Utf8FromSeptets(UnpackSeptets(fields.userData, static_cast<std::size_t>(fields.length))));
}

// <vp>: a number, or a time in quotes.
std::string Validity(const MessageFields& fields) {
  if (fields.validity.size() == 1) return Number(static_cast<std::uint8_t>(fields.validity[0]));
  return fields.validity.empty() ? "" : Time(fields.validity);
}

std::string Details(const ModemState& modem, const MessageFields& fields) {
  std::string text = "," + AddressType(fields.address) + "," + Number(fields.firstOctet) + "," +
                     Number(fields.protocol) + "," + Number(fields.coding) + ",";
  if (fields.kind == Kind::kSubmit) text += Validity(fields) + ",";
  return text + ServiceCentre(modem, fields) + "," + Number(fields.length);
}

std::string Report(const ModemState& modem, const MessageFields& fields) {
  return Number(fields.firstOctet) + "," + Number(fields.reference) + "," + Address(modem, fields) + "," +
         AddressType(fields.address) + "," + Time(fields.timeStamp) + "," + Time(fields.discharge) + "," +
         Number(fields.status);
}

// What is no message is shown as it is.
std::string Unreadable(const StoredMessage& message) { return Stat(message) + ",\"\",,\r\n" + message.pdu; }

// The user data with its length; nothing when the text is none, or too long.
std::optional<std::string> UserData(const ModemState& modem, std::string_view text) {
  constexpr std::size_t kMaxSeptets = 160, kMaxOctets = 140;
  const ModemState::TextParameters& parameters = modem.textParameters;
  const bool hasSeptets = HasSeptets(parameters.coding);
  std::size_t length = 0;
  std::string data;
  if (hasSeptets && (parameters.firstOctet & kHasHeader) == 0) {
    const std::optional<std::string> decoded = Decoded(modem, text);
    if (!decoded) return std::nullopt;
    const std::string septets = NearestSeptets(*decoded);
    if (septets.size() > kMaxSeptets) return std::nullopt;
    length = septets.size();
    data = PackSeptets(septets);
  } else {
    const std::optional<std::string> octets = OctetsFromHex(text);
    if (!octets || octets->size() > kMaxOctets) return std::nullopt;
    data = *octets;
    length = hasSeptets ? data.size() * 8 / 7 : data.size();
  }
  return static_cast<char>(length) + data;
}

}  // namespace

std::optional<std::string_view> StatText(int stat) {
  const auto index = static_cast<std::size_t>(stat);
  return index < std::size(kStats) ? std::optional(kStats[index]) : std::nullopt;
}

std::optional<int> StatFromText(std::string_view text) {
  const auto found = std::find(std::begin(kStats), std::end(kStats), text);
  if (found == std::end(kStats)) return std::nullopt;
  return static_cast<int>(found - std::begin(kStats));
}

std::string ReadInTextMode(const ModemState& modem, const StoredMessage& message) {
  const std::optional<MessageFields> fields = ParseMessage(message.pdu);
  if (!fields) return Unreadable(message);
  if (fields->kind != Kind::kSubmit) return Stat(message) + "," + GivenInTextMode(modem, *fields);
  return Stat(message) + "," + Address(modem, *fields) + "," +
         (modem.Option("+CSDH") == 1 ? Details(modem, *fields) : "") + "\r\n" + Data(modem, *fields);
}

std::string ListedInTextMode(const ModemState& modem, const StoredMessage& message) {
  const std::optional<MessageFields> fields = ParseMessage(message.pdu);
  if (!fields) return Unreadable(message);
  if (fields->kind == Kind::kStatusReport) return Stat(message) + "," + Report(modem, *fields);
  std::string text = Stat(message) + "," + Address(modem, *fields) + ",,";
  if (fields->kind == Kind::kDeliver) text += Time(fields->timeStamp);
  if (modem.Option("+CSDH") == 1) text += "," + AddressType(fields->address) + "," + Number(fields->length);
  return text + "\r\n" + Data(modem, *fields);
}

std::string GivenInTextMode(const ModemState& modem, const MessageFields& fields) {
  if (fields.kind == Kind::kStatusReport) return Report(modem, fields);
  return Address(modem, fields) + ",," + Time(fields.timeStamp) +
         (modem.Option("+CSDH") == 1 ? Details(modem, fields) : "") + "\r\n" + Data(modem, fields);
}

std::optional<std::string> MakeSubmit(const ModemState& modem, std::string_view number, std::string_view text) {
  const ModemState::TextParameters& parameters = modem.textParameters;
  const std::optional<std::string> userData = UserData(modem, text);
  if (!userData) return std::nullopt;
  std::string pdu(1, '\0');  // the service centre of AT+CSCA
  pdu += {static_cast<char>(parameters.firstOctet), '\0'};
  pdu += AddressField(number);
  pdu += {static_cast<char>(parameters.protocol), static_cast<char>(parameters.coding)};
  return HexFromOctets(pdu + parameters.validity + *userData);
}

}  // namespace tavro
