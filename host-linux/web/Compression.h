// Answers made shorter for clients that ask for it.
#pragma once

#include <list>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>

#include "host-linux/web/HttpMessage.h"

namespace hostlinux {

enum class ContentCoding { Zstd, Gzip };

// "zstd" or "gzip".
std::string_view NameOf(ContentCoding coding);

// The coding that a client takes by its Accept-Encoding, and likes best: zstd where it likes both alike.
// Nothing where it takes neither.
std::optional<ContentCoding> CodingFor(const HttpRequest& request);

// `bytes` in that coding. Throws std::bad_alloc.
std::string Compress(ContentCoding coding, std::string_view bytes);

// True for types that are text: HTML, styles, scripts, JSON, XML, SVG and their like.
bool IsCompressibleType(std::string_view contentType);

// Compresses the body of a page's answer in place where it is text, long enough for that to pay, and no header of
// it says otherwise (Content-Encoding, Content-Range, Cache-Control: no-transform). An answer that could be
// compressed says so (Vary), whether it is or not.
//
// A body that holds a secret beside a text of the visitor's tells of the secret by its length: whoever sees the
// traffic and can choose the text finds it bit by bit. So the caller must hand over no `coding` for a request
// that somebody else may have caused (IsOwnOrigin).
void CompressPage(HttpResponse& response, std::optional<ContentCoding> coding);

// Files that were compressed before, up to a bound; safe from all threads.
class CompressedFiles {
 public:
  // `maxBytes`: of all compressed files together.
  explicit CompressedFiles(std::size_t maxBytes = 16 << 20) : m_maxBytes(maxBytes) {}

  // The same for the file `name` that is served whole, where it has no more than 1 MB: that takes milliseconds
  // the first time. Files hold no secret of a visitor, so it doesn't matter who asks. The answer's tag becomes a
  // weak one, since its bytes differ.
  void CompressFile(const std::string& name, HttpResponse& response, std::optional<ContentCoding> coding);

 private:
  struct Entry {
    std::string key;
    std::string bytes;  // empty: it doesn't get shorter
  };

  std::optional<std::string> Find(const std::string& key);
  void Keep(Entry entry);

  const std::size_t m_maxBytes;
  std::mutex m_mutex;
  std::list<Entry> m_entries;  // the last used first
  std::size_t m_bytes = 0;
};

}  // namespace hostlinux
