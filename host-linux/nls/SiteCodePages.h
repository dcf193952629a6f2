// Bytes to text and back by the platform's code pages.
#pragma once

#include <array>
#include <map>
#include <memory>
#include <mutex>
#include <optional>

#include "varnel/host/ICodePages.h"

namespace hostlinux {

// The characters of the bytes of one code page.
using ByteTable = std::array<char16_t, 256>;

// Empty for a page that iconv doesn't know, and for one whose characters take more than one byte. A byte
// without a character is the control character of its code from 128 to 159, U+FFFD elsewhere.
std::optional<ByteTable> MakeByteTable(int codePage);

// Can be used by many threads.
class CodePages : public varnel::host::ICodePages {
 public:
  // `systemPage` must be one of single bytes: std::invalid_argument.
  explicit CodePages(int systemPage);
  ~CodePages() override;

  // Locale 0 and one without a code page of its own have the system's; the other ids of defaults mean the
  // user's locale.
  varnel::String Decode(std::span<const varnel::Byte> bytes, varnel::Long lcid) override;
  varnel::Bytes Encode(varnel::StringView text) override;

 private:
  struct Page;
  const Page& PageOf(int codePage);

  int m_systemPage;
  std::mutex m_mutex;
  std::map<int, std::unique_ptr<const Page>> m_pages;
};

}  // namespace hostlinux
