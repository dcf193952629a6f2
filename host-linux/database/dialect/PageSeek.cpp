#include "host-linux/database/dialect/PageSeek.h"

#include <algorithm>
#include <array>

#include "host-linux/database/dialect/KeyLiteral.h"
#include "host-linux/database/dialect/KeysetPredicate.h"
#include "host-linux/database/dialect/SelectNames.h"

namespace hostlinux {
namespace {

using Tokens = std::vector<SqlToken>;
using Columns = std::vector<ColumnFact>;

// A read that can be written in arms.
struct Seek {
  SqlSpan span;       // the SELECT
  SqlSpan condition;  // of the keys
  std::vector<PageKey> keys;
  SelectTop top;             // the number of rows
  std::u16string order;      // of the arms together, by position
  std::u16string inOrder;    // to be added to each arm; empty where it has an ORDER BY of its own
  std::u16string counted;    // the name of a column, to count rows by
  std::vector<RowPart> row;  // what each key is compared as in a row value; empty: in arms
  SqlSpan lead;              // of a first page: the leading sort column
  bool leadAscending = true;
};

// The condition of an arm, piece by piece.
struct Piece {
  SqlSpan span;
  std::u16string text;  // behind it
};
using Arm = std::vector<Piece>;

bool HasAnyWord(const Tokens& tokens, SqlSpan span, std::initializer_list<std::u16string_view> words) {
  for (size_t i = span.begin; i < span.end; ++i) {
    for (const std::u16string_view word : words) {
      if (IsWord(tokens[i], word)) return true;
    }
  }
  return false;
}

// Functions of many rows make one row of all rows.
bool MayAggregate(const Tokens& tokens, SqlSpan list) {
  return HasAnyWord(tokens, list,
                    {u"COUNT", u"SUM", u"MIN", u"MAX", u"AVG", u"TOTAL", u"GROUP_CONCAT", u"OVER",
                     u"JSON_GROUP_ARRAY", u"JSON_GROUP_OBJECT"});
}

std::u16string NumberText(size_t number) {
  const std::string digits = std::to_string(number);
  return std::u16string(digits.begin(), digits.end());
}

// A count without a column would be a read of a whole table to what guards the tables.
std::u16string QuotedName(std::u16string_view name) {
  std::u16string quoted = u"\"";
  for (const char16_t c : name) quoted.append(c == u'"' ? 2 : 1, c);
  return quoted + u"\"";
}

std::u16string Name(const ColumnFact& fact) { return UpperAscii(fact.name); }

bool SameColumns(const Columns& a, const Columns& b) {
  return std::equal(a.begin(), a.end(), b.begin(), b.end(),
                    [](const ColumnFact& one, const ColumnFact& other) {
                      return one.name == other.name && one.declaredType == other.declaredType;
                    });
}

// The lowest value of a column that is no NULL: only against a value can an index pass over the NULLs.
std::u16string LowestOf(const Columns& column) {
  const ColumnKind kind =
      column.size() == 1 ? KindOfDeclaredType(column[0].declaredType) : ColumnKind::Unknown;
  if (kind == ColumnKind::Unknown || kind == ColumnKind::Blob) return {};
  return kind == ColumnKind::Text ? u" >= ''" : u" >= -9e999";
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

class Seeker {
 public:
  Seeker(Tokens tokens, IColumnFacts& facts)
      : m_tokens(std::move(tokens)), m_facts(facts), m_structure(ReadStructure(m_tokens)) {}

  Tokens Run() {
    for (size_t i = 0; i < m_structure.scopes.size(); ++i) Look(i);
    for (const SqlCompound& compound : m_structure.compounds) KeepAllOrNone(compound);
    if (m_seeks.empty()) return std::move(m_tokens);
    size_t done = 0;
    for (const Seek& seek : m_seeks) {
      if (seek.span.begin < done) continue;
      Copy({done, seek.span.begin});
      Write(seek);
      done = seek.span.end;
    }
    Copy({done, m_tokens.size()});
    return std::move(m_result);
  }

 private:
  // --- what can be written in arms

  void Look(size_t index) {
    const SqlScope& scope = m_structure.scopes[index];
    const std::optional<SelectTop> top = FindTop(m_tokens, scope);
    if (!top || !IsPlain(scope)) return;
    Seek seek{{scope.begin, scope.end}, {}, {}, *top, {}, {}, {}, {}, {}, true};
    if (HasKeys(scope, seek) ? LookBehindKeys(index, seek) : LookAtFirst(index, seek)) {
      m_seeks.push_back(std::move(seek));
    }
  }

  bool HasKeys(const SqlScope& scope, Seek& seek) const {
    const SqlSpan where = scope.Clause(SqlClause::Where);
    if (where.IsEmpty()) return false;
    seek.condition = ConditionIn(where);
    std::optional<std::vector<PageKey>> keys =
        ReadKeysetPredicate(m_tokens, m_structure.partner, seek.condition);
    if (!keys) return false;
    seek.keys = std::move(*keys);
    return true;
  }

  bool LookBehindKeys(size_t index, Seek& seek) {
    const SqlScope& scope = m_structure.scopes[index];
    if (ArmsOf(scope, seek.keys).size() < 2) return false;
    seek.row = RowOf(scope, seek.keys);
    return !seek.row.empty() || Order(index, seek.top.span.end, seek);
  }

  bool IsPlain(const SqlScope& scope) const {
    if (!scope.Clause(SqlClause::Group).IsEmpty() || !scope.Clause(SqlClause::Having).IsEmpty() ||
        !scope.Clause(SqlClause::Limit).IsEmpty() || scope.Clause(SqlClause::From).IsEmpty()) {
      return false;
    }
    const bool hasComment = std::any_of(At(scope.begin), At(scope.end), [](const SqlToken& token) {
      return token.kind == SqlTokenKind::Comment;
    });
    return !hasComment && !MayAggregate(m_tokens, scope.Clause(SqlClause::List)) &&
           !HasAnyWord(m_tokens, scope.Clause(SqlClause::From), {u"NATURAL", u"USING"});
  }

  Tokens::const_iterator At(size_t i) const { return m_tokens.begin() + static_cast<std::ptrdiff_t>(i); }

  // Behind `WHERE (w) AND`, or behind WHERE.
  SqlSpan ConditionIn(SqlSpan where) const {
    const size_t first = where.begin + 1;
    const size_t close = m_structure.partner[first];
    const bool both = m_tokens[first].kind == SqlTokenKind::Open && close != SqlStructure::kNone &&
                      close + 1 < where.end && IsWord(m_tokens[close + 1], u"AND");
    return {both ? close + 2 : first, where.end};
  }

  // The order of a union is handed to those of its branches that are SELECTs; arms are none any more.
  void KeepAllOrNone(const SqlCompound& compound) {
    const auto isOf = [&](const Seek& seek) {
      return !seek.inOrder.empty() &&
             std::any_of(compound.branches.begin(), compound.branches.end(), [&](const SqlBranch& branch) {
               return branch.span.begin < seek.span.begin && seek.span.end < branch.span.end;
             });
    };
    const auto count = static_cast<size_t>(std::count_if(m_seeks.begin(), m_seeks.end(), isOf));
    if (count != compound.branches.size()) std::erase_if(m_seeks, isOf);
  }

  // --- first pages

  bool LookAtFirst(size_t index, Seek& seek) {
    const SqlScope& scope = m_structure.scopes[index];
    const SqlSpan order = scope.Clause(SqlClause::Order);
    if (order.IsEmpty() || scope.begin != m_structure.withEnd || !m_structure.compounds.empty()) return false;
    if (HasAnyWord(m_tokens, seek.span, {u"RANDOM", u"RANDOMBLOB"})) return false;  // no two reads are alike
    const auto terms = ReadOrder(m_tokens, order);
    if (!terms || !IsMixed(*terms) || !Order(index, seek.top.span.end, seek)) return false;
    const OrderTerm& first = terms->front();
    seek.leadAscending = IsAscending(first);
    const SqlSpan list{seek.top.span.end, scope.Clause(SqlClause::List).end};
    for (const SelectItem& item : ReadItems(m_tokens, m_structure.partner, list)) {
      if (IsBareStar(item)) seek.lead = {first.begin, first.name + 1};
      if (Means(item, {first.begin, first.name + 1})) seek.lead = item.expression;
    }
    if (seek.lead.IsEmpty()) return false;
    const std::u16string select =
        Print({scope.begin, seek.top.span.begin}) + Print({seek.top.span.end, scope.end});
    return m_facts.SortsInPart(Prefix() + select + u" LIMIT " + RowsOf(seek));
  }

  static bool IsAscending(const OrderTerm& term) { return UpperAscii(term.direction) != u" DESC"; }

  static bool IsMixed(const std::vector<OrderTerm>& terms) {
    return std::any_of(terms.begin(), terms.end(), [&](const OrderTerm& term) {
      return IsAscending(term) != IsAscending(terms.front());
    });
  }

  // --- row values

  // Empty where the keys can't be compared as one row.
  std::vector<RowPart> RowOf(const SqlScope& scope, const std::vector<PageKey>& keys) const {
    const bool upward = std::all_of(keys.begin(), keys.end(),
                                    [](const PageKey& key) { return key.ascending && !key.IsNull(); });
    if (!upward || !IsOneTable(scope) || scope.Clause(SqlClause::Order).IsEmpty()) return {};
    std::vector<RowPart> row;
    for (const PageKey& key : keys) {
      const auto facts = FactsOf(scope, key);
      if (!facts || facts->size() != 1 || m_tokens[key.literal].kind != SqlTokenKind::Text) return {};
      row.push_back(PartOf(facts->front(), m_tokens[key.literal].text));
      if (row.back() == RowPart::None) return {};
    }
    return row;
  }

  // FROM and a name, perhaps with another one behind it.
  bool IsOneTable(const SqlScope& scope) const {
    const SqlSpan from = scope.Clause(SqlClause::From);
    return from.end - from.begin <= 4 && std::all_of(At(from.begin), At(from.end), [](const SqlToken& token) {
             return token.kind == SqlTokenKind::Word || token.kind == SqlTokenKind::QuotedName;
           });
  }

  std::optional<Columns> FactsOf(const SqlScope& scope, const PageKey& key) const {
    const std::u16string column = PrintSql(m_tokens, key.expression.begin, key.expression.end, true);
    return m_facts.Describe(Prefix() + u"SELECT " + column + Print(scope.Clause(SqlClause::From)));
  }

  // --- the order

  // Finds the order of the arms together: false where a column of it isn't surely in the result.
  bool Order(size_t index, size_t list, Seek& seek) {
    const SqlScope& scope = m_structure.scopes[index];
    const SqlSpan own = scope.Clause(SqlClause::Order);
    const SqlCompound* compound = own.IsEmpty() ? CompoundOf(static_cast<int>(index)) : nullptr;
    if (own.IsEmpty() && compound == nullptr) return false;
    const auto terms = ReadOrder(m_tokens, own.IsEmpty() ? compound->order : own);
    if (!terms || (!seek.keys.empty() && terms->size() != seek.keys.size())) return false;
    // The names of a union are those of its first branch.
    const SqlScope& named = compound == nullptr ? scope : Scope(compound->branches.front().scope);
    const std::optional<SelectTop> namedTop = FindTop(m_tokens, named);
    if (!namedTop) return false;
    const SqlSpan items{compound == nullptr ? list : namedTop->span.end, named.Clause(SqlClause::List).end};
    const std::optional<Columns> columns = ColumnsOf(named, items);
    if (!columns || !KeepsColumns(scope, {list, scope.Clause(SqlClause::List).end}, seek)) return false;
    for (const OrderTerm& term : *terms) {
      const std::optional<size_t> position = PositionOf(term, items, *columns);
      if (!position) return false;
      seek.order += (seek.order.empty() ? u" ORDER BY " : u",") + NumberText(*position) + term.direction;
    }
    if (compound != nullptr) seek.inOrder = seek.order;
    return !IsDistinct(scope) || HoldsAllKeys(seek, {list, scope.Clause(SqlClause::List).end});
  }

  const SqlScope& Scope(int index) const { return m_structure.scopes[static_cast<size_t>(index)]; }

  // The union with an order in which the SELECT stands as a branch in parentheses.
  const SqlCompound* CompoundOf(int scope) const {
    for (const SqlCompound& compound : m_structure.compounds) {
      if (compound.order.IsEmpty() || compound.branches.front().scope < 0) continue;
      for (const SqlBranch& branch : compound.branches) {
        if (branch.scope == scope && branch.inParentheses) return &compound;
      }
    }
    return nullptr;
  }

  bool IsDistinct(const SqlScope& scope) const { return IsWord(m_tokens[scope.begin + 1], u"DISTINCT"); }

  std::u16string Print(SqlSpan span) const { return PrintSql(m_tokens, span.begin, span.end); }
  std::u16string Prefix() const {
    return m_structure.withEnd == 0 ? std::u16string() : Print({0, m_structure.withEnd}) + u" ";
  }
  std::u16string SelectOf(const SqlScope& scope, SqlSpan list) const {
    return u"SELECT" + Print(list) + Print(scope.Clause(SqlClause::From));
  }
  std::optional<Columns> ColumnsOf(const SqlScope& scope, SqlSpan list) const {
    return m_facts.Describe(Prefix() + SelectOf(scope, list));
  }

  // A subquery may give its columns other names (two of one name), and loses some types.
  bool KeepsColumns(const SqlScope& scope, SqlSpan list, Seek& seek) const {
    const std::optional<Columns> plain = ColumnsOf(scope, list);
    if (!plain || plain->empty()) return false;
    const std::u16string arm = SelectOf(scope, list);
    const std::optional<Columns> arms = m_facts.Describe(
        Prefix() + u"SELECT * FROM (WITH " + NameOfPage(0) + u" AS MATERIALIZED (" + arm +
        u") SELECT * FROM " + NameOfPage(0) + u" UNION ALL SELECT * FROM (" + arm + u")) ORDER BY 1");
    seek.counted = QuotedName(plain->front().name);
    return arms && SameColumns(*plain, *arms);
  }

  // The position of the one result column that the term means.
  std::optional<size_t> PositionOf(const OrderTerm& term, SqlSpan list, const Columns& columns) const {
    const std::u16string name = PlainName(m_tokens[term.name]);
    const auto isNamed = [&](const ColumnFact& fact) { return Name(fact) == name; };
    if (std::count_if(columns.begin(), columns.end(), isNamed) != 1) return std::nullopt;
    const auto found = std::find_if(columns.begin(), columns.end(), isNamed);
    const auto position = static_cast<size_t>(found - columns.begin());
    if (term.begin == term.name) return position + 1;
    // With a qualifier the name alone may be another table's column.
    const std::vector<SelectItem> items = ReadItems(m_tokens, m_structure.partner, list);
    if (items.size() == 1 && IsBareStar(items[0])) return position + 1;
    const bool isAll = items.size() == columns.size() &&
                       std::none_of(items.begin(), items.end(), [](const SelectItem& i) { return i.isStar; });
    if (!isAll || !Means(items[position], {term.begin, term.name + 1})) return std::nullopt;
    return position + 1;
  }

  static bool IsBareStar(const SelectItem& item) {
    return item.isStar && item.expression.end - item.expression.begin == 1;
  }

  // The item is the qualified column itself, or its name alone, which then is no other's.
  bool Means(const SelectItem& item, SqlSpan column) const {
    return SameTokens(m_tokens, item.expression, column) ||
           SameTokens(m_tokens, item.expression, {column.end - 1, column.end});
  }

  // Rows that DISTINCT takes for one must lie in one arm.
  bool HoldsAllKeys(const Seek& seek, SqlSpan list) const {
    const std::vector<SelectItem> items = ReadItems(m_tokens, m_structure.partner, list);
    return std::all_of(seek.keys.begin(), seek.keys.end(), [&](const PageKey& key) {
      if (key.expression.IsEmpty()) return true;  // no row lies behind it in any arm
      return std::any_of(items.begin(), items.end(), [&](const SelectItem& item) {
        return SameTokens(m_tokens, item.expression, key.expression);
      });
    });
  }

  // --- the arms

  std::vector<Arm> ArmsOf(const SqlScope& scope, const std::vector<PageKey>& keys) const {
    std::vector<Arm> arms;
    for (size_t level = keys.size(); level-- > 0;) {
      for (const Piece& behind : BehindOf(scope, keys[level])) {
        Arm arm;
        for (size_t i = 0; i < level; ++i) arm.push_back({keys[i].expression, EqualText(keys[i])});
        arm.push_back(behind);
        arms.push_back(std::move(arm));
      }
    }
    return arms;
  }

  static std::u16string EqualText(const PageKey& key) { return key.IsNull() ? u" is null and" : u" = "; }

  std::vector<Piece> BehindOf(const SqlScope& scope, const PageKey& key) const {
    if (key.expression.IsEmpty()) return {};
    if (key.ascending && key.IsNull()) return {{key.expression, NotNullText(scope, key)}};
    if (key.ascending) return {{key.expression, u" > "}};
    if (key.IsNull()) return {};
    return {{key.expression, u" < "}, {key.expression, u" is null"}};
  }

  std::u16string NotNullText(const SqlScope& scope, const PageKey& key) const {
    const auto facts = FactsOf(scope, key);
    const std::u16string lowest = facts ? LowestOf(*facts) : std::u16string();
    return lowest.empty() ? u" is not null" : lowest;
  }

  // --- writing

  void Copy(SqlSpan span) { m_result.insert(m_result.end(), At(span.begin), At(span.end)); }

  void Add(std::u16string_view text) {
    std::vector<SqlToken> tokens = LexSql(text);
    tokens.pop_back();
    for (SqlToken& token : tokens) token.literal = -1;  // none of the library's text
    m_result.insert(m_result.end(), tokens.begin(), tokens.end());
  }

  void Write(const Seek& seek) {
    if (!seek.row.empty()) return WriteRow(seek);
    return seek.lead.IsEmpty() ? WriteArms(seek) : WriteFirst(seek);
  }

  void WriteRow(const Seek& seek) {
    Copy({seek.span.begin, seek.condition.begin});
    Add(u" (");
    for (size_t i = 0; i < seek.keys.size(); ++i) {
      if (i > 0) Add(u",");
      WritePart(seek.keys[i].expression, i);
    }
    Add(u") > (");
    for (size_t i = 0; i < seek.keys.size(); ++i) {
      if (i > 0) Add(u",");
      WritePart({seek.keys[i].literal, seek.keys[i].literal + 1}, i);
      m_result.back().isKey = true;
      m_result.back().rowPart = seek.row[i];
    }
    Add(u")");
    Copy({seek.condition.end, seek.span.end});
  }

  void WritePart(SqlSpan span, size_t i) {
    const size_t begin = m_result.size();
    Copy(span);
    m_result[begin].gap = i == 0 ? u"" : u" ";
  }

  const SqlScope& ScopeAt(size_t begin) const {
    return *std::find_if(m_structure.scopes.begin(), m_structure.scopes.end(),
                         [&](const SqlScope& scope) { return scope.begin == begin; });
  }

  void WriteArms(const Seek& seek) {
    const std::vector<Arm> arms = ArmsOf(ScopeAt(seek.span.begin), seek.keys);
    WritePages(seek, arms.size(), [&](size_t i) {
      Copy({seek.top.span.end, seek.condition.begin});
      for (size_t piece = 0; piece < arms[i].size(); ++piece) WritePiece(seek, arms[i][piece], piece);
      Copy({seek.condition.end, seek.span.end});
    });
  }

  // The rows of the leading value, and all others.
  void WriteFirst(const Seek& seek) {
    const SqlScope& scope = ScopeAt(seek.span.begin);
    const SqlSpan where = scope.Clause(SqlClause::Where);
    const size_t from = scope.Clause(SqlClause::From).end;
    const size_t rest = where.IsEmpty() ? from : where.end;
    WritePages(seek, 2, [&](size_t i) {
      Copy({seek.top.span.end, from});
      Add(u" WHERE");
      CopyBehindBlank(seek.lead);
      Add(i == 0 ? u" is (SELECT" : u" is not (SELECT");
      CopyBehindBlank(seek.lead);
      Copy({scope.Clause(SqlClause::From).begin, rest});
      Add(u" ORDER BY");
      CopyBehindBlank(seek.lead);
      Add(seek.leadAscending ? u" ASC LIMIT 1)" : u" DESC LIMIT 1)");
      if (!where.IsEmpty()) {
        Add(u" and (");
        Copy({where.begin + 1, where.end});
        Add(u")");
      }
      Copy({rest, seek.span.end});
    });
  }

  // `writeRest` writes the i-th arm from behind its TOP on. An arm only gives the rows that those before it
  // left open, often none.
  template <typename F>
  void WritePages(const Seek& seek, size_t count, F writeRest) {
    const size_t begin = m_result.size();
    Add(u"SELECT * FROM (WITH");
    for (size_t i = 0; i < count; ++i) {
      Add((i == 0 ? u" " : u", ") + NameOfPage(i) + u" AS MATERIALIZED (");
      if (i > 0) Add(u"SELECT * FROM " + NameOfPage(i - 1) + u" UNION ALL SELECT * FROM (");
      const size_t arm = m_result.size();
      Copy({seek.span.begin, i == 0 ? seek.top.span.end : seek.top.span.begin});
      m_result[arm].gap.clear();
      writeRest(i);
      Add(seek.inOrder);
      Add(i > 0 ? LimitBehind(seek, i - 1) + u"))" : u")");
    }
    Add(u" SELECT * FROM " + NameOfPage(count - 1) + u")" + seek.order + u" LIMIT " + RowsOf(seek));
    m_result[begin].gap = m_tokens[seek.span.begin].gap;
  }

  std::u16string LimitBehind(const Seek& seek, size_t page) const {
    return u" LIMIT " + RowsOf(seek) + u" - (SELECT COUNT(" + seek.counted + u" IS NULL) FROM " +
           NameOfPage(page) + u")";
  }

  void CopyBehindBlank(SqlSpan span) {
    const size_t begin = m_result.size();
    Copy(span);
    m_result[begin].gap = u" ";
  }

  // What the arms up to the i-th one gave.
  static std::u16string NameOfPage(size_t i) { return u"\"page " + NumberText(i) + u"\""; }

  std::u16string RowsOf(const Seek& seek) const { return m_tokens[seek.top.number].text; }

  // The i-th piece is about the i-th key, whose value it takes where its text ends in an operator.
  void WritePiece(const Seek& seek, const Piece& piece, size_t i) {
    CopyBehindBlank(piece.span);
    Add(piece.text);
    if (!piece.text.ends_with(u"> ") && !piece.text.ends_with(u"< ") && !piece.text.ends_with(u"= ")) return;
    m_result.push_back(m_tokens[seek.keys[i].literal]);
    m_result.back().gap = u" ";
    m_result.back().isKey = true;
    if (piece.text == u" = ") Add(u" and");
  }

  Tokens m_tokens;
  IColumnFacts& m_facts;
  SqlStructure m_structure;
  std::vector<Seek> m_seeks;
  Tokens m_result;
};

}  // namespace

std::vector<SqlToken> SeekPages(std::vector<SqlToken> tokens, IColumnFacts& facts) {
  return Seeker(std::move(tokens), facts).Run();
}

}  // namespace hostlinux
