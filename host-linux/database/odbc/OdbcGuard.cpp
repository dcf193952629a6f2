#include "host-linux/database/odbc/OdbcGuard.h"

#include <algorithm>
#include <string>
#include <unordered_set>

#include "host-linux/database/dialect/CalculatingFunctions.h"
#include "host-linux/database/dialect/QueryText.h"
#include "host-linux/database/dialect/ServerWords.h"

namespace hostlinux {
namespace {

using Tokens = std::vector<SqlToken>;

// --- what is called

// The token in front of `i` that is no comment; null where there is none.
const SqlToken* Before(const Tokens& tokens, std::size_t i) {
  while (i > 0) {
    if (tokens[--i].kind != SqlTokenKind::Comment) return &tokens[i];
  }
  return nullptr;
}

std::string LowerName(const SqlToken& token) {
  std::string name =
      varnel::ToUtf8(token.kind == SqlTokenKind::QuotedName ? NameInQuotes(token) : token.text);
  for (char& c : name) c = c >= 'A' && c <= 'Z' ? static_cast<char>(c + 32) : c;
  return name;
}

bool IsName(const SqlToken& token) {
  return token.kind == SqlTokenKind::Word || token.kind == SqlTokenKind::QuotedName;
}

// Behind these a parenthesis begins no call.
bool IsKeyword(const SqlToken& token) {
  return IsAnyWord(token,
                   {u"SELECT",       u"DISTINCT", u"FROM",   u"WHERE",     u"AND",     u"OR",     u"NOT",
                    u"IN",           u"EXISTS",   u"AS",     u"ON",        u"BY",      u"UNION",  u"ALL",
                    u"ANY",          u"SOME",     u"EXCEPT", u"INTERSECT", u"JOIN",    u"THEN",   u"ELSE",
                    u"WHEN",         u"CASE",     u"IS",     u"BETWEEN",   u"LIKE",    u"GLOB",   u"OVER",
                    u"FILTER",       u"VALUES",   u"HAVING", u"LIMIT",     u"OFFSET",  u"USING",  u"CAST",
                    u"MATERIALIZED", u"ESCAPE",   u"ARRAY",  u"INTERVAL",  u"LATERAL", u"WITHIN", u"INTO"});
}

// The names of all calls. A name behind AS is that of a type, and others of a table.
std::vector<std::string> CalledNames(const Tokens& tokens) {
  std::vector<std::string> names;
  for (std::size_t i = 1; i < tokens.size(); ++i) {
    if (tokens[i].kind != SqlTokenKind::Open) continue;
    const SqlToken* name = Before(tokens, i);
    if (name == nullptr || !IsName(*name) || IsKeyword(*name)) continue;
    const SqlToken* lead = Before(tokens, static_cast<std::size_t>(name - tokens.data()));
    if (lead == nullptr || !IsAnyWord(*lead, {u"AS", u"WITH", u"RECURSIVE", u"INTO", u"TABLE"}))
      names.push_back(LowerName(*name));
  }
  return names;
}

// PostgreSQL's, of their arguments alone.
bool IsHarmless(const std::string& name) {
  static const std::unordered_set<std::string> names = {
      "abs",        "avg",     "ceil",       "char_length", "coalesce", "concat",    "count",
      "date_trunc", "extract", "floor",      "greatest",    "least",    "left",      "length",
      "lower",      "ltrim",   "max",        "min",         "nullif",   "position",  "replace",
      "right",      "round",   "row_number", "rtrim",       "substr",   "substring", "sum",
      "to_char",    "trim",    "upper",      "varchar",     "numeric",  "char",      "timestamp"};
  return names.contains(name);
}

// Of SQLite's drivers and library.
bool ReachesOut(const std::string& name) {
  static const std::unordered_set<std::string> names = {
      "load_extension", "blob_import", "blob_export", "fts3_tokenizer", "readfile", "writefile", "edit"};
  return names.contains(name);
}

// --- more than one statement

bool HasOtherSigns(std::u16string_view name) {
  return std::any_of(name.begin(), name.end(), [](char16_t c) {
    const bool isLetter = (c >= u'a' && c <= u'z') || (c >= u'A' && c <= u'Z') || c >= 0x80;
    return !isLetter && !(c >= u'0' && c <= u'9') && c != u'_' && c != u' ' && c != u'.';
  });
}

bool IsEscapedText(const SqlToken& word, const SqlToken& next) {
  const bool isText = next.kind == SqlTokenKind::Text && next.gap.empty();
  return isText && (word.text.ends_with(u'e') || word.text.ends_with(u'E'));
}

// What a server may end elsewhere than LexSql does: E'\'', $$'$$, [']'], $a('), comments within comments, and those that a
// carriage return ends.
bool MayEndElsewhere(const SqlToken& token, const SqlToken& next) {
  switch (token.kind) {
    case SqlTokenKind::Word:
      return token.text.find_first_of(u"$@#") != std::u16string::npos || IsEscapedText(token, next);
    case SqlTokenKind::Comment:
      return token.text.find(u"/*", 1) != std::u16string::npos ||
             token.text.find(u'\r') != std::u16string::npos;
    case SqlTokenKind::QuotedName:
      return token.text.front() != u'"' && HasOtherSigns(NameInQuotes(token));
    default:
      return false;
  }
}

bool MayHideStatement(const Tokens& tokens) {
  const bool hasEnd = std::any_of(tokens.begin(), tokens.end(), [](const SqlToken& token) {
    return token.text.find(u';') != std::u16string::npos;
  });
  if (!hasEnd) return false;
  for (std::size_t i = 0; i + 1 < tokens.size(); ++i) {
    if (MayEndElsewhere(tokens[i], tokens[i + 1])) return true;
  }
  return false;
}

// Comments are nested there, and no semicolon is needed.
bool HidesInComment(const Tokens& tokens) {
  return std::any_of(tokens.begin(), tokens.end(), [](const SqlToken& token) {
    return token.kind == SqlTokenKind::Comment && MayEndElsewhere(token, token);
  });
}

// --- statements of a T-SQL server, between which nothing need stand

// Reserved there: else they stand in quotes.
bool BeginsStatement(const SqlToken& token) {
  return IsAnyWord(
      token, {u"SELECT",   u"INSERT",   u"UPDATE", u"DELETE",     u"MERGE",       u"EXEC",      u"EXECUTE",
              u"CREATE",   u"ALTER",    u"DROP",   u"TRUNCATE",   u"GRANT",       u"REVOKE",    u"DENY",
              u"DECLARE",  u"SET",      u"USE",    u"BACKUP",     u"RESTORE",     u"DBCC",      u"KILL",
              u"SHUTDOWN", u"WAITFOR",  u"PRINT",  u"RAISERROR",  u"IF",          u"WHILE",     u"BEGIN",
              u"COMMIT",   u"ROLLBACK", u"SAVE",   u"GOTO",       u"RETURN",      u"WRITETEXT", u"UPDATETEXT",
              u"READTEXT", u"OPEN",     u"CLOSE",  u"DEALLOCATE", u"RECONFIGURE", u"CHECKPOINT"});
}

// What stands in the middle of one statement: a subquery, a hint, the branch of a union, the part of a MERGE, DROP TABLE IF EXISTS.
bool GoesOn(const SqlToken& before, const SqlToken& verb, const SqlToken& next) {
  if (before.kind == SqlTokenKind::Open) return true;
  if (IsWord(verb, u"SELECT")) return IsAnyWord(before, {u"UNION", u"ALL", u"EXCEPT", u"INTERSECT"});
  if (IsWord(verb, u"MERGE")) return IsAnyWord(next, {u"JOIN", u"UNION"});
  if (IsWord(verb, u"SET")) return IsWord(before, u"UPDATE");
  if (IsWord(verb, u"IF"))
    return IsWord(next, u"EXISTS") &&
           IsAnyWord(before, {u"TABLE", u"VIEW", u"INDEX", u"PROCEDURE", u"FUNCTION"});
  return IsWord(before, u"THEN");
}

// The verb that goes on from `verb` once: INSERT INTO t SELECT, UPDATE t SET, WITH c AS (...) DELETE.
bool Leads(const SqlToken& verb, const SqlToken& before, const SqlToken& next) {
  if (IsWord(verb, u"WITH"))
    return before.kind == SqlTokenKind::Close &&
           IsAnyWord(next, {u"SELECT", u"INSERT", u"UPDATE", u"DELETE", u"MERGE"});
  if (IsWord(verb, u"INSERT")) return IsAnyWord(next, {u"SELECT", u"EXEC", u"EXECUTE"});
  return IsWord(verb, u"UPDATE") && IsWord(next, u"SET");
}

bool IsTransactBatch(const Tokens& tokens) {
  const SqlToken* verb = &tokens.front();
  if (IsAnyWord(*verb, {u"CREATE", u"ALTER", u"GRANT", u"REVOKE", u"DENY"})) return false;
  for (std::size_t i = 1; i + 1 < tokens.size(); ++i) {
    const SqlToken* before = Before(tokens, i);
    if (!BeginsStatement(tokens[i]) || (before != nullptr && GoesOn(*before, tokens[i], tokens[i + 1])))
      continue;
    if (verb == nullptr || before == nullptr || !Leads(*verb, *before, tokens[i])) return true;
    verb = IsWord(*verb, u"WITH") ? &tokens[i] : nullptr;
  }
  return false;
}

// --- what stays

bool IsTemporary(OdbcServer server, const SqlToken& token) {
  if (IsAnyWord(token, {u"TEMP", u"TEMPORARY", u"GET_LOCK", u"SET_CONFIG"}) || token.text.starts_with(u"@") ||
      token.text.starts_with(u"#") || UpperAscii(token.text).starts_with(u"PG_ADVISORY")) {
    return true;
  }
  if (server == OdbcServer::Sqlite) return IsAnyWord(token, {u"PRAGMA", u"ATTACH", u"DETACH"});
  if (server != OdbcServer::Postgresql || !IsName(token)) return false;
  const std::string name = LowerName(token);
  return name == "set_config" || name.starts_with("pg_advisory") || name.starts_with("pg_try_advisory") ||
         name.starts_with("dblink") || name.starts_with("lo_");
}

}  // namespace

bool IsBatch(OdbcServer server, const Tokens& tokens) {
  if (IsScript(tokens)) return true;
  if (server == OdbcServer::TransactSql) return HidesInComment(tokens) || IsTransactBatch(tokens);
  // MariaDB's server takes one statement only.
  return server != OdbcServer::Mariadb && MayHideStatement(tokens);
}

bool LeavesSomething(OdbcServer server, const Tokens& tokens) {
  const bool isKnown =
      tokens.front().kind == SqlTokenKind::Open ||
      IsAnyWord(tokens.front(),
                {u"SELECT", u"INSERT", u"UPDATE",  u"DELETE",   u"REPLACE",  u"WITH",     u"VALUES",
                 u"MERGE",  u"TABLE",  u"SHOW",    u"EXPLAIN",  u"DESCRIBE", u"CREATE",   u"ALTER",
                 u"DROP",   u"RENAME", u"ANALYZE", u"OPTIMIZE", u"COMMENT",  u"TRUNCATE", u"REINDEX"});
  if (!isKnown) return true;
  return std::any_of(tokens.begin(), tokens.end(), [&](const SqlToken& token) {
    if (IsTemporary(server, token)) return true;
    // A comment that the server runs.
    return server == OdbcServer::Mariadb && token.kind == SqlTokenKind::Comment &&
           (token.text.starts_with(u"/*!") || token.text.starts_with(u"/*M!"));
  });
}

bool MayChangeSettings(OdbcServer server, const Tokens& tokens) {
  if (server != OdbcServer::Postgresql) return false;
  const std::vector<std::string> names = CalledNames(tokens);
  return !std::all_of(names.begin(), names.end(), &IsHarmless);
}

bool CallsForbidden(OdbcServer server, const Tokens& tokens, bool readsOnly) {
  if (server != OdbcServer::Sqlite) return false;
  const std::vector<std::string> names = CalledNames(tokens);
  return std::any_of(names.begin(), names.end(), [&](const std::string& name) {
    return ReachesOut(name) || (readsOnly && !IsCalculating(name));
  });
}

bool OnlyReads(const Tokens& tokens) {
  const bool isQuery =
      tokens.front().kind == SqlTokenKind::Open || IsAnyWord(tokens.front(), {u"SELECT", u"WITH"});
  return isQuery && std::none_of(tokens.begin(), tokens.end(), [](const SqlToken& token) {
           return (BeginsStatement(token) && !IsWord(token, u"SELECT")) ||
                  IsAnyWord(token, {u"INTO", u"BULK", u"OPENQUERY", u"OPENROWSET", u"OPENDATASOURCE"});
         });
}

}  // namespace hostlinux
