// What of a file of messages was not sent, in a file that can be sent in its place.
//
//   number,text,result
//   +4915112345678,"Hello, you",not sent
//   +4915112345679,Hello,"failed: error 4012: Invalid response to submit PDU [Response: +CMS ERROR: 38]"
//   +4915112345670,Hello,"unknown: error 4012: Invalid response to submit PDU [Response: Result unknown]"
//
// Reading it again leaves out what begins with "sent", and keeps apart what begins with "unknown".
//
// While messages are sent it holds all of them, and the eight octets of each result are written anew in their place,
// before and behind each message: so it is right also when the program is killed or the disk is full.
#pragma once

#include <cstddef>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

class FailedLines {
 public:
  struct Line {
    std::string number, text;
    std::string result;  // its first eight octets count until Finish
  };
  static constexpr const char *kSent = "sent", *kUnknown = "unknown", *kFailed = "failed", *kNotSent = "not sent";

  // Makes the file. Throws std::runtime_error when it is there already or cannot be written.
  FailedLines(std::filesystem::path path, const std::vector<Line>& lines);
  FailedLines(const FailedLines&) = delete;
  FailedLines& operator=(const FailedLines&) = delete;

  // The result of a line from now on, one of those above. Throws std::runtime_error when it cannot be written.
  void Mark(std::size_t index, const std::string& result);
  // Leaves these lines alone in the file, and no file when there are none. Throws std::runtime_error when that cannot
  // be written, and leaves the file as it was.
  void Finish(const std::vector<Line>& left);

 private:
  [[noreturn]] void Fail(const std::string& what) const;

  const std::filesystem::path path_;
  std::fstream file_;
  std::vector<std::streamoff> places_;  // of the results
};
