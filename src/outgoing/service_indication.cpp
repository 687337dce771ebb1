// The document in WBXML; two hex digits per octet:
//
//   document   = version public-id charset string-table si
//   version    = "01"                                  WBXML 1.1
//   public-id  = "05"                                  -//WAPFORUM//DTD SI 1.0//EN
//   charset    = "6A"                                  UTF-8
//   strings    = "00"                                  a string table of no octets
//   si         = "45" indication "01"                  <si>, with content
//   indication = "C6" attributes "01" text "01"        <indication>, with attributes and content
//   attributes = action href created [expires]
//   action     = "06" (signal-low) | "07" (signal-medium) | "08" (signal-high)
//   href       = start inline [domain [inline]]
//   start      = "0B" (no prefix) | "0C" (http://) | "0D" (http://www.) | "0E" (https://) | "0F" (https://www.)
//   domain     = "85" (.com/) | "86" (.edu/) | "87" (.net/) | "88" (.org/)
//   created    = "0A" date
//   expires    = "10" date
//   date       = "C3" length digits                    opaque: yyyymmddhhmm, the zero octets at its end left out
//   text       = inline
//   inline     = "03" characters "00"
#include "outgoing/service_indication.h"

#include <algorithm>
#include <cstddef>

#include "base/text.h"
#include "outgoing/encodings.h"
#include "platform/utf8.h"

namespace tavro {

namespace {

struct Token {
  std::u16string_view text;
  const char* hex;
};

// The longer prefix of two that fit comes first.
constexpr Token kPrefixes[] = {
    {u"http://www.", "0D"}, {u"http://", "0C"}, {u"https://www.", "0F"}, {u"https://", "0E"}, {u"", "0B"}};
// The first of these that occurs is taken, wherever in the address it stands.
constexpr Token kDomains[] = {{u".com/", "85"}, {u".edu/", "86"}, {u".net/", "87"}, {u".org/", "88"}};

std::u16string Lower(std::u16string_view text) {
  std::u16string lower(text);
  for (char16_t& c : lower) {
    if (c >= u'A' && c <= u'Z') c = static_cast<char16_t>(c + (u'a' - u'A'));
  }
  return lower;
}

std::string OctetsToHex(std::string_view octets) {
  std::string hex;
  for (const char octet : octets) hex += ByteToHex(static_cast<unsigned char>(octet));
  return hex;
}

// An inline string ends at its first zero octet, so characters NUL are left out.
std::string InlineString(const std::string& characters) {
  return "03" + OctetsToHex(RemoveAll(characters, std::string_view("\0", 1))) + "00";
}

// A character is written as its code; one whose code is no octet in the document's charset.
std::string InlineUrl(std::u16string_view url) {
  std::string octets;
  for (std::size_t i = 0; i < url.size();) {
    const std::size_t start = i;
    if (url[i] <= 0xFF) {
      octets += static_cast<char>(static_cast<unsigned char>(url[i++]));
    } else {
      while (i < url.size() && url[i] > 0xFF) ++i;
      octets += ToUtf8(url.substr(start, i - start));
    }
  }
  return InlineString(octets);
}

std::string Href(std::u16string_view url) {
  const std::u16string lowerUrl = Lower(url);
  const auto& prefix =
      *std::ranges::find_if(kPrefixes, [&](const Token& token) { return lowerUrl.starts_with(token.text); });
  std::u16string rest(url.substr(prefix.text.size()));
  for (const Token& domain : kDomains) {
    const std::u16string_view withoutSlash = domain.text.substr(0, domain.text.size() - 1);
    if (lowerUrl.substr(prefix.text.size()).ends_with(withoutSlash)) {
      rest += u'/';
      break;
    }
  }

  const std::u16string lower = Lower(rest);
  for (const Token& domain : kDomains) {
    const std::size_t found = lower.find(domain.text);
    if (found == std::u16string::npos) continue;
    const std::u16string_view whole(rest);
    const std::u16string_view path = whole.substr(found + domain.text.size());
    return prefix.hex + InlineUrl(whole.substr(0, found)) + domain.hex + (path.empty() ? "" : InlineUrl(path));
  }
  return prefix.hex + InlineUrl(rest);
}

std::string Decimal(int value, std::size_t digits) {
  const std::string text = std::to_string(value);
  return std::string(digits - std::min(digits, text.size()), '0') + text;
}

std::string Date(const DateTime& date) {
  std::string digits = Decimal(date.year, 4) + Decimal(date.month, 2) + Decimal(date.day, 2) + Decimal(date.hour, 2) +
                       Decimal(date.minute, 2);
  while (digits.ends_with("00")) digits.erase(digits.size() - 2);
  return "C3" + ByteToHex(static_cast<std::int16_t>(digits.size() / 2)) + digits;
}

struct Expiry {
  int count = 0;
  char unit = 'H';  // H, D or M
};

std::optional<Expiry> ParseExpiry(std::string_view text) {
  if (text.size() < 2) return std::nullopt;
  const std::string_view digits = text.substr(0, text.size() - 1);
  const char unit = Upper(text.substr(text.size() - 1))[0];
  const int most = unit == 'H' ? 24 : unit == 'D' ? 31 : unit == 'M' ? 12 : 0;
  int count = 0;
  if (digits.find_first_not_of("0123456789") != std::string_view::npos || !ParseWhole(digits, count)) {
    return std::nullopt;
  }
  if (count < 1 || count > most) return std::nullopt;
  return Expiry{count, unit};
}

}  // namespace

std::string EncodeServiceIndication(const ServiceIndication& indication) {
  std::string hex = "01056A0045C6";
  hex += ByteToHex(static_cast<std::int16_t>(indication.action + 5));
  hex += Href(indication.url);
  hex += "0A" + Date(indication.created);
  if (indication.expires) hex += "10" + Date(*indication.expires);
  return hex + "01" + InlineString(ToUtf8(indication.text)) + "0101";
}

bool IsExpiry(std::string_view expiry) { return expiry == "0" || ParseExpiry(expiry); }

std::optional<DateTime> ExpiryDate(const DateTime& created, std::string_view expiry) {
  const std::optional<Expiry> parsed = ParseExpiry(expiry);
  if (!parsed) return std::nullopt;
  DateTime date = created;
  if (parsed->unit == 'H') {
    date.hour += parsed->count;
    date.day += date.hour / 24;
    date.hour %= 24;
  } else if (parsed->unit == 'D') {
    date.day += parsed->count;
  } else {
    const int months = date.month - 1 + parsed->count;
    date.year += months / 12;
    date.month = months % 12 + 1;
    date.day = std::min(date.day, DaysInMonth(date.year, date.month));
  }
  while (date.day > DaysInMonth(date.year, date.month)) {
    date.day -= DaysInMonth(date.year, date.month);
    date.year += date.month / 12;
    date.month = date.month % 12 + 1;
  }
  // A date has four digits for the year.
  return date.year <= 9999 ? date : DateTime{9999, 12, 31, 23, 59, 59};
}

}  // namespace tavro
