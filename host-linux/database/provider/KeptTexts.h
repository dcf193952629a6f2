// The texts that a session keeps, as long as its database stays as it was when they were made.
#pragma once

#include <utility>

#include "host-linux/database/provider/LeastRecentlyUsed.h"
#include "varnel/automation/String.h"

namespace hostlinux {

class KeptTexts {
 public:
  static constexpr std::size_t kLongest = 16384;  // units of a text and of its key

  // `most`: how many it keeps; 0: none.
  explicit KeptTexts(std::size_t most) : m_most(most), m_texts(most == 0 ? 1 : most) {}

  bool KeepsAny() const { return m_most > 0; }

  // The text of `key` that was made of the database's state `version`. Those of another state are forgotten. A text that
  // is made from here on is one of this state.
  const varnel::String* Find(const varnel::String& key, unsigned version) {
    if (version != m_version) Clear();
    m_version = version;
    m_isSteady = true;
    const varnel::String* found = m_texts.Find(key);
    m_isMaking = found == nullptr && KeepsAny();
    return found;
  }

  // A text is being made: its reads are to be noted.
  bool IsMaking() const { return m_isMaking; }
  // A read for the text; `isSteady`: it gives the same rows as long as the database is in the same state.
  void NoteRead(bool isSteady) { m_isSteady = m_isSteady && isSteady; }

  // Keeps it where all its reads were steady, and the state is still that of Find.
  void Keep(const varnel::String& key, const varnel::String& text, unsigned version) {
    if (!std::exchange(m_isMaking, false) || !m_isSteady || version != m_version) return;
    if (key.size() + text.size() > kLongest || m_texts.Find(key) != nullptr) return;
    m_texts.Add(key, text);
  }

  void Clear() {
    m_texts.Clear();
    m_isMaking = false;
  }

 private:
  std::size_t m_most;
  LeastRecentlyUsed<varnel::String, varnel::String> m_texts;
  unsigned m_version = 0;
  bool m_isSteady = true;
  bool m_isMaking = false;
};

}  // namespace hostlinux
