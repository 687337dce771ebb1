// An answer that a test makes a simulated modem give in place of its own.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace tavro {

struct ModemReply {
  struct Piece {
    std::int64_t delayMs = 0;  // after the piece before
    std::string bytes;
  };

  std::vector<Piece> pieces;         // sent in place of the modem's own answer
  bool executed = false;             // the command takes effect
  bool own = false;                  // the modem's own answer is sent, and `pieces` in front of it,
  bool hasResult = true;             // with its result code,
  std::int64_t resultDelayMs = 0;    // which comes so much behind the information text
  std::int64_t delayMs = 0;          // in front of everything, beyond the modem's latency
  std::size_t pieceSize = 0;         // what is sent is cut into pieces of this size, 0: as the settings have it,
  std::int64_t gapMs = 0;            // that are so far apart
  std::int64_t repeatMs = 0;         // `pieces` come again and again, so far apart, until the next byte arrives
  std::size_t lineLostAfter = npos;  // the line is lost behind so many bytes

  static constexpr std::size_t npos = static_cast<std::size_t>(-1);

  // The bytes as they are.
  static ModemReply Bytes(std::string bytes) { return {{{0, std::move(bytes)}}}; }
  static ModemReply Silence() { return {}; }
  // Between line ends: "\r\nERROR\r\n".
  static ModemReply Line(std::string_view text) { return Bytes("\r\n" + std::string(text) + "\r\n"); }
  // An information text and the result: "\r\n+CSQ: 9,0\r\n\r\nOK\r\n".
  static ModemReply Ok(std::string_view info) { return Bytes("\r\n" + std::string(info) + "\r\n\r\nOK\r\n"); }
  // What the modem does and answers by itself; for a modification, or as a rule that lets a few commands pass.
  static ModemReply Own() {
    ModemReply reply;
    reply.executed = reply.own = true;
    return reply;
  }
  // The modem's own answer behind these bytes, an unsolicited line perhaps.
  static ModemReply Before(std::string bytes) {
    ModemReply reply = Own();
    reply.pieces = {{0, std::move(bytes)}};
    return reply;
  }
  // An answer that does not end before the next byte arrives: these bytes every so many milliseconds.
  static ModemReply Endless(std::string bytes, std::int64_t everyMs) {
    ModemReply reply = Bytes(std::move(bytes));
    reply.repeatMs = everyMs;
    return reply;
  }

  // More bytes, `afterMs` after the last ones. Not with Own or Before.
  ModemReply Then(std::int64_t afterMs, std::string bytes) && {
    pieces.push_back({afterMs, std::move(bytes)});
    return std::move(*this);
  }
  ModemReply Late(std::int64_t ms) && {
    delayMs = ms;
    return std::move(*this);
  }
  // The information text of the modem's own answer comes in time, the result code so much later or not at all.
  ModemReply ResultLate(std::int64_t ms) && {
    resultDelayMs = ms;
    return std::move(*this);
  }
  ModemReply WithoutResult() && {
    hasResult = false;
    return std::move(*this);
  }
  ModemReply InPieces(std::size_t size, std::int64_t gap) && {
    pieceSize = size;
    gapMs = gap;
    return std::move(*this);
  }
  // The command takes effect although the answer is another: the message goes out, the PIN is taken.
  ModemReply Executed() && {
    executed = true;
    return std::move(*this);
  }
  // The line is lost behind the first `bytes` bytes of the answer.
  ModemReply LineLostAfter(std::size_t bytes) && {
    lineLostAfter = bytes;
    return std::move(*this);
  }
};

// A line of the modem's own accord at a chosen moment of an answer.
struct Interjection {
  enum class Moment {
    kBefore,
    kBeforeLine,    // within the information text of the modem's own answer
    kBeforeResult,  // in front of the result code or the prompt of the modem's own answer
    kBehind,        // behind a prompt too
  };

  Moment moment = Moment::kBefore;
  std::string text;        // "RING"; several lines have CR LF between them
  int line = 2;            // kBeforeLine: which line of the text, from 1 on; an answer without it is left alone
  std::int64_t gapMs = 0;  // it comes in two pieces that are so far apart
};

}  // namespace tavro
