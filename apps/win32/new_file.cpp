#include "new_file.h"

#include <windows.h>

std::error_code MakeNewFile(const std::filesystem::path& path) {
  const HANDLE file = CreateFileW(path.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_NEW, FILE_ATTRIBUTE_NORMAL, nullptr);
  if (file != INVALID_HANDLE_VALUE) {
    CloseHandle(file);
    return {};
  }
  const DWORD error = GetLastError();
  if (error == ERROR_FILE_EXISTS) return std::make_error_code(std::errc::file_exists);
  return {static_cast<int>(error), std::system_category()};
}
