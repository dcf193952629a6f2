// The files that pages write, by the rights of the account that the web server runs them under.
#pragma once

#include "varnel/host/IFileSystem.h"

namespace hostwindows {

class WindowsFiles : public varnel::host::IFileSystem {
 public:
  bool FolderExists(varnel::StringView path) override;
  void CreateFolder(varnel::StringView path) override;
  varnel::String Join(varnel::StringView folder, varnel::StringView name) override;
  void WriteFile(varnel::StringView path, const varnel::Bytes& data) override;
};

}  // namespace hostwindows
