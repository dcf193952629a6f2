// The library's SQL in the words of SQLite. Text that is no form of the library's stays as written.
#pragma once

#include "host-linux/database/dialect/SqlDialect.h"

namespace hostlinux {

// Bytes of a pattern that the engine's own LIKE and GLOB take. Nothing interrupts one call of them, whose
// time grows with the product of text and pattern; REGEXP is ours, and looks at the clock.
inline constexpr std::size_t kLongestLikePattern = 64;

// What is rewritten:
// - TOP n becomes LIMIT n behind its own SELECT. A branch of a UNION that stands in parentheses or has a TOP
//   becomes SELECT * FROM (...). A branch with TOP and no ORDER BY of its own gets the order of the whole,
//   so that its rows are the ones that the page needs; that order loses its qualifiers.
// - N'a' becomes 'a'; {d}, {ts}, {t} become the stored text, with a blank behind.
// - LIKE with [ in its pattern gets ESCAPE '\'; with real classes it becomes REGEXP, whose function
//   `regexp` must read such patterns (MatchesPattern). So does one that is longer than kLongestLikePattern.
// - A comparison with a text literal is written so that it is right for the type of its left side: keys
//   come as text, also those of numbers and dates.
// - SET TRANSACTION ISOLATION LEVEL is nothing: every SQLite transaction is serializable.
const IEngineWords& WordsOfSqlite();

RewrittenSql RewriteForSqlite(std::u16string_view sql, IColumnFacts& facts);
std::vector<std::u16string> RewritePageForSqlite(const varnel::host::PageSpec& page, IColumnFacts& facts);

class SqliteDialect : public SqlDialect {
 public:
  // `facts` outlives the dialect.
  explicit SqliteDialect(IColumnFacts& facts, PageReads reads = PageReads::InArms)
      : SqlDialect(facts, WordsOfSqlite(), reads) {}
};

}  // namespace hostlinux
