#include "automation/registry_changes.h"

#include <utility>

namespace tavro::automation {
namespace {

constexpr wchar_t kClasses[] = L"Software\\Classes";

std::optional<std::wstring> Read(HKEY classes, const std::wstring& key, const wchar_t* name) {
  DWORD bytes = 0;
  if (RegGetValueW(classes, key.c_str(), name, RRF_RT_REG_SZ, nullptr, nullptr, &bytes) != ERROR_SUCCESS) return {};
  std::wstring value(bytes / sizeof(wchar_t), L'\0');
  if (RegGetValueW(classes, key.c_str(), name, RRF_RT_REG_SZ, nullptr, value.data(), &bytes) != ERROR_SUCCESS)
    return {};
  value.resize(bytes / sizeof(wchar_t) - 1);  // without the closing NUL
  return value;
}

LSTATUS Write(HKEY key, const wchar_t* name, const std::wstring& value) {
  return RegSetValueExW(key, name, 0, REG_SZ, reinterpret_cast<const BYTE*>(value.c_str()),
                        static_cast<DWORD>((value.size() + 1) * sizeof(wchar_t)));
}

}  // namespace

ClassesKey::ClassesKey(HKEY root)
    : root_(root),
      opened_(HRESULT_FROM_WIN32(static_cast<DWORD>(
          RegCreateKeyExW(root, kClasses, 0, nullptr, 0, KEY_READ | KEY_WRITE, nullptr, &key_, nullptr)))) {}

ClassesKey::~ClassesKey() {
  if (key_ != nullptr) RegCloseKey(key_);
}

bool ClassesKey::Has(const std::wstring& key, REGSAM view) const {
  HKEY found = nullptr;
  const std::wstring path = kClasses + (L"\\" + key);
  if (RegOpenKeyExW(root_, path.c_str(), 0, KEY_READ | view, &found) != ERROR_SUCCESS) return false;
  RegCloseKey(found);
  return true;
}

HRESULT ClassesKey::Delete(const std::wstring& key) {
  const LSTATUS status = RegDeleteTreeW(key_, key.c_str());
  return status == ERROR_FILE_NOT_FOUND ? S_OK : HRESULT_FROM_WIN32(static_cast<DWORD>(status));
}

void ClassesKey::Delete(const std::wstring& parent, const std::wstring& key, REGSAM view) {
  HKEY handle = nullptr;
  const std::wstring path = kClasses + (L"\\" + parent);
  if (RegOpenKeyExW(root_, path.c_str(), 0, KEY_READ | KEY_WRITE | DELETE | view, &handle) != ERROR_SUCCESS) return;
  RegDeleteTreeW(handle, key.c_str());
  RegCloseKey(handle);
}

void ClassesKey::DeleteEmpty(const std::wstring& key) {
  HKEY handle = nullptr;
  DWORD subkeys = 0, values = 0;
  if (RegOpenKeyExW(key_, key.c_str(), 0, KEY_READ, &handle) != ERROR_SUCCESS) return;
  const LSTATUS status = RegQueryInfoKeyW(handle, nullptr, nullptr, nullptr, &subkeys, nullptr, nullptr, &values,
                                          nullptr, nullptr, nullptr, nullptr);
  RegCloseKey(handle);
  if (status == ERROR_SUCCESS && subkeys == 0 && values == 0) RegDeleteKeyW(key_, key.c_str());
}

HRESULT RegistryChanges::Change(const std::wstring& key, const wchar_t* name, const std::wstring* value) {
  Done done{key, false, name, value != nullptr ? Read(classes_.Handle(), key, name) : std::nullopt};
  done_.reserve(done_.size() + 1);
  HKEY handle = nullptr;
  DWORD disposition = 0;
  LSTATUS status = RegCreateKeyExW(classes_.Handle(), key.c_str(), 0, nullptr, 0, KEY_READ | KEY_WRITE, nullptr,
                                   &handle, &disposition);
  if (status == ERROR_SUCCESS) {
    done.keyIsNew = disposition == REG_CREATED_NEW_KEY;
    if (value != nullptr) status = Write(handle, name, *value);
    if (done.keyIsNew || value != nullptr) done_.push_back(std::move(done));
    RegCloseKey(handle);
  }
  return HRESULT_FROM_WIN32(static_cast<DWORD>(status));
}

RegistryChanges::~RegistryChanges() {
  for (auto done = done_.rbegin(); done != done_.rend(); ++done) {
    HKEY handle = nullptr;
    if (done->keyIsNew) {
      RegDeleteTreeW(classes_.Handle(), done->key.c_str());
    } else if (RegOpenKeyExW(classes_.Handle(), done->key.c_str(), 0, KEY_WRITE, &handle) == ERROR_SUCCESS) {
      if (done->before) {
        Write(handle, done->name, *done->before);
      } else {
        RegDeleteValueW(handle, done->name);
      }
      RegCloseKey(handle);
    }
  }
}

}  // namespace tavro::automation
