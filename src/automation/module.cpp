#include "automation/module.h"

#include <wrl/client.h>

namespace tavro::automation {
namespace {

using Microsoft::WRL::ComPtr;

LONG useCount = 0;
SRWLOCK libraryLock = SRWLOCK_INIT;
ITypeLib* library = nullptr;  // guarded by libraryLock; no smart pointer, which would release it while the DLL unloads

HMODULE ThisModule() {
  static const char anchor = 0;
  HMODULE module = nullptr;
  GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
                     reinterpret_cast<LPCWSTR>(&anchor), &module);
  return module;
}

}  // namespace

void LockModule() { InterlockedIncrement(&useCount); }

void UnlockModule() {
  if (InterlockedDecrement(&useCount) != 0) return;
  ComPtr<ITypeLib> unused;  // released outside the lock
  const ExclusiveLock guard(libraryLock);
  if (!ModuleInUse()) {
    *unused.GetAddressOf() = library;
    library = nullptr;
  }
}

bool ModuleInUse() { return InterlockedCompareExchange(&useCount, 0, 0) != 0; }

std::wstring ModulePath() {
  std::wstring path(MAX_PATH, L'\0');
  for (;;) {
    const DWORD length = GetModuleFileNameW(ThisModule(), path.data(), static_cast<DWORD>(path.size()));
    if (length < path.size()) {
      path.resize(length);
      return path;
    }
    path.resize(path.size() * 2);
  }
}

HRESULT OwnTypeLibrary(ITypeLib** result) {
  const ExclusiveLock guard(libraryLock);
  if (library == nullptr) {
    const HRESULT loaded = LoadTypeLibEx(ModulePath().c_str(), REGKIND_NONE, &library);
    if (FAILED(loaded)) return loaded;
  }
  *result = library;
  library->AddRef();
  return S_OK;
}

HRESULT OwnTypeInfo(REFGUID id, ITypeInfo** typeInfo) {
  ComPtr<ITypeLib> ownLibrary;
  const HRESULT loaded = OwnTypeLibrary(&ownLibrary);
  return SUCCEEDED(loaded) ? ownLibrary->GetTypeInfoOfGuid(id, typeInfo) : loaded;
}

}  // namespace tavro::automation
