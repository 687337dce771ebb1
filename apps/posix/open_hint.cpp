#include "open_hint.h"

#include <dirent.h>
#include <grp.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <fstream>
#include <memory>
#include <string_view>
#include <vector>

namespace {

struct Process {
  std::string number;
  std::string name;
  bool hasDevice = false;
};

constexpr std::string_view kModemManager = "ModemManager";

std::vector<std::string> NamesIn(const std::string& folder) {
  std::vector<std::string> names;
  const std::unique_ptr<DIR, int (*)(DIR*)> open(opendir(folder.c_str()), closedir);
  while (open) {
    const dirent* entry = readdir(open.get());
    if (!entry) break;
    if (std::isdigit(static_cast<unsigned char>(entry->d_name[0]))) names.emplace_back(entry->d_name);
  }
  return names;
}

// All but this one.
std::vector<Process> Processes(const struct stat& device) {
  std::vector<Process> processes;
  const std::string ownNumber = std::to_string(getpid());
  for (const std::string& number : NamesIn("/proc")) {
    if (number == ownNumber) continue;
    const std::string folder = "/proc/" + number;
    Process process;
    process.number = number;
    std::ifstream(folder + "/comm") >> process.name;
    const std::vector<std::string> descriptors = NamesIn(folder + "/fd");
    process.hasDevice = std::any_of(descriptors.begin(), descriptors.end(), [&](const std::string& descriptor) {
      struct stat open {};
      return stat((folder + "/fd/" + descriptor).c_str(), &open) == 0 && S_ISCHR(open.st_mode) &&
             open.st_rdev == device.st_rdev;
    });
    processes.push_back(std::move(process));
  }
  return processes;
}

std::string BusyHint(const std::string& device) {
  struct stat status {};
  if (stat(device.c_str(), &status) != 0) return "end the other program that has it, and run it again";
  const std::vector<Process> processes = Processes(status);
  std::string holders;
  bool isModemManager = false, modemManagerRuns = false;
  for (const Process& process : processes) {
    modemManagerRuns = modemManagerRuns || process.name == kModemManager;
    if (!process.hasDevice) continue;
    isModemManager = isModemManager || process.name == kModemManager;
    holders += (holders.empty() ? "" : ", ") + process.name + " (process " + process.number + ")";
  }
  const std::string stopModemManager =
      "sudo systemctl stop ModemManager, or a udev rule with ENV{ID_MM_DEVICE_IGNORE}=\"1\" for the device";
  if (isModemManager) return holders + " has it: " + stopModemManager;
  if (!holders.empty()) return holders + " has it: end it, or wait for it";
  const std::string hidden = "a program that this user cannot see has it: sudo fuser -v " + device;
  return modemManagerRuns ? hidden + "; if that is ModemManager: " + stopModemManager : hidden;
}

std::string PermissionHint(const std::string& device) {
  struct stat status {};
  if (stat(device.c_str(), &status) != 0) return "ask for permission to the folder of " + device;
  const group* owners = getgrgid(status.st_gid);
  if (!owners || (status.st_mode & S_IWGRP) == 0 || status.st_gid == 0) {
    return "its group may not open it: sudo chgrp dialout " + device + " && sudo chmod g+rw " + device;
  }
  const std::string name = owners->gr_name;
  return "join the group " + name + " (sudo usermod -aG " + name + " $USER), then log in again";
}

}  // namespace

std::string OpenHint(std::uint32_t systemError, const std::string& device) {
  switch (systemError) {
    case EBUSY:
      return BusyHint(device);
    case EACCES:
    case EPERM:
      return PermissionHint(device);
    case ENOENT:
    case ENOTDIR:
      return "no such device: see which ones are there with tavro ports";
    case ENXIO:
    case ENODEV:
      return "no hardware stands behind it: see which devices are there with tavro ports";
    case ENOTTY:
    case EISDIR:
    case EINVAL:
      return "it is no serial device: see which ones are there with tavro ports";
    default:
      return {};
  }
}
