// PDUs as people have them: alone, or as a modem's answer shows them.
#pragma once

#include <string>
#include <vector>

#include "tavro/pdu.h"

// A PDU and what the line in front of it says: "+CMGL: 3,1,,24", "+CMGR: 1,,24", "+CMT: ,24" or "+CDS: 24".
struct PduText {
  std::string hex;
  std::string length = {};  // octets behind the service centre's address; empty when there is no such line
  tavro::PduDirection direction = tavro::PduDirection::kAny;
};

// Of the arguments, each a PDU; "-" stands for those on standard input, one a line. Of a dialogue that stands there the
// commands, results and other lines of the modem are passed over.
std::vector<PduText> ReadPdus(const std::vector<std::string>& arguments);

// With that length compared.
tavro::DecodedPdu Decode(const PduText& text, const tavro::DecodeOptions& options);
