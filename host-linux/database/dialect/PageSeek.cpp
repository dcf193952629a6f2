#include "host-linux/database/dialect/PageSeek.h"

#include <algorithm>

#include "host-linux/database/dialect/FromTables.h"
#include "host-linux/database/dialect/KeyLiteral.h"
#include "host-linux/database/dialect/OperandFinder.h"
#include "host-linux/database/dialect/SelectNames.h"
#include "host-linux/database/dialect/SqlRewriter.h"

namespace hostlinux {
namespace {

using Tokens = std::vector<SqlToken>;
using Columns = std::vector<ColumnFact>;
using varnel::host::PageKey;
using varnel::host::PageSpec;

// More would be more statements than a page is worth.
constexpr size_t kMaxKeys = 8;
// So that looking ahead needs no test.
constexpr size_t kPadding = 4;

struct Branch {
  Tokens tokens;
  size_t end = 0;  // of the text
  SqlStructure structure;
  SqlSpan list;
  SqlSpan from;
  bool hasWhere = false;
  std::vector<SelectItem> items;

  const SqlScope& Scope() const { return structure.scopes.front(); }
};

struct Key {
  Tokens expression;
  OrderTerm term;  // in the tokens of the order
  bool ascending = true;
  bool isNull = false;
  SqlToken anchor;
};

enum class Behind { Anything, Greater, Less, Null, NotNull, Nothing };

// Rows that are equal to the anchor in the first `same` keys, and behind it in the next one; `isRow`: in all others, which are
// compared as one row value.
struct Arm {
  size_t same = 0;
  Behind behind = Behind::Anything;
  bool isRow = false;
};

// What the rows of one statement have in a key: values of their own, the same value, NULL.
enum class Held { Free, Equal, Null };

bool HasAnyWord(const Tokens& tokens, SqlSpan span, std::initializer_list<std::u16string_view> words) {
  for (size_t i = span.begin; i < span.end; ++i) {
    for (const std::u16string_view word : words) {
      if (IsWord(tokens[i], word)) return true;
    }
  }
  return false;
}

bool HasAnyKind(const Tokens& tokens, SqlSpan span, std::initializer_list<SqlTokenKind> kinds) {
  return std::any_of(tokens.begin() + static_cast<std::ptrdiff_t>(span.begin),
                     tokens.begin() + static_cast<std::ptrdiff_t>(span.end), [&](const SqlToken& token) {
                       return std::find(kinds.begin(), kinds.end(), token.kind) != kinds.end();
                     });
}

// Functions of many rows make one row of all rows.
bool MayAggregate(const Tokens& tokens, SqlSpan list) {
  return HasAnyWord(tokens, list,
                    {u"COUNT", u"SUM", u"MIN", u"MAX", u"AVG", u"TOTAL", u"GROUP_CONCAT", u"OVER",
                     u"JSON_GROUP_ARRAY", u"JSON_GROUP_OBJECT"});
}

bool SameToken(const SqlToken& a, const SqlToken& b) {
  if (a.kind != b.kind) return false;
  return a.kind == SqlTokenKind::Word ? UpperAscii(a.text) == UpperAscii(b.text) : a.text == b.text;
}

// True if both hold the same tokens; words in any case of letters.
bool Same(const Tokens& tokens, SqlSpan span, const Tokens& other, SqlSpan otherSpan) {
  if (span.end - span.begin != otherSpan.end - otherSpan.begin) return false;
  for (size_t i = 0; i < span.end - span.begin; ++i) {
    if (!SameToken(tokens[span.begin + i], other[otherSpan.begin + i])) return false;
  }
  return true;
}
bool Same(const Tokens& tokens, SqlSpan span, const Tokens& other) {
  return Same(tokens, span, other, {0, other.size()});
}

std::u16string NumberText(std::int64_t number) {
  const std::string digits = std::to_string(number);
  return std::u16string(digits.begin(), digits.end());
}

bool SameColumns(const Columns& a, const Columns& b) {
  return std::equal(a.begin(), a.end(), b.begin(), b.end(),
                    [](const ColumnFact& one, const ColumnFact& other) {
                      return one.name == other.name && one.declaredType == other.declaredType;
                    });
}

// What a key is compared as in a row value: None where only a comparison of its own is right, or where no
// index may be met. SQLite doesn't look a row up by a name of its number, which only an INTEGER can be.
RowPart PartOf(const ColumnFact& column, std::u16string_view literal) {
  if (UpperAscii(column.declaredType) == u"INTEGER") return RowPart::None;
  const LiteralTraits traits = TraitsOf(TextValue(literal));
  const ColumnKind kind = KindOfDeclaredType(column.declaredType);
  if (kind == ColumnKind::Text) return RowPart::Text;
  const bool isWhole = kind == ColumnKind::Integer && traits.isNumeral && traits.isInteger;
  return isWhole ? RowPart::Number : RowPart::None;
}

bool IsNamePart(const SqlToken& token) {
  return token.kind == SqlTokenKind::Word || token.kind == SqlTokenKind::QuotedName;
}

// A column's name, with or without qualifiers.
bool IsColumn(const Tokens& tokens, SqlSpan span) {
  for (size_t i = span.begin; i < span.end; ++i) {
    const bool isName = (i - span.begin) % 2 == 0;
    if (isName ? !IsNamePart(tokens[i]) : tokens[i].kind != SqlTokenKind::Dot) return false;
  }
  return (span.end - span.begin) % 2 == 1;
}

// Statements are written into it.
class Writer {
 public:
  void Copy(const Tokens& tokens, SqlSpan span) {
    m_tokens.insert(m_tokens.end(), tokens.begin() + static_cast<std::ptrdiff_t>(span.begin),
                    tokens.begin() + static_cast<std::ptrdiff_t>(span.end));
  }
  void CopyBehind(std::u16string_view gap, const Tokens& tokens) {
    const size_t begin = m_tokens.size();
    Copy(tokens, {0, tokens.size()});
    m_tokens[begin].gap = gap;
  }
  void Add(std::u16string_view text) {
    Tokens tokens = LexSql(text);
    tokens.pop_back();
    for (SqlToken& token : tokens) token.literal = -1;  // none of the library's text
    Copy(tokens, {0, tokens.size()});
  }
  void AddAnchor(const SqlToken& anchor, std::u16string_view gap, RowPart part = RowPart::None) {
    m_tokens.push_back(anchor);
    m_tokens.back().gap = gap;
    m_tokens.back().isKey = true;
    m_tokens.back().rowPart = part;
  }
  const Tokens& Written() const { return m_tokens; }
  Tokens Take() {
    m_tokens.emplace_back();
    return std::move(m_tokens);
  }

