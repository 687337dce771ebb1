// The C interface to the serial devices of this machine.
#include <atomic>
#include <cstdint>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "c/lists.h"
#include "platform/platform.h"
#include "tavro/serial_devices.h"
#include "tavro/tavro.h"

using namespace tavro;

namespace {

// How often tavro_interrupt_probes was called.
std::atomic<std::uint32_t> interruptions = 0;

std::int32_t OutcomeOf(SerialProbe::Outcome outcome) {
  switch (outcome) {
    case SerialProbe::Outcome::kAnswered:
      return TAVRO_PROBE_ANSWERED;
    case SerialProbe::Outcome::kSilent:
      return TAVRO_PROBE_SILENT;
    case SerialProbe::Outcome::kBusy:
      return TAVRO_PROBE_BUSY;
    case SerialProbe::Outcome::kNoPermission:
      return TAVRO_PROBE_NO_PERMISSION;
    case SerialProbe::Outcome::kFailed:
      break;
  }
  return TAVRO_PROBE_FAILED;
}

tavro_device ElementOf(const SerialDevice& device, Platform& system, Arena& arena) {
  const auto keepPath = [&](const std::string& path) { return arena.Keep(system.FromCodePage(path)); };
  const SerialProbe probe = device.probe.value_or(SerialProbe());
  tavro_device element{};
  element.interface_number = device.interfaceNumber;
  element.outcome = device.probe ? OutcomeOf(probe.outcome) : TAVRO_PROBE_NONE;
  element.baud_rate = probe.baudRate;
  element.takes_indications = probe.takesIndications ? 1 : 0;
  element.gave_indications = probe.gaveIndications ? 1 : 0;
  element.is_recommended = probe.isRecommended ? 1 : 0;
  element.path = keepPath(device.path);
  element.stable_path = keepPath(device.stablePath);
  element.maker = arena.Keep(device.maker);
  element.product = arena.Keep(device.product);
  element.serial_number = arena.Keep(device.serialNumber);
  element.friendly_name = arena.Keep(device.friendlyName);
  element.driver = keepPath(device.driver);
  element.usb_path = keepPath(device.usbPath);
  element.error = arena.Keep(probe.error);
  element.modem_maker = arena.Keep(probe.maker);
  element.modem_model = arena.Keep(probe.model);
  element.imei = arena.Keep(probe.imei);
  element.sim_state = arena.Keep(probe.simState);
  return element;
}

void GiveDevices(const std::vector<SerialDevice>& devices, Platform& system, tavro_list** out) {
  auto list = std::make_shared<ListOf<tavro_device>>();
  for (const SerialDevice& device : devices) list->elements.push_back(ElementOf(device, system, list->arena));
  GiveList(std::move(list), out);
}

// Those that the options name.
std::vector<SerialDevice> DevicesOf(const tavro_probe_options& options, Platform& system) {
  if (!options.paths) return SerialDevices();
  std::vector<SerialDevice> devices(options.path_count);
  for (std::size_t i = 0; i < options.path_count; ++i) {
    devices[i].path = system.ToCodePage(TextArgument(options.paths[i]));
    Require(!devices[i].path.empty(), "A path is empty");
  }
  return devices;
}

}  // namespace

int tavro_devices(tavro_list** devices) {
  Clear(devices);
  return PlainCall([&] {
    Require(devices != nullptr, "There is no place for the devices");
    GiveDevices(SerialDevices(), *CreateSystemPlatform({}), devices);
  });
}

int tavro_probe(const tavro_probe_options* options, tavro_list** devices) {
  Clear(devices);
  return PlainCall([&] {
    constexpr std::int32_t kLeastPatience = 100, kMostPatience = 60000;
    Require(devices != nullptr, "There is no place for the devices");
    const tavro_probe_options given = options ? ReadStructure(options) : tavro_probe_options{};
    ProbeOptions probing;
    if (given.patience != 0) probing.patience = given.patience;
    Require(probing.patience >= kLeastPatience && probing.patience <= kMostPatience, "The patience is out of range");
    const std::uint32_t before = interruptions;
    probing.interrupted = [before] { return interruptions != before; };
    const auto system = CreateSystemPlatform({});
    GiveDevices(ProbeSerialDevices(DevicesOf(given, *system), probing), *system, devices);
  });
}

int tavro_interrupt_probes(void) {
  ++interruptions;
  return TAVRO_OK;
}
