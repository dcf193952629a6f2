// Multipart bodies: fields or a known error; every file is a stretch of the body. The first byte picks the
// locale.
#include "varnel/utilities/Multipart.h"

#include <algorithm>
#include <cstdint>
#include <cstdlib>

#include "host-linux/nls/SiteCodePages.h"
#include "varnel/automation/Error.h"

namespace {

void Require(bool holds) {
  if (!holds) std::abort();
}

void CheckField(const varnel::Collection& field, std::span<const varnel::Byte> body) {
  Require(field.Count() == 1 || field.Count() == 3);
  Require(field.Item(u"Value").IsText());
  if (field.Count() == 1) return;
  Require(field.Item(u"ContentType").IsText());
  const varnel::Bytes& content = **field.Item(u"Content").As<varnel::BytesPtr>();
  Require(std::search(body.begin(), body.end(), content.begin(), content.end()) != body.end() ||
          content.empty());
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static hostlinux::CodePages pages(1252);
  static constexpr varnel::Long kLocales[] = {1033, 1041, 1049, 0};
  if (size == 0) return 0;
  const std::span<const varnel::Byte> body(data + 1, size - 1);
  try {
    const auto fields = varnel::ParseMultipart(body, kLocales[data[0] % std::size(kLocales)], pages);
    for (varnel::Long i = 1; i <= fields->Count(); ++i)
      CheckField(*varnel::CastObject<varnel::Collection>(fields->Item(i)), body);
  } catch (const varnel::Error& error) {
    const varnel::Long number = error.Info().Number;
    Require(number == 5 || number == 7 || number == 457);
  }
  return 0;
}
