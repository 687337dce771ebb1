// How a simulated modem says what it has to say: when, in which pieces, and with which lines of its own accord between.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "simulator/command_pattern.h"
#include "simulator/modem_answer.h"
#include "simulator/modem_output.h"
#include "simulator/modem_reply.h"
#include "simulator/modem_settings.h"

namespace tavro {

class ModemSpeech {
 public:
  explicit ModemSpeech(const ModemSettings& settings) : settings_(settings) {}

  // Bytes as they are.
  void Add(std::int64_t dueMs, std::string bytes) { output_.Add({dueMs, std::move(bytes)}); }
  // A line of the modem's own accord, between line ends.
  void AddLine(std::int64_t dueMs, std::string_view line) { Add(dueMs, Line(line)); }
  // The same behind the last answer.
  void AddLineBehind(std::int64_t nowMs, std::string_view line) { AddLine(std::max(nowMs, answeredMs_), line); }
  // The answer to a command line (in capitals) or a PDU ("PDU"), behind the answer before. `own` is the modem's own.
  void Answer(std::string_view command, const ModemReply& reply, ModemAnswer own, std::int64_t nowMs);

  void Interject(CommandPattern pattern, Interjection interjection) {
    interjections_.push_back({std::move(pattern), std::move(interjection)});
  }
  void ForgetInterjections() { interjections_.clear(); }
  // A line every so many milliseconds, from then on, but never within another line.
  void RepeatLine(std::string_view line, std::int64_t everyMs, std::int64_t fromMs) {
    repeated_.push_back({Line(line), everyMs, fromMs, false});
  }
  // The modem has received something: an endless answer ends.
  void Interrupt();

  std::optional<std::int64_t> Next() const;
  // All that is due by then; ends behind a piece that loses the line, which sets `lineLost`. Of a repeated line that
  // was due more than once by then, one comes.
  std::string Take(std::int64_t nowMs, bool& lineLost);
  // What was not said yet is lost.
  void Clear();

 private:
  struct Interjected {
    CommandPattern pattern;
    Interjection interjection;
  };
  struct Repeated {
    std::string bytes;
    std::int64_t everyMs, nextMs;
    bool isAnswer;  // an endless one
  };
  using Pieces = std::vector<ModemReply::Piece>;

  std::string Line(std::string_view line) const;
  Pieces Compose(std::string_view command, const ModemReply& reply, ModemAnswer own);
  // The repeated line that is next; null when something else is.
  const Repeated* NextRepeated() const;

  const ModemSettings& settings_;
  ModemOutput output_;
  std::int64_t answeredMs_ = 0;  // when the last answer is out
  bool withinLine_ = false;      // what was taken last ends there
  std::vector<Interjected> interjections_;
  std::vector<Repeated> repeated_;
};

}  // namespace tavro
