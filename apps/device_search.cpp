#include "device_search.h"

#include <iostream>
#include <sstream>
#include <string>
#include <utility>

#include "base/error_codes.h"
#include "console.h"
#include "end_signals.h"
#include "failure_hints.h"
#include "platform/utf8.h"
#include "progress_line.h"
#include "tavro_output.h"
#include "tavro_session.h"

namespace {

using tavro::SerialDevice, tavro::ToUtf8;
using Outcome = tavro::SerialProbe::Outcome;

std::string NameOf(const SerialDevice& device) {
  std::string name = device.Path();
  if (!device.probe || device.probe->model.empty()) return name;
  return name + " (" + ToUtf8(device.probe->maker) + (device.probe->maker.empty() ? "" : " ") +
         ToUtf8(device.probe->model) + ")";
}

// Why none of the devices can be used, by the one that tells most.
[[noreturn]] void RefuseAll(const std::vector<SerialDevice>& devices) {
  if (devices.empty()) {
    throw OperationFailed("no device is named, and there is no serial device here",
                          "plug the modem in, or name where it is: -d DEVICE, or TAVRO_DEVICE");
  }
  for (const Outcome outcome : {Outcome::kBusy, Outcome::kNoPermission}) {
    for (const SerialDevice& device : devices) {
      if (!device.probe || device.probe->outcome != outcome) continue;
      const OperationFailed reason(ToUtf8(device.probe->error), tavro::kSerialPortError, device.path);
      throw OperationFailed("no modem can be used: " + device.Path() + ": " + reason.what(), HintFor(reason));
    }
  }
  throw OperationFailed("no device is named, and no modem answers at " +
                            (devices.size() == 1 ? devices[0].Path()
                                                 : "any of the " + std::to_string(devices.size()) + " serial devices"),
                        "see them with tavro ports --probe, or name where the modem is: -d DEVICE -b RATE");
}

}  // namespace

std::vector<SerialDevice> CandidateDevices() {
  const std::string named = EnvironmentValue("TAVRO_DEVICES");
  if (named.empty()) return tavro::SerialDevices();
  std::vector<SerialDevice> devices;
  std::istringstream names(named);
  for (std::string path; names >> path;) devices.emplace_back().path = path;
  return devices;
}

std::vector<SerialDevice> ProbedDevices(std::vector<SerialDevice> devices) {
  ProgressLine progress;
  if (!devices.empty()) progress.Show("asking each serial device what answers there ...");
  tavro::ProbeOptions options;
  options.interrupted = [] { return EndSignals::Received() != 0; };
  devices = tavro::ProbeSerialDevices(std::move(devices), options);
  if (EndSignals::Received() != 0) throw OperationFailed("not all devices were asked");
  return devices;
}

SerialDevice FindModem() {
  const std::vector<SerialDevice> devices = ProbedDevices(CandidateDevices());
  std::vector<const SerialDevice*> modems;
  for (const SerialDevice& device : devices) {
    if (device.probe && device.probe->isRecommended) modems.push_back(&device);
  }
  if (modems.empty()) RefuseAll(devices);
  if (modems.size() > 1) {
    std::string names;
    for (const SerialDevice* modem : modems) names += (names.empty() ? "" : ", ") + NameOf(*modem);
    throw OperationFailed("several modems answer: " + names, "name one: -d " + modems[0]->Path() + ", or TAVRO_DEVICE");
  }
  std::cerr << "tavro: using " << PrintableLine(NameOf(*modems[0])) << '\n';
  return *modems[0];
}
