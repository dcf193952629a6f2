// Reads any bytes as UTF-8, in step with the C library's own converter.
#include <iconv.h>

#include <cstdint>
#include <cstdlib>
#include <string>

#include "varnel/automation/String.h"

namespace {

// What the C library reads; each byte that it refuses becomes U+FFFD.
varnel::String ReadByIconv(std::string bytes) {
  static const iconv_t converter = iconv_open("UTF-16LE", "UTF-8");
  varnel::String text(bytes.size(), u'\0');
  char* in = bytes.data();
  std::size_t inLeft = bytes.size();
  char* out = reinterpret_cast<char*>(text.data());
  std::size_t outLeft = text.size() * sizeof(char16_t);
  while (iconv(converter, &in, &inLeft, &out, &outLeft) == static_cast<std::size_t>(-1)) {
    const char16_t replacement = 0xFFFD;
    *out++ = static_cast<char>(replacement & 0xFF);
    *out++ = static_cast<char>(replacement >> 8);
    outLeft -= sizeof replacement;
    ++in;
    --inLeft;
  }
  text.resize(text.size() - outLeft / sizeof(char16_t));
  return text;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string bytes(reinterpret_cast<const char*>(data), size);
  const varnel::String text = varnel::FromUtf8(bytes);
  if (text != ReadByIconv(bytes)) std::abort();
  if (varnel::FromUtf8(varnel::ToUtf8(text)) != text) std::abort();

  // The same bytes taken as units: lone surrogates must not upset the way out.
  const varnel::String units(reinterpret_cast<const char16_t*>(bytes.data()), size / sizeof(char16_t));
  const std::string encoded = varnel::ToUtf8(units);
  if (varnel::ToUtf8(varnel::FromUtf8(encoded)) != encoded) std::abort();
  return 0;
}
