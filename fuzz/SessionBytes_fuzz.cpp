// Values of sessions as a file holds them: whatever the bytes are, what is read writes and reads back.
#include "host-linux/sessions/ValueBytes.h"

#include <cstdint>
#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const auto value = hostlinux::ValueOf({reinterpret_cast<const char*>(data), size});
  if (!value) return 0;
  const auto bytes = hostlinux::BytesOf(*value);
  if (!bytes || *bytes != std::string_view(reinterpret_cast<const char*>(data), size)) std::abort();
  return 0;
}
