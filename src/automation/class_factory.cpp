#include "automation/class_factory.h"

#include "automation/com_object.h"
#include "automation/convert.h"
#include "automation/sms_object.h"

namespace tavro::automation {
namespace {

class ClassFactory final : public ComObject<IClassFactory> {
 public:
  STDMETHODIMP CreateInstance(IUnknown* outer, REFIID iid, void** object) override {
    if (object == nullptr) return E_POINTER;
    *object = nullptr;
    if (outer != nullptr) return CLASS_E_NOAGGREGATION;
    return Guard([&] { return CreateSmsObject(iid, object); });
  }
  STDMETHODIMP LockServer(BOOL lock) override {
    if (lock) {
      LockModule();
    } else {
      UnlockModule();
    }
    return S_OK;
  }
};

}  // namespace

HRESULT CreateClassFactory(REFIID iid, void** factory) {
  return MakeObject<ClassFactory>()->QueryInterface(iid, factory);
}

}  // namespace tavro::automation