 private:
  Tokens m_tokens;
};

class Seeker {
 public:
  Seeker(const PageSpec& page, PageTokens tokens, IColumnFacts& facts, const IEngineWords& words)
      : m_page(page), m_texts(std::move(tokens)), m_facts(facts), m_words(words) {}

  std::vector<PageStep> Run() {
    if (m_page.rows <= 0 || (IsJump() && (m_page.way <= 0 || IsUnion()))) return {};
    if (!ReadBranches() || !ReadKeys()) return {};
    if (IsUnion() ? !ReadPositions() : !OrderIsOfKeys()) return {};
    if (IsJump() && !KeepsColumns()) return {};
    ReadRow();
    const std::vector<Arm> arms = Arms();
    if (IsUnion() && arms.size() < 2) return {};
    for (const Arm& arm : arms) IsUnion() ? WriteUnion(arm) : WriteArm(arm);
    return std::move(m_steps);
  }

 private:
  bool IsUnion() const { return m_page.branches.size() > 1; }
  bool IsJump() const { return m_page.way != -1; }
  const Branch& First() const { return m_branches.front(); }

  // --- what can be read so

  bool ReadBranches() {
    for (size_t i = 0; i < m_page.branches.size(); ++i) {
      if (!m_page.branches[i].grouping.empty()) return false;
      Branch branch;
      branch.tokens = std::move(m_texts.branches[i]);
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

  // One SELECT with nothing but FROM and WHERE, whose parentheses are those that the text has around it.
  static bool IsPlain(const Branch& branch) {
    const Tokens& tokens = branch.tokens;
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

  static bool IsDistinct(const Branch& branch) { return IsWord(branch.tokens[1], u"DISTINCT"); }

  bool ReadKeys() {
    if (m_page.keys.empty() || m_page.keys.size() > kMaxKeys) return false;
    std::vector<bool> ways;
    ways.reserve(m_page.keys.size());
    for (const PageKey& key : m_page.keys) ways.push_back(key.ascending);
    m_order = LexSql(OrderText(ways));
    m_order.resize(m_order.size() + kPadding);
    const auto terms = ReadOrder(m_order, {0, m_order.size() - kPadding - 1});
    if (!terms || terms->size() != m_page.keys.size()) return false;
    for (size_t i = 0; i < terms->size(); ++i) {
      if (!ReadKey(i, (*terms)[i])) return false;
    }
    return true;
  }

  // `ways`: of each key, true for upward.
  std::u16string OrderText(const std::vector<bool>& ways) const {
    std::u16string order;
    for (size_t i = 0; i < ways.size(); ++i) {
      order += (i == 0 ? u" ORDER BY " : u",") + m_page.keys[i].name + (ways[i] ? u" ASC" : u" DESC");
    }
    return order;
  }

  bool ReadKey(size_t i, const OrderTerm& term) {
    const PageKey& source = m_page.keys[i];
    if (UpperAscii(term.direction) != (source.ascending ? u" ASC" : u" DESC")) return false;
    Key key;
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
    if (m_page.behindAnchor) {
      key.anchor = m_texts.anchors[i];
      key.isNull = key.anchor.kind == SqlTokenKind::End;
    }
    m_keys.push_back(std::move(key));
    return true;
  }

  static Tokens Padded(Tokens tokens) {
    tokens.resize(tokens.size() + kPadding);
    return tokens;
  }

  SqlSpan Column(const Key& key) const { return {key.term.begin, key.term.name + 1}; }
  bool IsQualified(const Key& key) const { return key.term.begin != key.term.name; }
  std::u16string NameOf(const Key& key) const { return PlainName(m_order[key.term.name]); }

  // --- the order

  bool OrderIsOfKeys() const {
    return std::all_of(m_keys.begin(), m_keys.end(),
                       [&](const Key& key) { return OrderIsOf(key) && HoldsIfDistinct(First(), key); });
  }

  // What the ORDER BY sorts by is what the condition compares: not so where the name is the alias of something else.
  bool OrderIsOf(const Key& key) const {
    const Branch& branch = First();
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

  static bool IsColumnNamed(const Branch& branch, const SelectItem& item, std::u16string_view name) {
    return IsColumn(branch.tokens, item.expression) &&
           PlainName(branch.tokens[item.expression.end - 1]) == name;
  }

  // Rows that DISTINCT takes for one must lie in one arm.
  bool HoldsIfDistinct(const Branch& branch, const Key& key) const {
    return !IsDistinct(branch) ||
           std::any_of(branch.items.begin(), branch.items.end(),
                       [&](const SelectItem& item) { return IsItemOf(branch, item, key); });
  }

  // The item is the key's expression, or a column whose name alone is the key's, which then is no other's.
  bool IsItemOf(const Branch& branch, const SelectItem& item, const Key& key) const {
    if (item.isStar)
      return IsBareStar(item) && branch.items.size() == 1 && IsOneTable(branch) && IsPlainColumn(key);
    return Same(branch.tokens, item.expression, key.expression) ||
           (key.expression.size() == 1 && IsPlainColumn(key) &&
            IsColumnNamed(branch, item, PlainName(key.expression[0]))) ||
           (IsPlainColumn(key) && Same(branch.tokens, item.expression, key.expression,
                                       {key.expression.size() - 1, key.expression.size()}));
  }

  static bool IsPlainColumn(const Key& key) { return IsColumn(key.expression, {0, key.expression.size()}); }
  static bool IsBareStar(const SelectItem& item) {
    return item.isStar && item.expression.end - item.expression.begin == 1;
  }

  // FROM and a name, perhaps with another one behind it.
  static bool IsOneTable(const Branch& branch) {
    const SqlSpan from = branch.from;
    return from.end - from.begin <= 4 &&
           std::all_of(branch.tokens.begin() + static_cast<std::ptrdiff_t>(from.begin),
                       branch.tokens.begin() + static_cast<std::ptrdiff_t>(from.end), IsNamePart);
  }

  // --- columns of the result

  std::u16string SelectOf(const Branch& branch) const {
    return u"SELECT" + PrintSql(branch.tokens, branch.list.begin, branch.list.end) +
           PrintSql(branch.tokens, branch.from.begin, branch.from.end);
  }

  // A jump sorts by the names of its result, and a subquery may give its columns other names (two of one name).
  bool KeepsColumns() {
    const std::u16string select = SelectOf(First());
    const auto plain = m_facts.Describe(select);
    const auto inner = m_facts.Describe(u"SELECT * FROM (" + select + u") AS \"page\"");
    return plain && inner && SameColumns(*plain, *inner) &&
           std::all_of(m_keys.begin(), m_keys.end(),
                       [&](const Key& key) { return PositionOf(First(), *plain, key).has_value(); });
  }

  // Of each key in the result of the union, whose names are those of its first branch; in all branches it must be the
  // column that the condition compares.
  bool ReadPositions() {
    if (!m_page.behindAnchor) return false;
    const auto columns = m_facts.Describe(SelectOf(First()));
    if (!columns) return false;
    for (const Key& key : m_keys) {
      const auto position = PositionOf(First(), *columns, key);
      if (!position) return false;
      for (const Branch& branch : m_branches) {
        const auto own = m_facts.Describe(SelectOf(branch));
        if (!own || PositionOf(branch, *own, key) != position || !HoldsIfDistinct(branch, key)) return false;
      }
      m_positions.push_back(*position);
    }
    return true;
  }

  // From 1: the one result column that has the key's name and is its expression.
  std::optional<size_t> PositionOf(const Branch& branch, const Columns& columns, const Key& key) const {
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

  std::optional<Columns> FactsOf(const Branch& branch, const Key& key) const {
    return m_facts.Describe(u"SELECT " + PrintSql(key.expression, 0, key.expression.size(), true) +
                            PrintSql(branch.tokens, branch.from.begin, branch.from.end));
  }

  // Not where an outer join may make it so, in a view too: the column is that of a table which FROM itself names.
  bool IsNeverNull(const Branch& branch, const Key& key) const {
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
  bool IsColumnOf(const Branch& branch, const FromTable& table, const Key& key) const {
    if (!IsPlainColumn(key)) return false;
    if (key.expression.size() == 1) {
      const auto own = m_facts.Describe(u"SELECT " + PrintSql(key.expression, 0, 1, true) + u" FROM " +
                                        branch.tokens[table.name].text);
      return own && own->size() == 1 && own->front().isNotNull;
    }
    return IsNamedAs(table, key);
  }

  static SqlToken NameToken(const std::u16string& name) { return LexSql(name).front(); }

  // --- a row value

  // The keys at the end of the order that can be compared as one row.
  void ReadRow() {
    m_rowBegin = m_keys.size();
    if (!m_words.SeeksRows() || IsUnion() || !m_page.behindAnchor || !IsOneTable(First())) return;
    m_rowParts.resize(m_keys.size(), RowPart::None);
    while (m_rowBegin > 0 && IsRowPart(m_rowBegin - 1)) {
      --m_rowBegin;
      // Its NULLs lie behind all of the row, so that those of a key behind it would lie within.
      if (MayHaveNullsBehind(m_keys[m_rowBegin])) break;
    }
    if (m_keys.size() - m_rowBegin < 2) m_rowBegin = m_keys.size();
  }

  bool IsRowPart(size_t i) {
    const Key& key = m_keys[i];
    if (key.isNull || key.ascending != m_keys.back().ascending) return false;
    if (i + 1 == m_keys.size() && MayHaveNullsBehind(key)) return false;
    const auto facts = FactsOf(First(), key);
    if (!facts || facts->size() != 1) return false;
    m_rowParts[i] = PartOf(facts->front(), key.anchor.text);
    return m_rowParts[i] != RowPart::None;
  }

  bool MayHaveNullsBehind(const Key& key) const { return !key.ascending && !IsNeverNull(First(), key); }

  // The first `inFront` keys are those of a walk's front.
  void WriteRow(Writer& writer, size_t inFront = 0) const {
    writer.Add(u" (");
    for (size_t i = m_rowBegin; i < m_keys.size(); ++i) {
      if (i > m_rowBegin) writer.Add(u",");
      const std::u16string_view gap = i == m_rowBegin ? u"" : u" ";
      if (i < inFront)
        writer.Add(std::u16string(gap) + NameInFront(i));
      else
        writer.CopyBehind(gap, m_keys[i].expression);
    }
    writer.Add(m_keys.back().ascending ? u") > (" : u") < (");
    for (size_t i = m_rowBegin; i < m_keys.size(); ++i) {
      if (i > m_rowBegin) writer.Add(u",");
      writer.AddAnchor(m_keys[i].anchor, i == m_rowBegin ? u"" : u" ", m_rowParts[i]);
    }
    writer.Add(u")");
  }

  // --- the arms

  std::vector<Arm> Arms() const {
    if (!m_page.behindAnchor) return {Arm{}};
    std::vector<Arm> arms;
    if (m_rowBegin < m_keys.size()) AddRowArms(arms);
    for (size_t level = m_rowBegin; level-- > 0;) {
      const Key& key = m_keys[level];
      if (key.ascending) {
        arms.push_back({level, key.isNull ? Behind::NotNull : Behind::Greater});
      } else if (!key.isNull) {
        arms.push_back({level, Behind::Less});
        if (IsUnion() || !IsNeverNull(First(), key)) arms.push_back({level, Behind::Null});
      }
    }
    // Behind a NULL in all keys that are read downward lies nothing.
    if (arms.empty()) arms.push_back({0, Behind::Nothing});
    return arms;
  }

  void AddRowArms(std::vector<Arm>& o_arms) const {
    const Key& first = m_keys[m_rowBegin];
    o_arms.push_back({m_rowBegin, first.ascending ? Behind::Greater : Behind::Less, true});
    if (MayHaveNullsBehind(first)) o_arms.push_back({m_rowBegin, Behind::Null});
  }

  std::u16string TextOf(const Branch& branch, const Key& key, Behind behind) const {
    switch (behind) {
      case Behind::Greater:
        return u" > ";
      case Behind::Less:
        return u" < ";
      case Behind::Null:
        return u" is null";
      default: {
        const auto facts = FactsOf(branch, key);
        const bool isOne = facts && facts->size() == 1;
        return m_words.PastNulls(isOne ? KindOfDeclaredType(facts->front().declaredType)
                                       : ColumnKind::Unknown);
      }
    }
  }

  void WriteSelect(Writer& writer, const Branch& branch, const Arm& arm) const {
    writer.Copy(branch.tokens, {0, branch.end});
    WriteCondition(writer, branch, arm);
  }

  // Behind the branch's own condition, if it has one.
  void WriteCondition(Writer& writer, const Branch& branch, const Arm& arm) const {
    if (arm.behind == Behind::Anything) return;
    writer.Add(branch.hasWhere ? u" AND" : u" WHERE");
    if (arm.behind == Behind::Nothing) return writer.Add(u" 0=1");
    for (size_t i = 0; i < arm.same; ++i) {
      writer.CopyBehind(u" ", m_keys[i].expression);
      writer.Add(m_keys[i].isNull ? u" is null" : u" =");
      if (!m_keys[i].isNull) writer.AddAnchor(m_keys[i].anchor, u" ");
      writer.Add(u" and");
    }
    if (arm.isRow) return WriteRow(writer);
    const Key& key = m_keys[arm.same];
    writer.CopyBehind(u" ", key.expression);
    writer.Add(TextOf(branch, key, arm.behind));
    if (arm.behind == Behind::Greater || arm.behind == Behind::Less) writer.AddAnchor(key.anchor, u" ");
  }

  void WriteArm(const Arm& arm) {
    const SortWork work = IsRandom() ? SortWork::Nothing : WorkOf(arm);
    if (const std::optional<size_t> lead = LeadOf(arm); lead && work == SortWork::Groups)
      return WriteLeads(arm, m_keys[*lead]);
    Writer writer;
    WriteSelect(writer, First(), arm);
    Close(std::move(writer), HeldIn(arm));
    if (work == SortWork::Everything) AddWalk(arm);
  }

  // No two reads are alike.
  bool IsRandom() const { return HasAnyWord(First().tokens, {0, First().end}, {u"RANDOM", u"RANDOMBLOB"}); }

  SortWork WorkOf(const Arm& arm) const {
    if (!LeadOf(arm) && !MayWalk(arm)) return SortWork::Nothing;
    Writer writer;
    WriteSelect(writer, First(), arm);
    WriteEnd(writer);
    return WorkOf(writer.Written());
  }
  SortWork WorkOf(const Tokens& tokens) const {
    return m_facts.SortsFor(PrintSql(tokens, 0, tokens.size(), true)).value_or(SortWork::Nothing);
  }

  // The key by which rows are grouped that the engine may sort group by group: keys from there on go both ways.
  std::optional<size_t> LeadOf(const Arm& arm) const {
    const size_t free = arm.behind == Behind::Null ? arm.same + 1 : arm.same;
    if (free >= m_keys.size()) return std::nullopt;
    const bool isMixed = std::any_of(m_keys.begin() + static_cast<std::ptrdiff_t>(free), m_keys.end(),
                                     [&](const Key& key) { return key.ascending != m_keys[free].ascending; });
    return isMixed ? std::optional(free) : std::nullopt;
  }

  // The rows of an arm by their value of `lead`: NULLs, which have an order of their own, the nearest value, what lies
  // behind it.
  void WriteLeads(const Arm& arm, const Key& lead) {
    const bool isOpen = arm.behind == Behind::Anything || arm.behind == Behind::Null;
    const bool mayBeNull = isOpen && !IsNeverNull(First(), lead);
    if (mayBeNull && lead.ascending) WriteNulls(arm, lead);
    WriteNearest(arm, lead, mayBeNull, Held::Equal);
    WriteNearest(arm, lead, mayBeNull, Held::Free);
    if (mayBeNull && !lead.ascending) WriteNulls(arm, lead);
  }

  // What the rows of `arm` have in each key, and `held` in that of `lead`.
  std::vector<Held> HeldIn(const Arm& arm) const {
    std::vector<Held> all(m_keys.size(), Held::Free);
    for (size_t i = 0; i < arm.same; ++i) all[i] = m_keys[i].isNull ? Held::Null : Held::Equal;
    if (arm.behind == Behind::Null) all[arm.same] = Held::Null;
    return all;
  }
  std::vector<Held> HeldIn(const Arm& arm, const Key& lead, Held held) const {
    std::vector<Held> all = HeldIn(arm);
    all[static_cast<size_t>(&lead - m_keys.data())] = held;
    return all;
  }

  void WriteNulls(const Arm& arm, const Key& lead) {
    Writer writer;
    WriteSelect(writer, First(), arm);
    WriteAnd(writer, arm);
    writer.CopyBehind(u" ", lead.expression);
    writer.Add(u" is null");
    Close(std::move(writer), HeldIn(arm, lead, Held::Null));
  }

  // The rows of the nearest value, or those behind it.
  void WriteNearest(const Arm& arm, const Key& lead, bool mayBeNull, Held held) {
    Writer writer;
    WriteSelect(writer, First(), arm);
    WriteAnd(writer, arm);
    writer.CopyBehind(u" ", lead.expression);
    writer.Add(held == Held::Equal ? u" =" : lead.ascending ? u" >" : u" <");
    writer.Add(u" (SELECT");
    writer.CopyBehind(u" ", lead.expression);
    writer.Copy(First().tokens, {First().from.begin, First().end});
    WriteCondition(writer, First(), arm);
    if (mayBeNull) {
      WriteAnd(writer, arm);
      writer.CopyBehind(u" ", lead.expression);
      writer.Add(TextOf(First(), lead, Behind::NotNull));
    }
    const std::u16string_view way = lead.ascending ? u" ASC" : u" DESC";
    writer.Add(u" ORDER BY");
    WriteNullsAlike(writer, arm, way);
    writer.CopyBehind(u" ", lead.expression);
    writer.Add(way);
    writer.Add(u" LIMIT 1)");
    Close(std::move(writer), HeldIn(arm, lead, held));
  }

  // The keys that are NULL, in front of the one that is sorted by.
  void WriteNullsAlike(Writer& writer, const Arm& arm, std::u16string_view way) const {
    if (m_words.KnowsNullsAlike()) return;
    const std::vector<Held> held = HeldIn(arm);
    for (size_t i = 0; i < held.size(); ++i) {
      if (held[i] != Held::Null) continue;
      writer.CopyBehind(u" ", m_keys[i].expression);
      writer.Add(way);
      writer.Add(u",");
    }
  }

  // Behind the condition of the query and of the arm.
  void WriteAnd(Writer& writer, const Arm& arm) const {
    writer.Add(First().hasWhere || arm.behind != Behind::Anything ? u" and" : u" WHERE");
  }

  // --- a walk through the order

  // Along the first sort column, wherever it begins.
  bool MayWalk(const Arm& arm) const {
    return arm.same == 0 && arm.behind != Behind::Null && arm.behind != Behind::Nothing && First().hasWhere &&
           IsPlainColumn(m_keys[0]);
  }

  // The table of the first sort column, as FROM names it.
  std::optional<FromTable> WalkedTable() const {
    const Branch& branch = First();
    const std::u16string name = TableOf(m_keys[0]);
    if (name.empty()) return std::nullopt;
    if (HasAnyWord(branch.tokens, branch.from, {u"RIGHT", u"FULL", u"INDEXED"})) return std::nullopt;
    std::optional<FromTable> found;
    for (const FromTable& table : ReadFromTables(branch.tokens, branch.structure, branch.from).tables) {
      if (PlainName(branch.tokens[table.name]) != name) continue;
      if (found) return std::nullopt;  // twice: which one it is, only the engine knows
      if (table.mayBeNull) return std::nullopt;
      found = table;
    }
    return found && IsNamedAs(*found, m_keys[0]) ? found : std::nullopt;
  }

  // The table whose column the key is, as PlainName; empty where it is none.
  std::u16string TableOf(const Key& key) const {
    const auto facts = FactsOf(First(), key);
    return facts && facts->size() == 1 ? UpperAscii(facts->front().table) : std::u16string();
  }

  // A subquery beside the table may have its columns, too, but under another name than the table's: one without a name
  // before it would be an error then.
  bool IsNamedAs(const FromTable& table, const Key& key) const {
    return key.expression.size() == 1 ||
           PlainName(key.expression[key.expression.size() - 3]) == PlainName(NameToken(table.called));
  }

  // How many of the keys the table in front has: its columns, up to the first one of another.
  size_t KeysInFront(const FromTable& table) const {
    const std::u16string name = TableOf(m_keys[0]);
    size_t count = 1;
    while (count < m_keys.size() && IsPlainColumn(m_keys[count]) && TableOf(m_keys[count]) == name &&
           IsNamedAs(table, m_keys[count]))
      ++count;
    return count;
  }

  static std::u16string NameInFront(size_t key) {
    return key == 0 ? u"\"page key\""
                    : u"\"page key " + NumberText(static_cast<std::int64_t>(key + 1)) + u"\"";
  }

  // The statement is the last one that was written.
  void AddWalk(const Arm& arm) {
    if (!MayWalk(arm)) return;
    const std::optional<FromTable> table = WalkedTable();
    if (!table || (HasBareStar() && !IsOneTable(First()))) return;
    Writer writer;
    WriteWalk(writer, arm, *table);
    if (m_facts.Describe(PrintSql(writer.Written(), 0, writer.Written().size(), true)) &&
        WorkOf(writer.Written()) != SortWork::Everything) {
      m_steps.back().walk = writer.Take();
    }
  }

  bool HasBareStar() const { return std::any_of(First().items.begin(), First().items.end(), IsBareStar); }

  void WriteWalk(Writer& writer, const Arm& arm, const FromTable& table) const {
    const Branch& branch = First();
    const Key& key = m_keys[0];
    const size_t inFront = KeysInFront(table);
    writer.Copy(branch.tokens, {0, branch.list.begin});
    if (HasBareStar()) writer.Add(u" " + table.called + u".");
    writer.Copy(branch.tokens, branch.list);
    writer.Add(u" FROM (SELECT _rowid_ AS \"page row\"");
    for (size_t i = 0; i < inFront; ++i) {
      writer.Add(u",");
      writer.CopyBehind(u" ", {m_keys[i].expression.back()});
      writer.Add(u" AS " + NameInFront(i));
    }
    writer.Add(u" FROM");
    writer.CopyBehind(u" ", {branch.tokens[table.name]});
    writer.Add(u") AS \"page\" CROSS JOIN");
    writer.Copy(branch.tokens, {branch.from.begin + 1, branch.from.end});
    writer.Add(u" WHERE " + table.called + u"._rowid_ = +\"page row\" AND");
    writer.Copy(branch.tokens, {branch.Scope().Clause(SqlClause::Where).begin + 1, branch.end});
    if (arm.isRow) {
      writer.Add(u" AND");
      WriteRow(writer, inFront);
    } else if (arm.behind != Behind::Anything) {
      writer.Add(u" AND \"page key\"" + TextOf(branch, key, arm.behind));
      if (arm.behind == Behind::Greater || arm.behind == Behind::Less) writer.AddAnchor(key.anchor, u" ");
    }
    writer.Add(u" ORDER BY");
    for (size_t i = 0; i < inFront; ++i)
      writer.Add((i == 0 ? u" " : u", ") + NameInFront(i) + (m_keys[i].ascending ? u" ASC" : u" DESC"));
    if (inFront < m_keys.size()) {
      writer.Add(u",");
      writer.Copy(m_order, {m_keys[inFront].term.begin, m_order.size() - kPadding - 1});
    }
    WriteLimit(writer);
  }

  void WriteUnion(const Arm& arm) {
    std::u16string order;
    for (size_t i = 0; i < m_keys.size(); ++i) {
      order += (i == 0 ? u" ORDER BY " : u",") + NumberText(static_cast<std::int64_t>(m_positions[i])) +
               (m_keys[i].ascending ? u" ASC" : u" DESC");
    }
    order += u" LIMIT " + NumberText(m_page.rows);
    Writer writer;
    for (const Branch& branch : m_branches) {
      const std::u16string_view open = m_words.WrapsBranches() ? u"SELECT * FROM (" : u"(";
      writer.Add((&branch == &First() ? u"" : u" UNION ") + std::u16string(open));
      WriteSelect(writer, branch, arm);
      writer.Add(order + u")");
    }
    writer.Add(order);
    m_steps.push_back({writer.Take(), {}});
  }

  void WriteEnd(Writer& writer) const {
    writer.Copy(m_order, {0, m_order.size() - kPadding - 1});
    WriteLimit(writer);
  }
  void WriteLimit(Writer& writer) const {
    writer.Add(u" LIMIT " + NumberText(IsJump() ? m_page.way : m_page.rows));
  }
  void Close(Writer writer, const std::vector<Held>& held) {
    Writer turned = writer;
    WriteEnd(writer);
    const std::u16string order = NullsTurned(held);
    if (order.empty() || IsReadInOrder(writer.Written())) return AddStep(std::move(writer));
    turned.Add(order);
    WriteLimit(turned);
    AddStep(std::move(turned));
  }
  void AddStep(Writer writer) { m_steps.push_back({writer.Take(), {}}); }

  // The order in which keys that are NULL go the way of the next one that isn't held, if that is another one.
  std::u16string NullsTurned(const std::vector<Held>& held) const {
    if (m_words.KnowsNullsAlike()) return {};
    std::vector<bool> ways(m_keys.size());
    std::optional<bool> next;
    bool isOther = false;
    for (size_t i = m_keys.size(); i-- > 0;) {
      ways[i] = held[i] == Held::Null ? next.value_or(m_keys[i].ascending) : m_keys[i].ascending;
      isOther = isOther || ways[i] != m_keys[i].ascending;
      if (held[i] == Held::Free) next = ways[i];
    }
    return isOther ? OrderText(ways) : std::u16string();
  }

  // The values of a text's own parameters aren't known here.
  bool IsReadInOrder(Tokens tokens) const {
    if (HasAnyKind(tokens, {0, tokens.size()}, {SqlTokenKind::Parameter})) return false;
    tokens.resize(tokens.size() + 1 + kPadding);
    RewriteStatement(tokens, m_facts, m_words, {}, nullptr);
    return m_facts.ReadsInOrder(PrintSql(tokens, 0, tokens.size(), true));
  }

  const PageSpec& m_page;
  PageTokens m_texts;
  IColumnFacts& m_facts;
  const IEngineWords& m_words;
  std::vector<Branch> m_branches;
  Tokens m_order;  // ORDER BY and its terms
  std::vector<Key> m_keys;
  std::vector<size_t> m_positions;
  size_t m_rowBegin = 0;  // the first one of the keys of the row value; behind the last one: there is none
  std::vector<RowPart> m_rowParts;
  std::vector<PageStep> m_steps;
};

}  // namespace

std::vector<PageStep> SeekPage(const PageSpec& page, PageTokens tokens, IColumnFacts& facts,
                               const IEngineWords& words) {
  return Seeker(page, std::move(tokens), facts, words).Run();
}

}  // namespace hostlinux
