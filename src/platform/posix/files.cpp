#include "platform/posix/files.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

namespace tavro {

PathKind KindOfPath(const std::string& path) {
  struct stat status {};
  if (stat(path.c_str(), &status) != 0) {
    return errno == ENOENT || errno == ENOTDIR ? PathKind::kMissing : PathKind::kOther;
  }
  if (S_ISDIR(status.st_mode)) return PathKind::kFolder;
  return S_ISREG(status.st_mode) ? PathKind::kFile : PathKind::kOther;
}

std::FILE* OpenRegularFile(const std::string& path, std::string_view mode) {
  int flags = O_RDONLY;
  if (mode != "rb") flags = O_WRONLY | O_CREAT | (mode == "ab" ? O_APPEND : O_TRUNC);
  // Without blocking, as a FIFO waits for its other end and a device for its line; what was opened is looked at, so
  // that nothing can change in between. A regular file takes no notice.
  constexpr mode_t kForAll = 0666;
  const int descriptor = open(path.c_str(), flags | O_NONBLOCK | O_NOCTTY | O_CLOEXEC, kForAll);
  if (descriptor < 0) return nullptr;
  struct stat status {};
  const bool isRegular = fstat(descriptor, &status) == 0 && S_ISREG(status.st_mode);
  std::FILE* file = isRegular ? fdopen(descriptor, std::string(mode).c_str()) : nullptr;
  if (!file) close(descriptor);
  return file;
}

}  // namespace tavro
