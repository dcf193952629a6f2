// Request targets: whatever comes, a path that is taken is clean.
#include "host-linux/base/Utf8.h"
#include "host-linux/web/UrlPath.h"

#include <cstdint>
#include <cstdlib>

namespace {

void Require(bool condition) {
  if (!condition) std::abort();
}

bool HasSegment(const std::string& path, const std::string& segment) {
  return (path + "/").find("/" + segment + "/") != std::string::npos;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view target(reinterpret_cast<const char*>(data), size);
  const hostlinux::UrlTarget parsed = hostlinux::ParseTarget(target);
  if (!parsed.error.empty()) {
    Require(parsed.path.empty());
    return 0;
  }
  Require(parsed.path.front() == '/');
  Require(hostlinux::IsUtf8(parsed.path));
  Require(!HasSegment(parsed.path, "..") && !HasSegment(parsed.path, "."));
  Require(parsed.path.find("//") == std::string::npos);
  Require(parsed.path.find('\\') == std::string::npos && parsed.path.find('\0') == std::string::npos);
  return 0;
}
