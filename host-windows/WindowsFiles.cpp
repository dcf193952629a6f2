#include "host-windows/WindowsFiles.h"

#include <windows.h>

#include <algorithm>

#include "varnel/automation/Error.h"

namespace hostwindows {

using varnel::Long;
using varnel::String;
using varnel::StringView;

namespace {

constexpr Long kBadName = 52;
constexpr Long kDiskFull = 61;
constexpr Long kPermissionDenied = 70;
constexpr Long kPathFailure = 75;
constexpr Long kPathNotFound = 76;

const wchar_t* Units(const String& text) { return reinterpret_cast<const wchar_t*>(text.c_str()); }

[[noreturn]] void Fail(Long number, StringView what, const String& path) {
  throw varnel::Error({number, u"Varnel", String(what) + u": " + path, u"", 0});
}

[[noreturn]] void FailWith(DWORD error, const String& path) {
  switch (error) {
    case ERROR_INVALID_NAME:
    case ERROR_BAD_PATHNAME:
    case ERROR_FILENAME_EXCED_RANGE:
      Fail(kBadName, u"The name can't be one", path);
    case ERROR_DISK_FULL:
    case ERROR_HANDLE_DISK_FULL:
      Fail(kDiskFull, u"The disk is full", path);
    case ERROR_ACCESS_DENIED:
    case ERROR_SHARING_VIOLATION:
    case ERROR_WRITE_PROTECT:
      Fail(kPermissionDenied, u"Permission denied", path);
    case ERROR_FILE_NOT_FOUND:
    case ERROR_PATH_NOT_FOUND:
      Fail(kPathNotFound, u"There is no such path", path);
    default:
      Fail(kPathFailure, u"Failure " + varnel::DecimalText(error), path);
  }
}

// A NUL would end the path before what was checked of it.
String PathOf(StringView path) {
  if (path.empty() || path.find(u'\0') != StringView::npos)
    Fail(kBadName, u"The name can't be one", String(path));
  return String(path);
}

class File {
 public:
  File(const String& path, DWORD access, DWORD creation)
      : m_handle(::CreateFileW(Units(path), access, FILE_SHARE_READ, nullptr, creation, FILE_ATTRIBUTE_NORMAL,
                               nullptr)) {}
  ~File() { Close(); }
  File(const File&) = delete;
  File& operator=(const File&) = delete;

  bool IsOpen() const { return m_handle != INVALID_HANDLE_VALUE; }
  HANDLE Get() const { return m_handle; }
  void Close() {
    if (IsOpen()) ::CloseHandle(m_handle);
    m_handle = INVALID_HANDLE_VALUE;
  }

 private:
  HANDLE m_handle;
};

void WriteAll(const File& file, const varnel::Byte* data, std::size_t size, const String& path) {
  constexpr std::size_t kBlock = 1 << 20;
  while (size > 0) {
    DWORD written = 0;
    if (::WriteFile(file.Get(), data, static_cast<DWORD>(std::min(size, kBlock)), &written, nullptr) == FALSE)
      FailWith(::GetLastError(), path);
    data += written;
    size -= written;
  }
}

// What stands in the file behind its first `offset` bytes; nothing where there is no file.
varnel::Bytes TailOf(const String& path, std::size_t offset) {
  const File file(path, GENERIC_READ, OPEN_EXISTING);
  if (!file.IsOpen()) {
    if (::GetLastError() == ERROR_FILE_NOT_FOUND) return {};
    FailWith(::GetLastError(), path);
  }
  LARGE_INTEGER size{};
  LARGE_INTEGER start{};
  start.QuadPart = static_cast<LONGLONG>(offset);
  if (::GetFileSizeEx(file.Get(), &size) == FALSE) FailWith(::GetLastError(), path);
  if (size.QuadPart <= start.QuadPart) return {};
  varnel::Bytes tail(static_cast<std::size_t>(size.QuadPart - start.QuadPart));
  DWORD read = 0;
  if (::SetFilePointerEx(file.Get(), start, nullptr, FILE_BEGIN) == FALSE ||
      ::ReadFile(file.Get(), tail.data(), static_cast<DWORD>(tail.size()), &read, nullptr) == FALSE ||
      read != tail.size())
    FailWith(::GetLastError(), path);
  return tail;
}

}  // namespace

bool WindowsFiles::FolderExists(StringView path) {
  const DWORD attributes = ::GetFileAttributesW(Units(PathOf(path)));
  return attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
}

void WindowsFiles::CreateFolder(StringView path) {
  const String name = PathOf(path);
  if (::CreateDirectoryW(Units(name), nullptr) != FALSE) return;
  const DWORD error = ::GetLastError();
  if (error == ERROR_ALREADY_EXISTS) Fail(kPathFailure, u"It is there already", name);
  FailWith(error, name);
}

String WindowsFiles::Join(StringView folder, StringView name) {
  // A colon names a disk, or a stream of a file.
  if (name.empty() || name == u"." || name == u".." || name.find_first_of(u"/\\:") != StringView::npos)
    Fail(kBadName, u"The name can't be one", String(name));
  String path = PathOf(folder);
  if (path.back() != u'\\' && path.back() != u'/') path += u'\\';
  return path + PathOf(name);
}

// A new file takes the old one's place, so that a failure leaves that as it was.
void WindowsFiles::WriteFile(StringView path, const varnel::Bytes& data) {
  const String target = PathOf(path);
  const varnel::Bytes tail = TailOf(target, data.size());
  const String unfinished = target + u".writing-" + varnel::DecimalText(::GetCurrentProcessId()) + u"-" +
                            varnel::DecimalText(::GetCurrentThreadId());
  File file(unfinished, GENERIC_WRITE, CREATE_NEW);
  if (!file.IsOpen()) FailWith(::GetLastError(), target);
  try {
    WriteAll(file, data.data(), data.size(), target);
    WriteAll(file, tail.data(), tail.size(), target);
    file.Close();
    if (::MoveFileExW(Units(unfinished), Units(target), MOVEFILE_REPLACE_EXISTING | MOVEFILE_WRITE_THROUGH) ==
        FALSE)
      FailWith(::GetLastError(), target);
  } catch (...) {
    file.Close();
    ::DeleteFileW(Units(unfinished));
    throw;
  }
}

}  // namespace hostwindows
