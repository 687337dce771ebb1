// The DLL as a whole: what is alive in it, and its own type library.
#pragma once

#include <ole2.h>

#include <string>

namespace tavro::automation {

// Each living object and each lock of the class factory holds the DLL in memory.
void LockModule();
void UnlockModule();
bool ModuleInUse();

class ModuleLock {
 public:
  ModuleLock() { LockModule(); }
  ~ModuleLock() { UnlockModule(); }
  ModuleLock(const ModuleLock&) = delete;
  ModuleLock& operator=(const ModuleLock&) = delete;
};

// Holds a lock for as long as it lives.
class ExclusiveLock {
 public:
  explicit ExclusiveLock(SRWLOCK& lock) : lock_(lock) { AcquireSRWLockExclusive(&lock_); }
  ~ExclusiveLock() { ReleaseSRWLockExclusive(&lock_); }
  ExclusiveLock(const ExclusiveLock&) = delete;
  ExclusiveLock& operator=(const ExclusiveLock&) = delete;

 private:
  SRWLOCK& lock_;
};

// The DLL's full path; throws std::bad_alloc.
std::wstring ModulePath();

// The type library that is a resource of this DLL. It is loaded once and kept until the module is no longer in use.
HRESULT OwnTypeLibrary(ITypeLib** library);
// The description of an interface or class of that library.
HRESULT OwnTypeInfo(REFGUID id, ITypeInfo** typeInfo);

}  // namespace tavro::automation
