// What fuzz targets share: a check, and a simulated line that keeps the log to itself.
#pragma once

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string_view>

#include "simulator/simulated_line.h"

namespace tavro {

inline void Require(bool condition) {
  if (!condition) std::abort();
}

// The log costs no file here. Each of its lines is one: nothing that comes from outside begins another.
class FuzzLine : public SimulatedLine {
 public:
  using SimulatedLine::SimulatedLine;

  // From this virtual time on the program wants to end.
  void InterruptFrom(std::int64_t elapsedMs) { interruptedFrom_ = elapsedMs; }
  // How often something was written to a port.
  int WriteCount() const { return writes_; }

  bool IsInterrupted() override { return Elapsed() >= interruptedFrom_; }
  PathKind KindOf(std::u16string_view path) override {
    return path.ends_with(u'/') ? PathKind::kFolder : PathKind::kMissing;
  }
  std::FILE* OpenFile(std::u16string_view) override { return nullptr; }
  bool WriteToFile(std::u16string_view, std::string_view content, bool append) override {
    if (!append) return true;
    constexpr std::string_view kStamp = "2024-03-05 14:07:09: ";
    const auto isDigit = [](char c) { return c >= '0' && c <= '9'; };
    Require(content.size() > kStamp.size() && content.ends_with("\r\n"));
    for (std::size_t i = 0; i < kStamp.size(); ++i) {
      Require(isDigit(kStamp[i]) ? isDigit(content[i]) : content[i] == kStamp[i]);
    }
    Require(content.find_first_of("\r\n") == content.size() - 2);
    return true;
  }
  bool Write(Handle handle, const char* data, std::uint32_t size, std::uint32_t& bytesWritten) override {
    ++writes_;
    return SimulatedLine::Write(handle, data, size, bytesWritten);
  }

 private:
  std::int64_t interruptedFrom_ = INT64_MAX;
  int writes_ = 0;
};

}  // namespace tavro
