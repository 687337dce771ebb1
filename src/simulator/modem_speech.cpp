#include "simulator/modem_speech.h"

#include <algorithm>
#include <iterator>
#include <limits>

namespace tavro {

namespace {

using Piece = ModemReply::Piece;
using Moment = Interjection::Moment;

constexpr std::string_view kLineEnd = "\r\n";

void ReplaceLineEnds(std::string& bytes, std::string_view lineEnd) {
  if (lineEnd == kLineEnd) return;
  for (std::size_t at = bytes.find(kLineEnd); at != std::string::npos; at = bytes.find(kLineEnd, at + lineEnd.size())) {
    bytes.replace(at, kLineEnd.size(), lineEnd);
  }
}

std::vector<Piece> Cut(const std::vector<Piece>& pieces, std::size_t size, std::int64_t gapMs) {
  std::vector<Piece> cut;
  for (const Piece& piece : pieces) {
    for (std::size_t start = 0; start < piece.bytes.size(); start += size) {
      cut.push_back({cut.empty() ? 0 : gapMs, piece.bytes.substr(start, size)});
      if (start == 0) cut.back().delayMs += piece.delayMs;
    }
  }
  return cut;
}

// Pieces that come at once are one.
std::vector<Piece> Joined(std::vector<Piece> pieces) {
  std::vector<Piece> joined;
  for (Piece& piece : pieces) {
    if (joined.empty() || piece.delayMs > 0) {
      joined.push_back(std::move(piece));
    } else {
      joined.back().bytes += piece.bytes;
    }
  }
  return joined;
}

// Where a line of an information text begins; nothing when it has fewer lines.
std::optional<std::size_t> LineStart(std::string_view text, int line) {
  std::size_t start = text.starts_with(kLineEnd) ? kLineEnd.size() : 0;
  for (; line > 1 && start < text.size(); --line) start = std::min(text.find('\n', start), text.size() - 1) + 1;
  return start < text.size() ? std::optional(start) : std::nullopt;
}

void AppendInterjection(std::vector<Piece>& pieces, const Interjection& interjection) {
  std::string bytes = "\r\n" + interjection.text + "\r\n";
  const std::size_t half = interjection.gapMs > 0 ? bytes.size() / 2 : bytes.size();
  pieces.push_back({0, bytes.substr(0, half)});
  if (half < bytes.size()) pieces.push_back({interjection.gapMs, bytes.substr(half)});
}

}  // namespace

std::string ModemSpeech::Line(std::string_view line) const {
  std::string bytes = "\r\n" + std::string(line) + "\r\n";
  ReplaceLineEnds(bytes, settings_.lineEnd);
  return bytes;
}

// The answer's pieces with the interjections that apply.
ModemSpeech::Pieces ModemSpeech::Compose(std::string_view command, const ModemReply& reply, ModemAnswer own) {
  Pieces pieces = reply.pieces;
  if (!reply.own) own = {};
  if (!reply.hasResult) own.result.clear();
  std::vector<const Interjection*> beforeResult, behind;
  Pieces before, text;
  std::size_t textDone = 0;
  for (auto& [pattern, interjection] : interjections_) {
    if (!pattern.Applies(command)) continue;
    const std::optional<std::size_t> start = LineStart(own.text, interjection.line);
    if (interjection.moment == Moment::kBeforeLine && (!start || *start < textDone)) continue;
    if (interjection.moment == Moment::kBeforeResult && own.result.empty()) continue;
    pattern.Count();
    switch (interjection.moment) {
      case Moment::kBefore:
        AppendInterjection(before, interjection);
        break;
      case Moment::kBeforeLine:
        text.push_back({0, own.text.substr(textDone, *start - textDone)});
        textDone = *start;
        AppendInterjection(text, interjection);
        break;
      case Moment::kBeforeResult:
        beforeResult.push_back(&interjection);
        break;
      case Moment::kBehind:
        behind.push_back(&interjection);
        break;
    }
  }
  const bool hasText = !own.text.empty();
  text.push_back({0, textDone == 0 ? std::move(own.text) : own.text.substr(textDone)});
  Pieces result;
  for (const Interjection* interjection : beforeResult) AppendInterjection(result, *interjection);
  result.push_back({hasText ? reply.resultDelayMs : 0, std::move(own.result)});
  if (settings_.resultFirst) std::swap(text, result);

  pieces.insert(pieces.begin(), before.begin(), before.end());
  for (Pieces* part : {&text, &result}) std::move(part->begin(), part->end(), std::back_inserter(pieces));
  for (const Interjection* interjection : behind) AppendInterjection(pieces, *interjection);
  pieces = Joined(std::move(pieces));
  for (Piece& piece : pieces) ReplaceLineEnds(piece.bytes, settings_.lineEnd);
  if (reply.pieceSize > 0) return Cut(pieces, reply.pieceSize, reply.gapMs);
  return settings_.pieceSize > 0 ? Cut(pieces, settings_.pieceSize, settings_.pieceGapMs) : pieces;
}

void ModemSpeech::Answer(std::string_view command, const ModemReply& reply, ModemAnswer own, std::int64_t nowMs) {
  Pieces pieces = Compose(command, reply, std::move(own));
  std::int64_t due = std::max(nowMs + settings_.latencyMs, answeredMs_) + reply.delayMs;
  if (reply.repeatMs > 0) {
    std::string bytes;
    for (const Piece& piece : pieces) bytes += piece.bytes;
    repeated_.push_back({std::move(bytes), reply.repeatMs, due, true});
    return;
  }
  std::size_t left = reply.lineLostAfter;
  for (Piece& piece : pieces) {
    due += piece.delayMs;
    const bool loses = left <= piece.bytes.size();
    if (loses) piece.bytes.resize(left);
    if (left != ModemReply::npos) left -= piece.bytes.size();
    const bool endsWithinLine = &piece != &pieces.back() && !piece.bytes.ends_with('\n');
    if (loses || !piece.bytes.empty()) output_.Add({due, std::move(piece.bytes), endsWithinLine, loses});
    if (loses) break;
  }
  answeredMs_ = due;
}

void ModemSpeech::Interrupt() {
  std::erase_if(repeated_, [](const Repeated& repeated) { return repeated.isAnswer; });
}

const ModemSpeech::Repeated* ModemSpeech::NextRepeated() const {
  const auto next = std::min_element(repeated_.begin(), repeated_.end(),
                                     [](const Repeated& a, const Repeated& b) { return a.nextMs < b.nextMs; });
  if (next == repeated_.end()) return nullptr;
  const std::optional<std::int64_t> other = output_.Next();
  return !other || (next->nextMs < *other && !withinLine_) ? &*next : nullptr;
}

std::optional<std::int64_t> ModemSpeech::Next() const {
  const Repeated* repeated = NextRepeated();
  return repeated ? std::optional(repeated->nextMs) : output_.Next();
}

std::string ModemSpeech::Take(std::int64_t nowMs, bool& lineLost) {
  constexpr std::int64_t kFarAway = std::numeric_limits<std::int64_t>::max() / 2;
  std::string taken;
  while (!lineLost) {
    const std::optional<std::int64_t> next = Next();
    if (!next || *next > nowMs) break;
    if (const Repeated* due = NextRepeated()) {
      Repeated& repeated = repeated_[static_cast<std::size_t>(due - repeated_.data())];
      taken += repeated.bytes;
      const std::int64_t until = std::min(nowMs, kFarAway);
      repeated.nextMs += std::max<std::int64_t>((until - repeated.nextMs) / repeated.everyMs + 1, 1) * repeated.everyMs;
    } else {
      ModemOutput::Piece piece = output_.Take();
      taken += piece.bytes;
      withinLine_ = piece.endsWithinLine;
      lineLost = piece.lineLostBehind;
    }
  }
  return taken;
}

void ModemSpeech::Clear() {
  output_.Clear();
  Interrupt();
  answeredMs_ = 0;
  withinLine_ = false;
}

}  // namespace tavro
