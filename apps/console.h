// The system around the command line: its terminal, streams, arguments and environment, and other programs. All texts
// are UTF-8, on Windows too.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

enum class Stream : std::uint8_t { kInput, kOutput, kError };

// --- Streams ---------------------------------------------------------------------------------------------------------

// To be made first in main, and to last as long as anything is written. A device must not be opened as a standard
// stream that is not there: what stands for it cannot be used. Writing into a pipe that nobody reads fails from now on,
// and does not end the program. On Windows the console takes UTF-8 until the object goes.
class StandardStreams {
 public:
  StandardStreams();
  ~StandardStreams();
  StandardStreams(const StandardStreams&) = delete;
  StandardStreams& operator=(const StandardStreams&) = delete;

 private:
  unsigned formerCodePage_ = 0;  // of a Windows console; 0: none was changed
};

// Whether standard output is there and, being a pipe, has a reader.
bool IsOutputOpen();

// Writes out what std::cout holds, as far as that can be done; FlushOutput tells when and why it cannot.
void PassOutputOn();
// The same. Throws std::runtime_error with the system's reason when it, or something before,
// could not be written: "cannot write the output: No space left on device".
void FlushOutput();

// --- Terminal --------------------------------------------------------------------------------------------------------

bool IsTerminal(Stream stream);

// Columns for a text on standard output or error: as COLUMNS or the terminal says, 20 at least; 80 where neither does.
int TerminalWidth();

// Whether a terminal is there to show colours, and the user wants any: not with NO_COLOR or TERM=dumb.
bool UsesColours(Stream stream);

enum class Colour : std::uint8_t { kBold, kDim, kRed, kGreen, kYellow };
// The text in the colour where the stream uses colours, else as it is.
std::string Coloured(Stream stream, Colour colour, const std::string& text);

// Columns that a character takes: 0 combining, 2 wide, 1 any other.
int CharacterWidth(char32_t character);
// The same of a text without control characters.
int DisplayWidth(std::string_view text);

// The text as the user's locale can show it: in its character set, other characters as \u017B or \U0001F642. Changes
// nothing where the locale has UTF-8. For text that people read; JSON is UTF-8 everywhere.
std::string ShownText(const std::string& text);

// --- Arguments, environment, other programs --------------------------------------------------------------------------

// Those of main, without the program's name.
std::vector<std::string> ProgramArguments(int argc, char** argv);

// The PIN of the SIM, which is no other program's business.
inline constexpr std::string_view kPinVariable = "TAVRO_PIN";

// Empty when there is none of the name.
std::string EnvironmentValue(const char* name);

// How a program ended: with an exit status, or, where there is such a thing, by a signal.
struct ProgramEnd {
  int status = 0;
  int signal = 0;  // 0: none
  bool IsSuccess() const { return status == 0 && signal == 0; }
};

// Empty, or why RunProgram could not start this program: "No such file or directory".
std::string WhyNotRunnable(const std::string& program);

// Runs a program, found on the path when its name has no folder, with these arguments (the first one is its name) and
// our environment with these values put in and without TAVRO_PIN, without a shell, and waits for its end. Its standard
// input is empty, its output is ours. It is asked to end once `isToEnd`, which is asked again and again, returns true.
// Throws std::runtime_error when it cannot be started.
ProgramEnd RunProgram(const std::vector<std::string>& arguments,
                      const std::vector<std::pair<std::string, std::string>>& environment,
                      const std::function<bool()>& isToEnd);
