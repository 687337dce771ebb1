#include "new_file.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>

std::error_code MakeNewFile(const std::filesystem::path& path) {
  const int file = open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
  if (file < 0) return {errno, std::generic_category()};
  close(file);
  return {};
}
