#include "ledger.h"

#include <numeric>

#include "simulator/gsm_text.h"
#include "simulator/looped_message.h"

namespace tavro::lives {

namespace {

constexpr std::string_view kKinds = "spr";

bool IsDigit(char c) { return c >= '0' && c <= '9'; }

}  // namespace

std::string MakeText(char kind, int step, bool isLong, bool isUcs2) {
  const std::size_t size = !isLong ? 9 : isUcs2 ? 140 : 330;
  std::string text;
  for (int count = 0; text.empty() || text.size() < size; ++count) {
    text += kind + std::to_string(step) + "." + std::to_string(count) + (isUcs2 ? "\u0416 " : " ");
  }
  text.pop_back();
  return text;
}

std::string NameOf(std::string_view piece) {
  for (std::size_t start = 0; start < piece.size(); ++start) {
    if (kKinds.find(piece[start]) == std::string_view::npos) continue;
    std::size_t end = start + 1;
    while (end < piece.size() && IsDigit(piece[end])) ++end;
    if (end > start + 1 && end < piece.size() && piece[end] == '.')
      return std::string(piece.substr(start, end - start));
  }
  return {};
}

std::optional<PduText> ReadPdu(std::string_view pdu) {
  const std::optional<MessageFields> fields = ParseMessage(pdu);
  if (!fields) return {};
  PduText read{fields->kind, {}, fields->reference};
  if (fields->kind == MessageFields::Kind::kStatusReport) return read;
  const auto size = static_cast<std::size_t>(fields->length);
  const std::size_t header = fields->HasHeader() && !fields->userData.empty()
                                 ? std::size_t{1} + static_cast<unsigned char>(fields->userData[0])
                                 : 0;
  if (header > fields->userData.size()) return {};
  const std::string body = fields->userData.substr(header);
  if (HasSeptets(fields->coding)) {
    const std::size_t septets = (header * 8 + 6) / 7;
    if (septets > size) return {};
    read.text = Utf8FromSeptets(UnpackSeptets(body, size - septets, septets * 7 - header * 8));
  } else {
    read.text = (fields->coding & 0x0C) == 8 ? Utf8FromUcs2(body) : body;
  }
  return read;
}

bool IsNextPart(const Sent& sent, std::string_view piece) {
  const std::string before = std::accumulate(sent.parts.begin(), sent.parts.end(), std::string());
  return !piece.empty() && std::string_view(sent.text).substr(before.size()).starts_with(piece);
}

bool IsWhole(const Sent& sent) {
  return std::accumulate(sent.parts.begin(), sent.parts.end(), std::string()) == sent.text;
}

}  // namespace tavro::lives
