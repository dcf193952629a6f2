#include "varnel/utilities/ByteSearch.h"

#include <algorithm>
#include <cstring>
#include <functional>

#include "varnel/automation/Error.h"

namespace varnel {

Long ByteSearch::From(Long from) {
  if (from < 1) RaiseRuntimeError(runtime_error::kInvalidArgument, u"a search from before the first byte");
  if (!Knows(from)) {
    m_lastFound = Search(from);
    m_lastFrom = from;
  }
  return m_lastFound;
}

namespace {

// No standard has this search, but GNU's C library: it is vectorised, and linear for patterns and texts that
// repeat themselves, where a search for the pattern's first byte is not.
const Byte* Find(std::span<const Byte> text, std::span<const Byte> pattern) {
#ifdef __GLIBC__
  return static_cast<const Byte*>(::memmem(text.data(), text.size(), pattern.data(), pattern.size()));
#else
  const Byte* end = text.data() + text.size();
  const Byte* found = std::search(text.data(), end,
                                  std::boyer_moore_searcher(pattern.data(), pattern.data() + pattern.size()));
  return found == end ? nullptr : found;
#endif
}

}  // namespace

Long ByteSearch::Search(Long from) const {
  const auto start = static_cast<std::size_t>(from) - 1;
  if (start >= m_text.size()) return 0;
  const Byte* found = Find(m_text.subspan(start), m_pattern);
  return found == nullptr ? 0 : static_cast<Long>(found - m_text.data() + 1);
}

}  // namespace varnel
