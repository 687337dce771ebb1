#include "console.h"

#include <windows.h>
// Behind it.
#include <shellapi.h>

#include <algorithm>
#include <cstdio>
#include <memory>
#include <stdexcept>
#include <system_error>

#include "base/text.h"
#include "character_width.h"
#include "platform/utf8.h"
#include "system_console.h"

namespace {

static_assert(sizeof(wchar_t) == sizeof(char16_t));

std::wstring Wide(std::string_view text) {
  const std::u16string wide = tavro::FromUtf8(text);
  return {wide.begin(), wide.end()};
}

std::string Narrow(std::wstring_view text) { return tavro::ToUtf8(std::u16string(text.begin(), text.end())); }

HANDLE HandleOf(Stream stream) {
  const DWORD number = stream == Stream::kInput    ? STD_INPUT_HANDLE
                       : stream == Stream::kOutput ? STD_OUTPUT_HANDLE
                                                   : STD_ERROR_HANDLE;
  const HANDLE handle = GetStdHandle(number);
  return handle == INVALID_HANDLE_VALUE ? nullptr : handle;
}

struct CloseHandleOf {
  void operator()(void* handle) const { CloseHandle(handle); }
};
using Handle = std::unique_ptr<void, CloseHandleOf>;

[[noreturn]] void ThrowLastError(const std::string& what) {
  throw std::runtime_error(what + ": " + std::system_category().message(static_cast<int>(GetLastError())));
}

// As CommandLineToArgvW takes it apart: backslashes count only in front of a quote.
std::wstring Quoted(const std::string& argument) {
  std::wstring quoted = L"\"";
  std::size_t backslashes = 0;
  for (const wchar_t c : Wide(argument)) {
    if (c == L'"') quoted.append(backslashes + 1, L'\\');
    backslashes = c == L'\\' ? backslashes + 1 : 0;
    quoted += c;
  }
  return quoted.append(backslashes, L'\\') + L'"';
}

// NAME=VALUE, each with a zero behind it, and another at the end.
std::wstring EnvironmentWith(const std::vector<std::pair<std::string, std::string>>& values) {
  std::wstring block;
  wchar_t* const strings = GetEnvironmentStringsW();
  for (const wchar_t* entry = strings; entry && *entry; entry += std::wstring_view(entry).size() + 1) {
    const std::string text = tavro::Upper(Narrow(entry));
    const bool isReplaced = std::any_of(values.begin(), values.end(), [&](const auto& value) {
      return text.starts_with(tavro::Upper(value.first) + "=");
    });
    if (!isReplaced && text.substr(0, text.find('=')) != kPinVariable) block.append(entry).append(1, L'\0');
  }
  if (strings) FreeEnvironmentStringsW(strings);
  for (const auto& [name, value] : values) block.append(Wide(name + "=" + value)).append(1, L'\0');
  return block.append(1, L'\0');
}

}  // namespace

StandardStreams::StandardStreams() {
  formerCodePage_ = GetConsoleOutputCP();
  if (formerCodePage_ != 0 && !SetConsoleOutputCP(CP_UTF8)) formerCodePage_ = 0;
  std::setvbuf(stdout, nullptr, _IOFBF, 1 << 12);  // a character's octets get to the console together
}

StandardStreams::~StandardStreams() {
  std::fflush(stdout);
  if (formerCodePage_ != 0) SetConsoleOutputCP(formerCodePage_);
}

// That a pipe has no reader is told by writing alone.
bool IsOutputOpen() { return HandleOf(Stream::kOutput) != nullptr; }

bool IsTerminal(Stream stream) {
  DWORD mode = 0;
  return GetConsoleMode(HandleOf(stream), &mode) != 0;
}

namespace system_console {

int Columns() {
  CONSOLE_SCREEN_BUFFER_INFO info = {};
  if (!GetConsoleScreenBufferInfo(HandleOf(Stream::kOutput), &info) &&
      !GetConsoleScreenBufferInfo(HandleOf(Stream::kError), &info)) {
    return 0;
  }
  return info.srWindow.Right - info.srWindow.Left + 1;
}

bool TakesColours(Stream stream) {
  DWORD mode = 0;
  return GetConsoleMode(HandleOf(stream), &mode) &&
         SetConsoleMode(HandleOf(stream), mode | ENABLE_VIRTUAL_TERMINAL_PROCESSING);
}

}  // namespace system_console

int CharacterWidth(char32_t character) { return WidthFromTable(character); }

std::string ShownText(const std::string& text) { return text; }

std::vector<std::string> ProgramArguments(int, char**) {
  std::vector<std::string> arguments;
  int count = 0;
  wchar_t** const values = CommandLineToArgvW(GetCommandLineW(), &count);
  for (int i = 1; values && i < count; ++i) arguments.push_back(Narrow(values[i]));
  LocalFree(values);
  return arguments;
}

std::string EnvironmentValue(const char* name) {
  const std::wstring wideName = Wide(name);
  std::wstring value(GetEnvironmentVariableW(wideName.c_str(), nullptr, 0), L'\0');
  value.resize(GetEnvironmentVariableW(wideName.c_str(), value.data(), static_cast<DWORD>(value.size())));
  return Narrow(value);
}

std::string WhyNotRunnable(const std::string& program) {
  for (const char* batch : {".BAT", ".CMD"}) {
    if (tavro::Upper(program).ends_with(batch)) return "a batch file needs a shell";
  }
  if (SearchPathW(nullptr, Wide(program).c_str(), L".exe", 0, nullptr, nullptr) != 0) return "";
  return std::system_category().message(static_cast<int>(GetLastError()));
}

ProgramEnd RunProgram(const std::vector<std::string>& arguments,
                      const std::vector<std::pair<std::string, std::string>>& environment,
                      const std::function<bool()>& isToEnd) {
  const std::string& program = arguments.at(0);
  if (const std::string reason = WhyNotRunnable(program); !reason.empty()) {
    throw std::runtime_error(program + ": " + reason);
  }
  std::wstring commandLine;
  for (const std::string& argument : arguments) commandLine += (commandLine.empty() ? L"" : L" ") + Quoted(argument);
  std::wstring values = EnvironmentWith(environment);

  SECURITY_ATTRIBUTES inherited = {sizeof inherited, nullptr, TRUE};
  const HANDLE empty =
      CreateFileW(L"NUL", GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE, &inherited, OPEN_EXISTING, 0, nullptr);
  if (empty == INVALID_HANDLE_VALUE) ThrowLastError(program);
  const Handle input(empty);
  STARTUPINFOW startup = {};
  startup.cb = sizeof startup;
  startup.dwFlags = STARTF_USESTDHANDLES;
  startup.hStdInput = empty;
  startup.hStdOutput = HandleOf(Stream::kOutput);
  startup.hStdError = HandleOf(Stream::kError);
  PROCESS_INFORMATION started = {};
  if (!CreateProcessW(nullptr, commandLine.data(), nullptr, nullptr, TRUE, CREATE_UNICODE_ENVIRONMENT, values.data(),
                      nullptr, &startup, &started)) {
    ThrowLastError(program);
  }
  const Handle process(started.hProcess), thread(started.hThread);
  DWORD status = 0;
  constexpr DWORD kIntervalMs = 50;
  while (WaitForSingleObject(process.get(), kIntervalMs) == WAIT_TIMEOUT) {
    if (isToEnd()) TerminateProcess(process.get(), 1);
  }
  if (!GetExitCodeProcess(process.get(), &status)) ThrowLastError(program);
  return {.status = static_cast<int>(status)};
}
