#include "host-linux/advice/IndexAdviser.h"

#include <algorithm>
#include <array>

#include "host-linux/database/dialect/SelectNames.h"
#include "varnel/recordset/DFields.h"
#include "varnel/recordset/PageQuery.h"
#include "varnel/recordset/UnionBranches.h"

namespace hostlinux {
namespace {

using varnel::Integer;
using varnel::PersistedState;
using varnel::SortField;
using varnel::String;
using varnel::StringView;
using varnel::Variant;
using Tokens = std::vector<SqlToken>;

constexpr Integer kPageSize = 10;
constexpr varnel::Long kSeconds = 5;
constexpr std::size_t kLongestName = 60;
// Reading and sorting so many rows costs less than a millisecond.
constexpr Integer kFewRows = 1000;
constexpr std::array<StringView, 4> kReads = {u"first", u"next", u"previous", u"last"};

bool Same(StringView a, StringView b) { return varnel::EqualsNoCase(a, b); }

bool Holds(const std::vector<String>& names, StringView name) {
  return std::any_of(names.begin(), names.end(), [&](const String& other) { return Same(other, name); });
}

String Unquoted(const SqlToken& token) {
  const bool quoted = token.kind == SqlTokenKind::QuotedName && token.text.size() >= 2;
  return quoted ? token.text.substr(1, token.text.size() - 2) : token.text;
}

bool IsName(const SqlToken& token) {
  return token.kind == SqlTokenKind::Word || token.kind == SqlTokenKind::QuotedName;
}

bool IsJoinWord(const SqlToken& token) {
  static constexpr std::array<StringView, 9> kWords = {u"JOIN", u"INNER", u"LEFT",    u"OUTER", u"CROSS",
                                                       u"ON",   u"USING", u"NATURAL", u"RIGHT"};
  return std::any_of(kWords.begin(), kWords.end(), [&](StringView word) { return IsWord(token, word); });
}

// --- What stands in a query

// A table in FROM, under the name that the query gives it.
struct Source {
  String table;
  String name;
};

// A name with what stands in front of its dot.
struct Column {
  String qualifier;
  String name;
};

class QueryText {
 public:
  explicit QueryText(const String& sql) : m_tokens(LexSql(sql)) {
    m_tokens.resize(m_tokens.size() + 4);
    m_structure = ReadStructure(m_tokens);
  }

  std::vector<Source> Sources() const {
    std::vector<Source> sources;
    if (m_structure.scopes.empty()) return sources;
    const SqlSpan from = m_structure.scopes.front().Clause(SqlClause::From);
    bool isTableNext = true;
    for (std::size_t i = from.begin + 1; i < from.end; ++i) {
      if (m_tokens[i].kind == SqlTokenKind::Open && m_structure.partner[i] != SqlStructure::kNone) {
        i = m_structure.partner[i];
        isTableNext = false;
      } else if (m_tokens[i].kind == SqlTokenKind::Comma || IsWord(m_tokens[i], u"JOIN")) {
        isTableNext = true;
      } else if (isTableNext && IsName(m_tokens[i]) && !IsJoinWord(m_tokens[i])) {
        sources.push_back(SourceAt(i, from.end));
        isTableNext = false;
      }
    }
    return sources;
  }

  // The columns that the condition compares with one value each, so that all of them have to be met.
  std::vector<Column> Equalities() const {
    std::vector<Column> columns;
    if (m_structure.scopes.empty()) return columns;
    const SqlSpan where = m_structure.scopes.front().Clause(SqlClause::Where);
    for (std::size_t i = where.begin + 1; i < where.end; ++i) {
      if (m_tokens[i].kind == SqlTokenKind::Open && m_structure.partner[i] != SqlStructure::kNone) {
        i = m_structure.partner[i];
      } else if (IsWord(m_tokens[i], u"OR")) {
        return {};
      } else if (m_tokens[i].text == u"=" && HasValue(m_tokens[i + 1].kind)) {
        if (i + 2 < where.end && !IsWord(m_tokens[i + 2], u"AND")) continue;
        if (const auto column = NameBefore(i, where.begin)) columns.push_back(*column);
      }
    }
    return columns;
  }

 private:
  Source SourceAt(std::size_t i, std::size_t end) const {
    Source source{Unquoted(m_tokens[i]), Unquoted(m_tokens[i])};
    std::size_t next = i + 1;
    if (next < end && IsWord(m_tokens[next], u"AS")) ++next;
    if (next < end && IsName(m_tokens[next]) && !IsJoinWord(m_tokens[next]))
      source.name = Unquoted(m_tokens[next]);
    return source;
  }

