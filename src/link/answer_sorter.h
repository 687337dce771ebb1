// The lines of an answer, told apart from what the modem says of its own accord (ITU-T V.250, 5.7; 3GPP TS 27.007, 4).
//
//   answer      = *( own-line / unsolicited / echo ) ( result / prompt )
//   result      = "OK" / "ERROR" / "+CME ERROR:" text / "+CMS ERROR:" text / "NO CARRIER" / "COMMAND NOT SUPPORT" ...
//   result      =/ "0" / "3" / "4"            numeric, while long result codes were not yet seen
//   result      =/ ""                         behind +CPIN, where some modems have none
//   prompt      = ">" [ " " ]                 at the start of a line
//   line end    = CR LF / LF / CR CR LF / CR  a quoted text of +CUSD may hold some
//   own-line    = with the command's prefix, "+CSQ:" for AT+CSQ; else with none; else with another that is not known
//   unsolicited = another prefix / "RING" / "Call Ready" ...; a second line belongs to +CMT, +CDS and +CBM
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace tavro {

class AnswerSorter {
 public:
  enum class End { kNone, kOk, kError, kPrompt };

  // `command` is what was written to the modem: a command line, or a PDU and its Ctrl-Z; an empty one has no answer:
  // everything is unsolicited. `numericResults`: whether the modem may still give result codes as numbers.
  AnswerSorter(std::string_view command, bool numericResults);

  // Octets that came before the command was written: a line that they begin is none of its answer.
  void AppendEarlier(std::string_view data);
  // Whether the command asks for input.
  bool ExpectsPrompt() const { return promptExpected_; }
  // Takes octets up to the end of the answer and returns their number.
  std::size_t Append(std::string_view data);
  // Nothing came for a while: a line that a carriage return ends is ended.
  void Pause();
  // Whether all but the result code came, of an answer that some modems end without one.
  bool MayBeWhole() const;
  // No more octets come: judges a last line without its end, and an indication without its second line.
  void Finish();
  // Whether more is to come of a line, or of an indication.
  bool IsWithinLine() const { return !line_.empty() || takesNextLine_; }

  // An answer that may be whole without a result code ended well.
  End Ending() const { return end_; }
  bool HasResult() const { return hasResult_; }
  // Whether the result code was a word and not a number.
  bool SawWords() const { return sawWords_; }
  // The command's own lines with their line ends, as they came, the result or prompt included.
  const std::string& Own() const { return own_; }
  // Octets that are kept, those of an unfinished line included.
  std::size_t Size() const { return own_.size() + heldSize_ + blank_.size() + line_.size(); }
  // Whether the command's own lines are coming in: some came, or a line has begun.
  bool IsUnderWay() const { return !own_.empty() || !held_.empty() || !line_.empty(); }
  // What was taken out since the last call, one entry each.
  std::vector<std::string> TakeUnsolicited();
  // What came of a line that has not ended.
  std::string TakeRest();

 private:
  void EndLine();
  bool EndsInQuotes();
  bool EndsBrokenEcho(std::string_view line);
  bool IsEcho(std::string_view line) const;
  End ResultOf(std::string_view line) const;
  bool IsOwnPrefix(std::string_view prefix, std::string_view line) const;
  void Judge(std::string line);
  void AddOwn();
  void EndHeld();
  void EndWithPrompt();
  void AddUnsolicited(std::string line);

  std::vector<std::string> prefixes_;  // "+CSQ", in capitals
  std::string command_;                // as its echo would be
  bool idle_, entry_, promptExpected_, resultMayLack_, numericResults_;

  std::string blank_, line_;  // line ends in front of the line, and the line
  bool carriageReturn_ = false;
  std::size_t quotesCountedTo_ = 0;  // how much of the line was searched for quotes
  bool isQuoteOpen_ = false;
  std::string own_;
  struct HeldLine {
    std::string octets, line;
    bool hasPrefix;
  };
  std::vector<HeldLine> held_;  // lines that are the answer unless one with the command's prefix comes
  std::size_t heldSize_ = 0;
  bool sawPrefix_ = false;
  bool takesNextLine_ = false;  // the next line belongs to the last unsolicited one
  std::string brokenEcho_;      // what there was of one
  bool isEarlier_ = false;      // what is appended came before the command was written
  bool beganEarlier_ = false;   // the line did
  std::vector<std::string> unsolicited_;
  End end_ = End::kNone;
  bool hasResult_ = false, sawWords_ = false;
};

}  // namespace tavro
