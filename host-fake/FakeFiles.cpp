#include "host-fake/FakeFiles.h"

#include <algorithm>

namespace hostfake {

using varnel::Byte;
using varnel::Bytes;
using varnel::Long;
using varnel::String;
using varnel::StringView;

namespace {

constexpr Long kBadName = 52;
constexpr Long kNoSuchPath = 76;

String ParentOf(StringView path) {
  const std::size_t slash = path.rfind(u'/');
  return slash == StringView::npos ? String() : String(path.substr(0, slash));
}

}  // namespace

bool FakeFileSystem::FolderExists(StringView path) { return m_folders.contains(String(path)); }

void FakeFileSystem::CreateFolder(StringView path) {
  m_trace->Add(u"Files", u"CreateFolder " + String(path));
  RaiseIf(m_folderFault);
  if (!FolderExists(ParentOf(path))) throw varnel::Error(Failure(kNoSuchPath, u"There is no such folder"));
  AddFolder(path);
}

String FakeFileSystem::Join(StringView folder, StringView name) {
  if (name.empty() || name == u"." || name == u"..") throw varnel::Error(Failure(kBadName, u"Bad file name"));
  return String(folder) + u"/" + String(name);
}

void FakeFileSystem::WriteFile(StringView path, const Bytes& data) {
  m_trace->Add(u"Files", u"WriteFile " + String(path));
  RaiseIf(m_writeFault);
  if (!FolderExists(ParentOf(path))) throw varnel::Error(Failure(kNoSuchPath, u"There is no such folder"));
  Bytes& content = m_files[String(path)];
  content.resize(std::max(content.size(), data.size()));
  std::copy(data.begin(), data.end(), content.begin());
}

String FakeCodePages::Decode(std::span<const Byte> bytes, Long lcid) {
  if (m_unknown.contains(lcid)) varnel::RaiseRuntimeError(varnel::runtime_error::kInvalidArgument);
  String text(bytes.size(), u'\0');
  std::transform(bytes.begin(), bytes.end(), text.begin(), [](Byte byte) { return char16_t{byte}; });
  if (m_characters.empty()) return text;
  for (std::size_t i = 0; i < bytes.size(); ++i) {
    const auto found = m_characters.find({lcid, bytes[i]});
    if (found != m_characters.end()) text[i] = found->second;
  }
  return text;
}

Bytes FakeCodePages::Encode(StringView text) {
  Bytes bytes(text.size());
  std::transform(text.begin(), text.end(), bytes.begin(),
                 [](char16_t unit) { return unit < 256 ? static_cast<Byte>(unit) : Byte{'?'}; });
  return bytes;
}

}  // namespace hostfake
