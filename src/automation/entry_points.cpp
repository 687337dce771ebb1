// What COM and regsvr32 call.
#include <ole2.h>
#include <olectl.h>

#include <string_view>

#include "automation/class_factory.h"
#include "automation/convert.h"
#include "automation/module.h"
#include "automation/registration.h"
#include "tavro_idl.h"

using namespace tavro::automation;

STDAPI DllGetClassObject(REFCLSID classId, REFIID iid, void** factory) {
  if (factory == nullptr) return E_POINTER;
  *factory = nullptr;
  if (classId != CLSID_SMS) return CLASS_E_CLASSNOTAVAILABLE;
  return Guard([&] { return CreateClassFactory(iid, factory); });
}

STDAPI DllCanUnloadNow() { return ModuleInUse() ? S_FALSE : S_OK; }

STDAPI DllRegisterServer() {
  return Guard([] { return Register(Scope::kMachine); });
}

STDAPI DllUnregisterServer() {
  return Guard([] { return Unregister(Scope::kMachine); });
}

// "user" registers for the current user, which needs no administrator rights; nothing, for all users.
STDAPI DllInstall(BOOL install, LPCWSTR commandLine) {
  const bool user = commandLine != nullptr && lstrcmpiW(commandLine, L"user") == 0;
  if (!user && commandLine != nullptr && *commandLine != L'\0') return E_INVALIDARG;
  const Scope scope = user ? Scope::kUser : Scope::kMachine;
  return Guard([&] { return install ? Register(scope) : Unregister(scope); });
}
