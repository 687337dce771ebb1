// How a benchmark tells a figure. bench/run makes one table of these lines.
#pragma once

#include <cstdio>
#include <string>

// One line per figure: whether it is within its limit, what it is, the value, and what it is measured by. False when it
// is over the limit.
inline bool Judge(const std::string& what, double value, const char* unit, double limit,
                  const std::string& floor = {}) {
  const bool within = value <= limit;
  std::printf("%-4s %-50s %10.3f %-5s limit %-8.4g%s%s\n", within ? "ok" : "OVER", what.c_str(), value, unit, limit,
              floor.empty() ? "" : " of ", floor.c_str());
  return within;
}

// A figure without a limit.
inline void Tell(const std::string& what, double value, const char* unit, const std::string& remark = {}) {
  std::printf("     %-50s %10.3f %-5s %s\n", what.c_str(), value, unit, remark.c_str());
}

// Another program at the same job, in ms. False when it is as fast as ours or faster.
inline bool JudgePeer(const std::string& what, double value, double own, bool isStopped) {
  const bool within = own < value;
  std::printf("%-4s %-50s %10.3f ms%s: tavro is %.1f times as fast\n", within ? "ok" : "OVER", what.c_str(), value,
              isStopped ? " and not done" : "", value / own);
  return within;
}
