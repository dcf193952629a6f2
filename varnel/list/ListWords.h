// The words of one list: its language's, but for those that the page has put in their places.
#pragma once

#include <map>

#include "varnel/list/ListText.h"

namespace varnel {

class ListWords {
 public:
  void SetLanguage(Long lcid) { m_lcid = lcid; }
  // Raises 5 for a name that no word has.
  void Replace(StringView name, String text);

  StringView operator[](ListWord word) const;
  Long Language() const { return m_lcid; }
  const std::map<ListWord, String>& Own() const { return m_own; }

 private:
  Long m_lcid = 1033;
  std::map<ListWord, String> m_own;
};

}  // namespace varnel
