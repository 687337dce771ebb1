// Between the values of the component and those of Automation. Text of any content passes unchanged, embedded NULs and
// lone surrogates included.
#pragma once

#include <ole2.h>

#include <cstdint>
#include <new>
#include <optional>
#include <string>
#include <string_view>

namespace tavro::automation {

// Runs a call that may throw; no C++ exception crosses the interface.
template <class Call>
HRESULT Guard(Call&& call) noexcept {
  try {
    return call();
  } catch (const std::bad_alloc&) {
    return E_OUTOFMEMORY;
  } catch (...) {
    return E_UNEXPECTED;
  }
}

// A null BSTR is an empty text.
inline std::u16string FromAutomation(BSTR text) {
  static_assert(sizeof(char16_t) == sizeof(OLECHAR));
  return std::u16string(reinterpret_cast<const char16_t*>(text), SysStringLen(text));
}
// Numbers pass as they are; an Automation Boolean converts to bool, everything but 0 being true.
inline LONG FromAutomation(LONG number) { return number; }
inline SHORT FromAutomation(SHORT number) { return number; }

// The out value is set on success only.
inline HRESULT ToAutomation(std::u16string_view text, BSTR* value) {
  *value = SysAllocStringLen(reinterpret_cast<const OLECHAR*>(text.data()), static_cast<UINT>(text.size()));
  return *value != nullptr ? S_OK : E_OUTOFMEMORY;
}
inline HRESULT ToAutomation(bool flag, VARIANT_BOOL* value) {
  *value = flag ? VARIANT_TRUE : VARIANT_FALSE;
  return S_OK;
}
inline HRESULT ToAutomation(std::int16_t number, SHORT* value) {
  *value = number;
  return S_OK;
}
inline HRESULT ToAutomation(std::int32_t number, LONG* value) {
  *value = number;
  return S_OK;
}
inline HRESULT ToAutomation(double date, DATE* value) {
  *value = date;
  return S_OK;
}
// A text, or the 16-bit integer -1 for none: what SendSMS returns.
HRESULT ToAutomation(const std::optional<std::u16string>& text, VARIANT* value);
// A date, or Empty for none.
HRESULT ToAutomation(std::optional<double> date, VARIANT* value);

// The date that a VARIANT holds, directly, by reference or as text in the user's format; none for anything else, plain
// numbers included.
std::optional<double> FromAutomation(VARIANT value);

}  // namespace tavro::automation
