// What the four public classes have in common: IDispatch by way of the type library, and the form of a call.
#pragma once

#include <ocidl.h>
#include <ole2.h>

#include <functional>

#include "automation/com_object.h"
#include "automation/convert.h"
#include "automation/module.h"

namespace tavro::automation {

// The reference passes to the caller; null stays null.
template <class Made, class Out>
HRESULT ToAutomation(ComPtr<Made> object, Out** value) {
  *value = object.Detach();
  return S_OK;
}

// `Interface` is the dual interface of the class that `kClassId` names.
template <class Interface, const CLSID* kClassId>
class DispatchObject : public ComObject<Interface, IProvideClassInfo> {
  using Base = ComObject<Interface, IProvideClassInfo>;

 public:
  STDMETHODIMP QueryInterface(REFIID iid, void** object) override {
    return Base::QueryInterface(iid == __uuidof(IDispatch) ? __uuidof(Interface) : iid, object);
  }

  STDMETHODIMP GetTypeInfoCount(UINT* count) override {
    if (count == nullptr) return E_POINTER;
    *count = 1;
    return S_OK;
  }
  STDMETHODIMP GetTypeInfo(UINT index, LCID, ITypeInfo** typeInfo) override {
    if (typeInfo == nullptr) return E_POINTER;
    *typeInfo = nullptr;
    return index == 0 ? Describe(__uuidof(Interface), typeInfo) : DISP_E_BADINDEX;
  }
  STDMETHODIMP GetIDsOfNames(REFIID iid, LPOLESTR* names, UINT count, LCID, DISPID* ids) override {
    if (iid != IID_NULL) return DISP_E_UNKNOWNINTERFACE;
    if (names == nullptr || ids == nullptr) return E_POINTER;
    ComPtr<ITypeInfo> typeInfo;
    const HRESULT described = Describe(__uuidof(Interface), &typeInfo);
    return SUCCEEDED(described) ? typeInfo->GetIDsOfNames(names, count, ids) : described;
  }
  STDMETHODIMP Invoke(DISPID id, REFIID iid, LCID, WORD flags, DISPPARAMS* parameters, VARIANT* result,
                      EXCEPINFO* exception, UINT* wrongArgument) override {
    if (iid != IID_NULL) return DISP_E_UNKNOWNINTERFACE;
    if (parameters == nullptr) return E_POINTER;
    ComPtr<ITypeInfo> typeInfo;
    const HRESULT described = Describe(__uuidof(Interface), &typeInfo);
    if (FAILED(described)) return described;
    // Some script engines ask for the enumerator as for a method.
    if (id == DISPID_NEWENUM && (flags & DISPATCH_METHOD) != 0) flags |= DISPATCH_PROPERTYGET;
    return typeInfo->Invoke(static_cast<Interface*>(this), id, flags, parameters, result, exception, wrongArgument);
  }

  STDMETHODIMP GetClassInfo(ITypeInfo** typeInfo) override {
    if (typeInfo == nullptr) return E_POINTER;
    *typeInfo = nullptr;
    return Describe(*kClassId, typeInfo);
  }

 protected:
  // Gives the call's value to the caller. The object stays alive during the call, which may let window messages run
  // whose handlers release it.
  template <class Out, class Call>
  HRESULT Return(Out* out, Call&& call) noexcept {
    if (out == nullptr) return E_POINTER;
    *out = Out{};
    const ComPtr<Interface> alive(this);
    return Guard([&] { return ToAutomation(call(), out); });
  }

  // The form of nearly all members: a method of the component's object that gives a value ...
  template <class Object, class Method, class Out>
  HRESULT Get(Object& object, Method method, Out* out) noexcept {
    return Return(out, [&]() -> decltype(auto) { return std::invoke(method, object); });
  }
  // ... or takes one.
  template <class Object, class Method, class Value>
  HRESULT Put(Object& object, Method method, const Value& value) noexcept {
    const ComPtr<Interface> alive(this);
    return Guard([&] {
      std::invoke(method, object, FromAutomation(value));
      return S_OK;
    });
  }

 private:
  static HRESULT Describe(REFGUID id, ITypeInfo** typeInfo) noexcept {
    return Guard([&] { return OwnTypeInfo(id, typeInfo); });
  }
};

}  // namespace tavro::automation
