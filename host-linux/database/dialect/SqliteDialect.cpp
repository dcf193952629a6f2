#include "host-linux/database/dialect/SqliteDialect.h"

#include <algorithm>
#include <array>
#include <optional>

#include "host-linux/database/dialect/KeyLiteral.h"
#include "host-linux/database/dialect/LikePattern.h"
#include "host-linux/database/dialect/OperandFinder.h"
#include "host-linux/database/dialect/SqlStructure.h"
#include "varnel/automation/String.h"

namespace hostlinux {
namespace {

using Tokens = std::vector<SqlToken>;

// A rewritten comparison may repeat its operand, so nested ones would grow without end.
constexpr size_t kMaxOperand = 2000;

bool IsNothing(const Tokens& tokens) {
  return tokens.size() > 3 && IsWord(tokens[0], u"SET") && IsWord(tokens[1], u"TRANSACTION") &&
         IsWord(tokens[2], u"ISOLATION") && IsWord(tokens[3], u"LEVEL");
}

// The text of {d '...'}, {ts '...'} or {t '...'} as a literal.
std::u16string EscapeLiteral(const SqlToken& token) {
  SqlToken inner;
  inner.text = token.text.substr(0, token.text.rfind(u'\'') + 1);
  const std::u16string value = TextValue(inner);
  return TextLiteral(StoredDate(value).value_or(value));
}

void RewriteLiterals(Tokens& tokens) {
  for (size_t i = 0; i + 1 < tokens.size(); ++i) {
    SqlToken& token = tokens[i];
    if (token.kind == SqlTokenKind::WideText) {
      token.text.erase(0, 1);
    } else if (token.kind == SqlTokenKind::Escape) {
      token.text = EscapeLiteral(token);
      SqlToken& next = tokens[i + 1];
      if (next.gap.empty() && next.kind != SqlTokenKind::End) next.gap = u" ";
    } else {
      continue;
    }
    token.kind = SqlTokenKind::Text;
  }
}

void Drop(Tokens& tokens, size_t begin, size_t end) {
  for (size_t i = begin; i < end; ++i) tokens[i].dropped = true;
}

// --- LIKE

void RewriteLike(Tokens& tokens, size_t like) {
  SqlToken& pattern = tokens[like + 1];
  const SqlToken* next = &tokens[like + 2];
  std::u16string value = TextValue(pattern);
  if (!HasPatternClass(value) || next->kind == SqlTokenKind::Operator) return;
  if (IsWord(*next, u"ESCAPE") && tokens[like + 3].kind == SqlTokenKind::Text) {
    const std::u16string escape = TextValue(tokens[like + 3]);
    if (escape.size() != 1) return;
    value = PatternWithoutEscape(value, escape[0]);
    Drop(tokens, like + 2, like + 4);
  }
  const std::optional<std::u16string> escaped = PatternWithEscapes(value);
  pattern.text = TextLiteral(escaped.value_or(value));
  if (escaped)
    pattern.text += u" ESCAPE '\\'";
  else
    tokens[like].text = u"REGEXP";
}

void RewriteLikes(Tokens& tokens) {
  for (size_t i = 0; i + 1 < tokens.size(); ++i) {
    if (IsWord(tokens[i], u"LIKE") && tokens[i + 1].kind == SqlTokenKind::Text) RewriteLike(tokens, i);
  }
}

// --- TOP

// Takes `TOP n` behind the verb of `scope` away and returns n; nothing for a SELECT without it, and for the
// forms that SQLite can't say (PERCENT, WITH TIES), which stay for it to refuse.
std::optional<std::u16string> TakeTop(Tokens& tokens, const SqlScope& scope) {
  if (scope.verb != SqlVerb::Select) return std::nullopt;
  size_t top = scope.begin + 1;
  if (IsWord(tokens[top], u"DISTINCT") || IsWord(tokens[top], u"ALL")) ++top;
  if (!IsWord(tokens[top], u"TOP")) return std::nullopt;
  const bool open = tokens[top + 1].kind == SqlTokenKind::Open;
  const size_t number = top + (open ? 2 : 1);
  if (number + 1 >= tokens.size() || tokens[number].kind != SqlTokenKind::Number) return std::nullopt;
  if (open && tokens[number + 1].kind != SqlTokenKind::Close) return std::nullopt;
  const size_t behind = number + (open ? 2 : 1);
  if (IsWord(tokens[behind], u"PERCENT") || IsWord(tokens[behind], u"WITH")) return std::nullopt;
  Drop(tokens, top, behind);
  return tokens[number].text;
}

size_t LastToken(const Tokens& tokens, const SqlScope& scope) {
  size_t last = scope.end - 1;
  while (last > scope.begin && tokens[last].kind == SqlTokenKind::Comment) --last;
  return last;
}

// A term of an ORDER BY that is a plain column: where its name stands, and its direction.
struct OrderTerm {
  size_t begin = 0;
  size_t name = 0;
  std::u16string direction;
};

bool IsName(const SqlToken& token) {
  return token.kind == SqlTokenKind::Word || token.kind == SqlTokenKind::QuotedName;
}

std::u16string PlainName(const SqlToken& token) {
  const bool quoted = token.kind == SqlTokenKind::QuotedName && token.text.size() >= 2;
  return UpperAscii(quoted ? token.text.substr(1, token.text.size() - 2) : token.text);
}

// One term from `i` on, which moves to the token behind it.
std::optional<OrderTerm> ReadOrderTerm(const Tokens& tokens, size_t& i, size_t end) {
  OrderTerm term{i, i, {}};
  if (!IsName(tokens[i])) return std::nullopt;
  while (i + 2 < end && tokens[i + 1].kind == SqlTokenKind::Dot && IsName(tokens[i + 2])) i += 2;
  term.name = i++;
  if (i < end && (IsWord(tokens[i], u"ASC") || IsWord(tokens[i], u"DESC")))
    term.direction = u" " + tokens[i++].text;
  return term;
}

// The terms of `order`; nothing if one of them is more than a column and a direction.
std::optional<std::vector<OrderTerm>> ReadOrder(const Tokens& tokens, const SqlSpan& order) {
  std::vector<OrderTerm> terms;
  for (size_t i = order.begin + 2; i < order.end; ++i) {
    const std::optional<OrderTerm> term = ReadOrderTerm(tokens, i, order.end);
    if (!term || (i < order.end && tokens[i].kind != SqlTokenKind::Comma)) return std::nullopt;
    terms.push_back(*term);
  }
  return terms;
}

class Rewriter {
 public:
  Rewriter(Tokens& tokens, IColumnFacts& facts)
      : m_tokens(tokens),
        m_facts(facts),
        m_structure(ReadStructure(tokens)),
        m_limits(m_structure.scopes.size()) {}

