#include "platform/system_errors.h"

#include <netdb.h>

#include <cerrno>
#include <system_error>

#include "platform/posix/name_errors.h"

namespace tavro {

const SystemErrors kSystemErrors{EBADF, EINVAL, ENOTSUP, ENOTTY, EIO, ETIMEDOUT, ECANCELED};

OpenFailure OpenFailureOf(std::uint32_t code) {
  if (code == EBUSY) return OpenFailure::kBusy;
  return code == EACCES || code == EPERM ? OpenFailure::kNoPermission : OpenFailure::kOther;
}

std::string SystemErrorText(std::uint32_t code) {
  constexpr std::uint32_t kMostNameErrors = 200;
  if (code > kNameErrors && code <= kNameErrors + kMostNameErrors) {
    return gai_strerror(-static_cast<int>(code - kNameErrors));
  }
  // EHWPOISON is the last error number; the library would call a higher one "Unknown error".
  if (code > EHWPOISON) return {};
  return std::system_category().message(static_cast<int>(code));
}

}  // namespace tavro
