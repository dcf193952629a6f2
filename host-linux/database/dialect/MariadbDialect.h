// The library's SQL in the words of MariaDB. Text that is no form of the library's stays as written.
#pragma once

#include "host-linux/database/dialect/SqlDialect.h"

namespace hostlinux {

// For sessions with the SQL mode of kMariadbMode. What is rewritten:
// - TOP n becomes LIMIT n behind its own SELECT. A branch of a UNION with a TOP stands in parentheses; one without an ORDER BY
//   of its own gets the order of the whole. NULLs sort below every value by themselves.
// - N'a' becomes 'a', {d} and {ts} become TIMESTAMP '...', {t} TIME '...', [a b] becomes "a b"; == becomes =.
// - A backslash in a LIKE pattern means itself. One with classes becomes escapes by ESCAPE '\', or a regular expression.
// - A text literal becomes what the column holds: against a number it would be compared as a double, which no index
//   finds exactly. A number that a text is compared with gets quotes, or every text without digits would equal 0.
// - SET TRANSACTION ISOLATION LEVEL READ ... is nothing: no statement reads what isn't committed.
// - Pages are read in arms: no index finds the rows behind a row value.
const IEngineWords& WordsOfMariadb();

// A doubled quote is the only escape in a literal, "..." is a name, || joins texts, and no value is cut to fit.
inline constexpr const char* kMariadbMode =
    "ANSI_QUOTES,ERROR_FOR_DIVISION_BY_ZERO,IGNORE_SPACE,NO_BACKSLASH_ESCAPES,NO_ENGINE_SUBSTITUTION,"
    "NO_ZERO_DATE,NO_ZERO_IN_DATE,PIPES_AS_CONCAT,STRICT_ALL_TABLES";

RewrittenSql RewriteForMariadb(std::u16string_view sql, IColumnFacts& facts);
std::vector<std::u16string> RewritePageForMariadb(const varnel::host::PageSpec& page, IColumnFacts& facts);

}  // namespace hostlinux
