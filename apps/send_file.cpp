#include "send_file.h"

#include <algorithm>
#include <cerrno>
#include <fstream>
#include <iostream>
#include <iterator>
#include <map>
#include <stdexcept>
#include <system_error>
#include <utility>

#include "tavro_output.h"

namespace {

using Result = SendJob::Result;

std::filesystem::path PathOf(const std::string& name) { return std::u8string(name.begin(), name.end()); }

[[noreturn]] void Fail(const std::string& path, const std::string& why) { throw std::runtime_error(path + ": " + why); }

std::string Content(const std::string& path) {
  if (path == "-") {
    std::string content{std::istreambuf_iterator<char>(std::cin), {}};
    if (std::cin.bad()) Fail("standard input", "it cannot be read");
    return content;
  }
  std::error_code none;
  if (std::filesystem::is_directory(PathOf(path), none)) Fail(path, "it is a folder");
  errno = 0;
  std::ifstream file(PathOf(path), std::ios::binary);
  std::string content{std::istreambuf_iterator<char>(file), {}};
  if (!file) {
    Fail(path, errno == 0 ? "it cannot be read" : std::generic_category().message(errno));
  }
  return content;
}

std::string ResultOf(const SendJob& job) {
  if (job.IsUndeliverable()) {
    const tavro::StatusReport* const report = DecidingReport(*job.delivery);
    return "not delivered: " + (report ? PrintableLine(report->text) : NameOf(job.delivery->state));
  }
  return NameOf(job.result) + (job.reason.empty() ? "" : ": " + job.reason);
}

std::vector<FailedLines::Line> LinesOf(const std::vector<SendJob>& jobs) {
  std::vector<FailedLines::Line> lines;
  for (const SendJob& job : jobs) {
    if (job.result != Result::kSent || job.IsUndeliverable()) lines.push_back({job.number, job.text, ResultOf(job)});
  }
  return lines;
}

}  // namespace

std::string FailedLinesNameFor(const std::string& path) {
  constexpr std::string_view kEnding = ".csv";
  return (path.ends_with(kEnding) ? path.substr(0, path.size() - kEnding.size()) : path) + ".failed.csv";
}

std::vector<SendJob> ReadSendFile(const std::string& path, const std::string& failed, bool resendsUnknown) {
  std::error_code none;
  if (std::filesystem::exists(std::filesystem::symlink_status(PathOf(failed), none))) {
    Fail(failed, "it exists already, perhaps with lines to send; --failed names another file");
  }
  std::vector<SendJob> jobs;
  try {
    jobs = JobsFromCsv(Content(path));
  } catch (const CsvError& error) {
    Fail(path, error.what());
  }
  for (SendJob& job : jobs) {
    if (!job.isLeftOut || !resendsUnknown) continue;
    job.isLeftOut = false;
    job.result = Result::kNotSent;
    job.reason.clear();
  }
  return jobs;
}

std::unique_ptr<FailedLines> MakeFailedLines(const std::string& path, const std::vector<SendJob>& jobs) {
  try {
    return std::make_unique<FailedLines>(PathOf(path), LinesOf(jobs));
  } catch (const std::runtime_error& error) {
    throw OperationFailed(path + ": " + error.what() + "; nothing was sent",
                          "make room there, or name another file with --failed");
  }
}

void FinishSendFile(const std::vector<SendJob>& jobs, FailedLines* lines, const std::string& path, bool waited,
                    std::ostream& summary) {
  std::map<Result, std::size_t> counts;
  std::size_t delivered = 0, undeliverable = 0;
  std::string unknown;  // the lines
  for (const SendJob& job : jobs) {
    ++counts[job.result];
    delivered += job.delivery && tavro::IsFinal(job.delivery->state) && !job.IsUndeliverable();
    undeliverable += job.IsUndeliverable();
    if (job.result == Result::kUnknown) unknown += (unknown.empty() ? "" : ", ") + std::to_string(job.line);
  }
  summary << jobs.size() << (jobs.size() == 1 ? " message: " : " messages: ") << counts[Result::kSent] << " sent";
  if (waited) {
    summary << " (" << delivered << " delivered, " << undeliverable << " undeliverable, "
            << counts[Result::kSent] - delivered - undeliverable << " without a report yet)";
  }
  for (const Result result : {Result::kRefused, Result::kNotSent}) {
    if (counts[result] > 0) summary << ", " << counts[result] << ' ' << NameOf(result);
  }
  if (!unknown.empty()) summary << ", " << counts[Result::kUnknown] << " perhaps sent (line " << unknown << ')';
  summary << std::endl;

  const std::vector<FailedLines::Line> left = LinesOf(jobs);
  if (lines) {
    try {
      lines->Finish(left);
    } catch (const std::exception& error) {
      std::cerr << "tavro: " << PrintableLine(path + ": " + error.what())
                << "; it has all lines, and its last column says which were sent: it can be sent as it is\n"
                << "  hint: make room there, and give it to --csv with another --failed\n";
      return;
    }
  }
  if (left.empty()) return;
  if (lines) {
    std::string kinds;
    if (counts[Result::kRefused] + counts[Result::kNotSent] > 0) kinds += "not sent, ";
    if (!unknown.empty()) kinds += "perhaps sent, ";
    if (undeliverable > 0) kinds += "not delivered, ";
    kinds.resize(kinds.size() - 2);
    summary << "What is " << kinds << " stands in " << PrintableLine(path) << '\n';
  }
  if (!unknown.empty()) summary << "What is perhaps sent is only sent again with --send-unknown\n";
  summary << std::flush;
}
