#include "host-linux/database/dialect/SqlRewriter.h"

#include <algorithm>
#include <optional>

#include "host-linux/database/dialect/OperandFinder.h"
#include "host-linux/database/dialect/SelectNames.h"

namespace hostlinux {

void DropTokens(std::vector<SqlToken>& io_tokens, size_t begin, size_t end) {
  for (size_t i = begin; i < end; ++i) io_tokens[i].dropped = true;
}

const ParameterFacts* ParametersInUse::Of(const SqlToken& token) const {
  if (m_literals == nullptr || token.kind != SqlTokenKind::Parameter || token.literal < 0) return nullptr;
  return &(*m_literals)[static_cast<std::size_t>(token.literal)].facts;
}

std::size_t ParametersInUse::LiteralOf(const SqlToken& token) const {
  const auto own = static_cast<std::size_t>(token.literal);
  return Of(token) == nullptr ? own : (*m_literals)[own].first;
}

namespace {

using Tokens = std::vector<SqlToken>;

// A rewritten comparison may repeat its operand, so nested ones would grow without end.
constexpr size_t kMaxOperand = 2000;

// Takes `TOP n` behind the verb of `scope` away and returns n.
std::optional<std::u16string> TakeTop(Tokens& tokens, const SqlScope& scope) {
  const std::optional<SelectTop> top = FindTop(tokens, scope);
  if (!top) return std::nullopt;
  DropTokens(tokens, top->span.begin, top->span.end);
  return tokens[top->number].text;
}

size_t LastToken(const Tokens& tokens, const SqlScope& scope) {
  size_t last = scope.end - 1;
  while (last > scope.begin && tokens[last].kind == SqlTokenKind::Comment) --last;
  return last;
}

class Rewriter {
 public:
  Rewriter(Tokens& tokens, IColumnFacts& facts, const IEngineWords& words, const ParametersInUse& parameters,
           std::vector<StatementForm::Parameter>* lifted)
      : m_tokens(tokens),
        m_facts(facts),
        m_words(words),
        m_parameters(parameters),
        m_lifted(lifted),
        m_structure(ReadStructure(tokens)),
        m_limits(m_structure.scopes.size()) {}

  void Run() {
    for (size_t i = 0; i < m_structure.scopes.size(); ++i)
      m_limits[i] = TakeTop(m_tokens, m_structure.scopes[i]);
    for (const SqlCompound& compound : m_structure.compounds) RewriteCompound(compound);
    for (size_t i = 0; i < m_structure.scopes.size(); ++i) PlaceLimit(i);
    for (const SqlCompound& compound : m_structure.compounds) WrapBranches(compound);
    // From left to right: an operand is printed with the comparisons inside it already rewritten.
    MarkCases();
    for (size_t i = 0; i + 1 < m_tokens.size(); ++i) {
      if (i >= 2) RewriteComparison(i);
      WriteParameter(i);
    }
    if (!m_words.SortsNullsLow()) PlaceNullOrders();
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
    DropTokens(m_tokens, term.begin + 1, term.name + 1);
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
      if (!m_words.SortsNullsLow() && !(column->isNotNull && KeepsNotNull(scope)))
        order += NullOrder(UpperAscii(term.direction) == u" DESC");
    }
    return order;
  }

  void WrapBranches(const SqlCompound& compound) {
    for (const SqlBranch& branch : compound.branches) {
      if (!IsWrapped(branch)) continue;
      if (branch.inParentheses && !m_words.WrapsBranches()) continue;
      const std::u16string_view select = m_words.WrapsBranches() ? u"SELECT * FROM " : u"";
      m_tokens[branch.span.begin].before.append(select).append(branch.inParentheses ? u"" : u"(");
      if (!branch.inParentheses) m_tokens[LastToken(m_tokens, Scope(branch.scope))].after += u")";
    }
  }

  void PlaceLimit(size_t index) {
    if (!m_limits[index]) return;
    m_tokens[LastToken(m_tokens, m_structure.scopes[index])].after += u" LIMIT " + *m_limits[index];
  }

  // --- NULLs in an order

  static std::u16string NullOrder(bool isDescending) {
    return isDescending ? u" NULLS LAST" : u" NULLS FIRST";
  }

  // An outer join makes NULLs of columns that have none.
  bool KeepsNotNull(const SqlScope& scope) const {
    const SqlSpan from = scope.Clause(SqlClause::From);
    for (size_t i = from.begin; i < from.end; ++i) {
      if (IsWord(m_tokens[i], u"LEFT") || IsWord(m_tokens[i], u"RIGHT") || IsWord(m_tokens[i], u"FULL"))
        return false;
    }
    return true;
  }

  void PlaceNullOrders() {
    for (const SqlScope& scope : m_structure.scopes) PlaceNullOrder(scope.Clause(SqlClause::Order), &scope);
    for (const SqlCompound& compound : m_structure.compounds) {
      const bool hasScope = !compound.branches.empty() && compound.branches.front().scope >= 0;
      PlaceNullOrder(compound.order, hasScope ? &Scope(compound.branches.front().scope) : nullptr);
    }
  }

