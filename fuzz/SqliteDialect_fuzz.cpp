// SQL texts of any kind through the dialect: it must neither fail nor lose a token of a text that needs no
// rewriting, and what it remembers of a shape must be what it works out anew.
#include <cstdint>
#include <cstdlib>

#include "host-linux/database/dialect/LikePattern.h"
#include "host-linux/database/dialect/SqlLexer.h"
#include "host-linux/database/dialect/SqliteDialect.h"

namespace {

using hostlinux::ColumnFact;

// One column of a type that differs from query to query, or two, by which pages can be sorted; some queries
// are refused.
class AnyFacts : public hostlinux::IColumnFacts {
 public:
  std::optional<std::vector<ColumnFact>> Describe(const std::u16string& select) override {
    static const char16_t* const kTypes[] = {u"INT", u"REAL",       u"DATETIME", u"DATE",
                                             u"BIT", u"VARCHAR(9)", u""};
    if (select.find(u',') != std::u16string::npos)
      return std::vector<ColumnFact>{{u"a", u"INT"}, {u"b", u""}};
    if (select.size() % 3 == 0) return std::nullopt;
    return std::vector<ColumnFact>{{u"a", kTypes[select.size() % 7]}};
  }
  bool SortsInPart(const std::u16string& select) override { return select.size() % 2 == 0; }
  bool HasPartialIndex() override { return false; }
};

std::u16string WithOtherValues(std::u16string sql) {
  bool quoted = false;
  for (char16_t& c : sql) {
    if (c == u'\'') quoted = !quoted;
    if (quoted && c >= u'1' && c <= u'8') ++c;
    if (quoted && c >= u'a' && c <= u'y') ++c;
  }
  return sql;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  std::u16string sql;
  for (size_t i = 0; i < size; ++i) sql += static_cast<char16_t>(data[i]);
  const auto tokens = hostlinux::LexSql(sql);
  if (hostlinux::PrintSql(tokens, 0, tokens.size()) != sql) std::abort();
  AnyFacts facts;
  hostlinux::RewriteForSqlite(sql, facts, hostlinux::PageReads::AsWritten);
  hostlinux::RewriteForSqlite(sql, facts, hostlinux::PageReads::InArms);
  hostlinux::SqliteDialect dialect(facts);
  const hostlinux::EngineStatement first = dialect.Translate(sql);
  const hostlinux::EngineStatement again = dialect.Translate(sql);
  if (first.sql != again.sql || first.values != again.values) std::abort();
  // A text of the same shape, with all letters and digits in quotes changed, may not spoil what is
  // remembered.
  dialect.Translate(WithOtherValues(sql));
  if (dialect.Translate(sql).sql != first.sql) std::abort();
  const std::u16string_view text(sql);
  hostlinux::MatchesPattern(text.substr(0, size / 2), text.substr(size / 2));
  return 0;
}
