// Any text through the encoder and the decoder, in a PDU whose header is written by hand.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>

#include "incoming/deliver_decoding.h"
#include "outgoing/encodings.h"
#include "simulator/simulated_line.h"

namespace tavro {
namespace {

// What a coding makes of a text: "?" for what the GSM alphabet lacks, the low octet of each unit.
std::u16string Sendable(const std::u16string& text, int coding) {
  std::u16string result;
  for (const char16_t unit : text) {
    const bool isLacking = coding == 7 && ToGsmAlphabet({&unit, 1}) == u"?";
    result += isLacking ? u'?' : coding == 8 ? static_cast<char16_t>(unit & 0xFF) : unit;
  }
  return result;
}

void CheckText(std::u16string text, int coding, bool isPart) {
  const std::size_t longest = coding == 7   ? (isPart ? 153 : 160)
                              : coding == 8 ? (isPart ? 134 : 140)
                                            : (isPart ? 67 : 70);
  std::u16string codes;
  for (;; text.pop_back()) {
    codes = coding == 7 ? ToGsmAlphabet(text) : text;
    if (codes.size() <= longest) break;
  }
  const std::string header = isPart ? "050003070201" : "";
  const std::size_t headerLength = !isPart ? 0 : coding == 7 ? 7 : 6;
  const std::size_t length = headerLength + codes.size() * (coding == 16 ? 2 : 1);
  std::string userData = EncodeUserData(codes, coding, isPart && coding == 7 ? "0" : "");
  if (isPart && coding == 7 && codes.empty()) userData = "00";  // the fill bit alone
  const std::string tpdu = std::string(isPart ? "44" : "04") + "0C9194711032547600" +
                           (coding == 7   ? "00"
                            : coding == 8 ? "04"
                                          : "08") +
                           "42305041709040" + ByteToHex(static_cast<std::int16_t>(length)) + header + userData;
  const std::string entry = "7,1,," + std::to_string(tpdu.size() / 2) + "\r\n0791947101670000" + tpdu;
  static const DateNames names = [] {
    SimulatedLine line;
    return LocalDateNames(line);
  }();
  const DecodedEntry decoded = DecodeStoredMessage(entry, names);
  if (decoded.action != DecodedEntry::Action::kStore || !decoded.remark.empty() ||
      decoded.record.content->text != Sendable(text, coding)) {
    std::abort();
  }
}

}  // namespace
}  // namespace tavro

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  std::u16string text(size / 2, u' ');
  if (!text.empty()) std::memcpy(text.data(), data, text.size() * 2);
  text.resize(std::min<std::size_t>(text.size(), 200));
  for (const int coding : {7, 8, 16}) {
    for (const bool isPart : {false, true}) tavro::CheckText(text, coding, isPart);
  }
  return 0;
}
