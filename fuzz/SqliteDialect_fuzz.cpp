// SQL texts of any kind through the dialects of all engines: it must neither fail nor lose a token of a text that needs no
// rewriting, and what it remembers of a shape must be what it works out anew.
#include <cstdint>
#include <cstdlib>

#include "host-linux/database/dialect/LikePattern.h"
#include "host-linux/database/dialect/MariadbDialect.h"
#include "host-linux/database/dialect/PostgresqlDialect.h"
#include "host-linux/database/dialect/SqlLexer.h"
#include "host-linux/database/dialect/SqliteDialect.h"
#include "varnel/automation/Convert.h"

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
  std::optional<hostlinux::SortWork> SortsFor(const std::u16string& select) override {
    return static_cast<hostlinux::SortWork>(select.size() % 3);
  }
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

// The pieces of a page's read, with line breaks between: the select, the condition, and for each key its name and its
// anchor's value. What was remembered of one page must be what another one of its shape gets.
varnel::host::PageSpec PageOf(const std::u16string& text) {
  const std::vector<varnel::String> pieces = varnel::Split(text, u"\n");
  varnel::host::PageSpec page;
  page.branches.push_back({pieces.empty() ? u"" : pieces[0], pieces.size() > 1 ? pieces[1] : u"", u""});
  page.behindAnchor = text.size() % 4 != 0;
  page.rows = 10;
  if (text.size() % 5 == 0) page.way = 30;
  if (text.size() % 7 == 0) page.branches.push_back(page.branches[0]);
  for (std::size_t i = 2; i + 1 < pieces.size(); i += 2) {
    const varnel::Variant anchor = pieces[i + 1] == u"~" ? varnel::Variant(varnel::Null()) : pieces[i + 1];
    page.keys.push_back({pieces[i], pieces[i], i % 4 == 2, anchor});
  }
  return page;
}

std::vector<std::string> StatementsOf(hostlinux::SqlDialect& dialect, const varnel::host::PageSpec& page) {
  std::vector<std::string> texts;
  const auto statements = dialect.TranslatePage(page);
  for (std::size_t i = 0; statements && i < statements->Count(); ++i)
    texts.push_back(statements->Statement(i).sql + (statements->Walk(i) ? statements->Walk(i)->sql : ""));
  return texts;
}

void TryPage(const std::u16string& text, AnyFacts& facts, const hostlinux::IEngineWords& words) {
  varnel::host::PageSpec page = PageOf(text);
  if (page.keys.empty()) return;
  hostlinux::RewritePage(page, facts, words);
  hostlinux::SqlDialect dialect(facts, words, hostlinux::PageReads::InArms);
  const std::vector<std::string> first = StatementsOf(dialect, page);
  varnel::host::PageSpec other = page;
  for (auto& key : other.keys)
    if (!key.anchor.IsNull()) key.anchor = WithOtherValues(u"'" + varnel::ToText(key.anchor));
  StatementsOf(dialect, other);
  if (StatementsOf(dialect, page) != first) std::abort();
}

void TryWords(const std::u16string& sql, const hostlinux::IEngineWords& words) {
  AnyFacts facts;
  hostlinux::RewriteSql(sql, facts, words);
  TryPage(sql, facts, words);
  hostlinux::SqlDialect dialect(facts, words, hostlinux::PageReads::InArms);
  const hostlinux::EngineStatement first = dialect.Translate(sql);
  const hostlinux::EngineStatement again = dialect.Translate(sql);
  if (first.sql != again.sql || first.values != again.values) std::abort();
  // A text of the same shape, with all letters and digits in quotes changed, may not spoil what is
  // remembered.
  dialect.Translate(WithOtherValues(sql));
  if (dialect.Translate(sql).sql != first.sql) std::abort();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  std::u16string sql;
  for (size_t i = 0; i < size; ++i) sql += static_cast<char16_t>(data[i]);
  const auto tokens = hostlinux::LexSql(sql);
  if (hostlinux::PrintSql(tokens, 0, tokens.size()) != sql) std::abort();
  TryWords(sql, hostlinux::WordsOfSqlite());
  TryWords(sql, hostlinux::WordsOfPostgresql());
  TryWords(sql, hostlinux::WordsOfMariadb());
  hostlinux::SpelledNames(sql);
  const std::u16string_view text(sql);
  hostlinux::MatchesPattern(text.substr(0, size / 2), text.substr(size / 2));
  hostlinux::PatternAsRegex(text);
  return 0;
}
