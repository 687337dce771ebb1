// What the log costs beside a floor: opening, writing and closing a file for a line that is ready.
//
// The limits: WriteLog 1.1 times the floor; LogSize and ClearLog in time linear in the file's size, with memory of at
// most twice the file. Prints each figure and exits with 1 when one is over its limit.
#include <sys/resource.h>
#include <time.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <functional>
#include <string>
#include <vector>

#include "judge.h"
#include "log/log_handling.h"
#include "simulator/simulated_line.h"

namespace {

constexpr int kLines = 2000;
constexpr int kRounds = 25;
constexpr std::string_view kText = "Send: AT+CMGS=23<cr> and what else a line of the log may hold, some eighty letters";

// Of CPU time.
double Microseconds(const std::function<void()>& work) {
  const auto now = [] {
    timespec time{};
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &time);
    return static_cast<double>(time.tv_sec) * 1e6 + static_cast<double>(time.tv_nsec) / 1e3;
  };
  const double start = now();
  work();
  return now() - start;
}

double Median(std::vector<double> values) {
  std::nth_element(values.begin(), values.begin() + static_cast<long>(values.size() / 2), values.end());
  return values[values.size() / 2];
}

void WriteFloorLine(const std::string& file, const std::string& line) {
  std::FILE* out = std::fopen(file.c_str(), "abe");
  std::setvbuf(out, nullptr, _IONBF, 0);
  std::fwrite(line.data(), 1, line.size(), out);
  std::fclose(out);
}

long PeakKilobytes() {
  rusage usage{};
  getrusage(RUSAGE_SELF, &usage);
  return usage.ru_maxrss;
}

// A file of lines, about `megabytes` in size.
void Fill(const std::filesystem::path& file, int megabytes) {
  std::ofstream out(file, std::ios::binary | std::ios::trunc);
  std::string block;
  while (block.size() < 1'000'000) block.append("2024-03-05 14:07:09: ").append(kText).append("\r\n");
  for (int i = 0; i < megabytes; ++i) out << block;
}

}  // namespace

int main() {
  const auto folder = std::filesystem::temp_directory_path() / ("tavro-log-bench-" + std::to_string(getpid()));
  std::filesystem::create_directory(folder);
  const auto file = folder / "Tavro.log";
  tavro::SimulatedLine line;
  tavro::LogHandling log(line);
  log.SetFolderPath(folder.u16string());
  log.SetLogType(2);

  // Turn by turn, so that both meet the same machine.
  const std::string ready = "2024-03-05 14:07:09: " + std::string(kText) + "\r\n";
  const std::string floorFile = (folder / "floor.log").string();
  std::vector<double> ratios;
  for (int round = 0; round < kRounds; ++round) {
    const double floor = Microseconds([&] {
      for (int i = 0; i < kLines; ++i) WriteFloorLine(floorFile, ready);
    });
    const double ours = Microseconds([&] {
      for (int i = 0; i < kLines; ++i) log.WriteLog(kText);
    });
    ratios.push_back(ours / floor);
  }
  bool within = Judge("WriteLog", Median(ratios), "times", 1.1, "open, write and close");

  const auto measure = [&](int megabytes, const std::function<void()>& work) {
    std::vector<double> times;
    for (int round = 0; round < 5; ++round) {
      Fill(file, megabytes);
      times.push_back(Microseconds(work));
    }
    return Median(times);
  };
  const long before = PeakKilobytes();
  const double size25 = measure(25, [&] { log.LineCount(); });
  const double size100 = measure(100, [&] { log.LineCount(); });
  const double clear25 = measure(25, [&] { log.Clear(1000); });
  const double clear100 = measure(100, [&] { log.Clear(1000); });
  const double fileKilobytes = 100 * 1'000'000 / 1024.0;
  within &= Judge("LogSize of 100 MB", size100 / size25, "times", 6, "25 MB");
  within &= Judge("ClearLog of 100 MB", clear100 / clear25, "times", 6, "25 MB");
  within &=
      Judge("memory of both", static_cast<double>(PeakKilobytes() - before) / fileKilobytes, "times", 2, "the file");
  std::filesystem::remove_all(folder);
  return within ? 0 : 1;
}
