// SQL texts of any kind through the dialect: it must neither fail nor lose a token of a text that needs no
// rewriting.
#include <cstdint>
#include <cstdlib>

#include "host-linux/database/dialect/LikePattern.h"
#include "host-linux/database/dialect/SqlLexer.h"
#include "host-linux/database/dialect/SqliteDialect.h"

namespace {

using hostlinux::ColumnFact;

// Types that differ from query to query, and every third query refused.
class AnyFacts : public hostlinux::IColumnFacts {
 public:
  std::optional<std::vector<ColumnFact>> Describe(const std::u16string& select) override {
    static const char16_t* const kTypes[] = {u"INT", u"REAL",       u"DATETIME", u"DATE",
                                             u"BIT", u"VARCHAR(9)", u""};
    if (select.size() % 3 == 0) return std::nullopt;
    return std::vector<ColumnFact>{{u"a", kTypes[select.size() % 7]}};
  }
  bool HasPartialIndex() override { return false; }
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  std::u16string sql;
  for (size_t i = 0; i < size; ++i) sql += static_cast<char16_t>(data[i]);
  const auto tokens = hostlinux::LexSql(sql);
  if (hostlinux::PrintSql(tokens, 0, tokens.size()) != sql) std::abort();
  AnyFacts facts;
  hostlinux::RewriteForSqlite(sql, facts);
  const std::u16string_view text(sql);
  hostlinux::MatchesPattern(text.substr(0, size / 2), text.substr(size / 2));
  return 0;
}
