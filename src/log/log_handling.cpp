#include "log/log_handling.h"

#include <algorithm>
#include <cstdio>
#include <deque>
#include <limits>
#include <memory>
#include <utility>
#include <vector>

#include "base/error_codes.h"
#include "base/text.h"
#include "log/guarded_text.h"

namespace tavro {

namespace {

constexpr char16_t kFileName[] = u"Tavro.log";
constexpr std::string_view kLineEnd = "\r\n";

struct CloseFile {
  void operator()(std::FILE* file) const { std::fclose(file); }
};
using File = std::unique_ptr<std::FILE, CloseFile>;

// Reads a file from its start and calls `visit` with each block. False when it cannot be read.
template <typename Visit>
bool ReadBlocks(Platform& platform, std::u16string_view path, Visit visit) {
  const File file(platform.OpenFile(path));
  if (!file) return false;
  std::vector<char> block(1 << 16);
  while (const std::size_t size = std::fread(block.data(), 1, block.size(), file.get())) {
    visit(std::string_view(block.data(), size));
  }
  return std::ferror(file.get()) == 0;
}

// Reads a file and calls `visit` with the position behind each line end.
template <typename Visit>
bool ScanLineEnds(Platform& platform, std::u16string_view path, std::int64_t& size, Visit visit) {
  size = 0;
  char last = 0;
  return ReadBlocks(platform, path, [&](std::string_view block) {
    for (auto found = block.find('\n'); found != std::string_view::npos; found = block.find('\n', found + 1)) {
      if ((found > 0 ? block[found - 1] : last) == '\r') visit(size + static_cast<std::int64_t>(found) + 1);
    }
    last = block.back();
    size += static_cast<std::int64_t>(block.size());
  });
}

void AppendOnOneLine(std::string& line, std::string_view text) {
  std::size_t end = 0;
  while ((end = std::min(text.find('\r'), text.find('\n'))) != std::string_view::npos) {
    line.append(text, 0, end).append(text[end] == '\r' ? "<cr>" : "<lf>");
    text.remove_prefix(end + 1);
  }
  line += text;
}

}  // namespace

std::string OnOneLine(std::string_view text) {
  std::string line;
  AppendOnOneLine(line, text);
  return line;
}

LogHandling::LogHandling(Platform& platform, bool isGuarded) : platform_(platform), isGuarded_(isGuarded) {
  UseFolder(platform.ComponentFolder());
}

// "C:" without a separator is no folder.
std::u16string LogHandling::WithSeparator(std::u16string_view folder) const {
  std::u16string path(folder);
  if (!path.empty() && path.back() != platform_.PathSeparator()) path += platform_.PathSeparator();
  return path;
}

void LogHandling::UseFolder(std::u16string_view folder) {
  folder_ = WithSeparator(folder);
  file_ = folder_ + kFileName;
}

bool LogHandling::FolderExists(std::u16string_view folder) const {
  return !folder.empty() && folder.find(u'\0') == std::u16string_view::npos &&
         platform_.KindOf(WithSeparator(folder)) == PathKind::kFolder;
}

bool LogHandling::SetFolderPath(std::u16string_view folder) {
  if (!FolderExists(folder)) return false;
  UseFolder(folder);
  return true;
}

std::string LogHandling::Secret(const std::string& pin) const {
  return isGuarded_ && !pin.empty() ? std::string(kHiddenSecret) : pin;
}

void LogHandling::WriteLog(std::string_view text) {
  if (!TakesActivity() || Trim(text).empty()) return;
  Append(kActivity, "", text);
}

void LogHandling::WriteErrorLine(std::int32_t code, std::string_view text) {
  if ((logType_ < kErrors && !trace_) || code == 0 || code == kCannotOpenLog.code) return;
  Append(kErrors, "ERROR [" + std::to_string(code) + "] ", text);
}

// In the file only with the least log type that has such lines.
void LogHandling::Append(std::int16_t least, std::string_view prefix, std::string_view text) {
  line_ = Stamp();
  const std::size_t start = line_.size();
  line_ += prefix;
  if (isGuarded_) {
    AppendOnOneLine(line_, GuardedText(platform_, text));
  } else {
    AppendOnOneLine(line_, text);
  }
  if (trace_) trace_(platform_.FromCodePage(std::string_view(line_).substr(start)));
  if (logType_ < least) return;
  line_ += kLineEnd;
  if (!platform_.WriteToFile(file_, line_, true)) Report(kCannotOpenLog);
}

// "YYYY-MM-DD HH:MM:SS: ", made once a second.
const std::string& LogHandling::Stamp() {
  const std::int64_t now = platform_.WallClock();
  if (stamp_.empty() || now / 1000 != stampSecond_) {
    const LocalTime local = platform_.ToLocal(now);
    char text[64];
    std::snprintf(text, sizeof text, "%04d-%02d-%02d %02d:%02d:%02d: ", local.year, local.month, local.day, local.hour,
                  local.minute, local.second);
    stamp_ = text;
    stampSecond_ = now / 1000;
  }
  return stamp_;
}

void LogHandling::Report(const ErrorDefinition& error) {
  if (report_) report_(error.code, error.text);
}

bool LogHandling::IsNotYetWritten() const {
  return platform_.KindOf(file_) == PathKind::kMissing && FolderExists(folder_);
}

std::int32_t LogHandling::LineCount() {
  std::int64_t size = 0, lineEnds = 0;
  if (IsNotYetWritten()) return 0;
  if (!ScanLineEnds(platform_, file_, size, [&](std::int64_t) { ++lineEnds; })) {
    Report(kCannotReadLogSize);
    return 0;
  }
  if (size == 0) return 0;
  return static_cast<std::int32_t>(std::min<std::int64_t>(lineEnds + 1, std::numeric_limits<std::int32_t>::max()));
}

bool LogHandling::Clear(std::int16_t linesToKeep) {
  if (IsNotYetWritten()) return true;
  std::string kept;
  if ((linesToKeep <= 0 || ReadLastLines(linesToKeep, kept)) && platform_.WriteToFile(file_, kept, false)) {
    return true;
  }
  Report(kCannotClearLog);
  return false;
}

// The pieces between line ends are numbered from 0; those from (last - count) on are taken, each with a line end: the
// last one is the empty one behind the final line end, so that they end in a blank line.
bool LogHandling::ReadLastLines(std::int16_t count, std::string& lines) const {
  std::deque<std::int64_t> lastLineEnds;
  std::int64_t size = 0, start = 0;
  const bool read = ScanLineEnds(platform_, file_, size, [&](std::int64_t position) {
    lastLineEnds.push_back(position);
    if (std::cmp_less_equal(lastLineEnds.size(), count)) return;
    start = lastLineEnds.front();
    lastLineEnds.pop_front();
  });
  if (!read) return false;
  if (size == 0) return true;
  lines.reserve(static_cast<std::size_t>(size - start) + kLineEnd.size());
  std::int64_t position = 0;
  const bool readAgain = ReadBlocks(platform_, file_, [&](std::string_view block) {
    const std::int64_t skipped = std::clamp<std::int64_t>(start - position, 0, std::ssize(block));
    lines += block.substr(static_cast<std::size_t>(skipped));
    position += std::ssize(block);
  });
  lines += kLineEnd;
  return readAgain;
}

}  // namespace tavro
