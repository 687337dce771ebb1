// The component's text log, "Tavro.log".
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <utility>

#include "base/error_codes.h"
#include "platform/platform.h"

namespace tavro {

// Lines of "YYYY-MM-DD HH:MM:SS: text" in local time, ended by CR LF, in the platform's code page. The file is opened
// and closed for every line, so that it can be read, moved or deleted between lines.
//
// A failing operation ends there and reports 8004 (write), 8007 (clear) or 8008 (size): also when the folder is gone,
// or something else than a regular file has the name. A file that is not there yet is an empty one.
//
// A line holds its text to the letter, or is guarded: it then names no PIN, and shows the control characters that the
// modem, a sender or a setting brought (GuardedText).
class LogHandling {
 public:
  using FailureReport = std::function<void(std::int32_t code, std::string_view text)>;
  using Trace = std::function<void(std::u16string_view line)>;

  explicit LogHandling(Platform& platform, bool isGuarded = false);

  // Where the log reports its own failures: the error state, which in turn writes its errors here.
  void AttachErrorState(FailureReport report) { report_ = std::move(report); }

  // Who is told every line of log type 2, without its time, whatever the log type; nobody at the start.
  void SetTrace(Trace trace) { trace_ = std::move(trace); }

  // 0 nothing, 1 errors, 2 errors and activity.
  void SetLogType(std::int16_t logType) { logType_ = logType; }
  std::int16_t LogType() const { return logType_; }
  // Whether anybody gets an activity line, for lines that cost something to make.
  bool TakesActivity() const { return logType_ >= kActivity || trace_; }

  // Keeps the old folder, and returns false, when the new one does not exist. The folder reads back with the separator
  // at its end.
  bool SetFolderPath(std::u16string_view folder);
  const std::u16string& FolderPath() const { return folder_; }
  bool FolderExists(std::u16string_view folder) const;

  // What a line shows of a PIN.
  std::string Secret(const std::string& pin) const;

  // Appends one activity line. CR and LF in the text are written as "<cr>" and "<lf>"; a blank text writes nothing.
  void WriteLog(std::string_view text);
  // Appends one error line. 8004, the log's own failure to write, is not written.
  void WriteErrorLine(std::int32_t code, std::string_view text);

  // The pieces that CR LF makes of the file: one more than its lines; 0 when it is empty or missing.
  std::int32_t LineCount();
  // Keeps the last lines and a blank one behind them, or nothing for 0 and below. True on success.
  bool Clear(std::int16_t linesToKeep);

 private:
  static constexpr std::int16_t kErrors = 1, kActivity = 2;

  std::u16string WithSeparator(std::u16string_view folder) const;
  void UseFolder(std::u16string_view folder);
  void Append(std::int16_t least, std::string_view prefix, std::string_view text);
  const std::string& Stamp();
  bool IsNotYetWritten() const;
  bool ReadLastLines(std::int16_t count, std::string& lines) const;
  void Report(const ErrorDefinition& error);

  Platform& platform_;
  const bool isGuarded_;
  FailureReport report_;
  Trace trace_;
  std::int16_t logType_ = 0;
  std::u16string folder_;
  std::u16string file_;
  std::string line_;  // the line being written, kept for its memory
  std::string stamp_;
  std::int64_t stampSecond_ = 0;
};

// With every carriage return as "<cr>" and every line feed as "<lf>".
std::string OnOneLine(std::string_view text);

}  // namespace tavro