  void Run() {
    for (size_t i = 0; i < m_structure.scopes.size(); ++i)
      m_limits[i] = TakeTop(m_tokens, m_structure.scopes[i]);
    for (const SqlCompound& compound : m_structure.compounds) RewriteCompound(compound);
    for (size_t i = 0; i < m_structure.scopes.size(); ++i) PlaceLimit(i);
    for (const SqlCompound& compound : m_structure.compounds) WrapBranches(compound);
    // From left to right: an operand is printed with the comparisons inside it already rewritten.
    for (size_t i = 2; i + 1 < m_tokens.size(); ++i) RewriteComparison(i);
  }

 private:
  const SqlScope& Scope(int index) const { return m_structure.scopes[static_cast<size_t>(index)]; }

  // --- UNION

  bool HasTop(const SqlBranch& branch) const {
    return branch.scope >= 0 && m_limits[static_cast<size_t>(branch.scope)].has_value();
  }
  bool IsWrapped(const SqlBranch& branch) const { return branch.inParentheses || HasTop(branch); }

  void RewriteCompound(const SqlCompound& compound) {
    if (compound.order.IsEmpty() || compound.branches.empty()) return;
    const std::optional<std::vector<OrderTerm>> terms = ReadOrder(m_tokens, compound.order);
    if (!terms) return;
    PushOrder(compound, *terms);
    if (!IsWrapped(compound.branches.front())) return;
    for (const OrderTerm& term : *terms) Unqualify(term);
  }

