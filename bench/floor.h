// What the benchmarks of the encodings and of the PDUs are measured by.
#pragma once

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdint>
#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "judge.h"

namespace tavro::bench {

// The least that a packed message takes: septets through an accumulator straight into hex digits, nothing allocated.
inline std::size_t PackFloor(std::u16string_view septets, char* hex) {
  constexpr char kDigits[] = "0123456789ABCDEF";
  const char* const start = hex;
  std::uint64_t window = 0;
  int bits = 0;
  for (const char16_t septet : septets) {
    window |= std::uint64_t{septet} << bits;
    bits += 7;
    if (bits >= 8) {
      *hex++ = kDigits[(window >> 4) & 0xF];
      *hex++ = kDigits[window & 0xF];
      window >>= 8;
      bits -= 8;
    }
  }
  if (bits > 0) {
    *hex++ = kDigits[(window >> 4) & 0xF];
    *hex++ = kDigits[window & 0xF];
  }
  return static_cast<std::size_t>(hex - start);
}

// A benchmark's CPU time held to a multiple of another one's.
struct Limit {
  const char* name;
  const char* floor;
  double times;
};

// Keeps the best time of each benchmark's repetitions: on a machine that does other work too, the one least disturbed.
class BestTimes : public benchmark::BenchmarkReporter {
 public:
  bool ReportContext(const Context& context) override {
    PrintBasicContext(&GetErrorStream(), context);
    return true;
  }

  void ReportRuns(const std::vector<Run>& runs) override {
    for (const Run& run : runs) {
      if (run.run_type != Run::RT_Iteration) continue;
      const std::string& arguments = run.run_name.args;
      const std::string name = run.run_name.function_name + (arguments.empty() ? "" : "/" + arguments);
      const double time = run.GetAdjustedCPUTime();
      const auto [entry, isNew] = times_.emplace(name, time);
      if (!isNew) entry->second = std::min(entry->second, time);
    }
  }

  void PrintTimes() const {
    for (const auto& [name, time] : times_) Tell(name, time, "ns");
  }

  // Prints each ratio; returns whether all limits hold. One whose benchmarks were filtered out is left out.
  bool Compare(const std::vector<Limit>& limits) const {
    bool allHold = true;
    for (const Limit& limit : limits) {
      const auto time = times_.find(limit.name);
      const auto floor = times_.find(limit.floor);
      if (time == times_.end() || floor == times_.end()) continue;
      const double ratio = time->second / floor->second;
      allHold = Judge(limit.name, ratio, "times", limit.times, limit.floor) && allHold;
    }
    return allHold;
  }

 private:
  std::map<std::string, double> times_;
};

// The program: runs the benchmarks and fails when a limit does not hold.
inline int Run(int argc, char** argv, const std::vector<Limit>& limits) {
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
  BestTimes times;
  benchmark::RunSpecifiedBenchmarks(&times);
  times.PrintTimes();
  return times.Compare(limits) ? 0 : 1;
}

}  // namespace tavro::bench
