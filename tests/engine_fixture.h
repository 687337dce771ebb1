// What tests share: a folder of their own, the log in it, and the component over a simulated line.
#pragma once

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include "base/text.h"
#include "simulator/simulated_modem.h"
#include "tavro/sms.h"
#include "transcript.h"

namespace tavro {

class TempFolder {
 public:
  TempFolder() {
    std::string name = (std::filesystem::temp_directory_path() / "tavro-test-XXXXXX").string();
    if (!mkdtemp(name.data())) throw std::runtime_error("no temporary folder");
    path_ = name;
  }
  ~TempFolder() {
    std::error_code error;
    std::filesystem::remove_all(path_, error);
  }
  TempFolder(const TempFolder&) = delete;
  TempFolder& operator=(const TempFolder&) = delete;

  const std::filesystem::path& Path() const { return path_; }
  std::filesystem::path LogFile() const { return path_ / "Tavro.log"; }
  std::string Log() const {
    std::ifstream file(LogFile(), std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
  }
  // The log's lines without date and time.
  std::vector<std::string> LogLines() const {
    std::vector<std::string> lines;
    const std::string log = Log();
    for (const auto line : Split(log, "\r\n")) {
      if (line.size() > 21) lines.emplace_back(line.substr(21));
    }
    return lines;
  }
  // Those that hold a text.
  std::vector<std::string> LogLinesWith(std::string_view part) const {
    std::vector<std::string> found;
    for (auto& line : LogLines()) {
      if (Contains(line, part)) found.push_back(line);
    }
    return found;
  }

 private:
  std::filesystem::path path_;
};

// A UCS2 message of one letter, its code in hexadecimal, from +491701234567
// at 13:07:09 UTC, an hour before the simulated line's clock starts.
inline std::string Letter(const std::string& letter) {
  return "0791947101670000040C919471103254760008423050417090400200" + letter;
}

// An SMS object with a simulated modem at COM1, which logs everything into a folder of its own.
struct Engine {
  explicit Engine(ModemSettings settings = {}, Dialogue dialogue = Dialogue::kClassic)
      : Engine(std::move(settings), Options{.dialogue = dialogue}) {}
  Engine(ModemSettings settings, const Options& options) : modem(std::move(settings)), sms(line, options) {
    sms.SetPort(u"COM1");
    sms.SetLogFolderPath(folder.Path().u16string());
    sms.SetLogType(2);
  }

  // The texts of the inbox, joined by "|", and the places that the modem's memory has taken.
  std::string Texts() {
    std::string texts;
    for (auto& message : *sms.Inbox()) texts += (texts.empty() ? "" : "|") + line->ToCodePage(message.Text());
    return texts;
  }
  std::vector<int> Locations() const {
    std::vector<int> locations;
    for (const auto& message : modem.Stored()) locations.push_back(message.location);
    return locations;
  }

  std::string ErrorText() { return line->ToCodePage(sms.ErrorDescription()); }

  // The transcript (see transcript.h) with a last line that says how the call ended: its error, or else the warning
  // that it left as the previous one, and whether the port is open. Clears the error.
  std::string Transcript(std::string_view from = {}, std::string_view to = {}) {
    const std::string dialogue = line->Transcript(from, to), code = std::to_string(sms.ErrorCode());
    const std::string error = ErrorText(), previous = PreviousError();
    std::string text = dialogue + "error " + code;
    if (!error.empty()) text += " " + error;
    if (code == "0" && previous != "NONE") text += ", previous " + previous;
    const bool connected = sms.IsConnected(), open = line->IsAnyOpen();
    text +=
        std::string(connected ? ", connected" : ", disconnected") + (connected == open ? "\n" : " unlike its handle\n");
    line->StartTranscript();
    return text;
  }

  // The error before the last one, "NONE" when there was none since this was asked last. Raises one itself.
  std::string PreviousError() {
    const bool debug = sms.DebugMode();
    const std::int16_t logType = sms.LogType();
    sms.SetLogType(0);
    sms.SetDebugMode(true);
    sms.SetCharacter(-1);
    const std::string box = line->ToCodePage(line->MessageBoxes().back().text);
    sms.SetDebugMode(debug);
    sms.SetLogType(logType);
    const std::string previous = RemoveAll(box.substr(box.find("Previous Error: ") + 16), "\r\n");
    return previous == "ERROR 4015: Invalid character encoding" ? "NONE" : previous;
  }

  TempFolder folder;
  SimulatedModem modem;
  std::shared_ptr<TranscriptLine> line = std::make_shared<TranscriptLine>(modem);
  SMS sms;
};

// A test whose outcome is the same in both manners.
class BothManners : public testing::TestWithParam<Dialogue> {};
inline constexpr Dialogue kManners[] = {Dialogue::kClassic, Dialogue::kPrompt};
inline std::string MannerName(const testing::TestParamInfo<Dialogue>& info) {
  return info.param == Dialogue::kClassic ? "Classic" : "Prompt";
}

}  // namespace tavro
