// com_check NAME [DLL]: one group of checks, or the DLL's version and interface as text.
#include <cstdio>

#include "client.h"

namespace {

bool allRight = true;

}  // namespace

bool Check(bool right, const std::string& name) {
  std::printf("%-7s %s\n", right ? "ok" : "FAILED", name.c_str());
  std::fflush(stdout);
  allRight = allRight && right;
  return right;
}

std::string Hex(HRESULT result) {
  char text[16];
  std::snprintf(text, sizeof text, "%08lX", static_cast<unsigned long>(result));
  return text;
}

HRESULT Invoke(IDispatch* object, const wchar_t* name, WORD flags, std::vector<Variant> arguments, Variant* result) {
  LPOLESTR writable = const_cast<LPOLESTR>(name);
  DISPID id = 0;
  const HRESULT found = object->GetIDsOfNames(IID_NULL, &writable, 1, LOCALE_USER_DEFAULT, &id);
  if (FAILED(found)) return found;
  std::vector<VARIANT> backwards(arguments.rbegin(), arguments.rend());
  DISPID put = DISPID_PROPERTYPUT;
  DISPPARAMS parameters{backwards.data(), nullptr, static_cast<UINT>(backwards.size()), 0};
  if (flags & DISPATCH_PROPERTYPUT) parameters.rgdispidNamedArgs = &put, parameters.cNamedArgs = 1;
  return object->Invoke(id, IID_NULL, LOCALE_USER_DEFAULT, flags, &parameters, result, nullptr, nullptr);
}

HRESULT Server::GetClassObject(REFCLSID classId, REFIID iid, void** object) const {
  const auto call =
      reinterpret_cast<LPFNGETCLASSOBJECT>(reinterpret_cast<void*>(GetProcAddress(module_, "DllGetClassObject")));
  return call(classId, iid, object);
}

HRESULT Server::CanUnload() const {
  const auto call =
      reinterpret_cast<LPFNCANUNLOADNOW>(reinterpret_cast<void*>(GetProcAddress(module_, "DllCanUnloadNow")));
  return call();
}

LONG ErrorCode(_SMS* sms) {
  LONG code = -1;
  sms->get_ErrorCode(&code);
  return code;
}

extern "C" int wmain(int count, wchar_t** arguments) {
  const struct {
    std::wstring name;
    void (*run)(const wchar_t* dll);
  } groups[] = {
      {L"interface", DumpInterface},
      {L"objects", CheckObjects},
      {L"failed-registration", CheckFailedRegistration},
      {L"creation", CheckCreation},
      {L"vtable", CheckVtableClient},
      {L"dispatch", CheckDispatchClient},
      {L"threads", CheckThreads},
      {L"vanish", CheckVanishingModem},
      {L"waiting", CheckWaiting},
      {L"releases", CheckReleases},
  };
  bool found = false;
  CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED);
  for (const auto& group : groups) {
    if (count < 2 || group.name != arguments[1]) continue;
    group.run(count > 2 ? arguments[2] : nullptr);
    found = true;
  }
  CoUninitialize();
  return found && allRight ? 0 : 1;
}
