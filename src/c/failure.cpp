#include "c/failure.h"

#include <algorithm>
#include <cstring>
#include <exception>
#include <new>
#include <stdexcept>

namespace tavro {

void Failure::Set(int code, std::string_view text) noexcept {
  std::size_t length = std::min(text.size(), kSize - 1);
  const auto isInside = [&](std::size_t i) { return (static_cast<unsigned char>(text[i]) & 0xC0) == 0x80; };
  while (length > 0 && length < text.size() && isInside(length)) --length;
  code_ = code;
  std::memcpy(text_, text.data(), length);
  text_[length] = '\0';
}

Failure& ThreadFailure() noexcept {
  static thread_local Failure failure;
  return failure;
}

Failure CurrentException() noexcept {
  Failure failure;
  try {
    throw;
  } catch (const Misuse& misuse) {
    failure.Set(misuse.code, misuse.text);
  } catch (const Failure& known) {
    failure = known;
  } catch (const std::bad_alloc&) {
    failure.Set(TAVRO_OUT_OF_MEMORY, "Out of memory");
  } catch (const std::length_error&) {  // more than there can be
    failure.Set(TAVRO_OUT_OF_MEMORY, "Out of memory");
  } catch (const std::exception& error) {
    failure.Set(TAVRO_INTERNAL_ERROR, error.what());
  } catch (...) {
    failure.Set(TAVRO_INTERNAL_ERROR, "Internal error");
  }
  return failure;
}

}  // namespace tavro
