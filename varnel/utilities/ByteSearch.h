// Search in bytes whose positions count from 1.
#pragma once

#include <span>

#include "varnel/automation/Variant.h"

namespace varnel {

// Finds one pattern in one text, over and over from later places. What was found last is remembered, so that
// all these searches together pass over the text once.
class ByteSearch {
 public:
  ByteSearch(std::span<const Byte> text, Bytes pattern) : m_text(text), m_pattern(std::move(pattern)) {}

  // The first position of the pattern at or behind `from`, from 1; 0 if there is none, and where `from` lies
  // behind the text. Raises 5 for a position below 1.
  Long From(Long from);
  // Whether `From(from)` answers from memory.
  bool Knows(Long from) const {
    return m_lastFrom > 0 && from >= m_lastFrom && (m_lastFound == 0 || from <= m_lastFound);
  }

 private:
  Long Search(Long from) const;

  std::span<const Byte> m_text;
  Bytes m_pattern;
  Long m_lastFrom = 0;
  Long m_lastFound = 0;
};

}  // namespace varnel
