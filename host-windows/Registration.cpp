#include "host-windows/Registration.h"

#include <array>

#include "varnel/component/ClassIds.h"

namespace hostwindows {

using varnel::String;
using varnel::StringView;
namespace com = varnel::com;

namespace {

constexpr varnel::Long kFailed = static_cast<varnel::Long>(0x80040201);

const wchar_t* Units(const String& text) { return reinterpret_cast<const wchar_t*>(text.c_str()); }

bool SetEntry(const String& key, const String& name, const String& value) {
  HKEY opened = nullptr;
  if (::RegCreateKeyExW(HKEY_CLASSES_ROOT, Units(key), 0, nullptr, 0, KEY_WRITE, nullptr, &opened, nullptr) !=
      ERROR_SUCCESS)
    return false;
  const auto size = static_cast<DWORD>((value.size() + 1) * sizeof(char16_t));
  const LSTATUS answer = ::RegSetValueExW(opened, name.empty() ? nullptr : Units(name), 0, REG_SZ,
                                          reinterpret_cast<const BYTE*>(value.c_str()), size);
  ::RegCloseKey(opened);
  return answer == ERROR_SUCCESS;
}

String ProgIDOf(const com::ClassIds& ids) { return u"Varnel." + String(ids.name); }
String ClassKeyOf(const com::ClassIds& ids) { return u"CLSID\\" + com::IdText(ids.classID); }

bool Register(const com::ClassIds& ids, const String& file) {
  const String progID = ProgIDOf(ids);
  const String classKey = ClassKeyOf(ids);
  const String server = classKey + u"\\InprocServer32";
  return SetEntry(progID, u"", progID) && SetEntry(progID + u"\\CLSID", u"", com::IdText(ids.classID)) &&
         SetEntry(classKey, u"", progID) && SetEntry(classKey + u"\\ProgID", u"", progID) &&
         SetEntry(classKey + u"\\TypeLib", u"", com::IdText(com::kTypeLibraryId)) &&
         SetEntry(server, u"", file) && SetEntry(server, u"ThreadingModel", u"Apartment");
}

void Unregister(const com::ClassIds& ids) {
  ::RegDeleteTreeW(HKEY_CLASSES_ROOT, Units(ProgIDOf(ids)));
  ::RegDeleteTreeW(HKEY_CLASSES_ROOT, Units(ClassKeyOf(ids)));
}

bool RegisterTypes(const String& file) {
  ITypeLib* library = nullptr;
  if (FAILED(::LoadTypeLibEx(Units(file), REGKIND_NONE, &library))) return false;
  const HRESULT answer = ::RegisterTypeLib(library, const_cast<wchar_t*>(Units(file)), nullptr);
  library->Release();
  return SUCCEEDED(answer);
}

void UnregisterTypes() {
#ifdef _WIN64
  constexpr SYSKIND kSystem = SYS_WIN64;
#else
  constexpr SYSKIND kSystem = SYS_WIN32;
#endif
  ::UnRegisterTypeLib(com::kTypeLibraryId, 1, 0, LOCALE_NEUTRAL, kSystem);
}

}  // namespace

String FileOfLibrary() {
  HMODULE module = nullptr;
  ::GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
                       reinterpret_cast<const wchar_t*>(&FileOfLibrary), &module);
  std::array<wchar_t, 32768> path;
  const DWORD length = ::GetModuleFileNameW(module, path.data(), static_cast<DWORD>(path.size()));
  return {reinterpret_cast<const char16_t*>(path.data()), length};
}

varnel::Long RegisterClasses() {
  const String file = FileOfLibrary();
  bool done = RegisterTypes(file);
  for (const com::ClassIds& ids : com::AllClassIds()) {
    if (ids.IsCreatable()) done = done && Register(ids, file);
  }
  if (done) return 0;
  UnregisterClasses();
  return kFailed;
}

varnel::Long UnregisterClasses() {
  for (const com::ClassIds& ids : com::AllClassIds()) {
    if (ids.IsCreatable()) Unregister(ids);
  }
  UnregisterTypes();
  return 0;
}

}  // namespace hostwindows
