#include "faulty_line.h"

#include <algorithm>
#include <iterator>
#include <limits>

#include "simulator/printable.h"

namespace tavro::lives {

namespace {

using Kind = Fault::Kind;

constexpr char kCtrlZ = 26, kEscape = 27;

template <class List>
auto& Chosen(const List& list, int number) {
  return list[static_cast<std::size_t>(number) % std::size(list)];
}

// Nothing in it that could be taken for a result: a line that says OK by itself has no defence.
constexpr std::string_view kNoises[] = {"\xFF", "~x", "\r\n", "\r\nRING\r\n", "+CREG: 2\r\n", "\"",
                                        "> ",   "0",  "7",    "\x1A",         "\x1B",         "+CMTI: \"SM\",2\r\n"};

constexpr std::string_view kPatterns[] = {"PDU",      "AT+CMGS=*", "PDU",     "AT+CMGD=*", "AT+CMGL*", "AT+CMGR*",
                                          "AT+CPMS*", "AT+CPMS=*", "AT+CNMA", "AT+CNMI*",  "AT+CMEE?", "AT",
                                          "AT+CMGF*", "AT+CPIN*",  "*",       "*"};
// For the result of a message; behind a network time-out it may be out all the same.
constexpr std::string_view kPduRefusals[] = {"+CMS ERROR: 500", "+CMS ERROR: 38",  "+CMS ERROR: 331",
                                             "+CMS ERROR: 304", "+CMS ERROR: 332", "ERROR"};
constexpr std::string_view kRefusals[] = {"+CME ERROR: 515", "ERROR", "+CMS ERROR: 320", "+CME ERROR: 14"};
constexpr std::string_view kLines[] = {"RING",
                                       "+CREG: 1",
                                       "^RSSI: 12",
                                       "+CMTI: \"SM\",1",
                                       "+CMTI: \"ME\",2",
                                       "Call Ready",
                                       "+CUSD: 0,\"hello\",15",
                                       "+CMTI: \"SM\",99"};

}  // namespace

FaultyLine::FaultyLine(SimulatedModem& modem) : SimulatedLine(modem), modem_(modem) { RecordCalls(false); }

void FaultyLine::Arm(const Fault& fault) {
  if (fault.kind > Kind::kNoise) isCommandArmed_ = true;
  switch (fault.kind) {
    case Kind::kShortWrite:
      return ShortenWrite(static_cast<std::size_t>(fault.size), fault.at);
    case Kind::kFailedWrite:
      if (fault.what == 0) return FailCall("WriteFile", kErrorDeviceNotConnected, 1, fault.at);
      PendNext("WriteFile", 0, fault.at);
      return FailCall("GetOverlappedResult", kErrorDeviceNotConnected);
    case Kind::kFailedOpen:
      return FailCall("CreateFile", kErrorAccessDenied, 1, fault.at);
    case Kind::kDeaf:
      modem_.Settings().deafCommands = fault.size;
      return;
    default:
      break;
  }
  if (fault.kind > Kind::kNoise) return ArmCommand(fault);
  Direction& direction = fault.toModem ? out_ : in_;
  direction.faults.push_back(fault);
  direction.faults.back().at += static_cast<int>(direction.octets);
}

void FaultyLine::ArmCommand(const Fault& fault) {
  const std::string_view pattern = Chosen(kPatterns, fault.what);
  const bool isPdu = pattern == SimulatedModem::kPdu;
  if (fault.kind == Kind::kInterject) {
    using Moment = Interjection::Moment;
    constexpr Moment kMoments[] = {Moment::kBefore, Moment::kBeforeLine, Moment::kBeforeResult, Moment::kBehind};
    return modem_.Interject({.moment = Chosen(kMoments, fault.at), .text = std::string(Chosen(kLines, fault.size))},
                            pattern, 1);
  }
  ModemReply reply = ModemReply::Own();
  switch (fault.kind) {
    case Kind::kSilence:
      reply = ModemReply::Silence();
      break;
    case Kind::kLate:
      reply = ModemReply::Own().Late(fault.size);
      break;
    case Kind::kNoAnswer:
      reply = ModemReply::Silence().Executed();
      break;
    case Kind::kNoResult:
      reply = ModemReply::Own().WithoutResult();
      break;
    default: {
      const std::string_view text = isPdu ? Chosen(kPduRefusals, fault.size) : Chosen(kRefusals, fault.size);
      reply = ModemReply::Line(text);
      if (text == "+CMS ERROR: 332" && fault.size % 2 == 0) reply = std::move(reply).Executed();
      break;
    }
  }
  if (fault.at > 0) modem_.Answer(pattern, ModemReply::Own(), fault.at);
  modem_.Answer(pattern, std::move(reply), 1);
}

void FaultyLine::Heal() {
  isCommandArmed_ = false;
  ForgetFailures();
  for (Direction* direction : {&in_, &out_}) {
    direction->faults.clear();
    direction->lost = direction->doubled = 0;
    direction->delayedUntil = 0;
    direction->isMute = false;
  }
  PlugIn();
  ModemSettings& settings = modem_.Settings();
  settings.latencyMs = settings.sendMs = settings.startMs = settings.simBusyMs = 0;
  settings.deafCommands = settings.simBusyCommands = 0;
  settings.pieceSize = 0;
}

void FaultyLine::BeginCall() {
  traffic_ = {};
  for (const Direction* direction : {&in_, &out_}) {
    traffic_.isDisturbed = traffic_.isDisturbed || direction->isMute || !direction->underWay.empty();
  }
  traffic_.isDisturbed = traffic_.isDisturbed || isCommandArmed_;
  activeMs_ = Elapsed();
}

FaultyLine::Traffic FaultyLine::EndCall() {
  NoteActivity();
  return traffic_;
}

void FaultyLine::NoteActivity() {
  traffic_.longestSilence = std::max(traffic_.longestSilence, Elapsed() - activeMs_);
  activeMs_ = Elapsed();
}

SerialDriver::Handle FaultyLine::Open(const std::string& name) {
  NoteActivity();
  ++traffic_.opened;
  return SimulatedLine::Open(name);
}

bool FaultyLine::Close(Handle handle) {
  out_.underWay.clear();  // what the system has not sent yet
  written_.clear();
  Note("close", "");
  return SimulatedLine::Close(handle);
}

bool FaultyLine::WriteToFile(std::u16string_view, std::string_view content, bool append) {
  constexpr std::size_t kDate = 21;  // "2024-03-05 14:07:09: "
  if (append && content.size() > kDate)
    Note("log", content.substr(kDate, content.find_last_not_of("\r\n") + 1 - kDate));
  return true;
}

void FaultyLine::Note(std::string_view mark, std::string_view bytes) {
  if (traces_)
    trace_.push_back(std::to_string(Elapsed()) + " " + std::string(mark) + " " + Printable(std::string(bytes)));
}

// What the component means to send.
void FaultyLine::Watch(std::string_view bytes) {
  NoteActivity();
  for (const char byte : bytes) {
    if (byte == '\r') {
      ++traffic_.lines;
      if (written_.starts_with("AT+COPS=0")) traffic_.searchesNetwork = true;
      if (written_.starts_with("AT+CMGS=")) traffic_.lastPdu.clear();
    } else if (byte == kCtrlZ) {
      ++traffic_.pdus;
      traffic_.lastPdu = written_;
    } else if (byte != kEscape) {
      written_ += byte;
      continue;
    }
    written_.clear();
  }
}

void FaultyLine::ToModem(SimulatedModem&, std::string_view bytes) {
  Note("->", bytes);
  Watch(bytes);
  in_.isMute = false;
  Disturb(out_, bytes);
  Deliver();
}

// What is due on its way to the modem.
void FaultyLine::Deliver() {
  while (!out_.underWay.empty() && out_.underWay.front().ms <= Elapsed()) {
    const Piece piece = std::move(out_.underWay.front());
    out_.underWay.pop_front();
    modem_.Receive(piece.bytes, Elapsed());
  }
}

std::optional<std::int64_t> FaultyLine::NextFromModem(const SimulatedModem& modem) {
  const auto next = modem.NextOutput();
  if (in_.underWay.empty()) return next;
  return std::min(next.value_or(std::numeric_limits<std::int64_t>::max()), in_.underWay.front().ms);
}

std::string FaultyLine::FromModem(SimulatedModem& modem, std::int64_t nowMs) {
  const auto next = modem.NextOutput();
  if (next && *next <= nowMs) Disturb(in_, modem.TakeOutput(nowMs));
  std::string bytes;
  while (!in_.underWay.empty() && in_.underWay.front().ms <= nowMs) {
    bytes += in_.underWay.front().bytes;
    in_.underWay.pop_front();
  }
  if (!bytes.empty()) NoteActivity();
  if (!bytes.empty()) Note("<-", bytes);
  return bytes;
}

void FaultyLine::Disturb(Direction& direction, std::string_view bytes) {
  std::string passed;
  const int losses = modem_.LineLosses();
  for (const char byte : bytes) {
    for (std::size_t i = 0; i < direction.faults.size();) {
      if (direction.faults[i].at > direction.octets) {
        ++i;
        continue;
      }
      const Fault fault = direction.faults[i];
      direction.faults.erase(direction.faults.begin() + static_cast<std::ptrdiff_t>(i));
      if (fault.kind == Kind::kChange) {
        Note("fault", Describe(Step{0, Step::Kind::kPause, 0, 0, {fault}}));
        passed += static_cast<char>(byte ^ static_cast<char>(fault.size));
        direction.lost = std::max(direction.lost, 1);
        hasLied_ = traffic_.hasLied = traffic_.isDisturbed = true;
      } else {
        Strike(direction, fault, passed);
      }
      if (modem_.LineLosses() != losses) return;
    }
    ++direction.octets;
    traffic_.isDisturbed = traffic_.isDisturbed || direction.isMute;
    if (direction.isMute) continue;
    if (direction.lost > 0) {
      traffic_.hasLied = traffic_.isDisturbed = true;
      --direction.lost;
      continue;
    }
    passed += byte;
    if (direction.doubled > 0) {
      traffic_.hasLied = traffic_.isDisturbed = true;
      --direction.doubled;
      passed += byte;
    }
  }
  Put(direction, std::move(passed));
}

// `passed` is what goes in front of the octet at which it happens.
void FaultyLine::Strike(Direction& direction, const Fault& fault, std::string& passed) {
  Note("fault", Describe(Step{0, Step::Kind::kPause, 0, 0, {fault}}));
  traffic_.isDisturbed = true;
  hasLied_ = hasLied_ || fault.IsMalign();
  traffic_.hasLied = traffic_.hasLied || fault.IsMalign();
  hasCut_ = hasCut_ || fault.kind <= Kind::kUnplug;
  switch (fault.kind) {
    case Kind::kDelay:
      Put(direction, std::exchange(passed, {}));
      direction.delayedUntil = std::max(direction.delayedUntil, Elapsed() + fault.size);
      break;
    case Kind::kMute:
      direction.isMute = true;
      break;
    case Kind::kUnplug:
      Put(direction, std::exchange(passed, {}));
      if (&direction == &out_) Deliver();
      Unplug(fault);
      break;
    case Kind::kLose:
      direction.lost = fault.size;
      break;
    case Kind::kDouble:
      direction.doubled = fault.size;
      break;
    default:
      passed += Chosen(kNoises, fault.what);
      break;
  }
}

void FaultyLine::Put(Direction& direction, std::string bytes) {
  if (bytes.empty()) return;
  std::int64_t ms = std::max(Elapsed(), direction.delayedUntil);
  direction.underWay.push_back({ms, std::move(bytes)});
  if (&direction == &out_ && ms > Elapsed()) At(ms, [this] { Deliver(); });
}

// What had come from the modem by then can still be read.
void FaultyLine::Unplug(const Fault& fault) {
  if (fault.toModem) in_.underWay.clear();
  for (Piece& piece : in_.underWay) piece.ms = 0;
  out_.underWay.clear();
  if (fault.what == 1) {
    modem_.Unplug();
  } else {
    modem_.LoseLine();
  }
  At(Elapsed() + fault.size, [this] { PlugIn(); });
}

void FaultyLine::PlugIn() {
  if (!modem_.IsPluggedIn()) {
    modem_.PlugIn(Elapsed());
  } else if (modem_.IsLineLost()) {
    modem_.RestoreLine();
  }
}

}  // namespace tavro::lives
