// One AT command of a command line (ITU-T V.250, 5.2 to 5.4).
//
//   line     = *any "AT" *command CR          what stands before "AT" is ignored, letter case too
//   command  = basic / "S" number ("=" value / "?") / "D" *any / extended [";"]
//   basic    = ["&"] letter [number]
//   extended = "+" name ["?" / "=?" / "=" value *("," value)]
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace tavro {

struct AtCommand {
  enum class Kind { kExecute, kRead, kTest, kSet };

  std::string name;  // in capitals: "E", "&F", "+CMGS"
  Kind kind = Kind::kExecute;
  std::string value;  // what stands behind "=", or the number of a basic command

  // The values between commas outside quotes, without their quotes and the spaces around them.
  std::vector<std::string> Values() const;
  // One of the values as a number from 0 on; nothing when it is none.
  std::optional<int> Number(std::size_t index = 0) const;
};

// Where a command line's "AT" stands; npos when it has none.
std::size_t FindAttention(std::string_view line);
// The commands behind the "AT"; nothing when the text is none.
std::optional<std::vector<AtCommand>> ParseCommands(std::string_view text);

std::string InCapitals(std::string_view text);
// A number from 0 to 999999999 without sign; nothing for other text.
std::optional<int> WholeNumber(std::string_view text);

}  // namespace tavro
