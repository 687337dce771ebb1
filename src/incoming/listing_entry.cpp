//   entry   = [ location "," ] stat "," [ [ alpha ] "," ] length ( line end | "," | " " ) pdu [ line end ]
//   alpha   = a text in quotes, in which anything may stand
//
// A line ends in any mixture of carriage returns and line feeds.
#include "incoming/listing_entry.h"

#include <algorithm>

#include "base/text.h"
#include "incoming/user_data.h"

namespace tavro {

namespace {

constexpr std::string_view kLineEnd = "\r\n";
constexpr std::size_t kMaxLengthDigits = 4;  // what is longer is no <length>

std::string_view TakeLine(std::string_view& rest) {
  rest.remove_prefix(std::min(rest.find_first_not_of(kLineEnd), rest.size()));
  const std::string_view line = rest.substr(0, rest.find_first_of(kLineEnd));
  rest.remove_prefix(line.size());
  return Trim(line);
}

// The PDU at the end of the entry's first line.
std::string_view PduOnSameLine(std::string_view line) {
  const std::string_view last = line.substr(line.find_last_of(", \"") + 1);
  const bool isHex = std::all_of(last.begin(), last.end(), [](char c) { return HexDigitValue(c) >= 0; });
  return isHex && last.size() > kMaxLengthDigits ? last : std::string_view();
}

}  // namespace

ListingEntry ReadListingEntry(std::string_view entry, bool hasLocation) {
  ListingEntry result;
  const std::string_view header = TakeLine(entry);
  std::string_view rest = header;
  const auto takeField = [&rest] {
    const std::string_view field = rest.substr(0, rest.find(','));
    rest.remove_prefix(std::min(field.size() + 1, rest.size()));
    return Trim(field);
  };
  if (hasLocation) result.location = takeField();
  result.stat = takeField();
  result.pdu = PduOnSameLine(header);
  std::string_view fields = header;
  if (result.pdu.empty()) {
    result.pdu = TakeLine(entry);
  } else {
    fields = header.substr(0, header.size() - result.pdu.size());
    fields = fields.substr(0, std::min(fields.find_last_not_of(", ") + 1, fields.size()));
  }
  result.length = Trim(fields.substr(fields.rfind(',') + 1));
  if (result.pdu == "OK") result.pdu = {};
  return result;
}

bool IsEmptyPlace(std::string_view answer) {
  return Contains(answer, "+CMS ERROR:") && (Contains(answer, "321") || Contains(answer, "INVALID MEMORY INDEX"));
}

bool IsAnnouncedLength(std::string_view length, int octets, int fillOctets) {
  int announced = 0;
  return ParseWhole(length, announced) && announced <= octets && announced >= octets - fillOctets;
}

std::vector<std::uint8_t> ReadOctets(std::string_view digits) {
  std::vector<std::uint8_t> octets;
  octets.reserve(digits.size() / 2);
  for (std::size_t i = 0; i + 1 < digits.size(); i += 2) {
    const int high = HexDigitValue(digits[i]), low = HexDigitValue(digits[i + 1]);
    if (high < 0 || low < 0) break;
    octets.push_back(static_cast<std::uint8_t>(high * 16 + low));
  }
  return octets;
}

}  // namespace tavro
