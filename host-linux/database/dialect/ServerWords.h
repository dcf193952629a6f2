// What the words of several servers have in common.
#pragma once

#include <string>
#include <vector>

#include "host-linux/database/dialect/SqlLexer.h"

namespace hostlinux {

// SET TRANSACTION ISOLATION LEVEL READ ..., which is how every statement reads.
bool IsReadLevel(const std::vector<SqlToken>& tokens);

// {d '...'} and {ts '...'} as TIMESTAMP '...', {t '...'} as TIME '...', with a blank in front of `io_next`.
void RewriteEscape(SqlToken& io_escape, SqlToken& io_next);

// `name` as "name", quotes doubled.
std::u16string QuotedName(std::u16string_view name);

// What stands between the signs of a quoted name.
std::u16string NameInQuotes(const SqlToken& token);

}  // namespace hostlinux
