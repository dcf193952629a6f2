#include "varnel/list/ListWords.h"

#include "varnel/automation/Error.h"

namespace varnel {

void ListWords::Replace(StringView name, String text) {
  for (int i = 0; i < static_cast<int>(ListWord::Count); ++i) {
    const auto word = static_cast<ListWord>(i);
    if (!EqualsNoCase(NameOfWord(word), name)) continue;
    m_own[word] = std::move(text);
    return;
  }
  RaiseRuntimeError(runtime_error::kInvalidArgument, u"a list has no word \"" + String(name) + u"\"");
}

StringView ListWords::operator[](ListWord word) const {
  const auto own = m_own.find(word);
  return own == m_own.end() ? WordOf(word, m_lcid) : StringView(own->second);
}

}  // namespace varnel
