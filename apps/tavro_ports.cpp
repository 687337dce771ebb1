// tavro ports: the serial devices of this machine.
#include <algorithm>
#include <array>
#include <cstddef>
#include <iostream>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "command_line.h"
#include "console.h"
#include "device_search.h"
#include "end_signals.h"
#include "platform/utf8.h"
#include "tavro/serial_devices.h"
#include "tavro_output.h"

namespace {

using tavro::SerialDevice, tavro::SerialProbe, tavro::ToUtf8;
using Outcome = SerialProbe::Outcome;

struct PortsArguments {
  bool probe = false;  // ask what answers at them
  bool json = false;
  bool jsonLines = false;
};

struct OutcomeNames {
  const char* json;
  const char* words;
};

OutcomeNames NamesOf(Outcome outcome) {
  switch (outcome) {
    case Outcome::kAnswered:
      return {"answered", "a modem answers"};
    case Outcome::kSilent:
      return {"silent", "no modem answers"};
    case Outcome::kBusy:
      return {"busy", "another program has it"};
    case Outcome::kNoPermission:
      return {"noPermission", "this user may not open it"};
    case Outcome::kFailed:
      break;
  }
  return {"failed", "it cannot be used"};
}

// Nothing stands for what is not known.
Json Text(const std::u16string& text) { return text.empty() ? Json() : Json(ToUtf8(text)); }

Json JsonOf(const SerialProbe& probe) {
  Json json = {{"outcome", NamesOf(probe.outcome).json}, {"error", Text(probe.error)}};
  if (probe.outcome != Outcome::kAnswered) return json;
  json.update({{"baudRate", probe.baudRate},
               {"maker", Text(probe.maker)},
               {"model", Text(probe.model)},
               {"imei", Text(probe.imei)},
               {"simState", Text(probe.simState)},
               {"takesIndications", probe.takesIndications},
               {"isRecommended", probe.isRecommended}});
  return json;
}

Json JsonOf(const SerialDevice& device) {
  Json json = {{"path", device.path},
               {"stablePath", device.stablePath.empty() ? Json() : Json(device.stablePath)},
               {"maker", Text(device.maker)},
               {"product", Text(device.product)},
               {"serialNumber", Text(device.serialNumber)},
               {"driver", device.driver.empty() ? Json() : Json(device.driver)}};
  if (device.probe) json["probe"] = JsonOf(*device.probe);
  return json;
}

// What answers there, in words.
std::string AnswerOf(const SerialDevice& device) {
  if (!device.probe) return {};
  const SerialProbe& probe = *device.probe;
  std::string answer = NamesOf(probe.outcome).words;
  if (!probe.error.empty()) answer += " (" + ToUtf8(probe.error) + ")";
  if (probe.outcome != Outcome::kAnswered) return PrintableLine(answer);
  answer += ": " + ToUtf8(probe.maker) + (probe.maker.empty() ? "" : " ") + ToUtf8(probe.model);
  if (!probe.simState.empty()) answer += ", SIM " + ToUtf8(probe.simState);
  return PrintableLine(answer + ", " + std::to_string(probe.baudRate) + " bit/s" +
                       (probe.isRecommended ? "; the one to use" : ""));
}

constexpr std::size_t kColumns = 4;
constexpr std::array<const char*, kColumns> kHeadings = {"Device", "Maker and product", "Stable name", "What answers"};
using Row = std::array<std::string, kColumns>;

Row RowOf(const SerialDevice& device) {
  const std::string space = device.maker.empty() || device.product.empty() ? "" : " ";
  return {PrintableLine(device.path), PrintableLine(ToUtf8(device.maker) + space + ToUtf8(device.product)),
          PrintableLine(device.stablePath), AnswerOf(device)};
}

// A table where the terminal has room for one, else what is known of each device one below the other.
void PrintTable(const std::vector<SerialDevice>& devices) {
  constexpr int kGap = 2;
  std::vector<Row> rows;
  for (const SerialDevice& device : devices) rows.push_back(RowOf(device));
  std::array<int, kColumns> widths = {};
  int total = 0;
  for (std::size_t i = 0; i < kColumns; ++i) {
    for (const Row& row : rows) widths[i] = std::max(widths[i], DisplayWidth(row[i]));
    if (widths[i] > 0) widths[i] = std::max(widths[i], DisplayWidth(kHeadings[i]));
    if (widths[i] > 0) total += widths[i] + kGap;
  }
  if (IsTerminal(Stream::kOutput) && total - kGap > TerminalWidth()) {
    for (const Row& row : rows) {
      std::cout << Coloured(Stream::kOutput, Colour::kBold, row[0]) << '\n';
      for (std::size_t i = 1; i < kColumns; ++i) {
        if (!row[i].empty()) std::cout << "  " << row[i] << '\n';
      }
    }
    return;
  }
  const auto line = [&](const auto& row) {
    std::string text;
    for (std::size_t i = 0; i < kColumns; ++i) {
      if (widths[i] == 0) continue;
      text += row[i];
      text.append(static_cast<std::size_t>(widths[i] + kGap - DisplayWidth(row[i])), ' ');
    }
    return text.substr(0, text.find_last_not_of(' ') + 1);
  };
  std::cout << Coloured(Stream::kOutput, Colour::kBold, line(kHeadings)) << '\n';
  for (const Row& row : rows) std::cout << line(row) << '\n';
}

// As text there is a note on standard error when there are none. Throws OperationFailed when one of EndSignals came
// meanwhile.
void ListPorts(const PortsArguments& arguments) {
  std::vector<SerialDevice> devices = CandidateDevices();
  if (arguments.probe) devices = ProbedDevices(std::move(devices));
  if (arguments.json || arguments.jsonLines) {
    Json list = Json::array();
    for (const SerialDevice& device : devices) {
      list.push_back(JsonOf(device));
      if (arguments.jsonLines) std::cout << DumpLine(list.back()) << '\n';
    }
    if (arguments.json) std::cout << Dump(list) << '\n';
  } else if (devices.empty()) {
    std::cerr << "tavro: no serial devices\n";
  } else {
    PrintTable(devices);
  }
}

}  // namespace

void AddPorts(CommandLine& line) {
  const auto arguments = std::make_shared<PortsArguments>();
  CLI::App* ports = line.Add(
      "ports", "List the serial devices of this machine; needs no --device",
      [arguments] {
        EndSignals::Watch();
        ListPorts(*arguments);
        return kDone;
      },
      [&line] { line.RefuseDevice("ports", "it lists all devices, and takes none"); });
  ports->add_flag("--probe", arguments->probe, "Ask what answers at each, and say which one to use");
  CLI::Option* json = ports->add_flag("--json", arguments->json, "Print JSON");
  ports->add_flag("--jsonl", arguments->jsonLines, "Print JSON, one object a line")->excludes(json);
}
