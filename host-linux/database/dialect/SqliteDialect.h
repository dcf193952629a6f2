// The library's SQL, written for a server with SELECT TOP, N'...', {d '...'}, classes in LIKE patterns and
// implicit conversion of text literals, in the words of SQLite. Text that is no such form stays as written.
#pragma once

#include <string>
#include <string_view>

#include "host-linux/database/dialect/ColumnFacts.h"
#include "host-linux/database/dialect/EngineStatement.h"

namespace hostlinux {

struct RewrittenSql {
  std::u16string text;
  bool isNothing = false;  // a statement that SQLite doesn't know and doesn't need: report success
};

// What is rewritten:
// - TOP n becomes LIMIT n behind its own SELECT. A branch of a UNION that stands in parentheses or has a TOP
//   becomes SELECT * FROM (...). A branch with TOP and no ORDER BY of its own gets the order of the whole,
//   so that its rows are the ones that the page needs; that order loses its qualifiers.
// - N'a' becomes 'a'; {d}, {ts}, {t} become the stored text, with a blank behind.
// - LIKE with [ in its pattern gets ESCAPE '\'; with real classes it becomes REGEXP, whose function
//   `regexp` must read such patterns (MatchesPattern).
// - A comparison with a text literal is written so that it is right for the type of its left side: keys
//   come as text, also those of numbers and dates.
// - SET TRANSACTION ISOLATION LEVEL is nothing: every SQLite transaction is serializable.
RewrittenSql RewriteForSqlite(std::u16string_view sql, IColumnFacts& facts);

// The rewriting of one connection, with its literals lifted out: texts that differ in values only become one
// engine text, which is worked out once.
class SqliteDialect {
 public:
  // `facts` outlives the dialect.
  explicit SqliteDialect(IColumnFacts& facts) : m_facts(facts) {}

  EngineStatement Translate(std::u16string_view sql);
  // To be called when the schema changed: types of columns are part of what was worked out.
  void ForgetSchema();

 private:
  IColumnFacts& m_facts;
};

}  // namespace hostlinux
