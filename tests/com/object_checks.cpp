// What needs neither registry nor modem: class factory, identity and life time, bad input, loading and unloading.
#include <algorithm>
#include <array>
#include <cmath>
#include <functional>
#include <limits>
#include <map>

#include "client.h"

#define PSAPI_VERSION 2  // in kernel32; below the other headers, which it needs
#include <psapi.h>

namespace {

const std::wstring kHuge(100000, L'x');
const std::wstring kWithNul(L"a\0b", 3);
const std::wstring kLoneSurrogates = L"\xD83D \xDE00";

struct Objects {
  explicit Objects(const Server& server) : sms(server.Create()) {
    sms->get_Inbox(&inbox);
    sms->get_WapPush(&wap);
    ComPtr<IUnknown> unknown;
    inbox->get_NewEnum(&unknown);
    unknown.As(&enumerator);
  }
  ComPtr<_SMS> sms;
  ComPtr<_Inbox> inbox;
  ComPtr<_Wap> wap;
  ComPtr<IEnumVARIANT> enumerator;
};

void CheckFactory(const Server& server) {
  void* object = &object;
  Check(server.GetClassObject(CLSID_Inbox, IID_IClassFactory, &object) == CLASS_E_CLASSNOTAVAILABLE && !object,
        "only SMS can be created");
  Check(server.GetClassObject(CLSID_SMS, IID_IClassFactory, nullptr) == E_POINTER &&
            server.GetClassObject(CLSID_SMS, IID_IDispatch, &object) == E_NOINTERFACE,
        "class object: null pointer, foreign interface");
  ComPtr<IClassFactory> factory;
  server.GetClassObject(CLSID_SMS, IID_IClassFactory, &factory);
  Check(factory->CreateInstance(factory.Get(), IID_IUnknown, &object) == CLASS_E_NOAGGREGATION &&
            factory->CreateInstance(nullptr, IID_IEnumVARIANT, &object) == E_NOINTERFACE && !object &&
            factory->CreateInstance(nullptr, IID_IUnknown, nullptr) == E_POINTER,
        "factory: aggregation, foreign interface, null pointer");
  factory->LockServer(TRUE);
  factory.Reset();
  const bool locked = server.CanUnload() == S_FALSE;
  server.GetClassObject(CLSID_SMS, IID_IClassFactory, &factory);
  factory->LockServer(FALSE);
  factory.Reset();
  Check(locked && server.CanUnload() == S_OK, "a lock keeps the server, its end frees it");
}

template <class Interface>
bool IsClass(const ComPtr<Interface>& object, REFCLSID classId) {
  ComPtr<IProvideClassInfo> provider;
  ComPtr<ITypeInfo> info;
  ComPtr<IUnknown> first, second;
  ComPtr<IDispatch> dispatch;
  void* foreign = &foreign;
  TYPEATTR* attributes = nullptr;
  UINT count = 0;
  if (FAILED(object.As(&provider)) || FAILED(provider->GetClassInfo(&info)) || FAILED(info->GetTypeAttr(&attributes)))
    return false;
  const bool right = attributes->guid == classId;
  info->ReleaseTypeAttr(attributes);
  object.As(&dispatch), provider.As(&first), dispatch.As(&second);
  return right && first.Get() == second.Get() && object->QueryInterface(IID_IEnumVARIANT, &foreign) == E_NOINTERFACE &&
         !foreign && object->QueryInterface(IID_IUnknown, nullptr) == E_POINTER &&
         provider->GetClassInfo(nullptr) == E_POINTER && SUCCEEDED(dispatch->GetTypeInfoCount(&count)) && count == 1 &&
         dispatch->GetTypeInfo(1, 0, info.ReleaseAndGetAddressOf()) == DISP_E_BADINDEX && !info;
}

void CheckIdentity(const Server& server) {
  Objects objects(server);
  Check(IsClass(objects.sms, CLSID_SMS) && IsClass(objects.inbox, CLSID_Inbox) && IsClass(objects.wap, CLSID_Wap),
        "class information and identity");
  ComPtr<_Inbox> inbox;
  ComPtr<_Wap> wap;
  objects.sms->get_Inbox(&inbox);
  objects.sms->get_WapPush(&wap);
  const bool same = inbox.Get() == objects.inbox.Get() && wap.Get() == objects.wap.Get();
  objects.sms->put_Port(Bstr(L"com7"));
  objects.sms->get_Inbox(inbox.ReleaseAndGetAddressOf());
  objects.sms->get_WapPush(wap.ReleaseAndGetAddressOf());
  VARIANT_BOOL empty = VARIANT_FALSE;
  Check(same && inbox.Get() != objects.inbox.Get() && wap.Get() == objects.wap.Get() &&
            SUCCEEDED(objects.inbox->get_IsEmpty(&empty)) && empty == VARIANT_TRUE,
        "one Inbox and one Wap object, a new Inbox after a change of port");
  BSTR about = nullptr;
  objects.sms->get_About(&about);
  const std::wstring expected =
      L"Tavro 1.8 SMS Component (Version 1.8.80)\r\nCopyright (c) 2026 The Tavro developers. MIT License.";
  Check(about && expected == about, "About");
  SysFreeString(about);
}

// Each let with each odd value: the result that Automation prescribes, and no crash.
void CheckOddValues(const Server& server) {
  Objects objects(server);
  Variant array;
  array.vt = VT_ARRAY | VT_VARIANT, array.parray = SafeArrayCreateVector(VT_VARIANT, 0, 2);
  const HRESULT mismatch = DISP_E_TYPEMISMATCH, overflow = DISP_E_OVERFLOW;
  const struct {
    const char* name;
    Variant value;
    std::map<VARTYPE, HRESULT> failures;  // by the property's type; all others succeed
  } cases[] = {
      {"a text", Variant(L"abc"), {{VT_I2, mismatch}, {VT_I4, mismatch}, {VT_BOOL, mismatch}}},
      {"a huge text", Variant(kHuge), {{VT_I2, mismatch}, {VT_I4, mismatch}, {VT_BOOL, mismatch}}},
      {"a text with NUL", Variant(kWithNul), {{VT_I2, mismatch}, {VT_I4, mismatch}, {VT_BOOL, mismatch}}},
      {"lone surrogates", Variant(kLoneSurrogates), {{VT_I2, mismatch}, {VT_I4, mismatch}, {VT_BOOL, mismatch}}},
      {"Empty", Variant(), {}},
      {"70000", Variant(70000), {{VT_I2, overflow}}},
      {"1e300", Variant(1e300), {{VT_I2, overflow}, {VT_I4, overflow}}},
      {"Null", Variant::Of(VT_NULL), {{VT_I2, mismatch}, {VT_I4, mismatch}, {VT_BOOL, mismatch}, {VT_BSTR, mismatch}}},
      {"an array", array, {{VT_I2, mismatch}, {VT_I4, mismatch}, {VT_BOOL, mismatch}, {VT_BSTR, mismatch}}},
      {"no object",
       Variant::Of(VT_UNKNOWN),
       {{VT_I2, mismatch}, {VT_I4, mismatch}, {VT_BOOL, mismatch}, {VT_BSTR, mismatch}}},
  };
  for (const auto& odd : cases) {
    std::string wrong;
    int tried = 0;
    for (IDispatch* object : {static_cast<IDispatch*>(objects.sms.Get()), static_cast<IDispatch*>(objects.inbox.Get()),
                              static_cast<IDispatch*>(objects.wap.Get())}) {
      ForEachFunction(object, [&](ITypeInfo* info, const FUNCDESC& function) {
        if (function.invkind != INVOKE_PROPERTYPUT) return;
        Bstr member;
        info->GetDocumentation(function.memid, &member, nullptr, nullptr, nullptr);
        const auto failure = odd.failures.find(function.lprgelemdescParam[0].tdesc.vt);
        const HRESULT result = PutProperty(object, member, odd.value);
        if (result != (failure != odd.failures.end() ? failure->second : S_OK)) {
          wrong += " " + std::to_string(function.memid) + ": " + Hex(result);
        }
        objects.sms->put_DebugMode(VARIANT_FALSE);  // no message box may wait for somebody
        ++tried;
      });
    }
    Check(tried == 28 && wrong.empty(), std::string("every property takes or refuses ") + odd.name + wrong);
  }
}

void CheckDispatchCalls(const Server& server) {
  Objects objects(server);
  _SMS* sms = objects.sms.Get();
  Variant number(L"9600"), result;
  LONG baudRate = 0;
  short dataBits = 7, readBack = 0;
  sms->put_BaudRate(300);
  PutProperty(sms, L"BaudRate", Variant::Of(VT_BYREF | VT_VARIANT, reinterpret_cast<LONG_PTR>(&number)));
  PutProperty(sms, L"DataBits", Variant::Of(VT_BYREF | VT_I2, reinterpret_cast<LONG_PTR>(&dataBits)));
  sms->get_BaudRate(&baudRate);
  sms->get_DataBits(&readBack);
  Check(baudRate == 9600 && readBack == 7, "values by reference");

  const Variant missing = Variant::Of(VT_ERROR, DISP_E_PARAMNOTFOUND);
  DISPPARAMS none{};
  UINT wrongArgument = 0;
  const auto call = [&](const wchar_t* name, WORD flags, std::vector<Variant> arguments) {
    VariantClear(&result);
    return Invoke(sms, name, flags, std::move(arguments), &result);
  };
  Check(call(L"SendSMS", DISPATCH_METHOD, {Variant(L"x"), Variant(L"y")}) == S_OK && result.vt == VT_I2 &&
            result.iVal == -1 && ErrorCode(sms) == 4004 &&
            call(L"IsError", DISPATCH_METHOD, {missing, Variant(L"title")}) == S_OK && result.boolVal == VARIANT_TRUE &&
            call(L"IsError", DISPATCH_METHOD, {}) == S_OK && result.boolVal == VARIANT_TRUE &&
            call(L"Inbox", DISPATCH_PROPERTYGET, {}) == S_OK && result.vt == VT_DISPATCH,
        "optional arguments left out; SendSMS returns the short integer -1");
  Check(FAILED(call(L"SendSMS", DISPATCH_METHOD, {Variant(L"x")})) &&
            FAILED(call(L"Connect", DISPATCH_METHOD, {Variant(1)})) && FAILED(call(L"PIN", DISPATCH_PROPERTYGET, {})) &&
            FAILED(PutProperty(sms, L"Model", Variant(L"x"))) &&
            call(L"NoSuchMember", DISPATCH_METHOD, {}) == DISP_E_UNKNOWNNAME &&
            sms->Invoke(999, IID_NULL, 0, DISPATCH_METHOD, &none, nullptr, nullptr, nullptr) == DISP_E_MEMBERNOTFOUND &&
            sms->Invoke(3, IID_IDispatch, 0, DISPATCH_METHOD, &none, nullptr, nullptr, nullptr) ==
                DISP_E_UNKNOWNINTERFACE &&
            sms->Invoke(3, IID_NULL, 0, DISPATCH_PROPERTYGET, nullptr, nullptr, nullptr, &wrongArgument) == E_POINTER,
        "calls with too few or too many arguments, of unknown and of one-way members fail");
}

void CheckTexts(const Server& server) {
  Objects objects(server);
  for (const std::wstring& text : {kHuge, kWithNul, kLoneSurrogates}) {
    Bstr readBack;
    objects.wap->put_Text(Bstr(text));
    objects.wap->get_Text(&readBack);
    Check(readBack.Text() == text, "text of " + std::to_string(text.size()) + " units passes unchanged");
    Variant reference;
    const HRESULT sent = objects.sms->SendSMS(Bstr(L"+491701234567"), Bstr(text), VARIANT_TRUE, &reference);
    Check(sent == S_OK && reference.vt == VT_I2 && ErrorCode(objects.sms.Get()) == 1010,
          "... and is not sent without a port");
  }
  Bstr readBack;
  Check(objects.sms->put_ModemInitString(nullptr) == S_OK && objects.sms->get_ModemInitString(&readBack) == S_OK &&
            readBack != nullptr && readBack.Text().empty(),
        "a null text is an empty one, and an empty one is not null");
}

void CheckDates(const Server& server) {
  Objects objects(server);
  Variant array, created;
  array.vt = VT_ARRAY | VT_VARIANT, array.parray = SafeArrayCreateVector(VT_VARIANT, 0, 2);
  DATE date = 45000.5;
  const double none = -1e9;
  const struct {
    const char* name;
    Variant value;
    double expected;
  } cases[] = {
      {"the year 100", Variant::Date(-657434), -657434},
      {"before 1900", Variant::Date(-1.25), -1.25},
      {"after 2078", Variant::Date(65381), 65381},
      {"the end of 9999", Variant::Date(2958465.5), 2958465.5},
      {"by reference", Variant::Of(VT_BYREF | VT_DATE, reinterpret_cast<LONG_PTR>(&date)), 45000.5},
      {"text", Variant(L"2009-11-15 16:30"), 40132.6875},
      {"the year 10000", Variant::Date(2958466), none},
      {"the year 99", Variant::Date(-657435), none},
      {"infinity", Variant::Date(std::numeric_limits<double>::infinity()), none},
      {"no number", Variant::Date(std::nan("")), none},
      {"a plain number", Variant(40000), none},
      {"a text that is none", Variant(L"soon"), none},
      {"Empty", Variant(), none},
      {"Null", Variant::Of(VT_NULL), none},
      {"an array", array, none},
  };
  objects.wap->get_Created(&created);
  Check(created.vt == VT_EMPTY, "Created is Empty at the start");
  double current = 0;
  for (const auto& one : cases) {
    const bool accepted = one.expected != none;
    if (accepted) current = one.expected;
    Variant readBack;
    const HRESULT put = objects.wap->put_Created(one.value);
    const LONG code = ErrorCode(objects.sms.Get());
    objects.wap->get_Created(&readBack);
    Check(put == S_OK && code == (accepted ? 0 : 7019) && readBack.vt == VT_DATE && readBack.date == current,
          std::string("date: ") + one.name + (accepted ? "" : " is refused and the old one stays"));
  }
}

void CheckReleaseOrders(const Server& server) {
  std::array<int, 4> order{0, 1, 2, 3};
  bool right = true;
  do {
    Objects objects(server);
    for (const int next : order) {
      if (next == 0) objects.sms.Reset();
      if (next == 1) objects.inbox.Reset();
      if (next == 2) objects.wap.Reset();
      if (next == 3) objects.enumerator.Reset();
      SHORT count = -1;
      VARIANT_BOOL done = VARIANT_TRUE;
      Variant value;
      ULONG fetched = 1;
      if (objects.inbox)
        right = right && objects.inbox->get_Count(&count) == S_OK && count == 0 &&
                objects.inbox->Refresh(2, &done) == S_OK && done == VARIANT_FALSE;
      if (objects.wap) right = right && objects.wap->Send(&done) == S_OK && done == VARIANT_FALSE;
      if (objects.enumerator) right = right && objects.enumerator->Next(1, &value, &fetched) == S_FALSE && fetched == 0;
    }
    right = right && server.CanUnload() == S_OK;
  } while (std::next_permutation(order.begin(), order.end()));
  Check(right, "objects released in each of 24 orders: those left work, and nothing stays");
}

SIZE_T MemoryInUse() {
  PROCESS_MEMORY_COUNTERS counters{};
  GetProcessMemoryInfo(GetCurrentProcess(), &counters, sizeof counters);
  return counters.PagefileUsage;
}

void CheckLoading(const wchar_t* dll) {
  constexpr int kWarmUp = 100, kRounds = 1000;
  SIZE_T memory = 0;
  DWORD handles = 0, handlesBefore = 0;
  bool right = true;
  for (int round = 0; round < kWarmUp + kRounds; ++round) {
    if (round == kWarmUp) memory = MemoryInUse(), GetProcessHandleCount(GetCurrentProcess(), &handlesBefore);
    {
      Server server(dll);
      {
        Objects objects(server);
        Variant about;
        right = right && PutProperty(objects.sms.Get(), L"Port", Variant(L"COM1")) == S_OK &&
                Invoke(objects.sms.Get(), L"About", DISPATCH_PROPERTYGET, {}, &about) == S_OK;
      }
      right = right && server.CanUnload() == S_OK;
    }
    right = right && GetModuleHandleW(L"Tavro.dll") == nullptr;
  }
  GetProcessHandleCount(GetCurrentProcess(), &handles);
  const auto growth = static_cast<long long>(MemoryInUse()) - static_cast<long long>(memory);
  Check(right, "loaded, used and unloaded 1,000 times");
  Check(growth < 256 * 1024 && handles <= handlesBefore,
        "... without growing (" + std::to_string(growth) + " bytes, " + std::to_string(handles) + " handles)");
}

}  // namespace

