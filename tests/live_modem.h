// A simulated modem and what is said on its line, written down to compare with a dialogue that is written out.
#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <map>
#include <string>
#include <string_view>
#include <utility>

#include "base/text.h"
#include "simulator/printable.h"
#include "simulator/simulated_modem.h"

namespace tavro {

// Each line has the time and the direction: "10 > AT<cr>", "10 < |OK|". "|" is CR LF, and PDUs may go by names.
class LiveModem : public testing::Test {
 protected:
  LiveModem() { modem_.Settings().echo = false; }

  void Send(std::int64_t ms, std::string_view bytes) {
    Until(ms);
    Note(ms, '>', bytes);
    modem_.Receive(bytes, ms);
    Until(ms);
  }
  void Until(std::int64_t ms) {
    for (auto due = modem_.NextOutput(); due && *due <= ms; due = modem_.NextOutput()) {
      Note(*due, '<', modem_.TakeOutput(*due));
    }
  }
  int Incoming(std::int64_t ms, std::string_view pdu) {
    Until(ms);
    const int location = modem_.Incoming(pdu, ms);
    Until(ms);
    return location;
  }
  // Begins with a line end, as R"( and a new line does.
  std::string Transcript() { return std::exchange(transcript_, "\n"); }

  SimulatedModem modem_;
  std::map<std::string, std::string> names_;  // by PDU

 private:
  void Note(std::int64_t ms, char direction, std::string_view bytes) {
    if (bytes.empty()) return;
    std::string text = ReplaceAll(Printable(bytes), "<cr><lf>", "|");
    for (const auto& [pdu, name] : names_) text = ReplaceAll(text, pdu, name);
    transcript_ += std::to_string(ms) + " " + direction + " " + text + "\n";
  }

  std::string transcript_ = "\n";
};

}  // namespace tavro