  // The column that fills what stands between WHERE or AND and the operator at `op`.
  std::optional<Column> NameBefore(std::size_t op, std::size_t begin) const {
    if (!IsName(m_tokens[op - 1])) return std::nullopt;
    Column column{{}, Unquoted(m_tokens[op - 1])};
    std::size_t first = op - 1;
    if (first > begin + 1 && m_tokens[first - 1].kind == SqlTokenKind::Dot) {
      column.qualifier = Unquoted(m_tokens[first - 2]);
      first -= 2;
    }
    const bool isWhole = first == begin + 1 || IsWord(m_tokens[first - 1], u"AND");
    return isWhole ? std::optional(column) : std::nullopt;
  }

  Tokens m_tokens;
  SqlStructure m_structure;
};

// `text` as a column; nothing where it is an expression.
std::optional<Column> ColumnOf(const String& text) {
  const Tokens tokens = LexSql(text);
  if (tokens.size() == 2 && IsName(tokens[0])) return Column{{}, Unquoted(tokens[0])};
  if (tokens.size() == 4 && IsName(tokens[0]) && tokens[1].kind == SqlTokenKind::Dot && IsName(tokens[2]))
    return Column{Unquoted(tokens[0]), Unquoted(tokens[2])};
  return std::nullopt;
}

// --- The four reads

class Reads {
 public:
  Reads(const SortedList& list, AdoConnection& rows) : m_list(list) { ReadAnchor(rows); }

  std::vector<SortField> Fields(Integer navType) const {
    PersistedState state;
    state.NavType = navType;
    state.SortFields = m_list.sort;
    return ParseSortFields(state, m_list.keys);
  }

  varnel::PageQuery Query(Integer navType, Integer pageSize) const {
    PersistedState state;
    state.NavType = navType;
    state.SortFields = m_list.sort;
    if (state.HasKeys()) state.KeyValues = m_anchor;
    std::vector<String> branches = varnel::SplitUnionBranches(m_list.query);
    return BuildRead(branches, state, Fields(navType), {pageSize});
  }

 private:
  // The keys of a row of the first page. A list without rows has those of none.
  void ReadAnchor(AdoConnection& rows) {
    const StatementResult page =
        rows.Look(Query(varnel::nav_type::kFirst, kPageSize).text, m_list.parameters, kSeconds);
    for (const SortField& field : Fields(varnel::nav_type::kFirst)) {
      Variant key = String(u"1");
      for (std::size_t i = 0; page.columns != nullptr && i < page.columns->size(); ++i) {
        const ResultColumn& column = (*page.columns)[i];
        if (!Same(column.name, varnel::FieldKey(field.Name)) || page.rows.Rows() == 0) continue;
        key = varnel::KeyValueToText(page.rows.Value(i, page.rows.Rows() - 1), column.type);
        break;
      }
      m_anchor.push_back(std::move(key));
    }
  }

  const SortedList& m_list;
  std::vector<Variant> m_anchor;
};

// --- The index

class Adviser {
 public:
  Adviser(const SortedList& list, AdoConnection& rows, IIndexTrial& trial)
      : m_list(list), m_rows(rows), m_trial(trial), m_reads(list, rows) {}

  std::optional<IndexAdvice> Run() {
    const std::vector<String> branches = varnel::SplitUnionBranches(m_list.query);
    for (const String& branch : branches) Learn(branch);
    if (branches.size() == 1) LearnOrder(branches.front());
    IndexAdvice advice;
    advice.reads = Unserved(false);
    if (advice.reads.empty()) return std::nullopt;
    advice.createIndex = ServingIndex();
    if (advice.createIndex.empty() && IsShort() && Unserved(true).empty()) return std::nullopt;
    return advice;
  }

 private:
  // Empty where none is found.
  String ServingIndex() {
    if (m_indexed.empty()) return {};
    String create = u"CREATE INDEX " + m_index + u" ON " + m_table + u" (" + m_indexed + u")";
    if (!m_trial.Make(create)) return {};
    const bool serves = Unserved(false).empty();
    m_trial.Drop(m_index);
    return serves ? create : String();
  }

  // As the database is today.
  bool IsShort() {
    return HasFewRows(m_reads.Query(varnel::nav_type::kFirst, kFewRows + 1).text, m_list.parameters);
  }

  bool HasFewRows(const String& select, const varnel::host::StatementParameters& parameters) {
    return m_rows.Look(select, parameters, kSeconds).rows.Rows() <= kFewRows;
  }

