// What tests share: a folder of their own, the log in it, and the component over a simulated line.
#pragma once

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include "base/text.h"
#include "simulator/simulated_line.h"
#include "simulator/simulated_modem.h"
#include "tavro/sms.h"

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

// An SMS object with a simulated modem at COM1, which logs everything into a folder of its own.
struct Engine {
  explicit Engine(ModemSettings settings = {}, Dialogue dialogue = Dialogue::kClassic)
      : modem(std::move(settings)), sms(line, Options{.dialogue = dialogue}) {
    sms.SetPort(u"COM1");
    sms.SetLogFolderPath(folder.Path().u16string());
    sms.SetLogType(2);
  }

  std::string ErrorText() { return line->ToCodePage(sms.ErrorDescription()); }

  TempFolder folder;
  SimulatedModem modem;
  std::shared_ptr<SimulatedLine> line = std::make_shared<SimulatedLine>(modem);
  SMS sms;
};

}  // namespace tavro
