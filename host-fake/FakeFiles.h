// Files and code pages in memory.
#pragma once

#include <map>
#include <set>

#include "host-fake/Fault.h"
#include "host-fake/Trace.h"
#include "varnel/host/ICodePages.h"
#include "varnel/host/IFileSystem.h"

namespace hostfake {

// Folders and files by their whole paths, as "in/a.txt". There is only the folder "" at first.
class FakeFileSystem : public varnel::host::IFileSystem {
 public:
  explicit FakeFileSystem(TracePtr trace) : m_trace(std::move(trace)) {}

  void AddFolder(varnel::StringView path) { m_folders.emplace(path); }
  void SetFile(varnel::StringView path, varnel::Bytes content) {
    m_files[varnel::String(path)] = std::move(content);
  }
  const std::map<varnel::String, varnel::Bytes>& Files() const { return m_files; }
  // Every further write, or creation of a folder, fails.
  void FailWrites(varnel::ErrInfo failure) { m_writeFault = std::move(failure); }
  void FailFolders(varnel::ErrInfo failure) { m_folderFault = std::move(failure); }

  bool FolderExists(varnel::StringView path) override;
  void CreateFolder(varnel::StringView path) override;
  varnel::String Join(varnel::StringView folder, varnel::StringView name) override;
  void WriteFile(varnel::StringView path, const varnel::Bytes& data) override;

 private:
  TracePtr m_trace;
  std::set<varnel::String> m_folders{u""};
  std::map<varnel::String, varnel::Bytes> m_files;
  Fault m_writeFault;
  Fault m_folderFault;
};

// Each byte is the character of its code, but for the characters that a test sets for one locale.
class FakeCodePages : public varnel::host::ICodePages {
 public:
  void SetCharacter(varnel::Long lcid, varnel::Byte byte, char16_t character) {
    m_characters[{lcid, byte}] = character;
  }
  // A locale that the platform doesn't know.
  void Forget(varnel::Long lcid) { m_unknown.insert(lcid); }

  varnel::String Decode(std::span<const varnel::Byte> bytes, varnel::Long lcid) override;
  varnel::Bytes Encode(varnel::StringView text) override;

 private:
  std::map<std::pair<varnel::Long, varnel::Byte>, char16_t> m_characters;
  std::set<varnel::Long> m_unknown;
};

}  // namespace hostfake
