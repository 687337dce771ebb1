#include "automation/convert.h"

namespace tavro::automation {

HRESULT ToAutomation(const std::optional<std::u16string>& text, VARIANT* value) {
  if (!text) {
    V_VT(value) = VT_I2;
    V_I2(value) = -1;
    return S_OK;
  }
  const HRESULT result = ToAutomation(*text, &V_BSTR(value));
  if (SUCCEEDED(result)) V_VT(value) = VT_BSTR;
  return result;
}

HRESULT ToAutomation(std::optional<double> date, VARIANT* value) {
  if (date) {
    V_VT(value) = VT_DATE;
    V_DATE(value) = *date;
  }
  return S_OK;
}

std::optional<double> FromAutomation(VARIANT value) {
  VARIANT copy;
  VariantInit(&copy);
  std::optional<double> date;
  if (SUCCEEDED(VariantCopyInd(&copy, &value)) && (V_VT(&copy) == VT_DATE || V_VT(&copy) == VT_BSTR) &&
      SUCCEEDED(VariantChangeTypeEx(&copy, &copy, LOCALE_USER_DEFAULT, 0, VT_DATE))) {
    date = V_DATE(&copy);
  }
  VariantClear(&copy);
  return date;
}

}  // namespace tavro::automation
