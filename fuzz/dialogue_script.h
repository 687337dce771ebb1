// A modem whose behaviour is a text, as the fuzzer writes it.
//
//   script  = *( event LF )
//   event   = pattern TAB form text       what is left out is empty
//   pattern = a command, as SimulatedModem::Answer takes it, "PDU", or milliseconds
//   form    = one of kAnswerForms or kHappenings
//   text    = in which "|" stands for CR LF
//
//   AT+CREG?<TAB>o+CREG: 0,5          each AT+CREG? gets this line and OK
//   AT+CMGD*<TAB>1lERROR              the next deletion is refused; "1" to "9" in front of the form: so many times
//   5000<TAB>u+CMTI: "SM",3           comes of its own accord after five seconds
#pragma once

#include <algorithm>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "base/text.h"
#include "simulator/simulated_line.h"
#include "simulator/simulated_modem.h"

namespace tavro {

struct ScriptEvent {
  explicit ScriptEvent(std::string_view line) {
    const std::size_t tab = line.find('\t');
    pattern = line.substr(0, std::min(tab, line.size()));
    if (tab != std::string_view::npos) line.remove_prefix(tab + 1);
    if (!line.empty() && line.front() >= '1' && line.front() <= '9') {
      times = line.front() - '0';
      line.remove_prefix(1);
    }
    if (!line.empty()) form = line.front();
    text = ReplaceAll(line.substr(std::min<std::size_t>(1, line.size())), "|", "\r\n");
  }

  // Up to ten minutes; what is no number is soon.
  std::int64_t Milliseconds() const {
    std::int64_t ms = 0;
    for (const char c : pattern) ms = c >= '0' && c <= '9' ? (ms * 10 + (c - '0')) % 600000 : ms;
    return ms;
  }

  std::string pattern, text;
  char form = 0;
  int times = SimulatedModem::kAlways;
};

// What a command is answered.
inline std::optional<ModemReply> AnswerOf(const ScriptEvent& event) {
  using Reply = ModemReply;
  const std::string& text = event.text;
  switch (event.form) {
    case 'a':  // these octets
      return Reply::Bytes(text);
    case 'l':  // a line
      return Reply::Line(text);
    case 'o':  // a line, and OK
      return Reply::Ok(text);
    case 'x':  // a line, and the command takes effect
      return Reply::Line(text).Executed();
    case 'X':  // the same with OK
      return Reply::Ok(text).Executed();
    case 's':  // nothing
      return Reply::Silence();
    case 'S':  // nothing, but the command takes effect
      return Reply::Silence().Executed();
    case 'b':  // the modem's own answer behind these octets
      return Reply::Before(text);
    case 'p':  // octets in small pieces, with gaps that end an answer in one manner and not in the other
      return Reply::Bytes(text).InPieces(5, 600);
    case 'P':
      return Reply::Own().InPieces(7, 60);
    case 't':  // two seconds late
      return Reply::Bytes(text).Late(2000);
    case 'T':
      return Reply::Own().Late(2000);
    case 'r':
      return Reply::Own().ResultLate(4000);
    case 'n':
      return Reply::Own().WithoutResult();
    case 'e':  // these octets for ever
      return Reply::Endless(text, 150);
    case 'w':  // the line is lost within the answer
      return Reply::Own().LineLostAfter(text.size());
    case 'q':
      return Reply::Own();
    default:
      return {};
  }
}

// A line within an answer.
inline std::optional<Interjection> InterjectionOf(const ScriptEvent& event) {
  using Moment = Interjection::Moment;
  switch (event.form) {
    case '<':
      return Interjection{Moment::kBefore, event.text};
    case '-':
      return Interjection{Moment::kBeforeLine, event.text};
    case '=':
      return Interjection{Moment::kBeforeResult, event.text};
    case '>':
      return Interjection{Moment::kBehind, event.text};
    default:
      return {};
  }
}

inline void Apply(const ScriptEvent& event, SimulatedModem& modem, SimulatedLine& line) {
  const std::int64_t ms = event.Milliseconds();
  if (auto reply = AnswerOf(event)) return modem.Answer(event.pattern, std::move(*reply), event.times);
  if (auto interjection = InterjectionOf(event)) return modem.Interject(*interjection, event.pattern, event.times);
  switch (event.form) {
    case 'M':  // a message in the SIM, as it is
      modem.Store(event.text, event.pattern.empty() ? 0 : event.pattern.front() % 5);
      break;
    case 'F':  // a fault by its name
      modem.ApplyFault(event.text);
      break;
    case 'C':  // a call of the driver fails with a system error; a port that cannot be closed stays open
      if (event.pattern != "CloseHandle") line.FailCall(event.pattern, 1167, std::max(event.times, 1));
      break;
    case 'W':  // a write ends early
      line.ShortenWrite(event.text.size(), static_cast<int>(ms % 100));
      break;
    case 'u':  // what comes of its own accord
      line.At(ms, [&modem, &line, text = event.text] { modem.Unsolicited(text, line.Elapsed()); });
      break;
    case 'O':
      modem.Output(event.text, ms);
      break;
    case 'D':  // from the network: a message or a report, a text, USSD
      line.At(ms, [&modem, &line, text = event.text] { modem.Incoming(text, line.Elapsed()); });
      break;
    case 'I':
      line.At(ms, [&modem, &line, text = event.text] { modem.IncomingText("+447700900123", text, line.Elapsed()); });
      break;
    case 'U':
      line.At(ms, [&modem, &line, text = event.text] { modem.NetworkUssd(text, true, line.Elapsed()); });
      break;
    case 'L':  // the stick is pulled out, and plugged in
      line.At(ms, [&modem] { modem.Unplug(); });
      break;
    case 'R':
      line.At(ms, [&modem, &line] { modem.PlugIn(line.Elapsed()); });
      break;
    default:
      break;
  }
}

// The modem's and the line's own ways, one letter each.
inline void ApplyOption(char option, SimulatedModem& modem, SimulatedLine& line) {
  ModemSettings& settings = modem.Settings();
  switch (option) {
    case 'e':
      settings.echo = false;
      break;
    case 'E':
      settings.echoStuck = true;
      break;
    case 'u':
      settings.ucs2 = true;
      break;
    case 'k':
      settings.pin = "1234";
      settings.tellsPinAttempts = true;
      break;
    case 'b':
      settings.simBusyCommands = 4;
      break;
    case 'h':
      settings.pieceSize = 6;
      settings.pieceGapMs = 20;
      break;
    case 'f':
      settings.resultFirst = true;
      break;
    case 'm':
      settings.simCapacity = 2;
      break;
    case 'P':
      settings.ussdForm = "packed";
      break;
    case 'U':
      settings.ussdForm = "ucs2";
      break;
    case 'd':
      settings.deafCommands = 3;
      break;
    case 'L':
      settings.listing = "{location},{stat},\"\",{length},7\r\n{pdu}";
      settings.listsEverything = true;
      break;
    case 't':
      line.SetCharacterTiming(true);
      break;
    default:
      break;
  }
}

}  // namespace tavro
