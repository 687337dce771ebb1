#include "platform/win32/win32_platform.h"

#include <io.h>

#include <algorithm>
#include <map>

#include "platform/utf8.h"
#include "platform/win32/win32_serial_driver.h"

namespace tavro {

namespace {

// FILETIME counts 100 ns from 1601-01-01.
constexpr std::int64_t kTicksPerMillisecond = 10000;
constexpr std::int64_t kMillisecondsTo1970 = 11644473600000;

// An address inside the component's binary.
const int kAnchor = 0;

std::wstring ToWide(std::u16string_view text) { return std::wstring(text.begin(), text.end()); }

// A service has a window station that nobody sees: a box there would wait for ever.
bool HasVisibleDesktop() {
  USEROBJECTFLAGS flags{};
  return GetUserObjectInformationW(GetProcessWindowStation(), UOI_FLAGS, &flags, sizeof flags, nullptr) &&
         (flags.dwFlags & WSF_VISIBLE) != 0;
}

bool IsRegular(HANDLE file) { return GetFileType(file) == FILE_TYPE_DISK; }

// Appends the text; false, with nothing appended, when an octet is no character of the code page.
bool Decode(std::string_view text, std::u16string& out) {
  const int size = static_cast<int>(text.size());
  const int length = MultiByteToWideChar(CP_ACP, MB_ERR_INVALID_CHARS, text.data(), size, nullptr, 0);
  if (length <= 0) return false;
  std::wstring wide(static_cast<std::size_t>(length), L'\0');
  MultiByteToWideChar(CP_ACP, MB_ERR_INVALID_CHARS, text.data(), size, wide.data(), length);
  out.append(wide.begin(), wide.end());
  return true;
}

}  // namespace

std::int64_t Win32Platform::WallClock() {
  FILETIME time{};
  GetSystemTimeAsFileTime(&time);
  const std::int64_t ticks = (std::int64_t{time.dwHighDateTime} << 32) | time.dwLowDateTime;
  return ticks / kTicksPerMillisecond - kMillisecondsTo1970;
}

LocalTime Win32Platform::ToLocal(std::int64_t wallClock) {
  const std::int64_t ticks = (wallClock + kMillisecondsTo1970) * kTicksPerMillisecond;
  const FILETIME time{static_cast<DWORD>(ticks), static_cast<DWORD>(ticks >> 32)};
  SYSTEMTIME utc{}, local{};
  if (!FileTimeToSystemTime(&time, &utc) || !SystemTimeToTzSpecificLocalTime(nullptr, &utc, &local)) return {};
  return {local.wYear, local.wMonth, local.wDay, local.wHour, local.wMinute, local.wSecond};
}

void Win32Platform::Sleep(std::uint32_t milliseconds) {
  if (!interrupted_) return ::Sleep(milliseconds);
  constexpr DWORD kSlice = 50;  // how late an interruption may be noticed
  const DWORD start = GetTickCount();
  for (DWORD passed = 0; passed < milliseconds && !IsInterrupted(); passed = GetTickCount() - start) {
    ::Sleep(std::min<DWORD>(milliseconds - passed, kSlice));
  }
}

void Win32Platform::PumpMessages() {
  MSG message{};
  while (PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE)) {
    if (message.message == WM_QUIT) {
      // Meant for the host's own loop.
      PostQuitMessage(static_cast<int>(message.wParam));
      return;
    }
    TranslateMessage(&message);
    DispatchMessageW(&message);
  }
}

void Win32Platform::ShowMessageBox(std::u16string_view text, std::uint32_t style, std::u16string_view title) {
  if (!HasVisibleDesktop()) return;
  MessageBoxW(nullptr, ToWide(text).c_str(), ToWide(title).c_str(), style | MB_TASKMODAL);
}

PathKind Win32Platform::KindOf(std::u16string_view path) {
  const DWORD attributes = GetFileAttributesW(ToWide(path).c_str());
  if (attributes == INVALID_FILE_ATTRIBUTES) {
    const DWORD error = GetLastError();
    return error == ERROR_FILE_NOT_FOUND || error == ERROR_PATH_NOT_FOUND ? PathKind::kMissing : PathKind::kOther;
  }
  return (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0 ? PathKind::kFolder : PathKind::kFile;
}

std::FILE* Win32Platform::OpenFile(std::u16string_view path) {
  std::FILE* file = _wfopen(ToWide(path).c_str(), L"rbN");
  if (!file || IsRegular(reinterpret_cast<HANDLE>(_get_osfhandle(_fileno(file))))) return file;
  std::fclose(file);
  return nullptr;
}

bool Win32Platform::WriteToFile(std::u16string_view path, std::string_view content, bool append) {
  const HANDLE file =
      CreateFileW(ToWide(path).c_str(), append ? FILE_APPEND_DATA : GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE,
                  nullptr, append ? OPEN_ALWAYS : CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr);
  if (file == INVALID_HANDLE_VALUE) return false;
  bool written = IsRegular(file);
  while (written && !content.empty()) {
    constexpr std::size_t kMost = 1 << 30;
    DWORD count = 0;
    written = WriteFile(file, content.data(), static_cast<DWORD>(std::min(content.size(), kMost)), &count, nullptr) &&
              count > 0;
    content.remove_prefix(count);
  }
  return CloseHandle(file) && written;
}

std::u16string Win32Platform::ComponentFolder() {
  HMODULE module = nullptr;
  GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
                     reinterpret_cast<LPCWSTR>(&kAnchor), &module);
  std::wstring file(MAX_PATH, L'\0');
  while (true) {
    const DWORD length = GetModuleFileNameW(module, file.data(), static_cast<DWORD>(file.size()));
    if (length < file.size()) {
      file.resize(length);
      file.resize(file.find_last_of(L'\\') + 1);
      return {file.begin(), file.end()};
    }
    file.resize(file.size() * 2);  // the name was cut
  }
}

std::string Win32Platform::ToCodePage(std::u16string_view text) {
  if (GetACP() == CP_UTF8) return ToUtf8(text);  // which takes no default character
  const std::wstring wide = ToWide(text);
  const int size = static_cast<int>(wide.size());
  const int length = WideCharToMultiByte(CP_ACP, WC_NO_BEST_FIT_CHARS, wide.data(), size, nullptr, 0, "?", nullptr);
  std::string out(static_cast<std::size_t>(std::max(length, 0)), '\0');
  WideCharToMultiByte(CP_ACP, WC_NO_BEST_FIT_CHARS, wide.data(), size, out.data(), length, "?", nullptr);
  return out;
}

std::u16string Win32Platform::FromCodePage(std::string_view text) {
  if (GetACP() == CP_UTF8) return FromUtf8(text);
  std::u16string out;
  if (text.empty() || Decode(text, out)) return out;
  // Character by character, of one octet or of two, to find the octets that are none.
  while (!text.empty()) {
    std::size_t length = 1;
    if (!Decode(text.substr(0, 1), out) && (text.size() < 2 || !Decode(text.substr(0, length = 2), out))) {
      length = 1;
      out += static_cast<char16_t>(static_cast<unsigned char>(text[0]));
    }
    text.remove_prefix(length);
  }
  return out;
}

std::shared_ptr<Platform> CreateComPortPlatform() {
  return std::make_shared<Win32Platform>(std::make_unique<Win32SerialDriver>(std::map<int, std::string>{}));
}

}  // namespace tavro