  // `scope` gives the result its names; it may be null.
  void PlaceNullOrder(SqlSpan order, const SqlScope* scope) {
    if (order.IsEmpty()) return;
    size_t begin = order.begin + 2;  // behind ORDER BY
    // The order of a compound reaches to its end.
    const auto limit =
        std::find_if(m_tokens.begin() + static_cast<std::ptrdiff_t>(order.begin),
                     m_tokens.begin() + static_cast<std::ptrdiff_t>(order.end), [](const SqlToken& token) {
                       return IsWord(token, u"LIMIT") || IsWord(token, u"OFFSET") || IsWord(token, u"FETCH");
                     });
    order.end = static_cast<size_t>(limit - m_tokens.begin());
    for (size_t i = begin; i <= order.end; ++i) {
      if (i < order.end && m_tokens[i].kind == SqlTokenKind::Open) {
        if (m_structure.partner[i] == SqlStructure::kNone) return;
        i = m_structure.partner[i];
      } else if (i == order.end || m_tokens[i].kind == SqlTokenKind::Comma) {
        if (i > begin) EndTerm({begin, i}, scope);
        begin = i + 1;
      }
    }
  }

  void EndTerm(SqlSpan term, const SqlScope* scope) {
    size_t last = term.end - 1;
    while (last > term.begin && (m_tokens[last].dropped || m_tokens[last].kind == SqlTokenKind::Comment))
      --last;
    if (IsWord(m_tokens[last], u"FIRST") || IsWord(m_tokens[last], u"LAST")) return;
    const bool isDescending = IsWord(m_tokens[last], u"DESC");
    const bool hasDirection = isDescending || IsWord(m_tokens[last], u"ASC");
    const SqlSpan expression{term.begin, hasDirection ? last : last + 1};
    if (scope != nullptr && IsNeverNull(expression, *scope)) return;
    m_tokens[last].after = NullOrder(isDescending) + m_tokens[last].after;
  }

  bool IsNeverNull(SqlSpan expression, const SqlScope& scope) {
    if (expression.IsEmpty() || !KeepsNotNull(scope)) return false;
    const std::u16string text = PrintSql(m_tokens, expression.begin, expression.end, true);
    if (expression.end - expression.begin == 1) {
      if (const std::optional<bool> known = ResultIsNeverNull(m_tokens[expression.begin], text, scope))
        return *known;
    }
    const auto facts = m_facts.Describe(Prefix() + u"SELECT " + text + FromOf(scope));
    return facts && facts->size() == 1 && facts->front().isNotNull;
  }

  // A position or a name of the result.
  std::optional<bool> ResultIsNeverNull(const SqlToken& token, const std::u16string& text,
                                        const SqlScope& scope) {
    const SqlSpan& list = scope.Clause(SqlClause::List);
    if (list.IsEmpty()) return std::nullopt;
    const auto columns =
        m_facts.Describe(Prefix() + u"SELECT" + PrintSql(m_tokens, list.begin, list.end) + FromOf(scope));
    if (!columns) return std::nullopt;
    for (size_t i = 0; i < columns->size(); ++i) {
      const std::string position = std::to_string(i + 1);
      const bool isMeant = token.kind == SqlTokenKind::Number
                               ? text == std::u16string(position.begin(), position.end())
                               : UpperAscii((*columns)[i].name) == PlainName(token);
      if (isMeant) return (*columns)[i].isNotNull;
    }
    return std::nullopt;
  }

  // --- comparisons

  void RewriteComparison(size_t literal) {
    if (const RowPart part = m_tokens[literal].rowPart; part != RowPart::None) {
      m_tokens[literal].text =
          Write(literal, part == RowPart::Number ? LiteralForm::Number : LiteralForm::Text);
      return;
    }
    const SqlTokenKind kind = m_tokens[literal].kind;
    const bool isText = kind == SqlTokenKind::Text || IsTextParameter(literal);
    if ((!isText && kind != SqlTokenKind::Number) || m_tokens[literal].dropped) return;
    const size_t op = literal - 1;
    if (!IsComparison(m_tokens[op]) || !EndsOperand(m_tokens[literal + 1])) return;
    const int scope = m_structure.scopeOf[literal];
    if (scope < 0 || m_structure.clauseOf[literal] == SqlClause::Set) return;
    const size_t begin = FindOperand(m_tokens, m_structure.partner, op);
    if (begin == op || m_tokens[begin].dropped || m_tokens[op].dropped) return;
    if (isText && RewriteText(begin, literal, scope)) return;
    if (IsLiteral(m_tokens[begin].kind)) return;
    if (!isText) return RewriteNumber(begin, literal, scope);
    if (MayLift(literal)) m_tokens[literal].text = Write(literal, LiteralForm::Text);
  }

  void RewriteNumber(size_t begin, size_t literal, int scope) {
    const auto kindOf = [&] { return KindOf(PrintSql(m_tokens, begin, literal - 1, true), scope); };
    const auto text = m_words.Number(m_tokens[literal], MayLift(literal), kindOf,
                                     [&](LiteralForm form) { return Write(literal, form); });
    if (text) m_tokens[literal].text = *text;
  }