  // A name that stands in two branches may be another table in each.
  std::vector<String> SmallSources() {
    std::vector<String> small;
    std::vector<String> large;
    for (const Source& source : m_sources) {
      const bool isSmall = HasFewRows(
          u"SELECT TOP " + varnel::DecimalText(kFewRows + 1) + u" 1 AS n FROM [" + source.table + u"]", {});
      (isSmall ? small : large).push_back(source.name);
    }
    std::erase_if(small, [&](const String& name) { return Holds(large, name); });
    return small;
  }

  // `isShort`: reading a small table and sorting are nothing to speak of.
  std::vector<String> Unserved(bool isShort) {
    const std::vector<String> small = isShort ? SmallSources() : std::vector<String>();
    std::vector<String> unserved;
    for (std::size_t i = 0; i < kReads.size(); ++i) {
      const auto navType = static_cast<Integer>(i);
      const bool isBehind = navType == varnel::nav_type::kNext || navType == varnel::nav_type::kPrevious;
      varnel::PageQuery query = m_reads.Query(navType, kPageSize);
      if (!m_trial.IsServed({std::move(query.text), m_list.parameters, isBehind, m_driver, m_equal,
                             std::move(query.page), m_driverTable, small, isShort}))
        unserved.emplace_back(kReads[i]);
    }
    return unserved;
  }

  void Learn(const String& branch) {
    const std::vector<Source> sources = QueryText(branch).Sources();
    m_sources.insert(m_sources.end(), sources.begin(), sources.end());
  }

  // The table by whose columns the list is sorted, and the index that its sort asks for.
  void LearnOrder(const String& branch) {
    const QueryText query(branch);
    const std::vector<SortField> fields = m_reads.Fields(varnel::nav_type::kFirst);
    const Source* driver = nullptr;
    for (const SortField& field : fields) {
      const auto column = ColumnOf(field.Compared());
      const Source* source = column ? SourceOf(*column) : nullptr;
      if (driver == nullptr) driver = source;
      // A key of another table orders nothing more where the sort is by a unique column of the first one.
      if (source == nullptr || source != driver) return Use(driver);
    }
    Use(driver);
    if (driver == nullptr) return;
    for (const Column& column : query.Equalities()) {
      if (SourceOf(column) == driver && !Holds(m_equal, column.name)) m_equal.push_back(column.name);
    }
    MakeIndex(*driver, fields);
  }

  void Use(const Source* driver) {
    if (driver == nullptr) return;
    m_driver = driver->name;
    m_driverTable = driver->table;
  }

  const Source* SourceOf(const Column& column) const {
    for (const Source& source : m_sources) {
      const bool isMeant = column.qualifier.empty() ? Holds(m_trial.Columns(source.table), column.name)
                                                    : Same(source.name, column.qualifier);
      if (isMeant) return &source;
    }
    return nullptr;
  }

  void MakeIndex(const Source& driver, const std::vector<SortField>& fields) {
    const bool isMixed = std::any_of(fields.begin(), fields.end(), [&](const SortField& field) {
      return field.Ascending != fields.front().Ascending;
    });
    std::vector<String> taken;
    const auto add = [&](const String& name, bool down) {
      if (Holds(taken, name)) return;
      taken.push_back(name);
      m_indexed += (m_indexed.empty() ? u"" : u", ") + Written(name) + (down ? u" DESC" : u"");
    };
    for (const String& name : m_equal) add(name, false);
    for (const SortField& field : fields) add(ColumnOf(field.Compared())->name, isMixed && !field.Ascending);
    m_table = Written(driver.table);
    m_index = NameOf(driver.table, taken);
  }

  static bool IsPlain(char16_t c) {
    return (c >= u'a' && c <= u'z') || (c >= u'A' && c <= u'Z') || (c >= u'0' && c <= u'9') || c == u'_';
  }

  static String Written(const String& name) {
    return std::all_of(name.begin(), name.end(), IsPlain) ? name : u"[" + name + u"]";
  }

  static String NameOf(const String& table, const std::vector<String>& columns) {
    String name = u"ix_" + table;
    for (const String& column : columns) name += u"_" + column;
    std::erase_if(name, [](char16_t c) { return !IsPlain(c); });
    return name.substr(0, kLongestName);
  }

  const SortedList& m_list;
  AdoConnection& m_rows;
  IIndexTrial& m_trial;
  const Reads m_reads;
  std::vector<Source> m_sources;
  String m_driver;  // by the name that FROM gives it
  String m_driverTable;
  std::vector<String> m_equal;
  String m_table;
  String m_index;
  String m_indexed;  // the columns of the index, as they are written; empty where none can be advised
};

}  // namespace

std::optional<IndexAdvice> AdviseIndex(const SortedList& list, AdoConnection& rows, IIndexTrial& trial) {
  return Adviser(list, rows, trial).Run();
}

}  // namespace hostlinux
