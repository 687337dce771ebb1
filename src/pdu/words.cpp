#include "pdu/words.h"

#include <iterator>

#include "incoming/data_coding.h"

namespace tavro {

namespace {

constexpr std::u16string_view kTypesOfNumber[] = {u"unknown type",     u"international", u"national",
                                                  u"network specific", u"subscriber",    u"alphanumeric",
                                                  u"abbreviated",      u"reserved type"};

std::u16string_view NumberingPlan(int plan) {
  switch (plan) {
    case 0:
      return u"unknown plan";
    case 1:
      return u"ISDN/telephone";
    case 3:
      return u"data plan";
    case 4:
      return u"telex plan";
    case 5:
    case 6:
      return u"service centre specific plan";
    case 8:
      return u"national plan";
    case 9:
      return u"private plan";
    case 10:
      return u"ERMES plan";
    default:
      return u"reserved plan";
  }
}

constexpr std::u16string_view kTelematicDevices[] = {u"device type of the service centre's choice",
                                                     u"telex",
                                                     u"group 3 telefax",
                                                     u"group 4 telefax",
                                                     u"voice telephone",
                                                     u"ERMES",
                                                     u"National Paging System",
                                                     u"Videotex",
                                                     u"teletex, carrier unspecified",
                                                     u"teletex in PSPDN",
                                                     u"teletex in CSPDN",
                                                     u"teletex in analog PSTN",
                                                     u"teletex in digital ISDN",
                                                     u"UCI",
                                                     u"reserved",
                                                     u"reserved",
                                                     u"message handling facility",
                                                     u"X.400 based message handling system",
                                                     u"Internet electronic mail"};

constexpr std::u16string_view kElements[] = {u"concatenated short messages, 8-bit reference number",
                                             u"special SMS message indication",
                                             u"reserved",
                                             u"not used, as it may be taken for a line feed",
                                             u"application port addressing scheme, 8 bit address",
                                             u"application port addressing scheme, 16 bit address",
                                             u"SMSC control parameters",
                                             u"UDH source indicator",
                                             u"concatenated short message, 16-bit reference number",
                                             u"wireless control message protocol",
                                             u"text formatting",
                                             u"predefined sound",
                                             u"user defined sound",
                                             u"predefined animation",
                                             u"large animation",
                                             u"small animation",
                                             u"large picture",
                                             u"small picture",
                                             u"variable picture",
                                             u"user prompt indicator",
                                             u"extended object",
                                             u"reused extended object",
                                             u"compression control",
                                             u"object distribution indicator",
                                             u"standard WVG object",
                                             u"character size WVG object",
                                             u"extended object data request command",
                                             u"reserved for EMS",
                                             u"reserved for EMS",
                                             u"reserved for EMS",
                                             u"reserved for EMS",
                                             u"reserved for EMS",
                                             u"RFC 5322 e-mail header",
                                             u"hyperlink format element",
                                             u"reply address element",
                                             u"enhanced voice mail information",
                                             u"national language single shift",
                                             u"national language locking shift"};

constexpr std::u16string_view kLanguages[] = {u"default alphabet", u"Turkish", u"Spanish", u"Portuguese", u"Bengali",
                                              u"Gujarati",         u"Hindi",   u"Kannada", u"Malayalam",  u"Oriya",
                                              u"Punjabi",          u"Tamil",   u"Telugu",  u"Urdu"};

std::u16string_view NameOf(WaitingMessages::Kind kind) {
  using Kind = WaitingMessages::Kind;
  switch (kind) {
    case Kind::kVoice:
      return u"voice messages";
    case Kind::kFax:
      return u"fax messages";
    case Kind::kEmail:
      return u"e-mail messages";
    case Kind::kVideo:
      return u"video messages";
    case Kind::kOther:
      break;
  }
  return u"other messages";
}

}  // namespace

std::u16string FromAscii(std::string_view text) { return {text.begin(), text.end()}; }

std::u16string Decimal(std::size_t number) { return FromAscii(std::to_string(number)); }

std::u16string Counted(std::size_t number, std::u16string_view what) {
  std::u16string text = Decimal(number);
  text += u' ';
  text += what;
  if (number != 1) text += u's';
  return text;
}

std::u16string TypeOfAddressWords(int type) {
  const int typeOfNumber = type >> 4 & 7;
  std::u16string text(kTypesOfNumber[typeOfNumber]);
  constexpr int kAlphanumeric = 5;
  if (typeOfNumber == kAlphanumeric) {
    text += u", GSM alphabet";
  } else {
    text += u", ";
    text += NumberingPlan(type & 0xF);
  }
  if ((type & 0x80) == 0) text += u", and the highest bit is not set";
  return text;
}

std::u16string ProtocolWords(int protocol) {
  const auto low = static_cast<std::size_t>(protocol & 0x1F);
  if (protocol == 0) return u"SME-to-SME";
  if (protocol < 0x20) return u"SME-to-SME, protocol " + Decimal(low);
  if (protocol < 0x40) {
    std::u16string text = u"telematic interworking: ";
    if (low >= 0x18) return text + (low == 0x1F ? u"mobile station" : u"service centre specific");
    return text.append(low < std::size(kTelematicDevices) ? kTelematicDevices[low] : u"reserved");
  }
  switch (protocol) {
    case 0x40:
      return u"short message type 0";
    case 0x48:
      return u"device triggering short message";
    case 0x5E:
      return u"enhanced message service (obsolete)";
    case 0x5F:
      return u"return call message";
    case 0x7C:
      return u"ANSI-136 R-DATA";
    case 0x7D:
      return u"ME data download";
    case 0x7E:
      return u"ME de-personalization short message";
    case 0x7F:
      return u"(U)SIM data download";
    default:
      break;
  }
  if (protocol >= 0x41 && protocol <= 0x47) return u"replace short message type " + Decimal(low);
  return protocol >= 0xC0 ? u"service centre specific use" : u"reserved";
}

std::u16string DataCodingWords(int scheme) {
  constexpr std::u16string_view kAlphabets[] = {u"GSM 7-bit default alphabet", u"8 bit data", u"UCS2"};
  const DataCoding coding = ReadDataCoding(scheme);
  const int group = scheme >> 4 & 0xF;
  std::u16string text(kAlphabets[static_cast<std::size_t>(coding.alphabet)]);
  if (group < 8) {
    if ((scheme & 0x20) != 0) text = u"compressed";
    if ((scheme & 0x2C) == 0x0C) text += u" (reserved alphabet)";
    if ((scheme & 0x40) != 0) text += u", marked for automatic deletion";
  } else if (group < 0xC) {
    text += u" (reserved coding group)";
  }
  if (coding.messageClass) {
    constexpr std::u16string_view kClasses[] = {u"shown at once", u"ME-specific", u"(U)SIM-specific", u"TE-specific"};
    const auto number = static_cast<std::size_t>(*coding.messageClass);
    text += u", class " + Decimal(number) + u" (" + std::u16string(kClasses[number]) + u")";
  }
  if (coding.waiting) {
    text += u", ";
    text += WaitingWords(*coding.waiting);
    if (group == 0xC) text += u", to be discarded";
  }
  return text;
}

std::u16string ValidityWords(std::string_view period) {
  const auto unit = [&]() -> std::u16string_view {
    switch (period.back()) {
      case 'M':
        return u" minute";
      case 'H':
        return u" hour";
      case 'D':
        return u" day";
      default:
        return u" week";
    }
  };
  const std::string_view number = period.substr(0, period.size() - 1);
  std::u16string text = FromAscii(number);
  text += unit();
  if (number != "1") text += u's';
  return text;
}

std::u16string_view ElementWords(int identifier) {
  const auto index = static_cast<std::size_t>(identifier);
  if (index < std::size(kElements)) return kElements[index];
  if (identifier >= 0x70 && identifier <= 0x7F) return u"(U)SIM toolkit security headers";
  if (identifier >= 0x80 && identifier <= 0x9F) return u"SME-to-SME specific use";
  if (identifier >= 0xC0 && identifier <= 0xDF) return u"service centre specific use";
  return u"reserved";
}

std::u16string WaitingWords(const WaitingMessages& waiting) {
  std::u16string text(NameOf(waiting.kind));
  if (!waiting.active) return text.insert(0, u"no ") + u" wait";
  text += u" wait";
  return waiting.count ? text + u": " + Decimal(static_cast<std::size_t>(*waiting.count)) : text;
}

std::u16string LanguageWords(int language) {
  const auto index = static_cast<std::size_t>(language);
  return index < std::size(kLanguages) ? std::u16string(kLanguages[index]) : u"unknown language " + Decimal(index);
}

}  // namespace tavro