void ForEachFunction(IDispatch* object, const std::function<void(ITypeInfo*, const FUNCDESC&)>& visit) {
  ComPtr<ITypeInfo> info, vtable;
  HREFTYPE reference = 0;
  FUNCDESC* function = nullptr;
  object->GetTypeInfo(0, 0, &info);
  if (!info || FAILED(info->GetRefTypeOfImplType(static_cast<UINT>(-1), &reference))) return;
  info->GetRefTypeInfo(reference, &vtable);
  for (UINT i = 0; SUCCEEDED(vtable->GetFuncDesc(i, &function)); ++i) {
    visit(vtable.Get(), *function);
    vtable->ReleaseFuncDesc(function);
  }
}

void CheckNullPointers(IDispatch* object, const std::string& name) {
  std::string wrong;
  int count = 0;
  ForEachFunction(object, [&](ITypeInfo*, const FUNCDESC& function) {
    if (function.invkind == INVOKE_PROPERTYPUT) return;
    std::vector<VARTYPE> types;
    for (SHORT i = 0; i + 1 < function.cParams; ++i) types.push_back(function.lprgelemdescParam[i].tdesc.vt);
    types.push_back(VT_BYREF | VT_I4);
    std::vector<Variant> nothing(types.size());
    std::vector<VARIANTARG*> pointers;
    for (Variant& value : nothing) pointers.push_back(&value);
    Variant result;
    DispCallFunc(object, static_cast<ULONG_PTR>(function.oVft), CC_STDCALL, VT_I4, static_cast<UINT>(types.size()),
                 types.data(), pointers.data(), &result);
    ++count;
    if (result.lVal != E_POINTER) wrong += " " + std::to_string(function.memid) + ": " + Hex(result.lVal);
  });
  Check(count > 0 && wrong.empty(), name + ": a null pointer for a result is E_POINTER" + wrong);
}

