// Reference count, interfaces and hold on the module of every COM object made here.
#pragma once

#include <ole2.h>
#include <wrl/client.h>

#include <utility>

#include "automation/module.h"

namespace tavro::automation {

using Microsoft::WRL::ComPtr;

// `First` is also the object's identity.
template <class First, class... Others>
class ComObject : public First, public Others... {
 public:
  ComObject(const ComObject&) = delete;
  ComObject& operator=(const ComObject&) = delete;

  STDMETHODIMP QueryInterface(REFIID iid, void** object) override {
    if (object == nullptr) return E_POINTER;
    *object = nullptr;
    if (iid == __uuidof(IUnknown)) {
      *object = static_cast<First*>(this);
    } else if (!(Offer<First>(iid, object) || ... || Offer<Others>(iid, object))) {
      return E_NOINTERFACE;
    }
    AddRef();
    return S_OK;
  }
  STDMETHODIMP_(ULONG) AddRef() override { return static_cast<ULONG>(InterlockedIncrement(&references_)); }
  STDMETHODIMP_(ULONG) Release() override {
    const LONG left = InterlockedDecrement(&references_);
    if (left == 0) delete this;
    return static_cast<ULONG>(left);
  }

  // False when the last reference is gone already and the object is about to end.
  bool AddRefIfAlive() {
    LONG count = InterlockedCompareExchange(&references_, 0, 0);
    while (count != 0) {
      const LONG seen = InterlockedCompareExchange(&references_, count + 1, count);
      if (seen == count) return true;
      count = seen;
    }
    return false;
  }

 protected:
  ComObject() = default;
  virtual ~ComObject() = default;

 private:
  template <class Interface>
  bool Offer(REFIID iid, void** object) {
    if (iid != __uuidof(Interface)) return false;
    *object = static_cast<Interface*>(this);
    return true;
  }

  LONG references_ = 1;
  ModuleLock moduleLock_;
};

// Throws std::bad_alloc.
template <class Object, class... Arguments>
ComPtr<Object> MakeObject(Arguments&&... arguments) {
  ComPtr<Object> object;
  // The first reference is the object's own; Attach would do, but for the second one that mingw-w64's takes.
  *object.GetAddressOf() = new Object(std::forward<Arguments>(arguments)...);
  return object;
}

}  // namespace tavro::automation
