// The pages that an engine has compiled. For files that see the engine's headers.
#pragma once

#include <v8.h>

#include <chrono>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "host-linux/script/PageCompiler.h"

namespace hostlinux {

struct CompiledPage {
  PageScript script;
  std::vector<std::pair<std::string, FileStamp>> stamps;  // of the page and its includes, as read
  std::chrono::steady_clock::time_point checked;          // when the stamps were last compared
  v8::Global<v8::Function> function;
  v8::Global<v8::Function> writeText;  // writes the page's texts by index
};

struct PagePosition {
  std::string file;
  int line = 0;
};

class CompiledPages {
 public:
  // A page that was found unchanged is taken as it is for `recheck`, without a look at its files. With a
  // `pagesUrl`, pages are compiled for a debugger, which finds their files below that address. `parse` takes
  // them apart.
  using Parser = std::function<ParsedPage(const std::string& name, const PageFiles& files)>;
  CompiledPages(const PageFiles& files, Parser parse, std::chrono::milliseconds recheck, std::string pagesUrl)
      : m_files(files), m_parse(std::move(parse)), m_recheck(recheck), m_pagesUrl(std::move(pagesUrl)) {}

  // The page as it now is on disk, compiled in `context` into a function with `parameters`. Throws PageError,
  // or PendingException with the compiler's error. The page lives until DropReplaced after it was replaced.
  CompiledPage& Get(v8::Local<v8::Context> context, const std::string& page,
                    const std::vector<std::string>& parameters);

  // Forgets pages that a changed one has taken the place of. Not while a page runs.
  void DropReplaced();

  // Where line `generated` of the script named `script` comes from; an empty file where that is no page.
  PagePosition Locate(const std::string& script, int generated) const;

  // A sentence on the bracket without a partner, where the compilation that failed last has one, and its place.
  struct BracketFault {
    std::string sentence;
    PagePosition place;
  };
  std::optional<BracketFault> BracketFaultOfFailed() const;

  // The address by which a debugger knows the script named `script`: that of the page's file, or one of its
  // own where a source map leads from there to the files.
  std::string UrlOf(const std::string& script) const;

  void Clear();

 private:
  bool IsCurrent(CompiledPage& page) const;
  std::unique_ptr<CompiledPage> Parse(const std::string& page) const;
  static PagePosition PlaceIn(const PageScript& script, int generated);
  std::string MapFor(const std::string& page, const PageScript& script);

  const PageFiles& m_files;
  const Parser m_parse;
  std::chrono::milliseconds m_recheck;
  std::string m_pagesUrl;          // empty: there is no debugger
  std::set<std::string> m_mapped;  // pages whose script has a source map
  std::map<std::string, std::unique_ptr<CompiledPage>> m_pages;
  std::vector<std::unique_ptr<CompiledPage>> m_replaced;
  std::unique_ptr<CompiledPage> m_failed;  // the page whose compilation failed last, for its lines
};

}  // namespace hostlinux
