#include "varnel/utilities/ByteSearch.h"

#include <cstring>

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

Long ByteSearch::Search(Long from) const {
  const auto start = static_cast<std::size_t>(from) - 1;
  if (start >= m_text.size()) return 0;
  // No standard has this search, but GNU's C library: it is vectorised, and linear for patterns and texts that
  // repeat themselves, where a search for the pattern's first byte is not.
  const void* found =
      ::memmem(m_text.data() + start, m_text.size() - start, m_pattern.data(), m_pattern.size());
  return found == nullptr ? 0 : static_cast<Long>(static_cast<const Byte*>(found) - m_text.data() + 1);
}

}  // namespace varnel
