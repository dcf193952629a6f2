// Query strings and form bodies: fields or an error, never both, and all text is UTF-8.
#include "host-linux/base/Utf8.h"
#include "host-linux/intrinsics/FormFields.h"

#include <cstdint>
#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const hostlinux::FormFields form = hostlinux::ParseForm({reinterpret_cast<const char*>(data), size});
  if (!form.error.empty() && !form.fields.empty()) std::abort();
  for (const hostlinux::FormField& field : form.fields) {
    if (!hostlinux::IsUtf8(field.name) || !hostlinux::IsUtf8(field.value)) std::abort();
  }
  return 0;
}
