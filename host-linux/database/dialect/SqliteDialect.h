// The library's SQL, written for a server with SELECT TOP, N'...', {d '...'}, classes in LIKE patterns and
// implicit conversion of text literals, in the words of SQLite. Text that is no such form stays as written.
#pragma once

#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "host-linux/database/dialect/ColumnFacts.h"
#include "host-linux/database/dialect/EngineStatement.h"
#include "host-linux/database/dialect/KeyLiteral.h"
#include "host-linux/database/dialect/SqlShape.h"

namespace hostlinux {

struct RewrittenSql {
  std::u16string text;
  bool isNothing = false;  // a statement that SQLite doesn't know and doesn't need: report success
};

// How the reads behind an anchor row are written.
enum class PageReads {
  AsWritten,  // one condition with OR, as the library writes it
  InArms      // so that an index finds the row (PageSeek.h)
};

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
// - With InArms, reads of next and previous pages and of jumps.
RewrittenSql RewriteForSqlite(std::u16string_view sql, IColumnFacts& facts,
                              PageReads reads = PageReads::AsWritten);

// The rewriting of one connection, with its literals lifted out: texts that differ in values only become one
// engine text, which is worked out once. Lifted are texts, dates and numbers on the right of a comparison in
// WHERE and ON; not 0 and 1, patterns, TOP and what stands in expressions. Where an index has a condition,
// only the keys of pages are lifted.
// The text's own parameters, :name and ?, stay parameters wherever they stand. One that a column is compared with
// is right for the type of the column, as a literal of its value would be; a LIKE whose pattern is one becomes
// REGEXP where the engine's own LIKE couldn't read the pattern.
class SqliteDialect {
 public:
  // `facts` outlives the dialect.
  explicit SqliteDialect(IColumnFacts& facts, PageReads reads = PageReads::InArms)
      : m_facts(facts), m_reads(reads) {}

  // The statement that `sql` becomes with the values that stand in it, and with those of `parameters`.
  EngineStatement Translate(std::u16string_view sql,
                            const varnel::host::StatementParameters& parameters = {});
  // To be called when the schema changed: types of columns are part of what was worked out.
  void ForgetSchema();

 private:
  // A parameter: the value of a literal or a parameter of the library's text, in a form.
  struct Parameter {
    std::size_t literal = 0;
    LiteralForm form = LiteralForm::Text;
    char16_t escape = 0;
  };
  struct Translation {
    std::string sql;
    std::vector<Parameter> parameters;
    bool isNothing = false;
  };
  // The texts of one shape. They differ in the literals that weren't lifted.
  struct Family {
    std::vector<std::size_t> pinned;
    std::unordered_map<std::u16string, Translation> translations;  // by the texts of the pinned literals
  };

  Translation& Remember(std::u16string_view sql, const SqlShape& shape);
  static void Pin(Family& family, const std::vector<std::size_t>& literals);
  static std::u16string PinnedTexts(const Family& family, const SqlShape& shape);

  IColumnFacts& m_facts;
  PageReads m_reads;
  std::unordered_map<std::u16string, Family> m_families;  // by the key of the shape
  std::size_t m_translations = 0;
};

}  // namespace hostlinux
