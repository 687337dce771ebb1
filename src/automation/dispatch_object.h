// What the four public classes have in common: IDispatch by way of the type library, and the form of a call.
#pragma once

#include <ocidl.h>
#include <ole2.h>

#include <functional>
#include <memory>
#include <utility>

#include "automation/call_gate.h"
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
    // Clients differ in what they take for a method and what for a property: inbox[1] in C# gets one, and some script
    // engines call the enumerator.
    constexpr WORD kGet = DISPATCH_METHOD | DISPATCH_PROPERTYGET;
    if ((flags & kGet) != 0) flags |= kGet;
    return typeInfo->Invoke(static_cast<Interface*>(this), id, flags, parameters, result, exception, wrongArgument);
  }

  STDMETHODIMP GetClassInfo(ITypeInfo** typeInfo) override {
    if (typeInfo == nullptr) return E_POINTER;
    *typeInfo = nullptr;
    return Describe(*kClassId, typeInfo);
  }

 protected:
  explicit DispatchObject(std::shared_ptr<CallGate> gate) : gate_(std::move(gate)) {}

  // Gives the call's value to the caller.
  template <class Out, class Call>
  HRESULT Return(Out* out, Call&& call, CallGate::Kind kind = CallGate::kActs) noexcept {
    if (out == nullptr) return E_POINTER;
    *out = Out{};
    return Pass(kind, [&](const CallGate::Call& passing) {
      auto&& value = call();
      passing.CheckMemory();
      return ToAutomation(std::forward<decltype(value)>(value), out);
    });
  }

  // The form of nearly all members: a method of the component's object that gives a value ...
  template <class Object, class Method, class Out>
  HRESULT Get(Object& object, Method method, Out* out, CallGate::Kind kind = CallGate::kActs) noexcept {
    return Return(
        out, [&]() -> decltype(auto) { return std::invoke(method, object); }, kind);
  }
  // ... a value that can be read at any time ...
  template <class Object, class Method, class Out>
  HRESULT Read(Object& object, Method method, Out* out) noexcept {
    return Get(object, method, out, CallGate::kReads);
  }
  // ... or takes one.
  template <class Object, class Method, class Value>
  HRESULT Put(Object& object, Method method, const Value& value) noexcept {
    return Pass(CallGate::kActs, [&](const CallGate::Call& passing) {
      std::invoke(method, object, FromAutomation(value));
      passing.CheckMemory();
      return S_OK;
    });
  }

  const std::shared_ptr<CallGate>& Gate() const { return gate_; }

 private:
  template <class Call>
  HRESULT Pass(CallGate::Kind kind, Call&& call) noexcept {
    const CallGate::Call passing(*gate_, kind, static_cast<Interface*>(this));
    return passing ? Guard([&] { return call(passing); }) : RPC_E_SERVERCALL_RETRYLATER;
  }

  static HRESULT Describe(REFGUID id, ITypeInfo** typeInfo) noexcept {
    return Guard([&] { return OwnTypeInfo(id, typeInfo); });
  }

  const std::shared_ptr<CallGate> gate_;
};

}  // namespace tavro::automation
