// tavro ports: the serial devices of this machine.
#include <iostream>
#include <memory>
#include <stdexcept>
#include <vector>

#include "command_line.h"
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

void PrintItem(const char* label, const std::u16string& value) {
  if (!value.empty()) std::cout << "    " << label << ": " << PrintableLine(value) << '\n';
}
void PrintItem(const char* label, const std::string& value) { PrintItem(label, tavro::FromUtf8(value)); }

void Print(const SerialDevice& device) {
  std::cout << PrintableLine(tavro::FromUtf8(device.path)) << '\n';
  PrintItem("Stable name", device.stablePath);
  PrintItem("Maker", device.maker);
  PrintItem("Product", device.product);
  PrintItem("Serial number", device.serialNumber);
  if (!device.probe) return;
  const SerialProbe& probe = *device.probe;
  const std::string error = probe.error.empty() ? "" : " (" + ToUtf8(probe.error) + ")";
  PrintItem("Outcome", NamesOf(probe.outcome).words + error);
  PrintItem("Model", probe.model);
  PrintItem("IMEI", probe.imei);
  PrintItem("SIM", probe.simState);
  if (probe.isRecommended) PrintItem("Use", "tavro -d " + device.Path());
}

// As text there is a note on standard error when there are none. Throws std::runtime_error when one of EndSignals came
// meanwhile.
void ListPorts(const PortsArguments& arguments) {
  std::vector<SerialDevice> devices = tavro::SerialDevices();
  if (arguments.probe) {
    tavro::ProbeOptions options;
    options.interrupted = [] { return EndSignals::Received() != 0; };
    devices = tavro::ProbeSerialDevices(std::move(devices), options);
    if (EndSignals::Received() != 0) throw std::runtime_error("not all devices were asked");
  }
  if (devices.empty() && !arguments.json) std::cerr << "tavro: no serial devices\n";
  Json list = Json::array();
  for (const SerialDevice& device : devices) {
    if (arguments.json) {
      list.push_back(JsonOf(device));
    } else {
      Print(device);
    }
  }
  if (arguments.json) std::cout << Dump(list) << '\n';
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
  ports->add_flag("--json", arguments->json, "Print JSON");
}
