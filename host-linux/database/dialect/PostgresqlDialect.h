// The library's SQL in the words of PostgreSQL. Text that is no form of the library's stays as written.
#pragma once

#include "host-linux/database/dialect/SqlDialect.h"

namespace hostlinux {

// What is rewritten:
// - TOP n becomes LIMIT n behind its own SELECT. A branch of a UNION with a TOP stands in parentheses; one without an ORDER BY
//   of its own gets the order of the whole.
// - NULLs sort below every value: ASC NULLS FIRST and DESC NULLS LAST, but for columns that can't be NULL, so that an
//   ordinary index gives their order.
// - N'a' becomes 'a', {d} and {ts} become TIMESTAMP '...', {t} TIME '...', [a b] and `a b` become "a b"; what is a plain name in
//   brackets is written in small letters, as the engine keeps names.
// - A backslash in a LIKE pattern means itself. One with classes becomes escapes, or a regular expression.
// - A text literal takes the type of what it is compared with, here as in the library's SQL; against a floating-point column
//   it stands for all values that print so. A number that a text or a truth value is compared with gets quotes.
// - == becomes =. SET TRANSACTION ISOLATION LEVEL READ ... is nothing, as it is how the engine reads in any case.
const IEngineWords& WordsOfPostgresql();

RewrittenSql RewriteForPostgresql(std::u16string_view sql, IColumnFacts& facts);
std::vector<std::u16string> RewritePageForPostgresql(const varnel::host::PageSpec& page, IColumnFacts& facts);

// The names of the result's columns as the text of a query spells them, by the same names in small letters: the engine
// folds what isn't quoted.
std::unordered_map<std::u16string, std::u16string> SpelledNames(std::u16string_view sql);

// The number of rows in the first line of what EXPLAIN tells: "Seq Scan on t  (cost=0.00..22.70 rows=1270 width=4)".
std::optional<varnel::Long> RowsOfPlan(const std::string& line);

// True for a line of what EXPLAIN tells that is the step of a sort: "  ->  Incremental Sort  (cost=0.95..5.18 rows=10 width=25)".
bool IsSortOfPlan(std::string_view line);

}  // namespace hostlinux
