// Page files from outside: taken apart and written as a function, with a line map that fits; for a debugger
// too.
#include <algorithm>
#include <cstdlib>
#include <map>
#include <string>

#include "host-linux/script/PageCompiler.h"
#include "host-linux/script/SourceMap.h"

namespace {

class Files final : public hostlinux::PageFiles {
 public:
  std::optional<std::string> Read(const std::string& name) const override {
    const auto found = files.find(name);
    return found == files.end() ? std::nullopt : std::optional(found->second);
  }
  std::optional<hostlinux::FileStamp> Stamp(const std::string& name) const override {
    return files.contains(name) ? std::optional(hostlinux::FileStamp()) : std::nullopt;
  }
  std::map<std::string, std::string> files;
};

void Require(bool condition) {
  if (!condition) std::abort();
}

// As the engine counts: LF, CR LF, a CR alone, U+2028 and U+2029.
std::size_t CountScriptLines(const std::string& source) {
  std::size_t lines = 1;
  for (std::size_t i = 0; i < source.size(); ++i) {
    const bool loneReturn = source[i] == '\r' && (i + 1 == source.size() || source[i + 1] != '\n');
    const std::string_view three = std::string_view(source).substr(i, 3);
    lines += source[i] == '\n' || loneReturn || three == "\xE2\x80\xA8" || three == "\xE2\x80\xA9";
  }
  return lines;
}

}  // namespace

// The input is up to three files, divided by NUL: page.asp, a.inc and inc/b.inc.
extern "C" int LLVMFuzzerTestOneInput(const unsigned char* data, std::size_t size) {
  Files files;
  std::string_view rest(reinterpret_cast<const char*>(data), size);
  for (const char* name : {"page.asp", "a.inc", "inc/b.inc"}) {
    const std::size_t end = std::min(rest.find('\0'), rest.size());
    files.files[name] = rest.substr(0, end);
    rest.remove_prefix(std::min(end + 1, rest.size()));
  }
  try {
    hostlinux::ParsedPage page = hostlinux::ParsePage("page.asp", files, "/shop");
    for (const auto& piece : page.pieces) {
      const std::string& text = files.files[page.files.at(static_cast<std::size_t>(piece.file))];
      Require(text.find(piece.text) != std::string::npos);
      Require(piece.line >= 1 && piece.line <= 1 + hostlinux::CountLineEnds(text));
    }
    const auto kept = hostlinux::CompilePage(page, hostlinux::PageLayout::KeepLines);
    Require(kept.lines.size() == CountScriptLines(kept.source));
    hostlinux::SourceMapUrl(kept, files, "file:///");
    const auto script = hostlinux::CompilePage(std::move(page));
    Require(script.lines.size() == CountScriptLines(script.source));
  } catch (const hostlinux::PageError& error) {
    Require(files.files.contains(error.File()));
  }
  return 0;
}
