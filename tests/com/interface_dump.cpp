// The version record and the type library as text, one line for each member in the order of the vtable, to be compared
// with interface.txt.
#include <cstdio>
#include <map>

#include "client.h"

namespace {

std::wstring Guid(REFGUID id) {
  wchar_t text[40];
  StringFromGUID2(id, text, 40);
  return text;
}

std::wstring Name(ITypeInfo* info) {
  Bstr name;
  info->GetDocumentation(MEMBERID_NIL, &name, nullptr, nullptr, nullptr);
  return name.Text();
}

std::wstring Type(ITypeInfo* info, const TYPEDESC& type) {
  static const std::map<VARTYPE, const wchar_t*> names = {
      {VT_I2, L"short"},        {VT_I4, L"long"},           {VT_BSTR, L"BSTR"}, {VT_BOOL, L"VARIANT_BOOL"},
      {VT_VARIANT, L"VARIANT"}, {VT_UNKNOWN, L"IUnknown*"}, {VT_DATE, L"DATE"}, {VT_HRESULT, L"HRESULT"}};
  if (type.vt == VT_PTR) return Type(info, *type.lptdesc) + L"*";
  if (type.vt == VT_USERDEFINED) {
    ComPtr<ITypeInfo> named;
    info->GetRefTypeInfo(type.hreftype, &named);
    return named ? Name(named.Get()) : L"?";
  }
  const auto found = names.find(type.vt);
  return found != names.end() ? found->second : L"type " + std::to_wstring(type.vt);
}

std::wstring Default(const PARAMDESC& parameter) {
  if (!(parameter.wParamFlags & PARAMFLAG_FHASDEFAULT)) return {};
  const VARIANT& value = parameter.pparamdescex->varDefaultValue;
  if (value.vt == VT_BSTR) return L" = \"" + std::wstring(value.bstrVal) + L"\"";
  return L" = " + std::to_wstring(value.vt == VT_BOOL || value.vt == VT_I2 ? value.iVal : value.lVal);
}

void DumpFunction(ITypeInfo* info, UINT index) {
  FUNCDESC* function = nullptr;
  if (FAILED(info->GetFuncDesc(index, &function))) return;
  BSTR names[8] = {};
  UINT count = 0;
  info->GetNames(function->memid, names, 8, &count);
  const wchar_t* kind = function->invkind == INVOKE_PROPERTYPUT   ? L"let"
                        : function->invkind == INVOKE_PROPERTYGET ? L"get"
                                                                  : L"method";
  std::wstring line = L"  " + std::wstring(kind) + L" " + names[0] + L" " + std::to_wstring(function->memid) + L" (";
  for (SHORT i = 0; i < function->cParams; ++i) {
    const ELEMDESC& parameter = function->lprgelemdescParam[i];
    const bool isResult = (parameter.paramdesc.wParamFlags & PARAMFLAG_FRETVAL) != 0;
    line += isResult ? L") -> " : i > 0 ? L", " : L"";
    if (parameter.paramdesc.wParamFlags & PARAMFLAG_FOPT) line += L"optional ";
    line += isResult ? Type(info, *parameter.tdesc.lptdesc) : Type(info, parameter.tdesc);
    if (!isResult && function->invkind == INVOKE_FUNC) line += L" " + std::wstring(names[i + 1]);
    line += Default(parameter.paramdesc);
  }
  if (function->invkind == INVOKE_PROPERTYPUT) line += L")";
  if (function->wFuncFlags & FUNCFLAG_FHIDDEN) line += L" hidden";
  if (function->elemdescFunc.tdesc.vt != VT_HRESULT) line += L" not an HRESULT";
  std::printf("%ls\n", line.c_str());
  for (UINT i = 0; i < count; ++i) SysFreeString(names[i]);
  info->ReleaseFuncDesc(function);
}

void DumpType(ITypeInfo* info) {
  TYPEATTR* attributes = nullptr;
  if (FAILED(info->GetTypeAttr(&attributes))) return;
  const wchar_t* kind = attributes->typekind == TKIND_ENUM      ? L"enum"
                        : attributes->typekind == TKIND_COCLASS ? L"class"
                                                                : L"dual interface";
  std::printf("%ls %ls %ls%s\n", kind, Name(info).c_str(), Guid(attributes->guid).c_str(),
              attributes->wTypeFlags & TYPEFLAG_FCANCREATE ? " creatable" : "");
  ComPtr<ITypeInfo> vtable = info;
  HREFTYPE reference = 0;
  if (attributes->typekind == TKIND_DISPATCH &&
      SUCCEEDED(info->GetRefTypeOfImplType(static_cast<UINT>(-1), &reference))) {
    info->GetRefTypeInfo(reference, vtable.ReleaseAndGetAddressOf());
    TYPEATTR* own = nullptr;
    if (SUCCEEDED(vtable->GetTypeAttr(&own))) {
      for (UINT i = 0; i < own->cFuncs; ++i) DumpFunction(vtable.Get(), i);
      vtable->ReleaseTypeAttr(own);
    }
  } else if (attributes->typekind == TKIND_COCLASS && SUCCEEDED(info->GetRefTypeOfImplType(0, &reference))) {
    info->GetRefTypeInfo(reference, vtable.ReleaseAndGetAddressOf());
    std::printf("  default %ls\n", Name(vtable.Get()).c_str());
  }
  for (UINT i = 0; i < attributes->cVars; ++i) {
    VARDESC* value = nullptr;
    if (FAILED(info->GetVarDesc(i, &value))) continue;
    Bstr name;
    info->GetDocumentation(value->memid, &name, nullptr, nullptr, nullptr);
    std::printf("  %ls = %ld\n", name.Text().c_str(), value->lpvarValue->lVal);
    info->ReleaseVarDesc(value);
  }
  info->ReleaseTypeAttr(attributes);
}

void DumpVersion(const wchar_t* dll) {
  std::vector<char> record(GetFileVersionInfoSizeW(dll, nullptr));
  GetFileVersionInfoW(dll, 0, static_cast<DWORD>(record.size()), record.data());
  void* found = nullptr;
  UINT size = 0;
  if (VerQueryValueW(record.data(), L"\\", &found, &size)) {
    const auto* fixed = static_cast<const VS_FIXEDFILEINFO*>(found);
    std::printf("version %u.%u.%u\n", HIWORD(fixed->dwFileVersionMS), LOWORD(fixed->dwFileVersionMS),
                HIWORD(fixed->dwFileVersionLS));
  }
  for (const wchar_t* name : {L"FileDescription", L"FileVersion", L"LegalCopyright"}) {
    const std::wstring path = L"\\StringFileInfo\\040904B0\\" + std::wstring(name);
    if (VerQueryValueW(record.data(), path.c_str(), &found, &size))
      std::printf("  %ls: %ls\n", name, static_cast<const wchar_t*>(found));
  }
}

}  // namespace

void DumpInterface(const wchar_t* dll) {
  DumpVersion(dll);
  ComPtr<ITypeLib> library;
  if (FAILED(LoadTypeLibEx(dll, REGKIND_NONE, &library))) return;
  TLIBATTR* attributes = nullptr;
  Bstr name, description;
  library->GetDocumentation(-1, &name, &description, nullptr, nullptr);
  library->GetLibAttr(&attributes);
  std::printf("library %ls %ls %u.%u \"%ls\"\n", name.Text().c_str(), Guid(attributes->guid).c_str(),
              attributes->wMajorVerNum, attributes->wMinorVerNum, description.Text().c_str());
  library->ReleaseTLibAttr(attributes);
  for (UINT i = 0; i < library->GetTypeInfoCount(); ++i) {
    ComPtr<ITypeInfo> info;
    library->GetTypeInfo(i, &info);
    DumpType(info.Get());
  }
}
