#include "platform/posix/files.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

namespace tavro {

namespace {

// -1 on failure. Opens without blocking, as a FIFO waits for its other end and a device for its line; a regular file
// takes no notice. What was opened is looked at, so that nothing can change in between; fstat would also ask for the
// time stamp, and the next write would then have to make a new one (Linux 6.13), which costs half as much again as the
// whole. A link is none: it may have been put there to have another file written to. A file that is made is its owner's
// alone, as a log tells what was said.
int OpenRegular(const std::string& path, int flags) {
  constexpr mode_t kForOwner = 0600;
  const int descriptor = open(path.c_str(), flags | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY | O_CLOEXEC, kForOwner);
  if (descriptor < 0) return -1;
  struct statx status {};
  if (statx(descriptor, "", AT_EMPTY_PATH, STATX_TYPE, &status) == 0 && S_ISREG(status.stx_mode)) return descriptor;
  close(descriptor);
  return -1;
}

// Takes back the octets written last, unless somebody wrote behind them: a line is whole, or is not there.
void TakeBack(int descriptor, std::size_t count) {
  struct stat status {};
  const off_t end = lseek(descriptor, 0, SEEK_CUR);
  if (fstat(descriptor, &status) != 0 || status.st_size != end) return;
  if (ftruncate(descriptor, end - static_cast<off_t>(count)) != 0) return;  // it is as full as it was
}

}  // namespace

PathKind KindOfPath(const std::string& path) {
  struct stat status {};
  if (lstat(path.c_str(), &status) != 0) {
    return errno == ENOENT || errno == ENOTDIR ? PathKind::kMissing : PathKind::kOther;
  }
  if (S_ISDIR(status.st_mode)) return PathKind::kFolder;
  return S_ISREG(status.st_mode) ? PathKind::kFile : PathKind::kOther;
}

std::FILE* OpenRegularFile(const std::string& path) {
  const int descriptor = OpenRegular(path, O_RDONLY);
  std::FILE* file = descriptor < 0 ? nullptr : fdopen(descriptor, "rb");
  if (!file && descriptor >= 0) close(descriptor);
  return file;
}

bool WriteRegularFile(const std::string& path, std::string_view content, bool append) {
  const int descriptor = OpenRegular(path, O_WRONLY | O_CREAT | (append ? O_APPEND : O_TRUNC));
  if (descriptor < 0) return false;
  const std::size_t size = content.size();
  while (!content.empty()) {
    const ssize_t count = write(descriptor, content.data(), content.size());
    if (count > 0) content.remove_prefix(static_cast<std::size_t>(count));
    if (count == 0 || (count < 0 && errno != EINTR)) break;
  }
  if (!content.empty() && content.size() < size) TakeBack(descriptor, size - content.size());
  return close(descriptor) == 0 && content.empty();  // a full disk may show only now
}

}  // namespace tavro
