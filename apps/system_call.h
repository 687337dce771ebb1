// Failing system calls as exceptions.
#pragma once

#include <cerrno>
#include <string>
#include <system_error>

[[noreturn]] inline void ThrowSystemError(int error, const std::string& what) {
  throw std::system_error(error, std::generic_category(), what);
}

// The result, unless it is negative.
inline int CheckCall(int result, const std::string& what) {
  if (result < 0) ThrowSystemError(errno, what);
  return result;
}
