// What has to hold behind each call.
#include <algorithm>
#include <initializer_list>

#include "life_run.h"
#include "platform/utf8.h"
#include "simulator/modem_deed.h"

namespace tavro::lives {

namespace {

using MessageKind = MessageFields::Kind;

bool IsPartOf(const std::string& piece, const std::vector<std::string>& texts) {
  return !piece.empty() && std::any_of(texts.begin(), texts.end(),
                                       [&](const std::string& text) { return text.find(piece) != std::string::npos; });
}

}  // namespace

void LifeRun::Demand(bool holds, std::string_view kind, const std::string& what, Lie excuse) {
  if (holds) return;
  const bool isExcused = (excuse == Lie::kNow && lied_) || (excuse == Lie::kEver && line_->HasLied());
  const std::string_view letter = ClassicLetter(kind);
  if ((!isExcused && letter.empty()) || life_.isStrict) throw Violation{std::string(kind), what};
  ++outcome_.exempted[isExcused ? "the line lied: " + std::string(kind) : "classic: " + std::string(letter)];
}

// What the classic manner is known for, and programs rely on: it explains some of what no program wants.
std::string_view LifeRun::ClassicLetter(std::string_view kind) const {
  if (life_.dialogue != Dialogue::kClassic) return {};
  const auto isOneOf = [&](std::initializer_list<std::string_view> kinds) {
    return std::find(kinds.begin(), kinds.end(), kind) != kinds.end();
  };
  if (kind == "deleted-reading") return "what is no message, or has another header, is deleted while reading";
  if (life_[Trait::kEchoStuck] != 0 && isOneOf({"final-send", "final-arrival"}))
    return "beside an echo the prompt is none";
  if (life_[Trait::kWideReferences] != 0 && kind == "not-shown") return "a message with another header is not shown";
  if (life_[Trait::kListing] != 0 && isOneOf({"not-shown", "final-arrival"})) {
    return "a PDU on the line of its header is not read";
  }
  if (life_[Trait::kPieceSize] > 0 && kind == "time") return "an answer is read for as long as it comes";
  if (memoryDoubt_ && kind == "not-shown") return "a memory that was not answered for is read";
  // Whole seconds: up to one less.
  const bool comesInPieces = life_[Trait::kPieceSize] > 0 && life_[Trait::kPieceGap] >= 10;
  const bool isSlow =
      !isHealed_ && (comesInPieces || life_[Trait::kLatency] + life_[Trait::kSendLatency] + 1500 > timeout_);
  if ((isSlow || isDisturbed_) && isOneOf({"sent-twice", "sent-late", "false-failure"})) {
    return "a message whose result did not come is sent again";
  }
  if (isDisturbed_ && isOneOf({"not-shown", "false-answer", "false-references", "false-success", "error-code"})) {
    return "what came beside an answer is taken into it";
  }
  if (isSlow && isOneOf({"not-shown", "false-answer", "false-references"})) {
    return "an answer that is late is taken for the next one";
  }
  return {};
}

std::vector<std::string> LifeRun::Shown() {
  std::vector<std::string> texts;
  for (auto& message : *sms_.Inbox()) texts.push_back(ToUtf8(message.Text()));
  return texts;
}

const std::string& LifeRun::WholeText(std::string_view piece) const {
  static const std::string kNone;
  const auto found = texts_.find(NameOf(piece));
  return found == texts_.end() ? kNone : found->second;
}

// Timeout counts "from the last octet that came of the answer", so nothing is silent for longer, but the result of a
// message (180 seconds), the network's answer to a code and the search for a network (60 seconds each), the wait that
// was asked for, and pauses of up to 3.5 seconds in a few commands, 12 behind a restart. "A modem that never stops is
// given ten times Timeout more, 10 seconds at least": the most for each command. How many commands a call has is not
// promised; that it ends is.
void LifeRun::CheckTime(const Call& call) {
  constexpr std::int64_t kPauses = 5000, kAfterPin = 15000, kRestart = 7000, kMaxLines = 500;
  const FaultyLine::Traffic& traffic = call.traffic;
  std::int64_t silence = std::max<std::int64_t>(timeout_, call.limit);
  if (life_.dialogue == Dialogue::kClassic && life_[Trait::kPin] != 0) silence = std::max(silence, kAfterPin);
  if ((life_[Trait::kRecovery] & 2) != 0) silence += kRestart;
  if (traffic.pdus > 0) silence = std::max<std::int64_t>(silence, 180000);
  if (traffic.searchesNetwork) silence = std::max<std::int64_t>(silence, 60000);
  if (call.name == "SendUSSD") silence = 2 * std::max<std::int64_t>(timeout_, 60000);  // the result, the answer
  Demand(traffic.longestSilence <= silence + kPauses, "silence",
         call.name + " " + std::to_string(traffic.longestSilence) + " ms", Lie::kNow);
  const std::int64_t perLine = timeout_ + std::max<std::int64_t>(timeout_ * 10, 10000) + kPauses;
  const std::int64_t most =
      call.limit + silence + kPauses + traffic.lines * perLine + traffic.pdus * 180000 + traffic.opened * kPauses;
  Demand(call.ms <= most, "time", call.name + " " + std::to_string(call.ms) + " ms");
  Demand(traffic.lines <= kMaxLines, "endless", call.name + " " + std::to_string(traffic.lines) + " commands");
}

// Three refusals lock the SIM. In the prompt manner none follows one that was heard.
void LifeRun::CheckPin(int refusals, bool isHeard) {
  const bool isLimited = pinIsRefused_ && life_.dialogue == Dialogue::kPrompt;
  Demand(refusals <= (isLimited ? 0 : 1), "refused-pins", std::to_string(refusals));
  pinIsRefused_ = pinIsRefused_ || isHeard;
}

// Of what the modem did during the call, nothing may go beyond what was asked for.
void LifeRun::CheckDeeds(const Call& call) {
  deletedNow_.clear();
  Demand(sms_.IsConnected() == line_->IsOpen(1), "handle", "IsConnected is wrong");
  const bool isVague =
      call.name.starts_with("Wait") || call.name == "StatusReports" || call.name.starts_with("Delivery");
  Demand(isVague || call.succeeded == (call.code == 0), "error-code", call.name + " " + std::to_string(call.code));
  for (; deedsSeen_ < modem_.Deeds().size(); ++deedsSeen_) {
    const ModemDeed& deed = modem_.Deeds()[deedsSeen_];
    const auto read = ReadPdu(deed.pdu);
    const std::string text = read ? read->text : "";
    if (deed.kind == ModemDeed::Kind::kAcknowledged) {
      kept_.push_back(deed.pdu);
    } else if (deed.kind == ModemDeed::Kind::kSent) {
      const auto sent = sent_.find(NameOf(text));
      // A digit that was changed on the way to the modem makes another message, which nobody can know.
      if (sent == sent_.end()) {
        Demand(false, "sent-garbage", deed.pdu, Lie::kEver);
        continue;
      }
      const bool isPush = sent->first[0] == 'p';
      const std::string part = isPush ? sent->second.text : text;
      const std::vector<std::string>& parts = sent->second.parts;
      const bool isRepeated = std::find(parts.begin(), parts.end(), part) != parts.end();
      if (isRepeated) comeTwice_.insert(sent->second.text);
      if (!IsNextPart(sent->second, part) && !isRepeated && line_->HasLied()) {
        Demand(false, "sent-garbage", deed.pdu, Lie::kEver);
        sent->second.isGarbled = true;
        continue;
      }
      if (sent->second.isGarbled) continue;
      Demand(IsNextPart(sent->second, part), "sent-twice", sent->first + " in " + call.name, Lie::kNow);
      Demand(call.name.ends_with(sent->first) || sent->second.mayBeOut, "sent-late", sent->first + " in " + call.name);
      if (!IsNextPart(sent->second, part)) continue;
      sent->second.parts.push_back(part);
      sent->second.references += (sent->second.references.empty() ? "" : ",") + std::to_string(deed.number);
    } else if (!read || (life_.dialogue == Dialogue::kClassic && read->kind != MessageKind::kDeliver) ||
               (call.name == "Refresh" && life_[Trait::kWideReferences] != 0)) {
      // The command may come late, in the next call.
      Demand(false, "deleted-reading", deed.pdu, Lie::kEver);
    } else if (read && read->kind == MessageKind::kStatusReport) {
      // A line that lies about the place of a message or report has another one deleted.
      Demand(seenReports_.contains(read->reference), "report-deleted", std::to_string(read->reference), Lie::kEver);
    } else {
      Demand(
          read && read->kind == MessageKind::kDeliver && (IsPartOf(text, call.deletable) || IsPartOf(text, mayBeGone_)),
          "deleted-unasked", call.name + ": " + text + " at " + deed.memory + " " + std::to_string(deed.number),
          Lie::kEver);  // as it was shown
      deletedNow_.push_back(text);
    }
  }
}

void LifeRun::CheckSent(const Call& call, const std::string& name, const std::string& references) {
  Sent& sent = sent_[name];
  if (sent.isGarbled) return;
  if (call.succeeded) {
    Demand(IsWhole(sent), "false-success", call.name + " sent " + std::to_string(sent.parts.size()) + " parts",
           Lie::kNow);
    Demand(references.empty() || references == sent.references, "false-references",
           references + " for " + sent.references, Lie::kNow);
    return;
  }
  sent.mayBeOut = call.error.find("Result unknown") != std::string::npos;
  if (sent.mayBeOut) return;
  // What failed is not out: a text of one part, and the last part that was submitted when its result is the error.
  const bool isResult = call.code == 4011 || call.code == 4012 || call.code == 7014 || call.code == 7015;
  const auto last = ReadPdu(call.traffic.lastPdu);
  const bool lastIsOut = !sent.parts.empty() && last && last->text == sent.parts.back();
  Demand(!IsWhole(sent) && !(isResult && lastIsOut), "false-failure", call.name + ": " + call.error);
}

// Everything that was in the memory is shown. A line that loses octets may lose a whole entry.
void LifeRun::CheckListing(const Call& call, int type) {
  const std::vector<std::string> shown = Shown();
  std::vector<std::string> pieces;
  for (const StoredMessage& message : call.stored) {
    const auto read = ReadPdu(message.pdu);
    const bool isListed = message.stat == type || (type == 2 && message.stat < 2);
    if (!isListed || !read || read->kind != MessageKind::kDeliver || IsPartOf(read->text, deletedNow_)) continue;
    pieces.push_back(read->text);
  }
  for (const std::string& piece : pieces) {
    const std::string& whole = WholeText(piece);
    const bool isJoined = concatenates_ && piece != whole;
    std::size_t there = 0;
    for (std::set<std::string> distinct(pieces.begin(), pieces.end()); const std::string& each : distinct) {
      if (WholeText(each) == whole) there += each.size();
    }
    if (isJoined && (there != whole.size() || comeTwice_.contains(whole))) continue;
    const std::string& expected = isJoined ? whole : piece;
    const auto least = isJoined ? 1 : std::count(pieces.begin(), pieces.end(), piece);
    // On its way to the modem.
    const bool mayBeGarbled = NameOf(piece).empty() || NameOf(piece).starts_with('s');
    Demand(std::count(shown.begin(), shown.end(), expected) >= least, "not-shown", expected,
           mayBeGarbled ? Lie::kEver : Lie::kNow);
  }
}

// What was deleted is not there any more, unless the same text came again.
void LifeRun::CheckGone(const Call& call, const std::vector<std::string>& texts) {
  // A message that was delivered directly and not acknowledged in time comes again, and is stored then.
  if (life_[Trait::kIndications] == 2) return;
  for (const StoredMessage& message : modem_.Stored(memory_)) {
    const auto read = ReadPdu(message.pdu);
    if (!read || read->kind != MessageKind::kDeliver || !IsPartOf(read->text, texts)) continue;
    if (comeTwice_.contains(WholeText(read->text))) continue;
    const auto times = std::count_if(call.stored.begin(), call.stored.end(), [&](const StoredMessage& other) {
      const auto before = ReadPdu(other.pdu);
      return before && before->text == read->text;
    });
    const auto deleted = std::count(deletedNow_.begin(), deletedNow_.end(), read->text);
    // What was listed at another place than its own is not there.
    Demand(times == 0 || deleted > 0 || IsKept(read->text), "false-deletion", call.name + ": " + read->text,
           isHealed_ ? Lie::kNow : Lie::kEver);
  }
}

void LifeRun::NoteDeleted(const std::vector<std::string>& texts) {
  deleted_.insert(deleted_.end(), texts.begin(), texts.end());
  const std::vector<std::string> shown = Shown();
  std::erase_if(announced_,
                [&](const std::string& text) { return std::find(shown.begin(), shown.end(), text) == shown.end(); });
}

bool LifeRun::IsKept(const std::string& text) const {
  return std::any_of(kept_.begin(), kept_.end(), [&](const std::string& pdu) {
    const auto read = ReadPdu(pdu);
    return read && read->text == text;
  });
}

// Of what the modem gave away nothing is lost: it is shown, or the program deleted it.
void LifeRun::CheckKept() {
  const std::vector<std::string> shown = Shown();
  for (const std::string& pdu : kept_) {
    const auto read = ReadPdu(pdu);
    if (!read || read->kind != MessageKind::kDeliver) continue;
    // Of two that are the same, the one that is stored stands for both, also when its memory is not shown.
    if (comeTwice_.contains(WholeText(read->text))) continue;
    Demand(IsPartOf(read->text, shown) || IsPartOf(read->text, deleted_), "lost", read->text,
           Lie::kEver);  // a digit that was changed makes another text
  }
}

}  // namespace tavro::lives
