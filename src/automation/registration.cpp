// Below Software\Classes:
//   Tavro.SMS.1                 class identifier of this version
//   Tavro.SMS                   class identifier and current version, Tavro.SMS.1
//   CLSID\{SMS}                 ProgID, VersionIndependentProgID, TypeLib, Version
//   CLSID\{SMS}\InprocServer32  path of the DLL, ThreadingModel Apartment
//   TypeLib\{Tavro}\1.8, Interface\{...}: written by the system, RegisterTypeLib
#include "automation/registration.h"

#include <optional>
#include <string>
#include <vector>

#include "automation/com_object.h"
#include "automation/module.h"
#include "automation/registry_changes.h"
#include "facade/version.h"
#include "tavro_idl.h"

// In oleaut32 since Windows Vista; the headers of mingw-w64 lack them.
STDAPI RegisterTypeLibForUser(ITypeLib* library, OLECHAR* fullPath, OLECHAR* helpFolder);
STDAPI UnRegisterTypeLibForUser(REFGUID library, WORD major, WORD minor, LCID locale, SYSKIND system);

namespace tavro::automation {
namespace {

constexpr wchar_t kProgramId[] = L"Tavro.SMS";
constexpr wchar_t kVersionedProgramId[] = L"Tavro.SMS.1";
constexpr wchar_t kDescription[] = L"" TAVRO_FILE_DESCRIPTION;
constexpr wchar_t kVersion[] = L"1.8";
#ifdef _WIN64
constexpr SYSKIND kSystem = SYS_WIN64;
constexpr wchar_t kSystemKey[] = L"win64";
constexpr REGSAM kOtherView = KEY_WOW64_32KEY;
#else
constexpr SYSKIND kSystem = SYS_WIN32;
constexpr wchar_t kSystemKey[] = L"win32";
constexpr REGSAM kOtherView = KEY_WOW64_64KEY;
#endif

std::wstring Text(REFGUID id) {
  wchar_t text[40];
  StringFromGUID2(id, text, ARRAYSIZE(text));
  return text;
}

constexpr wchar_t kClassIds[] = L"CLSID";

std::wstring ClassKey() { return kClassIds + (L"\\" + Text(CLSID_SMS)); }

struct Entry {
  std::wstring key;
  const wchar_t* name;  // null for the key's default value
  std::wstring value;
};

// Each key after the one above it.
std::vector<Entry> Entries() {
  const std::wstring classId = Text(CLSID_SMS);
  const std::wstring classKey = ClassKey();
  return {
      {kVersionedProgramId, nullptr, kDescription},
      {kVersionedProgramId + std::wstring(L"\\CLSID"), nullptr, classId},
      {kProgramId, nullptr, kDescription},
      {kProgramId + std::wstring(L"\\CLSID"), nullptr, classId},
      {kProgramId + std::wstring(L"\\CurVer"), nullptr, kVersionedProgramId},
      {classKey, nullptr, kDescription},
      {classKey + L"\\ProgID", nullptr, kVersionedProgramId},
      {classKey + L"\\VersionIndependentProgID", nullptr, kProgramId},
      {classKey + L"\\TypeLib", nullptr, Text(LIBID_Tavro)},
      {classKey + L"\\Version", nullptr, kVersion},
      {classKey + L"\\InprocServer32", nullptr, ModulePath()},
      {classKey + L"\\InprocServer32", L"ThreadingModel", L"Apartment"},
  };
}

HRESULT RegisterTypeLibrary(Scope scope) {
  ComPtr<ITypeLib> library;
  const HRESULT loaded = OwnTypeLibrary(&library);
  if (FAILED(loaded)) return loaded;
  std::wstring path = ModulePath();
  return scope == Scope::kUser ? RegisterTypeLibForUser(library.Get(), path.data(), nullptr)
                               : RegisterTypeLib(library.Get(), path.data(), nullptr);
}

std::wstring LibraryKey() { return L"TypeLib\\" + Text(LIBID_Tavro) + L"\\" + kVersion + L"\\0\\" + kSystemKey; }

// The DLL for the other word size may be registered too. It shares the program identifiers and the type library; and
// the system keeps the interfaces of one type library for both word sizes.
bool OtherRegistered(const ClassesKey& classes) { return classes.Has(ClassKey(), kOtherView); }

HRESULT UnregisterTypeLibrary(ClassesKey& classes, Scope scope, bool otherStays) {
  if (otherStays) return classes.Delete(LibraryKey());
  const HRESULT result = scope == Scope::kUser ? UnRegisterTypeLibForUser(LIBID_Tavro, 1, 8, LOCALE_NEUTRAL, kSystem)
                                               : UnRegisterTypeLib(LIBID_Tavro, 1, 8, LOCALE_NEUTRAL, kSystem);
  // What the other one left.
  for (const IID& iid : {IID__SMS, IID__Inbox, IID__Message, IID__Wap}) {
    for (const REGSAM view : {REGSAM{0}, kOtherView}) classes.Delete(L"Interface", Text(iid), view);
  }
  return result;
}

}  // namespace

HRESULT Register(Scope scope) {
  const ModuleLock keepLibrary;
  ClassesKey classes(scope == Scope::kUser ? HKEY_CURRENT_USER : HKEY_LOCAL_MACHINE);
  if (FAILED(classes.Opened())) return classes.Opened();
  const bool libraryWasRegistered = classes.Has(LibraryKey()), otherStays = OtherRegistered(classes);

  RegistryChanges changes(classes);  // which takes all back when this fails
  HRESULT result = changes.Make(kClassIds);
  if (FAILED(result)) return result;
  for (const Entry& entry : Entries()) {
    result = changes.Set(entry.key, entry.name, entry.value);
    if (FAILED(result)) return result;
  }
  result = RegisterTypeLibrary(scope);
  if (FAILED(result)) {
    if (!libraryWasRegistered) UnregisterTypeLibrary(classes, scope, otherStays);
    return result;
  }
  changes.Keep();
  return S_OK;
}

HRESULT Unregister(Scope scope) {
  ClassesKey classes(scope == Scope::kUser ? HKEY_CURRENT_USER : HKEY_LOCAL_MACHINE);
  if (FAILED(classes.Opened())) return classes.Opened();

  HRESULT result = classes.Delete(ClassKey());
  classes.DeleteEmpty(kClassIds);  // the user's classes often have no other
  const bool otherStays = OtherRegistered(classes);
  if (!otherStays) {
    for (const wchar_t* key : {kProgramId, kVersionedProgramId}) {
      const HRESULT deleted = classes.Delete(key);
      if (SUCCEEDED(result)) result = deleted;
    }
  }
  // Fails as well when there was nothing to do.
  const HRESULT unregistered = UnregisterTypeLibrary(classes, scope, otherStays);
  if (SUCCEEDED(result) && FAILED(unregistered) && classes.Has(LibraryKey())) result = unregistered;
  return result;
}

}  // namespace tavro::automation
