#include "host-linux/nls/SiteCodePages.h"

#include <iconv.h>

#include <algorithm>
#include <cerrno>
#include <stdexcept>
#include <string>

#include "host-linux/nls/LocaleTable.h"
#include "varnel/automation/Error.h"

namespace hostlinux {

using varnel::Byte;
using varnel::Bytes;
using varnel::Long;
using varnel::String;
using varnel::StringView;

namespace {

constexpr char16_t kReplacement = u'\uFFFD';

class Converter {
 public:
  explicit Converter(int codePage)
      : m_handle(::iconv_open("UTF-16LE", ("CP" + std::to_string(codePage)).c_str())) {}
  ~Converter() {
    if (*this) ::iconv_close(m_handle);
  }
  Converter(const Converter&) = delete;
  Converter& operator=(const Converter&) = delete;
  explicit operator bool() const { return m_handle != reinterpret_cast<iconv_t>(-1); }

  // Converts what it can of `bytes`, which then begins behind that. 0, or why it stopped: E2BIG where `text`
  // was full (it is longer by what came), EILSEQ at bytes that are no character, EINVAL at the beginning of
  // one.
  int Convert(std::span<const Byte>& bytes, String& text) {
    char* in = const_cast<char*>(reinterpret_cast<const char*>(bytes.data()));
    std::size_t inLeft = bytes.size();
    const int error = Pump(&in, &inLeft, text);
    bytes = bytes.subspan(bytes.size() - inLeft);
    return error;
  }

  // Gives out a character that waited for a mark to stand on it, and begins anew.
  void Finish(String& text) { Pump(nullptr, nullptr, text); }

 private:
  // One block at a time: many bad bytes must not each cost the length of the whole text.
  int Pump(char** in, std::size_t* inLeft, String& text) {
    std::array<char16_t, 512> block;
    char* out = reinterpret_cast<char*>(block.data());
    std::size_t outLeft = sizeof block;
    const bool done = ::iconv(m_handle, in, inLeft, &out, &outLeft) != static_cast<std::size_t>(-1);
    const int error = done ? 0 : errno;
    text.append(block.data(), (sizeof block - outLeft) / sizeof(char16_t));
    return error;
  }

  iconv_t m_handle;
};

String DecodeLongCharacters(int codePage, std::span<const Byte> bytes) {
  Converter converter(codePage);
  String text;
  while (!bytes.empty()) {
    const int error = converter.Convert(bytes, text);
    if (error == 0 || error == E2BIG) continue;
    text += kReplacement;
    bytes = bytes.subspan(1);
  }
  converter.Finish(text);
  return text;
}

String DecodeBytes(const ByteTable& table, std::span<const Byte> bytes) {
  String text(bytes.size(), u'\0');
  std::transform(bytes.begin(), bytes.end(), text.begin(), [&](Byte byte) { return table[byte]; });
  return text;
}

}  // namespace

std::optional<ByteTable> MakeByteTable(int codePage) {
  Converter converter(codePage);
  if (!converter) return std::nullopt;
  ByteTable table;
  for (int code = 0; code < 256; ++code) {
    const Byte byte = static_cast<Byte>(code);
    std::span<const Byte> bytes(&byte, 1);
    String text;
    const int error = converter.Convert(bytes, text);
    if (error == EINVAL) return std::nullopt;
    converter.Finish(text);
    const bool isControl = code >= 128 && code < 160;
    table[byte] = error == 0 && text.size() == 1 ? text[0] : isControl ? char16_t{byte} : kReplacement;
  }
  return table;
}

struct CodePages::Page {
  int number;
  std::optional<ByteTable> table;  // empty where characters take more than one byte
};

CodePages::CodePages(int systemPage) : m_systemPage(systemPage) {
  if (!PageOf(systemPage).table) {
    throw std::invalid_argument(std::to_string(systemPage) + " is no code page of single bytes");
  }
}

CodePages::~CodePages() = default;

const CodePages::Page& CodePages::PageOf(int codePage) {
  const std::lock_guard lock(m_mutex);
  auto& page = m_pages[codePage];
  if (page == nullptr) page.reset(new Page{codePage, MakeByteTable(codePage)});
  return *page;
}

String CodePages::Decode(std::span<const Byte> bytes, Long lcid) {
  int codePage = 0;
  if (lcid != 0) {
    const auto locale = FindLocale(MeantLocale(lcid));
    if (!locale) varnel::RaiseRuntimeError(varnel::runtime_error::kInvalidArgument, u"no such locale");
    codePage = locale->ansiCodePage;
  }
  const Page& page = PageOf(codePage == 0 ? m_systemPage : codePage);
  return page.table ? DecodeBytes(*page.table, bytes) : DecodeLongCharacters(page.number, bytes);
}

Bytes CodePages::Encode(StringView text) {
  const ByteTable& table = *PageOf(m_systemPage).table;
  Bytes bytes(text.size());
  std::transform(text.begin(), text.end(), bytes.begin(), [&](char16_t unit) {
    const auto found = std::find(table.begin(), table.end(), unit);
    return found == table.end() ? Byte{'?'} : static_cast<Byte>(found - table.begin());
  });
  return bytes;
}

}  // namespace hostlinux
