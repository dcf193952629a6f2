#pragma once

#include "varnel/automation/Variant.h"

namespace varnel::host {

// The files that components may write. Paths are the host's own; every failure raises an error that says what
// happened: 52 a bad name, 61 a full disk, 70 no permission, 75 any other failure of a path, 76 a path that
// isn't there.
class IFileSystem {
 public:
  virtual ~IFileSystem() = default;
  // Whether there is a folder `path`. Raises 70 where the host lets nobody look.
  virtual bool FolderExists(StringView path) = 0;
  // Makes the last level of `path`. Raises 76 for a missing parent.
  virtual void CreateFolder(StringView path) = 0;
  // The path of `name` in `folder`. Raises 52 for a name that isn't one component of a path.
  virtual String Join(StringView folder, StringView name) = 0;
  // Writes `data` over the beginning of file `path`, which is made where it is missing: what a longer file
  // holds behind that stays. On a failure the file is as it was before.
  virtual void WriteFile(StringView path, const Bytes& data) = 0;
};

}  // namespace varnel::host
