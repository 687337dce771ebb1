#include "tavro/serial_devices.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <exception>
#include <map>
#include <mutex>
#include <new>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "facade/modem_probe.h"
#include "platform/platform.h"
#include "platform/serial_device_list.h"

namespace tavro {

namespace {

// Asks one device, on a platform of its own. Without memory it stays as one that was not asked.
void Probe(SerialDevice& device, std::int32_t patience, const std::atomic<bool>& isInterrupted) {
  constexpr int kPort = 1;
  device.probe.reset();
  if (isInterrupted) return;
  try {
    const auto platform = CreateSystemPlatform({{kPort, device.path}}, [&] { return isInterrupted.load(); });
    SerialProbe probe = ModemProbe(platform, kPort, patience).Run(NeedsRate(device));
    if (!isInterrupted || probe.outcome == SerialProbe::Outcome::kAnswered) device.probe = std::move(probe);
  } catch (const std::bad_alloc&) {
  }
}

// How many threads have ended.
class Count {
 public:
  void Add() {
    const std::lock_guard lock(mutex_);
    ++count_;
    changed_.notify_all();
  }
  // Whether there are so many, after a while at most.
  bool Reaches(std::size_t count, std::chrono::milliseconds limit) {
    std::unique_lock lock(mutex_);
    return changed_.wait_for(lock, limit, [&] { return count_ >= count; });
  }

 private:
  std::mutex mutex_;
  std::condition_variable changed_;
  std::size_t count_ = 0;
};

void ProbeAll(std::vector<SerialDevice>& devices, const ProbeOptions& options) {
  constexpr std::chrono::milliseconds kSlice(50);  // how late an interruption may be noticed
  std::atomic<bool> isInterrupted = false;
  Count ended;
  // Those of one stick one after the other: they share what is tried and put back.
  std::map<std::string, std::vector<SerialDevice*>> groups;
  for (SerialDevice& device : devices) groups[device.usbPath.empty() ? device.path : device.usbPath].push_back(&device);
  std::vector<std::thread> threads;
  threads.reserve(groups.size());
  for (const auto& [name, group] : groups) {
    const auto ask = [&, members = &group] {
      for (SerialDevice* device : *members) Probe(*device, options.patience, isInterrupted);
      ended.Add();
    };
    try {
      threads.emplace_back(ask);
    } catch (const std::exception&) {
      ask();  // there can be no more threads, or there is no memory for one
    }
  }
  while (!ended.Reaches(groups.size(), kSlice)) {
    if (options.interrupted && options.interrupted()) isInterrupted = true;
  }
  for (std::thread& thread : threads) thread.join();
  Recommend(devices);
}

}  // namespace

std::vector<SerialDevice> SerialDevices() {
  try {
    std::vector<SerialDevice> devices = ListSerialDevices();
    std::sort(devices.begin(), devices.end(),
              [](const SerialDevice& a, const SerialDevice& b) { return IsNaturallyLess(a.path, b.path); });
    return devices;
  } catch (const std::bad_alloc&) {
    return {};
  }
}

std::vector<SerialDevice> ProbeSerialDevices(std::vector<SerialDevice> devices, const ProbeOptions& options) {
  try {
    ProbeAll(devices, options);
  } catch (const std::bad_alloc&) {  // they come back as they are
  }
  return devices;
}

std::vector<SerialDevice> ProbeSerialDevices(const ProbeOptions& options) {
  return ProbeSerialDevices(SerialDevices(), options);
}

}  // namespace tavro
