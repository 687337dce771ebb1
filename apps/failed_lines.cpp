#include "failed_lines.h"

#include <cerrno>
#include <stdexcept>
#include <system_error>
#include <utility>

#include "csv.h"
#include "new_file.h"

namespace {

constexpr std::size_t kMarkSize = 8;
constexpr const char* kHeader = "number,text,result\n";

std::string RowOf(const FailedLines::Line& line, const std::string& result) {
  return CsvField(line.number) + ',' + CsvField(line.text) + ',' + result + '\n';
}

std::string MarkOf(std::string result) {
  result.resize(kMarkSize, ' ');
  return result;
}

// Of two programs that want the file one gets it.
void Make(const std::filesystem::path& path) {
  const std::error_code error = MakeNewFile(path);
  if (error == std::errc::file_exists) {
    const std::u8string name = path.filename().u8string();
    throw std::runtime_error(std::string(name.begin(), name.end()) + " exists already");
  }
  if (error) throw std::runtime_error("it cannot be made: " + error.message());
}

}  // namespace

FailedLines::FailedLines(std::filesystem::path path, const std::vector<Line>& lines) : path_(std::move(path)) {
  Make(path_);
  errno = 0;
  file_.open(path_, std::ios::binary | std::ios::in | std::ios::out);
  if (!file_) Fail("it cannot be made");
  std::string content = kHeader;
  for (const Line& line : lines) {
    content += RowOf(line, MarkOf(line.result));
    places_.push_back(static_cast<std::streamoff>(content.size() - kMarkSize - 1));
  }
  if (!file_.write(content.data(), static_cast<std::streamsize>(content.size())).flush()) {
    const int error = errno;
    file_.close();
    std::error_code none;
    std::filesystem::remove(path_, none);
    errno = error;
    Fail("it cannot be written");
  }
}

void FailedLines::Mark(std::size_t index, const std::string& result) {
  file_.clear();
  if (!file_.seekp(places_[index]).write(MarkOf(result).data(), kMarkSize).flush()) Fail("it cannot be written");
}

void FailedLines::Finish(const std::vector<Line>& left) {
  file_.close();
  if (left.empty()) {
    std::filesystem::remove(path_);
    return;
  }
  // Another file in its place: a full disk must not cost what stands here.
  std::filesystem::path next = path_;
  next += ".new";
  Make(next);
  std::ofstream file(next, std::ios::binary | std::ios::trunc);
  file << kHeader;
  for (const Line& line : left) file << RowOf(line, CsvField(line.result));
  file.close();
  if (!file) {
    const int error = errno;
    std::error_code none;
    std::filesystem::remove(next, none);
    errno = error;
    Fail("it cannot be written");
  }
  std::filesystem::rename(next, path_);
}

void FailedLines::Fail(const std::string& what) const {
  throw std::runtime_error(what + ": " + std::generic_category().message(errno));
}
