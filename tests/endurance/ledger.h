// The texts of a life, and how to tell them in the PDUs that the modem has. It reads these with the simulator's code,
// which shares none with the component.
//
// Every text consists of words that are nowhere else, "s12.0 s12.1 s12.2": the kind ("s" sent, "p" pushed, "r"
// received), the step that it comes from, and a count. So any piece of a text shows which one it is of, and where.
#pragma once

#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "simulator/message_fields.h"

namespace tavro::lives {

// In UTF-8; a long one takes two parts or three.
std::string MakeText(char kind, int step, bool isLong, bool isUcs2);
// "s12" for a piece of that text; empty when it is of none.
std::string NameOf(std::string_view piece);

struct PduText {
  MessageFields::Kind kind = MessageFields::Kind::kDeliver;
  std::string text;   // UTF-8; of a push its octets
  int reference = 0;  // of a status report
};
// Nothing when the digits are no PDU.
std::optional<PduText> ReadPdu(std::string_view pdu);

// What became of a text that the program wanted to send.
struct Sent {
  std::string text;
  bool mayBeOut = false;                // the call said "Result unknown"
  bool isGarbled = false;               // parts of it were changed on the line, which cannot be told from each other
  std::vector<std::string> parts = {};  // that the modem sent, in order
  std::string references = {};          // that it gave them: "1,2"
};

// The place of the piece in the text; npos when it was sent already, or is not what follows the parts that were.
bool IsNextPart(const Sent& sent, std::string_view piece);
bool IsWhole(const Sent& sent);

}  // namespace tavro::lives