  // False if the comparison is right as it stands.
  bool RewriteText(size_t begin, size_t literal, int scope) {
    const std::u16string operand = PrintSql(m_tokens, begin, literal - 1, true);
    const LiteralTraits traits = TraitsAt(literal);
    if (operand.size() > kMaxOperand || !MayChange(traits)) return false;
    const auto comparison = m_words.Compare(KindOf(operand, scope), operand, m_tokens[literal - 1].text,
                                            traits, [&](LiteralForm form) { return Write(literal, form); });
    if (!comparison) return false;
    Place(*comparison, begin, literal);
    return true;
  }

  // Most texts are neither a number nor a date nor a truth value; those need no look at the column.
  static bool MayChange(const LiteralTraits& traits) {
    return traits.isNumeral || traits.isDate || traits.isTrue || traits.isFalse;
  }

  // --- parameters

  // Its value is a text or a date.
  bool IsTextParameter(size_t i) const {
    const ParameterFacts* facts = m_parameters.Of(m_tokens[i]);
    return facts != nullptr && facts->isText;
  }

  LiteralTraits TraitsAt(size_t literal) const {
    const ParameterFacts* facts = m_parameters.Of(m_tokens[literal]);
    return facts == nullptr ? TraitsOf(TextValue(m_tokens[literal])) : facts->traits;
  }

  // A parameter of the text that no comparison has written in a form of its own.
  void WriteParameter(size_t i) {
    if (m_parameters.Of(m_tokens[i]) == nullptr || m_tokens[i].dropped || m_tokens[i].lifted) return;
    m_tokens[i].text = Write(i, m_tokens[i].isPattern ? LiteralForm::Regex : LiteralForm::Text);
  }

  // An expression with CASE may be that of an index, which its literals must be seen for.
  void MarkCases() {
    m_inCase.assign(m_tokens.size(), false);
    size_t depth = 0;
    for (size_t i = 0; i < m_tokens.size(); ++i) {
      if (IsWord(m_tokens[i], u"CASE")) ++depth;
      if (IsWord(m_tokens[i], u"END") && depth > 0) --depth;
      m_inCase[i] = depth > 0;
    }
  }

  bool MayLift(size_t literal) {
    const SqlToken& token = m_tokens[literal];
    if (m_lifted != nullptr && m_parameters.Of(token) != nullptr) return true;
    if (m_lifted == nullptr || token.literal < 0 || m_inCase[literal]) return false;
    if (token.kind == SqlTokenKind::Number && (token.text == u"0" || token.text == u"1")) return false;
    const SqlClause clause = m_structure.clauseOf[literal];
    if (clause != SqlClause::Where && clause != SqlClause::From) return false;
    return token.isKey || !HasPartialIndex();
  }

  bool HasPartialIndex() {
    if (!m_hasPartialIndex) m_hasPartialIndex = m_facts.HasPartialIndex();
    return *m_hasPartialIndex;
  }

  // The literal in a form: its parameter, or itself.
  std::u16string Write(size_t literal, LiteralForm form) {
    SqlToken& token = m_tokens[literal];
    if (!MayLift(literal)) {
      const bool isText = token.kind == SqlTokenKind::Text;
      return LiteralSql(isText ? TextValue(token) : token.text, form);
    }
    token.lifted = true;
    const StatementForm::Parameter wanted{m_parameters.LiteralOf(token), form, token.escape};
    const bool isCondition =
        m_structure.clauseOf[literal] == SqlClause::Where || m_structure.clauseOf[literal] == SqlClause::From;
    auto found = m_words.SharesMarks() || !isCondition ? std::find(m_lifted->begin(), m_lifted->end(), wanted)
                                                       : m_lifted->end();
    if (found == m_lifted->end()) found = m_lifted->insert(found, wanted);
    return m_words.Mark(static_cast<size_t>(found - m_lifted->begin()) + 1, m_parameters.Of(token));
  }

  void Place(const KeyComparison& comparison, size_t begin, size_t literal) {
    if (!comparison.whole) {
      m_tokens[literal].text = comparison.text;
      if (m_tokens[literal].kind == SqlTokenKind::Parameter) m_tokens[literal].lifted = true;
      return;
    }
    for (size_t i = begin; i < literal; ++i) {
      m_tokens[i].before.clear();
      m_tokens[i].after.clear();
    }
    m_tokens[begin].text = comparison.text;
    m_tokens[begin].dropped = false;
    DropTokens(m_tokens, begin + 1, literal + 1);
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
  const IEngineWords& m_words;
  const ParametersInUse& m_parameters;
  std::vector<StatementForm::Parameter>* m_lifted;
  SqlStructure m_structure;
  std::vector<std::optional<std::u16string>> m_limits;  // of each scope
  std::vector<bool> m_inCase;
  std::optional<bool> m_hasPartialIndex;
};

}  // namespace

void RewriteStatement(Tokens& io_tokens, IColumnFacts& facts, const IEngineWords& words,
                      const ParametersInUse& parameters, std::vector<StatementForm::Parameter>* o_lifted) {
  Rewriter(io_tokens, facts, words, parameters, o_lifted).Run();
}

}  // namespace hostlinux
