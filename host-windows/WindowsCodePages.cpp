#include "host-windows/WindowsCodePages.h"

#include <windows.h>

#include <limits>

#include "host-windows/WindowsLocale.h"
#include "varnel/automation/Error.h"

namespace hostwindows {

namespace {

int SizeFor(std::size_t size) {
  if (size > static_cast<std::size_t>(std::numeric_limits<int>::max()))
    varnel::RaiseRuntimeError(varnel::runtime_error::kOutOfMemory);
  return static_cast<int>(size);
}

unsigned PageFor(varnel::Long lcid) {
  if (lcid == 0) return CP_ACP;
  if (::IsValidLocale(static_cast<LCID>(lcid), LCID_SUPPORTED) == FALSE)
    varnel::RaiseRuntimeError(varnel::runtime_error::kInvalidArgument, u"locale");
  const unsigned page = CodePageOf(lcid);
  return page == 0 ? CP_ACP : page;
}

}  // namespace

varnel::String WindowsCodePages::Decode(std::span<const varnel::Byte> bytes, varnel::Long lcid) {
  const unsigned page = PageFor(lcid);
  const auto* source = reinterpret_cast<const char*>(bytes.data());
  const int size = SizeFor(bytes.size());
  const int length = size == 0 ? 0 : ::MultiByteToWideChar(page, 0, source, size, nullptr, 0);
  varnel::String text(static_cast<std::size_t>(length), u'\0');
  if (length > 0)
    ::MultiByteToWideChar(page, 0, source, size, reinterpret_cast<wchar_t*>(text.data()), length);
  return text;
}

varnel::Bytes WindowsCodePages::Encode(varnel::StringView text) {
  const auto* units = reinterpret_cast<const wchar_t*>(text.data());
  const int length = SizeFor(text.size());
  const DWORD exactly = WC_NO_BEST_FIT_CHARS;
  const int size =
      length == 0 ? 0 : ::WideCharToMultiByte(CP_ACP, exactly, units, length, nullptr, 0, "?", nullptr);
  varnel::Bytes bytes(static_cast<std::size_t>(size));
  if (size > 0)
    ::WideCharToMultiByte(CP_ACP, exactly, units, length, reinterpret_cast<char*>(bytes.data()), size, "?",
                          nullptr);
  return bytes;
}

}  // namespace hostwindows
