// How a call is made and what its Booleans are, and the functions that the DLL calls itself.
#include <initializer_list>

#include "client.h"

namespace {

std::wstring shownBoxes;

int WINAPI CountBox(HWND, LPCWSTR, LPCWSTR title, UINT) {
  shownBoxes += title;
  return IDOK;
}

BOOL WINAPI SayVisible(HANDLE, int, void* flags, DWORD, DWORD*) {
  static_cast<USEROBJECTFLAGS*>(flags)->dwFlags = WSF_VISIBLE;
  return TRUE;
}

}  // namespace

bool Replace(const char* name, void* replacement) {
  auto* const base = reinterpret_cast<BYTE*>(GetModuleHandleW(L"Tavro.dll"));
  const auto* headers = reinterpret_cast<IMAGE_NT_HEADERS*>(base + reinterpret_cast<IMAGE_DOS_HEADER*>(base)->e_lfanew);
  const auto& directory = headers->OptionalHeader.DataDirectory[IMAGE_DIRECTORY_ENTRY_IMPORT];
  for (auto* library = reinterpret_cast<IMAGE_IMPORT_DESCRIPTOR*>(base + directory.VirtualAddress); library->Name;
       ++library) {
    const auto* names = reinterpret_cast<IMAGE_THUNK_DATA*>(base + library->OriginalFirstThunk);
    auto* functions = reinterpret_cast<void**>(base + library->FirstThunk);
    for (; names->u1.AddressOfData; ++names, ++functions) {
      if (IMAGE_SNAP_BY_ORDINAL(names->u1.Ordinal)) continue;
      const auto* import = reinterpret_cast<IMAGE_IMPORT_BY_NAME*>(base + names->u1.AddressOfData);
      if (std::string(reinterpret_cast<const char*>(import->Name)) != name) continue;
      DWORD before = 0;
      VirtualProtect(functions, sizeof *functions, PAGE_READWRITE, &before);
      *functions = replacement;
      return true;
    }
  }
  return false;
}

void CheckKindsOfCalls(const Server& server) {
  const ComPtr<_SMS> sms = server.Create();
  ComPtr<_Inbox> inbox;
  ComPtr<_Wap> wap;
  sms->get_Inbox(&inbox);
  sms->get_WapPush(&wap);
  Variant one(1), result;
  DISPPARAMS index{&one, nullptr, 1, 0};
  const auto call = [&](const ComPtr<IDispatch>& object, const wchar_t* name, WORD kind,
                        std::vector<Variant> arguments) {
    VariantClear(&result);
    return Invoke(object.Get(), name, kind, std::move(arguments), &result);
  };
  Check(inbox->Invoke(DISPID_VALUE, IID_NULL, 0, DISPATCH_PROPERTYGET, &index, &result, nullptr, nullptr) == S_OK &&
            result.vt == VT_DISPATCH && ErrorCode(sms.Get()) == 5007 &&
            call(sms, L"IsError", DISPATCH_PROPERTYGET, {Variant(0)}) == S_OK && result.boolVal == VARIANT_TRUE &&
            call(wap, L"IsLengthOK", DISPATCH_PROPERTYGET, {}) == S_OK && result.boolVal == VARIANT_TRUE,
        "methods are called as if they were properties");
  Check(call(sms, L"Inbox", DISPATCH_METHOD, {Variant(1)}) == S_OK && result.vt == VT_DISPATCH && !result.pdispVal &&
            ErrorCode(sms.Get()) == 5007 && call(sms, L"BaudRate", DISPATCH_METHOD, {}) == S_OK &&
            result.lVal == 19200 && call(inbox, L"NewEnum", DISPATCH_METHOD, {}) == S_OK && result.vt == VT_UNKNOWN,
        "properties are called as if they were methods");
}

// Any Boolean but 0 is true.
void CheckBooleans(const Server& server) {
  const ComPtr<_SMS> sms = server.Create();
  ComPtr<_Inbox> inbox;
  sms->get_Inbox(&inbox);
  Check(Replace("MessageBoxW", reinterpret_cast<void*>(CountBox)) &&
            Replace("GetUserObjectInformationW", reinterpret_cast<void*>(SayVisible)),
        "message boxes can be counted");
  for (const VARIANT_BOOL value : std::initializer_list<VARIANT_BOOL>{-1, 0, 1, 256}) {
    const VARIANT_BOOL expected = value != 0 ? VARIANT_TRUE : VARIANT_FALSE;
    VARIANT_BOOL failed = 0, check = 1, joined = 1, debug = 1;
    sms->put_BaudRate(5);
    shownBoxes.clear();
    sms->IsError(value, Bstr(L"a title"), &failed);
    sms->put_DisableCheckPIN(value), sms->get_DisableCheckPIN(&check);
    inbox->put_Concatenate(value), inbox->get_Concatenate(&joined);
    sms->put_DebugMode(value), sms->get_DebugMode(&debug);
    sms->put_DebugMode(VARIANT_FALSE);
    Check(failed == VARIANT_TRUE && shownBoxes == (value != 0 ? L"a title" : L"") && check == expected &&
              joined == expected && debug == expected,
          "ShowMsgBox and Boolean properties: " + std::to_string(value));
  }
}
