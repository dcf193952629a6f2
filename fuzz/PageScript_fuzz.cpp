// Page files from outside, through the script engine's compiler: a page compiles, or fails with the place of
// one of its files.
#include <sanitizer/lsan_interface.h>

#include <algorithm>
#include <cstdlib>
#include <map>
#include <string>

#include "host-linux/script/ScriptEngine.h"

namespace {

class Files final : public hostlinux::PageFiles {
 public:
  std::optional<std::string> Read(const std::string& name) const override {
    const auto found = files.find(name);
    return found == files.end() ? std::nullopt : std::optional(found->second);
  }
  std::optional<hostlinux::FileStamp> Stamp(const std::string& name) const override {
    return files.contains(name) ? std::optional(hostlinux::FileStamp{version, 0, 0, 0}) : std::nullopt;
  }
  std::map<std::string, std::string> files;
  std::int64_t version = 0;
};

void Require(bool condition) {
  if (!condition) std::abort();
}

Files& ThePages() {
  static Files files;
  return files;
}

hostlinux::ScriptEngine& Engine() {
  static hostlinux::ScriptRuntime runtime({});
  static hostlinux::ScriptEngine engine(runtime, ThePages(), {});
  return engine;
}

}  // namespace

// The engine's library keeps pointers to its heap where the leak checker doesn't look.
extern "C" const char* __lsan_default_suppressions() {  // NOLINT(bugprone-reserved-identifier)
  return "leak:libnode.so";
}

// The input is up to two files, divided by NUL: page.asp and a.inc.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  Files& pages = ThePages();
  ++pages.version;
  std::string_view rest(reinterpret_cast<const char*>(data), size);
  for (const char* name : {"page.asp", "a.inc"}) {
    const std::size_t end = std::min(rest.find('\0'), rest.size());
    pages.files[name] = rest.substr(0, end);
    rest.remove_prefix(std::min(end + 1, rest.size()));
  }
  hostlinux::PageDirectives directives;
  const auto failure = Engine().Prepare("page.asp", directives);
  if (!failure) return 0;
  Require(!failure->message.empty());
  Require(pages.files.contains(failure->file));
  const int lines = 1 + hostlinux::CountLineEnds(pages.files[failure->file]);
  Require(failure->line >= 0 && failure->line <= lines);
  return 0;
}
