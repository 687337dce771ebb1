// What the COM checks have in common: reporting, text and VARIANTs that free themselves, late-bound calls.
#pragma once

#include <ocidl.h>
#include <wrl/client.h>

#include <functional>
#include <string>
#include <vector>

#include "tavro_idl.h"

using Microsoft::WRL::ComPtr;

// Prints "ok" or "FAILED" with the name. The program's exit code tells whether all were right.
bool Check(bool right, const std::string& name);
std::string Hex(HRESULT result);

class Bstr {
 public:
  Bstr() = default;
  Bstr(const std::wstring& text) : text_(SysAllocStringLen(text.data(), static_cast<UINT>(text.size()))) {}
  ~Bstr() { SysFreeString(text_); }
  Bstr(const Bstr&) = delete;
  Bstr& operator=(const Bstr&) = delete;
  operator BSTR() const { return text_; }
  BSTR* operator&() { return &text_; }
  std::wstring Text() const { return std::wstring(text_ ? text_ : L"", SysStringLen(text_)); }

 private:
  BSTR text_ = nullptr;
};

struct Variant : VARIANT {
  Variant() { VariantInit(this); }
  Variant(int number) : Variant() { vt = VT_I4, lVal = number; }
  Variant(double number) : Variant() { vt = VT_R8, dblVal = number; }
  Variant(const std::wstring& text) : Variant() {
    vt = VT_BSTR, bstrVal = SysAllocStringLen(text.data(), static_cast<UINT>(text.size()));
  }
  Variant(const Variant& other) : Variant() { VariantCopy(this, const_cast<Variant*>(&other)); }
  Variant& operator=(const Variant&) = delete;
  ~Variant() { VariantClear(this); }
  static Variant Of(VARTYPE type, LONGLONG bits = 0) {
    Variant value;
    value.vt = type, value.llVal = bits;
    return value;
  }
  static Variant Date(double date) {
    Variant value;
    value.vt = VT_DATE, value.date = date;
    return value;
  }
  std::wstring Text() const { return vt == VT_BSTR ? std::wstring(bstrVal, SysStringLen(bstrVal)) : L"(no text)"; }
};

// A call by name, as a script makes it; arguments in their natural order.
HRESULT Invoke(IDispatch* object, const wchar_t* name, WORD flags, std::vector<Variant> arguments, Variant* result);
inline HRESULT PutProperty(IDispatch* object, const wchar_t* name, const Variant& value) {
  return Invoke(object, name, DISPATCH_PROPERTYPUT, {value}, nullptr);
}

// The DLL, loaded and called without the registry.
class Server {
 public:
  explicit Server(const wchar_t* dll) : module_(LoadLibraryW(dll)) {}
  ~Server() { FreeLibrary(module_); }
  Server(const Server&) = delete;
  Server& operator=(const Server&) = delete;
  HRESULT GetClassObject(REFCLSID classId, REFIID iid, void** object) const;
  HRESULT CanUnload() const;
  template <class Interface = _SMS>
  ComPtr<Interface> Create() const {
    ComPtr<IClassFactory> factory;
    ComPtr<Interface> object;
    GetClassObject(CLSID_SMS, IID_IClassFactory, &factory);
    if (factory) factory->CreateInstance(nullptr, __uuidof(Interface), &object);
    return object;
  }

 private:
  HMODULE module_;
};

LONG ErrorCode(_SMS* sms);

template <class Method>
bool IsTrue(Method method) {
  VARIANT_BOOL value = VARIANT_FALSE;
  return method(&value) == S_OK && value == VARIANT_TRUE;
}

// Of the registered class, or the one of a manifest; null when it does not connect.
ComPtr<_SMS> CreateConnected(const wchar_t* port);
// To the modem's own number, which brings it back.
bool Send(_SMS* sms, const std::wstring& text, VARIANT_BOOL alert = VARIANT_FALSE);
bool Refresh(_Inbox* inbox);
std::wstring TextOf(_Message* message);

// Runs it on a thread of a multithreaded apartment. An object that is made there lives in an apartment of its own, and
// its calls are marshaled by the type library.
void OnMultithreadedApartment(const std::function<void()>& run);

// Makes the loaded DLL call another function in place of a system function.
bool Replace(const char* name, void* replacement);

// The members of an object's vtable, by its type library.
void ForEachFunction(IDispatch* object, const std::function<void(ITypeInfo*, const FUNCDESC&)>& visit);

// A null pointer for a result is E_POINTER in every member of the object's vtable.
void CheckNullPointers(IDispatch* object, const std::string& name);

void DumpInterface(const wchar_t* dll);
void CheckKindsOfCalls(const Server& server);
void CheckBooleans(const Server& server);
void CheckObjects(const wchar_t* dll);
void CheckFailedRegistration(const wchar_t* dll);
// These use the registered class, or the one of a manifest.
void CheckCreation(const wchar_t*);
void CheckVtableClient(const wchar_t*);
void CheckDispatchClient(const wchar_t*);
void CheckThreads(const wchar_t*);
void CheckVanishingModem(const wchar_t* dll);
void CheckWaiting(const wchar_t*);
void CheckReleases(const wchar_t* dll);