  // The name moves to where the qualifier began, so that the blanks in front of the term stay.
  void Unqualify(const OrderTerm& term) {
    if (term.begin == term.name) return;
    m_tokens[term.begin].text = m_tokens[term.name].text;
    m_tokens[term.begin].kind = m_tokens[term.name].kind;
    Drop(m_tokens, term.begin + 1, term.name + 1);
  }

  // By position, as only the first branch need know the names.
  void PushOrder(const SqlCompound& compound, const std::vector<OrderTerm>& terms) {
    if (std::none_of(compound.branches.begin(), compound.branches.end(),
                     [&](const SqlBranch& branch) { return WantsOrder(branch); })) {
      return;
    }
    const std::u16string order = OrderByPosition(compound.branches.front(), terms);
    if (order.empty()) return;
    for (const SqlBranch& branch : compound.branches) {
      if (WantsOrder(branch)) m_tokens[LastToken(m_tokens, Scope(branch.scope))].after += order;
    }
  }

  bool WantsOrder(const SqlBranch& branch) const {
    return HasTop(branch) && Scope(branch.scope).Clause(SqlClause::Order).IsEmpty();
  }

  std::u16string OrderByPosition(const SqlBranch& first, const std::vector<OrderTerm>& terms) {
    if (first.scope < 0) return {};
    const SqlScope& scope = Scope(first.scope);
    const auto columns = m_facts.Describe(Prefix() + PrintSql(m_tokens, scope.begin, scope.end, true));
    if (!columns) return {};
    std::u16string order;
    for (const OrderTerm& term : terms) {
      const auto column = std::find_if(columns->begin(), columns->end(), [&](const ColumnFact& fact) {
        return UpperAscii(fact.name) == PlainName(m_tokens[term.name]);
      });
      if (column == columns->end()) return {};
      const std::string position = std::to_string(column - columns->begin() + 1);
      order += (order.empty() ? u" ORDER BY " : u",") + std::u16string(position.begin(), position.end());
      order += term.direction;
    }
    return order;
  }

  void WrapBranches(const SqlCompound& compound) {
    for (const SqlBranch& branch : compound.branches) {
      if (!IsWrapped(branch)) continue;
      m_tokens[branch.span.begin].before += branch.inParentheses ? u"SELECT * FROM " : u"SELECT * FROM (";
      if (!branch.inParentheses) m_tokens[LastToken(m_tokens, Scope(branch.scope))].after += u")";
    }
  }

  void PlaceLimit(size_t index) {
    if (!m_limits[index]) return;
    m_tokens[LastToken(m_tokens, m_structure.scopes[index])].after += u" LIMIT " + *m_limits[index];
  }

  // --- comparisons

  void RewriteComparison(size_t literal) {
    if (m_tokens[literal].kind != SqlTokenKind::Text || m_tokens[literal].dropped) return;
    const size_t op = literal - 1;
    if (!IsComparison(m_tokens[op]) || !EndsOperand(m_tokens[literal + 1])) return;
    const int scope = m_structure.scopeOf[literal];
    const SqlClause clause = m_structure.clauseOf[literal];
    if (scope < 0 || clause == SqlClause::Set) return;
    const size_t begin = FindOperand(m_tokens, m_structure.partner, op);
    if (begin == op || m_tokens[begin].dropped || m_tokens[op].dropped) return;
    const std::u16string operand = PrintSql(m_tokens, begin, op, true);
    const std::u16string value = TextValue(m_tokens[literal]);
    if (operand.size() > kMaxOperand || !MayChange(value)) return;
    const auto comparison = CompareWithText(KindOf(operand, scope), operand, m_tokens[op].text, value);
    if (comparison) Place(*comparison, begin, literal);
  }

