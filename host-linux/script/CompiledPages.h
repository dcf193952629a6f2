// The pages that an engine has compiled. For files that see the engine's headers.
#pragma once

#include <v8.h>

#include <chrono>
#include <map>
#include <memory>
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
  // A page that was found unchanged is taken as it is for `recheck`, without a look at its files.
  CompiledPages(const PageFiles& files, std::string siteRoot, std::chrono::milliseconds recheck)
      : m_files(files), m_siteRoot(std::move(siteRoot)), m_recheck(recheck) {}

  // The page as it now is on disk, compiled in `context` into a function with `parameters`. Throws PageError,
  // or PendingException with the compiler's error. The page lives until DropReplaced after it was replaced.
  CompiledPage& Get(v8::Local<v8::Context> context, const std::string& page,
                    const std::vector<std::string>& parameters);

  // Forgets pages that a changed one has taken the place of. Not while a page runs.
  void DropReplaced();

  // Where line `generated` of the script named `script` comes from; an empty file where that is no page.
  PagePosition Locate(const std::string& script, int generated) const;

  void Clear();

 private:
  bool IsCurrent(CompiledPage& page) const;
  std::unique_ptr<CompiledPage> Parse(const std::string& page) const;

  const PageFiles& m_files;
  std::string m_siteRoot;
  std::chrono::milliseconds m_recheck;
  std::map<std::string, std::unique_ptr<CompiledPage>> m_pages;
  std::vector<std::unique_ptr<CompiledPage>> m_replaced;
  std::unique_ptr<CompiledPage> m_failed;  // the page whose compilation failed last, for its lines
};

}  // namespace hostlinux
