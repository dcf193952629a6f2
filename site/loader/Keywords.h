// What kind of device a name speaks of, guessed by the words in it.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace shop {

// The words of `text` in order: runs of letters and digits, A to Z in lower case. Characters beyond ASCII
// count as letters.
std::vector<std::string> WordsOf(std::string_view text);

class Keywords {
 public:
  // Reads the table: one kind a line, a tab, and its keywords with "|" between them. A keyword is one or more
  // words that must stand next to each other; a "*" at its end stands for any end of its last word. Empty
  // lines and lines that begin with "#" are passed over. Throws std::runtime_error, with the line's number,
  // for a line without a tab, a kind or keywords.
  static Keywords Parse(std::string_view text);

  // Position of the kind, from 0, or nothing if no keyword stands in `name`. If keywords of several kinds do,
  // the kind that comes first in the table.
  std::optional<std::size_t> KindOf(std::string_view name) const;

  // The kinds in the table's order.
  const std::vector<std::string>& Kinds() const { return m_kinds; }

 private:
  struct Keyword {
    std::size_t kind = 0;
    std::vector<std::string> words;
    bool openEnd = false;
  };

  void AddKeyword(std::size_t kind, std::string_view text, std::size_t line);
  static bool StandsAt(const Keyword& keyword, const std::vector<std::string>& words, std::size_t at);

  std::vector<std::string> m_kinds;
  // Keywords by their first word; those whose only word has an open end can't be looked up and stand apart.
  std::unordered_map<std::string, std::vector<Keyword>> m_byFirstWord;
  std::vector<Keyword> m_openWords;
};

}  // namespace shop