void CheckObjects(const wchar_t* dll) {
  {
    Server server(dll);
    CheckFactory(server);
    CheckIdentity(server);
    {
      Objects objects(server);
      CheckNullPointers(objects.sms.Get(), "SMS");
      CheckNullPointers(objects.inbox.Get(), "Inbox");
      CheckNullPointers(objects.wap.Get(), "Wap");
    }
    CheckOddValues(server);
    CheckDispatchCalls(server);
    CheckKindsOfCalls(server);
    CheckBooleans(server);
    CheckTexts(server);
    CheckDates(server);
    CheckReleaseOrders(server);
    Check(server.CanUnload() == S_OK, "nothing is left alive after bad input");
  }
  CheckLoading(dll);
}

// A key of the server's that cannot have lasting keys below it makes its registration fail half-way.
void CheckFailedRegistration(const wchar_t* dll) {
  wchar_t classId[40], key[100] = L"Software\\Classes\\CLSID\\";
  StringFromGUID2(CLSID_SMS, classId, 40);
  wcscat(key, classId);
  HKEY handle = nullptr;
  RegCreateKeyExW(HKEY_LOCAL_MACHINE, key, 0, nullptr, REG_OPTION_VOLATILE, KEY_WRITE, nullptr, &handle, nullptr);
  const HMODULE module = LoadLibraryW(dll);
  const auto registerServer = reinterpret_cast<HRESULT(STDAPICALLTYPE*)()>(
      reinterpret_cast<void*>(GetProcAddress(module, "DllRegisterServer")));
  const HRESULT result = registerServer();
  Check(result == HRESULT_FROM_WIN32(ERROR_CHILD_MUST_BE_VOLATILE), "a registration fails half-way: " + Hex(result));
  FreeLibrary(module);
  RegCloseKey(handle);
  Check(RegDeleteKeyW(HKEY_LOCAL_MACHINE, key) == ERROR_SUCCESS, "... and leaves the other's key as it was");
}
