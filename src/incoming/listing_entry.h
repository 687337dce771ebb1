// One entry of the answers to AT+CMGL and AT+CMGR in PDU mode (3GPP TS 27.005, 4.1 and 4.2), in the forms that modems
// give it.
#pragma once

#include <cstdint>
#include <string_view>
#include <vector>

namespace tavro {

struct ListingEntry {
  std::string_view location;  // AT+CMGL alone
  std::string_view stat;
  std::string_view length;  // octets of the PDU without the service centre's; the last field in front of the PDU
  std::string_view pdu;     // as it stands there; empty when there is none
};

// `entry` is what stands behind "+CMGL:" or "+CMGR:", in capitals.
ListingEntry ReadListingEntry(std::string_view entry, bool hasLocation);

// Whether the answer to AT+CMGR, in capitals, says that there is nothing at the location (27.005, 3.2.5: error 321).
bool IsEmptyPlace(std::string_view answer);

// Whether a PDU of so many octets behind those of the service centre is as long as <length> says. Some modems fill a
// PDU up with octets FF, and count these or not.
bool IsAnnouncedLength(std::string_view length, int octets, int fillOctets);

// Of the hex digits, up to the first other character; a last single digit is no octet.
std::vector<std::uint8_t> ReadOctets(std::string_view digits);

}  // namespace tavro
