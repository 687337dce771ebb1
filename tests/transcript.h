// A whole dialogue as one text, to compare with one that is written out: every call of the serial driver but the reads,
// every line of the log and every message box, in their true order, each with its time in milliseconds of virtual time.
//
//        0 log Opening port COM1 [baud=19200 parity=N data=8 stop=1]
//        0 CreateFile \\.\COM1
//      100 box ERROR 1012: Cannot read modem response<cr><lf><cr><lf>Previous Error: NONE
//
// The five lines of a command that runs as it should are one line, with the times of all three steps and "|" for
// <cr><lf> in the answer:
//
//      601 AT+CSQ > 701 > 1202 |+CSQ: 23,0||OK|
//
// stands for exactly
//
//      601 log Send AT command [AT+CSQ<cr>]
//      701 PurgeComm 15
//      701 log Send: AT+CSQ<cr>
//      701 WriteFile AT+CSQ<cr> -> 7
//     1202 log Recv: <cr><lf>+CSQ: 23,0<cr><lf><cr><lf>OK<cr><lf>
//
// and the six of one without an answer are one with the error in the answer's place:
//
//      601 AT+CSQ > 701 > 30001 ERROR [1012] Cannot read modem response
//
// In the prompt manner, which purges nothing, it is "AT+CSQ - 601 > 601".
//
// Whatever else stands between them, a SetCommTimeouts perhaps, leaves them all as they are.
#pragma once

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "base/text.h"
#include "platform/utf8.h"
#include "simulator/printable.h"
#include "simulator/simulated_line.h"

namespace tavro {

// A simulated line that notes what the log and the message boxes get between its own calls.
class TranscriptLine : public SimulatedLine {
 public:
  using SimulatedLine::SimulatedLine;

  // Forgets what happened before.
  void StartTranscript() {
    ForgetCalls();
    notes_.clear();
    startMs_ = Elapsed();
  }

  // What happened since StartTranscript, or the part from the first line that holds `from` to the one in front of the
  // next that holds `to`; its times then count from its first line. Begins with a line end, as R"( and a new line does.
  // "nothing" when there is no such line.
  std::string Transcript(std::string_view from = {}, std::string_view to = {}) {
    std::vector<Call> lines = Merged();
    const auto holding = [&](auto start, std::string_view part) {
      return std::find_if(start, lines.end(), [&](const Call& line) { return Contains(line.text, part); });
    };
    const auto first = holding(lines.begin(), from);
    if (first == lines.end()) return "\nnothing\n";
    const auto last = to.empty() ? lines.end() : holding(first + 1, to);
    const std::int64_t start = from.empty() ? startMs_ : first->ms;
    for (Call& line : lines) line.ms -= start;
    std::string text = "\n";
    for (auto line = first; line != last;) {
      std::string shown = Exchange(line, last);  // moves on when there is one
      if (shown.empty()) {
        shown = Padded(line->ms) + line->text;
        ++line;
      }
      text += shown + "\n";
    }
    return text;
  }

  bool IsAnyOpen() const {
    for (int port = 1; port <= 256; ++port) {
      if (IsOpen(port)) return true;
    }
    return false;
  }

  bool WriteToFile(std::u16string_view path, std::string_view content, bool append) override {
    const bool written = SimulatedLine::WriteToFile(path, content, append);
    if (append) {
      constexpr std::size_t kDate = 21;  // "2024-03-05 14:07:09: "
      std::string_view line = content.substr(std::min(kDate, content.size()));
      if (line.ends_with("\r\n")) line.remove_suffix(2);
      notes_.push_back({Calls().size(), {Elapsed(), written ? "log " + std::string(line) : "log cannot be written"}});
    }
    return written;
  }

  void ShowMessageBox(std::u16string_view text, std::uint32_t style, std::u16string_view title) override {
    notes_.push_back({Calls().size(), {Elapsed(), "box " + Printable(ToUtf8(text))}});
    SimulatedLine::ShowMessageBox(text, style, title);
  }

 private:
  // What was noted when so many calls had been made.
  struct Note {
    std::size_t calls = 0;
    Call line;
  };

  std::vector<Call> Merged() const {
    std::vector<Call> lines;
    auto note = notes_.begin();
    for (std::size_t i = 0; i <= Calls().size(); ++i) {
      for (; note != notes_.end() && note->calls <= i; ++note) lines.push_back(note->line);
      if (i == Calls().size()) break;
      const std::string& text = Calls()[i].text;
      if (!text.starts_with("ReadFile") && !text.starts_with("ClearCommError")) lines.push_back(Calls()[i]);
    }
    return lines;
  }

  // The one line of the exchange at `line`, which is then moved behind it; "" when there is none.
  template <typename Iterator>
  static std::string Exchange(Iterator& line, Iterator last) {
    constexpr std::string_view kStart = "log Send AT command [", kEnd = "<cr>]", kReceived = "log Recv: ";
    const auto text = [&](int k) { return k < last - line ? std::string_view(line[k].text) : std::string_view(); };
    if (!text(0).starts_with(kStart) || !text(0).ends_with(kEnd)) return {};
    const std::string command(text(0).substr(kStart.size(), text(0).size() - kStart.size() - kEnd.size()));
    const std::string write = "WriteFile " + command + "<cr> -> " + std::to_string(command.size() + 1);
    const bool purged = text(1) == "PurgeComm 15";
    const int send = purged ? 2 : 1, end = send + 2;
    if (text(send) != "log Send: " + command + "<cr>" || text(send + 1) != write) return {};
    if (line[1].ms != line[send].ms || line[send].ms != line[send + 1].ms) return {};
    std::string answer;
    int length = end + 1;
    if (text(end).starts_with("log ERROR [1012]") && text(end + 1) == kReceived && line[end].ms == line[end + 1].ms) {
      answer = text(end).substr(4);
      length = end + 2;
    } else if (text(end).starts_with(kReceived)) {
      answer = text(end) == kReceived ? "(empty)" : ReplaceAll(text(end).substr(kReceived.size()), "<cr><lf>", "|");
    } else {
      return {};
    }
    const auto ms = [&](int k) { return std::to_string(line[k].ms); };
    const std::string shown =
        Padded(line->ms) + command + (purged ? " > " : " - ") + ms(1) + " > " + ms(end) + " " + answer;
    line += length;
    return shown;
  }

  static std::string Padded(std::int64_t ms) {
    const std::string number = std::to_string(ms);
    return std::string(std::max<std::size_t>(number.size(), 6) - number.size(), ' ') + number + " ";
  }

  std::vector<Note> notes_;
  std::int64_t startMs_ = 0;
};

}  // namespace tavro