  // Most texts are neither a number nor a date nor a truth value; those need no look at the column.
  static bool MayChange(const std::u16string& value) {
    const std::u16string upper = UpperAscii(value);
    return BoundsOfNumeral(value) || StoredDate(value) || upper == u"TRUE" || upper == u"FALSE";
  }

  void Place(const KeyComparison& comparison, size_t begin, size_t literal) {
    if (!comparison.whole) {
      m_tokens[literal].text = comparison.text;
      return;
    }
    for (size_t i = begin; i < literal; ++i) {
      m_tokens[i].before.clear();
      m_tokens[i].after.clear();
    }
    m_tokens[begin].text = comparison.text;
    m_tokens[begin].dropped = false;
    Drop(m_tokens, begin + 1, literal + 1);
  }

  ColumnKind KindOf(const std::u16string& operand, int scope) {
    const std::u16string select = u"SELECT " + operand;
    std::u16string text = select;
    for (int s = scope; s >= 0; s = Scope(s).parent) {
      text = (s == scope ? text : u"SELECT (" + text + u")") + FromOf(Scope(s));
      if (const auto columns = m_facts.Describe(Prefix() + text)) return Kind(*columns);
    }
    return KindOfAlias(select, Scope(scope));
  }

  // A name that FROM doesn't know may be an alias of the select list.
  ColumnKind KindOfAlias(const std::u16string& select, const SqlScope& scope) {
    const SqlSpan& list = scope.Clause(SqlClause::List);
    if (scope.verb != SqlVerb::Select || list.IsEmpty()) return ColumnKind::Unknown;
    const std::u16string inner = u"SELECT" + PrintSql(m_tokens, list.begin, list.end) + FromOf(scope);
    const auto columns = m_facts.Describe(Prefix() + select + u" FROM (" + inner + u")");
    return columns ? Kind(*columns) : ColumnKind::Unknown;
  }

  static ColumnKind Kind(const std::vector<ColumnFact>& columns) {
    return columns.empty() ? ColumnKind::Unknown : KindOfDeclaredType(columns[0].declaredType);
  }

  // A WITH clause in front of the statement, as every probe may name its tables.
  std::u16string Prefix() const {
    return m_structure.withEnd == 0 ? std::u16string() : PrintSql(m_tokens, 0, m_structure.withEnd) + u" ";
  }

  std::u16string FromOf(const SqlScope& scope) const {
    const SqlSpan& from = scope.Clause(SqlClause::From);
    if (from.IsEmpty()) return {};
    const size_t begin = from.begin + (scope.verb == SqlVerb::Update ? 0 : 1);
    return u" FROM " + PrintSql(m_tokens, begin, from.end, true);
  }

  Tokens& m_tokens;
  IColumnFacts& m_facts;
  SqlStructure m_structure;
  std::vector<std::optional<std::u16string>> m_limits;  // of each scope
};

}  // namespace

RewrittenSql RewriteForSqlite(std::u16string_view sql, IColumnFacts& facts) {
  Tokens tokens = LexSql(sql);
  if (IsNothing(tokens)) return {std::u16string(sql), true};
  // A few empty tokens behind the last one, so that looking ahead needs no test.
  tokens.resize(tokens.size() + 4);
  RewriteLiterals(tokens);
  RewriteLikes(tokens);
  Rewriter(tokens, facts).Run();
  return {PrintSql(tokens, 0, tokens.size()), false};
}

EngineStatement SqliteDialect::Translate(std::u16string_view sql) {
  const RewrittenSql rewritten = RewriteForSqlite(sql, m_facts);
  return {varnel::ToUtf8(rewritten.text), {}, rewritten.isNothing};
}

void SqliteDialect::ForgetSchema() {}

}  // namespace hostlinux
