// The platform that the library runs on inside the page host of Windows.
#pragma once

#include "host-windows/WindowsCodePages.h"
#include "host-windows/WindowsFiles.h"
#include "host-windows/WindowsLocale.h"
#include "varnel/host/Platform.h"

namespace hostwindows {

class WindowsPlatform : public varnel::host::IPlatform {
 public:
  std::shared_ptr<varnel::host::IObjectContext> GetObjectContext() override;
  // The library's own classes are made at once, all others by the platform.
  varnel::ObjectPtr CreateObject(varnel::StringView progID) override;
  std::shared_ptr<varnel::host::IConnection> CreateConnection() override;
  std::shared_ptr<varnel::host::IRecordset> CreateRecordset() override;
  varnel::host::ILocale& Locale() override { return m_locale; }
  varnel::host::IFileSystem& FileSystem() override { return m_files; }
  varnel::host::ICodePages& CodePages() override { return m_codePages; }
  // Nothing guards lists here: what a link brings is a page's to check.
  varnel::host::IStateGuard* StateGuard() override { return nullptr; }
  varnel::host::IListWatcher* ListWatcher() override { return nullptr; }
  bool EnterLog() override;
  void LeaveLog() override;

 private:
  WindowsLocale m_locale;
  WindowsFiles m_files;
  WindowsCodePages m_codePages;
};

// Sets the platform and the user's locale, once; any object comes after the first call.
void RequirePlatform();

}  // namespace hostwindows
