// The national language tables of the GSM 7-bit alphabet (3GPP TS 23.038, A.2 and A.3).
#pragma once

#include <string_view>

namespace tavro {

// The characters of the codes from 0 in a national language's table, by the identifier of 3GPP TS 23.038, 6.2.1.2.4: 1
// Turkish, 2 Spanish, 3 Portuguese, 4 Bengali, 5 Gujarati, 6 Hindi, 7 Kannada, 8 Malayalam, 9 Oriya, 10 Punjabi, 11
// Tamil, 12 Telugu, 13 Urdu. Empty when the language has no such table or is not known; codes behind the end have no
// character, and neither has one whose character is a blank, except the blank of a locking table itself.

// In place of the default alphabet. Spanish has none.
std::u16string_view LockingTable(int language);
// In place of the extension table: the codes behind an escape.
std::u16string_view SingleShiftTable(int language);

}  // namespace tavro
