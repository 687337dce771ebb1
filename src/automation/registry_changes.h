// Changes to the registry that can be taken back.
#pragma once

#include <ole2.h>

#include <optional>
#include <string>
#include <vector>

namespace tavro::automation {

// Software\Classes below HKEY_LOCAL_MACHINE or HKEY_CURRENT_USER.
class ClassesKey {
 public:
  explicit ClassesKey(HKEY root);
  ~ClassesKey();
  ClassesKey(const ClassesKey&) = delete;
  ClassesKey& operator=(const ClassesKey&) = delete;

  // Whether the key could be opened for writing.
  HRESULT Opened() const { return opened_; }
  HKEY Handle() const { return key_; }
  // `view` may be that of the other word size, KEY_WOW64_32KEY or KEY_WOW64_64KEY.
  bool Has(const std::wstring& key, REGSAM view = 0) const;
  // Deletes the key and all below it; S_OK also when there is none.
  HRESULT Delete(const std::wstring& key);
  // Deletes what is below `parent`, in the view of the other word size if asked to.
  void Delete(const std::wstring& parent, const std::wstring& key, REGSAM view);
  // Deletes the key if nothing is in it.
  void DeleteEmpty(const std::wstring& key);

 private:
  const HKEY root_;
  HKEY key_ = nullptr;
  HRESULT opened_;
};

// Makes keys, sets values and takes it all back in its destructor, unless it is to be kept.
class RegistryChanges {
 public:
  explicit RegistryChanges(ClassesKey& classes) : classes_(classes) {}
  ~RegistryChanges();
  RegistryChanges(const RegistryChanges&) = delete;
  RegistryChanges& operator=(const RegistryChanges&) = delete;

  // Makes a key that may be there already; the one above it must be. Throws std::bad_alloc.
  HRESULT Make(const std::wstring& key) { return Change(key, nullptr, nullptr); }
  // The same and a value in it, the key's default value when `name` is null.
  HRESULT Set(const std::wstring& key, const wchar_t* name, const std::wstring& value) {
    return Change(key, name, &value);
  }
  void Keep() { done_.clear(); }

 private:
  struct Done {
    std::wstring key;
    bool keyIsNew;
    const wchar_t* name;                 // of the value that was set in a key that was there already
    std::optional<std::wstring> before;  // what it was
  };
  HRESULT Change(const std::wstring& key, const wchar_t* name, const std::wstring* value);

  ClassesKey& classes_;
  std::vector<Done> done_;
};

}  // namespace tavro::automation
