#include "failed_lines.h"

#include <cerrno>
#include <stdexcept>
#include <system_error>
#include <utility>

#include "csv.h"

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

}  // namespace

FailedLines::FailedLines(std::filesystem::path path, const std::vector<Line>& lines) : path_(std::move(path)) {
  std::error_code none;
  if (std::filesystem::exists(std::filesystem::symlink_status(path_, none))) {
    throw std::runtime_error("it exists already");
  }
  file_.open(path_, std::ios::binary | std::ios::in | std::ios::out | std::ios::trunc);
  if (!file_) Fail("it cannot be made");
  std::string content = kHeader;
  for (const Line& line : lines) {
    content += RowOf(line, MarkOf(line.result));
    places_.push_back(static_cast<std::streamoff>(content.size() - kMarkSize - 1));
  }
  if (!file_.write(content.data(), static_cast<std::streamsize>(content.size())).flush()) {
    const int error = errno;
    file_.close();
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
