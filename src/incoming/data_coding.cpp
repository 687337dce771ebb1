// By the octet's high half:
//
//   00xx  general data coding: 00, compressed, has class, alphabet (2 bits), class (2 bits)
//   01xx  the same, marked for automatic deletion
//   1100  message waiting, to be discarded: active, reserved, kind (2 bits); default alphabet
//   1101  the same, to be stored
//   1110  the same in UCS2
//   1111  data coding and class: reserved, 8 bits, class (2 bits)
#include "incoming/data_coding.h"

namespace tavro {

namespace {

using Alphabet = DataCoding::Alphabet;

constexpr Alphabet kAlphabets[] = {Alphabet::kGsm, Alphabet::kOctets, Alphabet::kUcs2, Alphabet::kGsm};
constexpr WaitingMessages::Kind kKinds[] = {WaitingMessages::Kind::kVoice, WaitingMessages::Kind::kFax,
                                            WaitingMessages::Kind::kEmail, WaitingMessages::Kind::kOther};

}  // namespace

DataCoding ReadDataCoding(int scheme) {
  DataCoding coding;
  const int low = scheme & 3;
  const int group = scheme >> 4 & 0xF;
  if (group < 8) {
    const bool compressed = (scheme & 0x20) != 0;
    coding.alphabet = compressed ? Alphabet::kOctets : kAlphabets[scheme >> 2 & 3];
    if ((scheme & 0x10) != 0) coding.messageClass = low;
  } else if (group == 0xF) {
    if ((scheme & 0x04) != 0) coding.alphabet = Alphabet::kOctets;
    coding.messageClass = low;
  } else if (group >= 0xC) {
    if (group == 0xE) coding.alphabet = Alphabet::kUcs2;
    coding.waiting = WaitingMessages{kKinds[low], (scheme & 0x08) != 0, {}};
  }
  return coding;
}

}  // namespace tavro
