#include "host-linux/database/dialect/PageParts.h"

#include <algorithm>
#include <utility>

#include "host-linux/database/dialect/OperandFinder.h"

namespace hostlinux {
namespace {

using std::size_t;
using Columns = std::vector<ColumnFact>;
using varnel::host::PageKey;
using varnel::host::PageSpec;

// More would be more statements than a page is worth.
constexpr size_t kMaxKeys = 8;
// So that looking ahead needs no test.
constexpr size_t kPadding = 4;

// Functions of many rows make one row of all rows.
bool MayAggregate(const SqlTokens& tokens, SqlSpan list) {
  return HasAnyWord(tokens, list,
                    {u"COUNT", u"SUM", u"MIN", u"MAX", u"AVG", u"TOTAL", u"GROUP_CONCAT", u"OVER",
                     u"JSON_GROUP_ARRAY", u"JSON_GROUP_OBJECT"});
}

bool SameColumns(const Columns& a, const Columns& b) {
  return std::equal(a.begin(), a.end(), b.begin(), b.end(),
                    [](const ColumnFact& one, const ColumnFact& other) {
                      return one.name == other.name && one.declaredType == other.declaredType;
                    });
}

// One SELECT with nothing but FROM and WHERE, whose parentheses are those that the text has around it.
bool IsPlain(const PageBranch& branch) {
  const SqlTokens& tokens = branch.tokens;
  if (branch.structure.scopes.empty() || !IsWord(tokens[0], u"SELECT")) return false;
  const SqlScope& scope = branch.Scope();
  if (scope.begin != 0 || scope.end != branch.end || scope.isBranch) return false;
  for (const SqlClause clause :
       {SqlClause::Group, SqlClause::Having, SqlClause::Order, SqlClause::Limit, SqlClause::Set}) {
    if (!scope.Clause(clause).IsEmpty()) return false;
  }
  const SqlSpan from = scope.Clause(SqlClause::From);
  const SqlSpan where = scope.Clause(SqlClause::Where);
  if (from.IsEmpty() || where.IsEmpty() == branch.hasWhere) return false;
  if (branch.hasWhere &&
      (where.end - where.begin < 4 || branch.structure.partner[where.begin + 1] != branch.end - 1)) {
    return false;
  }
  const SqlSpan all{0, branch.end};
  return !FindTop(tokens, scope) && !IsWord(tokens[1], u"TOP") && !IsWord(tokens[2], u"TOP") &&
         !HasAnyKind(tokens, all, {SqlTokenKind::Comment, SqlTokenKind::Semicolon}) &&
         !MayAggregate(tokens, scope.Clause(SqlClause::List)) &&
         !HasAnyWord(tokens, from, {u"NATURAL", u"USING"});
}

bool IsDistinct(const PageBranch& branch) { return IsWord(branch.tokens[1], u"DISTINCT"); }

SqlTokens Padded(SqlTokens tokens) {
  tokens.resize(tokens.size() + kPadding);
  return tokens;
}

bool IsColumnNamed(const PageBranch& branch, const SelectItem& item, std::u16string_view name) {
  return IsColumn(branch.tokens, item.expression) &&
         PlainName(branch.tokens[item.expression.end - 1]) == name;
}

SqlSpan Column(const PageSortKey& key) { return {key.term.begin, key.term.name + 1}; }
bool IsQualified(const PageSortKey& key) { return key.term.begin != key.term.name; }

SqlToken NameToken(const std::u16string& name) { return LexSql(name).front(); }

}  // namespace

bool IsPlainColumn(const PageSortKey& key) { return IsColumn(key.expression, {0, key.expression.size()}); }

bool IsBareStar(const SelectItem& item) {
  return item.isStar && item.expression.end - item.expression.begin == 1;
}

bool IsOneTable(const PageBranch& branch) {
  const SqlSpan from = branch.from;
  return from.end - from.begin <= 4 &&
         std::all_of(branch.tokens.begin() + static_cast<std::ptrdiff_t>(from.begin),
                     branch.tokens.begin() + static_cast<std::ptrdiff_t>(from.end), IsNamePart);
}

std::optional<PageParts> PageParts::Read(const PageSpec& page, PageTokens tokens, IColumnFacts& facts) {
  PageParts parts(page, facts);
  if (!parts.ReadBranches(std::move(tokens.branches)) || !parts.ReadKeys(tokens.anchors)) return std::nullopt;
  if (parts.IsUnion() ? !parts.ReadPositions() : !parts.OrderIsOfKeys()) return std::nullopt;
  if (parts.IsJump() && !parts.KeepsColumns()) return std::nullopt;
  return parts;
}

bool PageParts::ReadBranches(std::vector<SqlTokens> texts) {
  for (size_t i = 0; i < m_page.branches.size(); ++i) {
    if (!m_page.branches[i].grouping.empty()) return false;
    PageBranch branch;
    branch.tokens = std::move(texts[i]);
    branch.end = branch.tokens.size() - 1;
    branch.tokens.resize(branch.tokens.size() + kPadding);
    branch.structure = ReadStructure(branch.tokens);
    branch.hasWhere = !m_page.branches[i].where.empty();
    if (!IsPlain(branch)) return false;
    branch.list = branch.Scope().Clause(SqlClause::List);
    if (IsDistinct(branch)) ++branch.list.begin;
    branch.from = branch.Scope().Clause(SqlClause::From);
    branch.items = ReadItems(branch.tokens, branch.structure.partner, branch.list);
    m_branches.push_back(std::move(branch));
  }
  return true;
}

bool PageParts::ReadKeys(const SqlTokens& anchors) {
  if (m_page.keys.empty() || m_page.keys.size() > kMaxKeys) return false;
  std::vector<bool> ways;
  ways.reserve(m_page.keys.size());
  for (const PageKey& key : m_page.keys) ways.push_back(key.ascending);
  m_order = LexSql(OrderText(ways));
  m_order.resize(m_order.size() + kPadding);
  const auto terms = ReadOrder(m_order, OrderSpan());
  if (!terms || terms->size() != m_page.keys.size()) return false;
  for (size_t i = 0; i < terms->size(); ++i) {
    if (!ReadKey(i, (*terms)[i])) return false;
    if (!m_page.behindAnchor) continue;
    m_keys[i].anchor = anchors[i];
    m_keys[i].isNull = anchors[i].kind == SqlTokenKind::End;
  }
  return true;
}

SqlSpan PageParts::OrderSpan() const { return {0, m_order.size() - kPadding - 1}; }

SqlSpan PageParts::OrderSpan(size_t key) const { return {m_keys[key].term.begin, OrderSpan().end}; }

std::u16string PageParts::OrderText(const std::vector<bool>& ways) const {
  std::u16string order;
  for (size_t i = 0; i < ways.size(); ++i) {
    order += (i == 0 ? u" ORDER BY " : u",") + m_page.keys[i].name + (ways[i] ? u" ASC" : u" DESC");
  }
  return order;
}

bool PageParts::ReadKey(size_t i, const OrderTerm& term) {
  const PageKey& source = m_page.keys[i];
  if (UpperAscii(term.direction) != (source.ascending ? u" ASC" : u" DESC")) return false;
  PageSortKey key;
  key.term = term;
  key.ascending = source.ascending;
  key.expression = LexSql(source.expression);
  const std::vector<size_t> partner = ReadStructure(Padded(key.expression)).partner;
  key.expression.pop_back();
  for (SqlToken& token : key.expression) token.literal = -1;
  const SqlSpan all{0, key.expression.size()};
  // Only one operand can be joined to others by AND.
  if (all.IsEmpty() || FindOperand(key.expression, partner, all.end) != 0 ||
      HasAnyKind(key.expression, all,
                 {SqlTokenKind::Comment, SqlTokenKind::Semicolon, SqlTokenKind::WideText,
                  SqlTokenKind::Escape, SqlTokenKind::Parameter}) ||
      HasAnyWord(key.expression, all, {u"LIKE", u"SELECT"})) {
    return false;
  }
  m_keys.push_back(std::move(key));
  return true;
}

bool PageParts::OrderIsOfKeys() const {
  return std::all_of(m_keys.begin(), m_keys.end(),
                     [&](const PageSortKey& key) { return OrderIsOf(key) && HoldsIfDistinct(First(), key); });
}

// What the ORDER BY sorts by is what the condition compares: not so where the name is the alias of something else.
bool PageParts::OrderIsOf(const PageSortKey& key) const {
  const PageBranch& branch = First();
  const std::u16string name = NameOf(key);
  const bool isColumn = Same(m_order, Column(key), key.expression);
  if (isColumn && IsQualified(key)) return true;
  if (IsQualified(key)) return false;
  size_t named = 0;
  for (const SelectItem& item : branch.items) {
    const bool hasAlias = item.alias != SqlStructure::kNone;
    if (item.expression.IsEmpty() || item.isStar) continue;
    if (PlainName(branch.tokens[hasAlias ? item.alias : item.expression.end - 1]) != name) continue;
    if (isColumn ? hasAlias && !IsColumnNamed(branch, item, name)
                 : !hasAlias || !Same(branch.tokens, item.expression, key.expression)) {
      return false;
    }
    ++named;
  }
  return isColumn || named == 1;
}

// Rows that DISTINCT takes for one must lie in one arm.
bool PageParts::HoldsIfDistinct(const PageBranch& branch, const PageSortKey& key) const {
  return !IsDistinct(branch) ||
         std::any_of(branch.items.begin(), branch.items.end(),
                     [&](const SelectItem& item) { return IsItemOf(branch, item, key); });
}

// The item is the key's expression, or a column whose name alone is the key's, which then is no other's.
bool PageParts::IsItemOf(const PageBranch& branch, const SelectItem& item, const PageSortKey& key) const {
  if (item.isStar)
    return IsBareStar(item) && branch.items.size() == 1 && IsOneTable(branch) && IsPlainColumn(key);
  return Same(branch.tokens, item.expression, key.expression) ||
         (key.expression.size() == 1 && IsPlainColumn(key) &&
          IsColumnNamed(branch, item, PlainName(key.expression[0]))) ||
         (IsPlainColumn(key) && Same(branch.tokens, item.expression, key.expression,
                                     {key.expression.size() - 1, key.expression.size()}));
}

std::u16string PageParts::NameOf(const PageSortKey& key) const { return PlainName(m_order[key.term.name]); }

std::u16string PageParts::SelectOf(const PageBranch& branch) const {
  return u"SELECT" + PrintSql(branch.tokens, branch.list.begin, branch.list.end) +
         PrintSql(branch.tokens, branch.from.begin, branch.from.end);
}

// A jump sorts by the names of its result, and a subquery may give its columns other names (two of one name).
bool PageParts::KeepsColumns() {
  const std::u16string select = SelectOf(First());
  const auto plain = m_facts.Describe(select);
  const auto inner = m_facts.Describe(u"SELECT * FROM (" + select + u") AS \"page\"");
  return plain && inner && SameColumns(*plain, *inner) &&
         std::all_of(m_keys.begin(), m_keys.end(),
                     [&](const PageSortKey& key) { return PositionOf(First(), *plain, key).has_value(); });
}

// Of each key in the result of the union, whose names are those of its first branch; in all branches it must be the
// column that the condition compares.
bool PageParts::ReadPositions() {
  if (!m_page.behindAnchor) return false;
  const auto columns = m_facts.Describe(SelectOf(First()));
  if (!columns) return false;
  for (const PageSortKey& key : m_keys) {
    const auto position = PositionOf(First(), *columns, key);
    if (!position) return false;
    for (const PageBranch& branch : m_branches) {
      const auto own = m_facts.Describe(SelectOf(branch));
      if (!own || PositionOf(branch, *own, key) != position || !HoldsIfDistinct(branch, key)) return false;
    }
    m_positions.push_back(*position);
  }
  return true;
}

// From 1: the one result column that has the key's name and is its expression.
std::optional<size_t> PageParts::PositionOf(const PageBranch& branch, const Columns& columns,
                                            const PageSortKey& key) const {
  const std::u16string name = NameOf(key);
  const auto isNamed = [&](const ColumnFact& fact) { return UpperAscii(fact.name) == name; };
  if (std::count_if(columns.begin(), columns.end(), isNamed) != 1) return std::nullopt;
  const auto position =
      static_cast<size_t>(std::find_if(columns.begin(), columns.end(), isNamed) - columns.begin());
  if (branch.items.size() == 1 && IsBareStar(branch.items[0])) {
    return IsPlainColumn(key) ? std::optional(position + 1) : std::nullopt;
  }
  const bool isAll = branch.items.size() == columns.size() &&
                     std::none_of(branch.items.begin(), branch.items.end(),
                                  [](const SelectItem& item) { return item.isStar; });
  if (!isAll || !IsItemOf(branch, branch.items[position], key)) return std::nullopt;
  return position + 1;
}

std::optional<Columns> PageParts::FactsOf(const PageBranch& branch, const PageSortKey& key) const {
  return m_facts.Describe(u"SELECT " + PrintSql(key.expression, 0, key.expression.size(), true) +
                          PrintSql(branch.tokens, branch.from.begin, branch.from.end));
}

// Not where an outer join may make it so, in a view too: the column is that of a table which FROM itself names.
bool PageParts::IsNeverNull(const PageBranch& branch, const PageSortKey& key) const {
  const FromTables from = ReadFromTables(branch.tokens, branch.structure, branch.from);
  if (from.hasOthers) return false;
  const auto facts = FactsOf(branch, key);
  if (!facts || facts->size() != 1 || !facts->front().isNotNull) return false;
  const std::u16string table = UpperAscii(facts->front().table);
  bool isNamed = false;
  for (const FromTable& each : from.tables) {
    if (PlainName(branch.tokens[each.name]) != table) continue;
    if (each.mayBeNull) return false;
    isNamed = isNamed || IsColumnOf(branch, each, key);
  }
  return isNamed;
}

// A view beside its table may have the column too, but then under another name than the table's.
bool PageParts::IsColumnOf(const PageBranch& branch, const FromTable& table, const PageSortKey& key) const {
  if (!IsPlainColumn(key)) return false;
  if (key.expression.size() == 1) {
    const auto own = m_facts.Describe(u"SELECT " + PrintSql(key.expression, 0, 1, true) + u" FROM " +
                                      branch.tokens[table.name].text);
    return own && own->size() == 1 && own->front().isNotNull;
  }
  return IsNamedAs(table, key);
}

std::u16string PageParts::TableOf(const PageSortKey& key) const {
  const auto facts = FactsOf(First(), key);
  return facts && facts->size() == 1 ? UpperAscii(facts->front().table) : std::u16string();
}

// A subquery beside the table may have its columns, too, but under another name than the table's: one without a name
// before it would be an error then.
bool PageParts::IsNamedAs(const FromTable& table, const PageSortKey& key) const {
  return key.expression.size() == 1 ||
         PlainName(key.expression[key.expression.size() - 3]) == PlainName(NameToken(table.called));
}

}  // namespace hostlinux
