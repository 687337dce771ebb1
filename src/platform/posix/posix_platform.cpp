#include "platform/posix/posix_platform.h"

#include <dlfcn.h>
#include <link.h>

#include <algorithm>
#include <chrono>
#include <ctime>
#include <filesystem>
#include <system_error>
#include <thread>
#include <utility>

#include "platform/posix/files.h"
#include "platform/utf8.h"

namespace tavro {

namespace {

// An address inside the component's binary.
const int kAnchor = 0;

// The file that the component was loaded from. The loader's name for the program itself is only what the caller typed:
// there the kernel's answer counts.
std::filesystem::path ComponentFile() {
  std::error_code error;
  Dl_info info{};
  link_map* map = nullptr;
  const bool isLibrary = dladdr1(&kAnchor, &info, reinterpret_cast<void**>(&map), RTLD_DL_LINKMAP) != 0 &&
                         map != nullptr && map->l_name != nullptr && *map->l_name != '\0';
  if (isLibrary) return std::filesystem::absolute(map->l_name, error).lexically_normal();
  return std::filesystem::read_symlink("/proc/self/exe", error);
}

}  // namespace

std::uint32_t PosixPlatform::TickCount() {
  using namespace std::chrono;
  return static_cast<std::uint32_t>(duration_cast<milliseconds>(steady_clock::now().time_since_epoch()).count());
}

std::int64_t PosixPlatform::WallClock() {
  using namespace std::chrono;
  return floor<milliseconds>(system_clock::now().time_since_epoch()).count();
}

LocalTime PosixPlatform::ToLocal(std::int64_t wallClock) {
  using namespace std::chrono;
  const auto second = static_cast<std::time_t>(floor<seconds>(milliseconds(wallClock)).count());
  std::tm local{};
  if (localtime_r(&second, &local) == nullptr) return {};
  return {local.tm_year + 1900, local.tm_mon + 1, local.tm_mday, local.tm_hour, local.tm_min, local.tm_sec};
}

void PosixPlatform::Sleep(std::uint32_t milliseconds) {
  using Clock = std::chrono::steady_clock;
  // How late an interruption may be noticed.
  constexpr Clock::duration kSlice = std::chrono::milliseconds(50);
  const auto end = Clock::now() + std::chrono::milliseconds(milliseconds);
  for (auto left = end - Clock::now(); left > Clock::duration::zero() && !IsInterrupted(); left = end - Clock::now()) {
    std::this_thread::sleep_for(interrupted_ ? std::min(left, kSlice) : left);
  }
}

PathKind PosixPlatform::KindOf(std::u16string_view path) { return KindOfPath(ToUtf8(path)); }

std::FILE* PosixPlatform::OpenFile(std::u16string_view path) { return OpenRegularFile(ToUtf8(path)); }

bool PosixPlatform::WriteToFile(std::u16string_view path, std::string_view content, bool append) {
  return WriteRegularFile(ToUtf8(path), content, append);
}

std::u16string PosixPlatform::ComponentFolder() { return FromUtf8(ComponentFile().parent_path().native()); }

std::string PosixPlatform::ToCodePage(std::u16string_view text) { return ToUtf8(text); }
std::u16string PosixPlatform::FromCodePage(std::string_view text) { return FromUtf8(text); }

std::shared_ptr<Platform> CreateSystemPlatform(const std::map<int, std::string>& devices,
                                               std::function<bool()> interrupted) {
  return std::make_shared<PosixPlatform>(devices, std::move(interrupted));
}

}  // namespace tavro
