#include "host-linux/script/ScriptRuntime.h"

#include <libplatform/libplatform.h>
#include <v8.h>

#include <utility>

namespace hostlinux {
namespace {

// The memory of WebAssembly would pass by the counting allocator.
constexpr char kFlags[] = "--noexpose_wasm";

v8::Platform* Begin() {
  v8::V8::SetFlagsFromString(kFlags, sizeof kFlags - 1);
  std::unique_ptr<v8::Platform> platform = v8::platform::NewDefaultPlatform();
  v8::V8::InitializePlatform(platform.get());
  v8::V8::Initialize();
  return platform.release();
}

}  // namespace

std::string PlaceText(const PagePlace& place) {
  if (place.file.empty()) return place.page;
  const std::string inside = place.file == place.page ? "" : " (called for " + place.page + ")";
  return place.file + inside + (place.isExact ? ", line " : ", behind line ") + std::to_string(place.line);
}

ScriptRuntime::ScriptRuntime(Options options) : m_options(std::move(options)), m_platform(Begin()) {}

ScriptRuntime::~ScriptRuntime() = default;

void ScriptRuntime::EndPlatform::operator()(v8::Platform* platform) const {
  v8::V8::Dispose();
  v8::V8::DisposePlatform();
  delete platform;
}

}  // namespace hostlinux
