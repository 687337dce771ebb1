// What the fields of a PDU say, in words (3GPP TS 23.040 and 23.038).
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "tavro/message.h"

namespace tavro {

std::u16string FromAscii(std::string_view text);
std::u16string Decimal(std::size_t number);
// "1 octet", "2 octets".
std::u16string Counted(std::size_t number, std::u16string_view what);

// Of an address (23.040, 9.1.2.5).
std::u16string TypeOfAddressWords(int type);
// TP-PID (9.2.3.9).
std::u16string ProtocolWords(int protocol);
// TP-DCS (23.038, 4).
std::u16string DataCodingWords(int scheme);
// Of the text of a validity period, "12H".
std::u16string ValidityWords(std::string_view period);
// An information element's identifier (9.2.3.24).
std::u16string_view ElementWords(int identifier);
// "voice messages wait: 3".
std::u16string WaitingWords(const WaitingMessages& waiting);
// Of a national language's identifier (23.038, 6.2.1.2.4).
std::u16string LanguageWords(int language);

}  // namespace tavro
