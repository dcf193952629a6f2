#include "host-linux/database/dialect/SqliteDialect.h"

#include <algorithm>
#include <array>
#include <optional>

#include "host-linux/database/dialect/KeyLiteral.h"
#include "host-linux/database/dialect/LikePattern.h"
#include "host-linux/database/dialect/OperandFinder.h"
#include "host-linux/database/dialect/PageSeek.h"
#include "host-linux/database/dialect/SelectNames.h"
#include "host-linux/database/dialect/SqlStructure.h"
#include "varnel/automation/Convert.h"

namespace hostlinux {
namespace {

using Tokens = std::vector<SqlToken>;
using varnel::host::PageSpec;
using varnel::host::StatementParameters;

// A rewritten comparison may repeat its operand, so nested ones would grow without end.
constexpr size_t kMaxOperand = 2000;

constexpr size_t kMaxTranslations = 512;

// A literal that became a parameter, in a form.
struct Lifted {
  size_t literal = 0;
  LiteralForm form = LiteralForm::Text;
  char16_t escape = 0;  // of a pattern
  bool operator==(const Lifted&) const = default;
};

// What is known of the values of a text's parameters.
class Parameters {
 public:
  Parameters() = default;
  explicit Parameters(const std::vector<SqlLiteral>& literals) : m_literals(&literals) {}

  // Null for a token that is none, or one without a value.
  const ParameterFacts* Of(const SqlToken& token) const {
    if (m_literals == nullptr || token.kind != SqlTokenKind::Parameter || token.literal < 0) return nullptr;
    return &(*m_literals)[static_cast<size_t>(token.literal)].facts;
  }

  // The literal whose value stands for the token's: one value is handed over once, however often it is named.
  size_t LiteralOf(const SqlToken& token) const {
    const auto own = static_cast<size_t>(token.literal);
    return Of(token) == nullptr ? own : (*m_literals)[own].first;
  }

 private:
  const std::vector<SqlLiteral>* m_literals = nullptr;
};

bool IsNothing(const Tokens& tokens) {
  return tokens.size() > 3 && IsWord(tokens[0], u"SET") && IsWord(tokens[1], u"TRANSACTION") &&
         IsWord(tokens[2], u"ISOLATION") && IsWord(tokens[3], u"LEVEL");
}

void RewriteLiterals(Tokens& tokens) {
  for (size_t i = 0; i + 1 < tokens.size(); ++i) {
    SqlToken& token = tokens[i];
    if (token.kind == SqlTokenKind::WideText) {
      token.text.erase(0, 1);
    } else if (token.kind == SqlTokenKind::Escape) {
      token.text = TextLiteral(ValueOf(token.kind, token.text));
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

bool IsLongPattern(const std::u16string& pattern) {
  return varnel::ToUtf8(pattern).size() > kLongestLikePattern;
}

void RewriteLike(Tokens& tokens, size_t like) {
  SqlToken& pattern = tokens[like + 1];
  const SqlToken* next = &tokens[like + 2];
  std::u16string value = TextValue(pattern);
  if ((!HasPatternClass(value) && !IsLongPattern(value)) || next->kind == SqlTokenKind::Operator) return;
  if (IsWord(*next, u"ESCAPE") && tokens[like + 3].kind == SqlTokenKind::Text) {
    const std::u16string escape = TextValue(tokens[like + 3]);
    if (escape.size() != 1) return;
    value = PatternWithoutEscape(value, escape[0]);
    Drop(tokens, like + 2, like + 4);
  }
  std::optional<std::u16string> escaped = PatternWithEscapes(value);
  if (escaped && IsLongPattern(*escaped)) escaped = std::nullopt;
  pattern.text = TextLiteral(escaped.value_or(value));
  if (escaped)
    pattern.text += u" ESCAPE '\\'";
  else
    tokens[like].text = u"REGEXP";
}

// The same for a parameter. What escapes in its pattern is written for REGEXP when its value is taken.
void RewriteLikeParameter(Tokens& tokens, size_t like, const Parameters& parameters) {
  SqlToken& pattern = tokens[like + 1];
  const ParameterFacts* facts = parameters.Of(pattern);
  const SqlToken& next = tokens[like + 2];
  if (facts == nullptr || !facts->isPattern || next.kind == SqlTokenKind::Operator) return;
  if (IsWord(next, u"ESCAPE")) {
    const std::u16string escape =
        tokens[like + 3].kind == SqlTokenKind::Text ? TextValue(tokens[like + 3]) : std::u16string();
    if (escape.size() != 1) return;
    pattern.escape = escape[0];
    Drop(tokens, like + 2, like + 4);
  }
  tokens[like].text = u"REGEXP";
}

void RewriteLikes(Tokens& tokens, const Parameters& parameters) {
  for (size_t i = 0; i + 1 < tokens.size(); ++i) {
    if (!IsWord(tokens[i], u"LIKE")) continue;
    if (tokens[i + 1].kind == SqlTokenKind::Text) RewriteLike(tokens, i);
    if (tokens[i + 1].kind == SqlTokenKind::Parameter) RewriteLikeParameter(tokens, i, parameters);
  }
}

// --- TOP

// Takes `TOP n` behind the verb of `scope` away and returns n.
std::optional<std::u16string> TakeTop(Tokens& tokens, const SqlScope& scope) {
  const std::optional<SelectTop> top = FindTop(tokens, scope);
  if (!top) return std::nullopt;
  Drop(tokens, top->span.begin, top->span.end);
  return tokens[top->number].text;
}

size_t LastToken(const Tokens& tokens, const SqlScope& scope) {
  size_t last = scope.end - 1;
  while (last > scope.begin && tokens[last].kind == SqlTokenKind::Comment) --last;
  return last;
}

class Rewriter {
 public:
  // With `lifted`, literals become parameters, which are put there, as are those that the text has.
  Rewriter(Tokens& tokens, IColumnFacts& facts, const Parameters& parameters, std::vector<Lifted>* lifted)
      : m_tokens(tokens),
        m_facts(facts),
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
    if (const RowPart part = m_tokens[literal].rowPart; part != RowPart::None) {
      m_tokens[literal].text =
          Write(literal, part == RowPart::Number ? LiteralForm::Number : LiteralForm::Text);
      return;
    }
    const SqlTokenKind kind = m_tokens[literal].kind;
    const bool isText = kind == SqlTokenKind::Text || IsTextParameter(literal);
    if ((!isText && (kind != SqlTokenKind::Number || !MayLift(literal))) || m_tokens[literal].dropped) return;
    const size_t op = literal - 1;
    if (!IsComparison(m_tokens[op]) || !EndsOperand(m_tokens[literal + 1])) return;
    const int scope = m_structure.scopeOf[literal];
    if (scope < 0 || m_structure.clauseOf[literal] == SqlClause::Set) return;
    const size_t begin = FindOperand(m_tokens, m_structure.partner, op);
    if (begin == op || m_tokens[begin].dropped || m_tokens[op].dropped) return;
    if (isText && RewriteText(begin, literal, scope)) return;
    const bool isConstant = IsLiteral(m_tokens[begin].kind);
    if (!MayLift(literal) || isConstant) return;
    m_tokens[literal].text = Write(literal, isText ? LiteralForm::Text : LiteralForm::Number);
  }

  // False if the comparison is right as it stands.
  bool RewriteText(size_t begin, size_t literal, int scope) {
    const std::u16string operand = PrintSql(m_tokens, begin, literal - 1, true);
    const LiteralTraits traits = TraitsAt(literal);
    if (operand.size() > kMaxOperand || !MayChange(traits)) return false;
    const auto comparison = CompareWithText(KindOf(operand, scope), operand, m_tokens[literal - 1].text,
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
    m_tokens[i].text = Write(i, LiteralForm::Text);
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
    const Lifted wanted{m_parameters.LiteralOf(token), form, token.escape};
    auto found = std::find(m_lifted->begin(), m_lifted->end(), wanted);
    if (found == m_lifted->end()) found = m_lifted->insert(found, wanted);
    const std::string number = std::to_string(found - m_lifted->begin() + 1);
    return u"?" + std::u16string(number.begin(), number.end());
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
  const Parameters& m_parameters;
  std::vector<Lifted>* m_lifted;
  SqlStructure m_structure;
  std::vector<std::optional<std::u16string>> m_limits;  // of each scope
  std::vector<bool> m_inCase;
  std::optional<bool> m_hasPartialIndex;
};

bool HasNul(std::u16string_view text) { return text.find(u'\0') != std::u16string_view::npos; }

// What can be rewritten token by token. A few empty ones behind the last one spare tests for looking ahead.
void RewriteWords(Tokens& tokens, const Parameters& parameters = {}) {
  tokens.resize(tokens.size() + 4);
  RewriteLiterals(tokens);
  RewriteLikes(tokens, parameters);
}

// The literals of which a copy stands in the text as itself.
void AddPinned(const Tokens& tokens, std::vector<size_t>& pinned) {
  for (const SqlToken& token : tokens) {
    if (token.literal >= 0 && !token.lifted) pinned.push_back(static_cast<size_t>(token.literal));
  }
  std::sort(pinned.begin(), pinned.end());
  pinned.erase(std::unique(pinned.begin(), pinned.end()), pinned.end());
}

// Their rewriting ends with this.
StatementForm FormOf(Tokens& tokens, IColumnFacts& facts, const Parameters& parameters) {
  std::vector<Lifted> lifted;
  Rewriter(tokens, facts, parameters, &lifted).Run();
  StatementForm form;
  form.sql = varnel::ToUtf8(PrintSql(tokens, 0, tokens.size()));
  for (const Lifted& each : lifted) form.parameters.push_back({each.literal, each.form, each.escape});
  return form;
}

// The statements of a page as tokens, before what Rewriter does.
std::vector<PageStep> PageStepsOf(const PageSpec& page, const PageShape& shape, IColumnFacts& facts) {
  PageTokens tokens;
  int literals = 0;
  for (size_t i = 0; i < page.branches.size(); ++i) {
    Tokens branch = LexSql(shape.texts[i]);
    int count = 0;
    for (SqlToken& token : branch) {
      if (token.literal < 0) continue;
      token.literal += literals;
      ++count;
    }
    literals += count;
    RewriteWords(branch, Parameters(shape.shape.literals));
    branch.resize(branch.size() - 4);
    tokens.branches.push_back(std::move(branch));
  }
  for (size_t i = page.branches.size(); i < shape.texts.size(); ++i) {
    SqlToken anchor = LexSql(shape.texts[i]).front();
    if (anchor.kind != SqlTokenKind::End) anchor.literal = literals++;
    tokens.anchors.push_back(std::move(anchor));
  }
  std::vector<PageStep> steps = SeekPage(page, std::move(tokens), facts);
  for (PageStep& step : steps) {
    step.text.resize(step.text.size() + 4);
    if (!step.walk.empty()) step.walk.resize(step.walk.size() + 4);
  }
  return steps;
}

}  // namespace

RewrittenSql RewriteForSqlite(std::u16string_view sql, IColumnFacts& facts) {
  Tokens tokens = LexSql(sql);
  if (IsNothing(tokens)) return {std::u16string(sql), true};
  RewriteWords(tokens);
  Rewriter(tokens, facts, {}, nullptr).Run();
  return {PrintSql(tokens, 0, tokens.size()), false};
}

std::vector<std::u16string> RewritePageForSqlite(const PageSpec& page, IColumnFacts& facts) {
  std::vector<std::u16string> texts;
  for (PageStep& step : PageStepsOf(page, PageShape(page, {}), facts)) {
    for (Tokens* tokens : {&step.text, &step.walk}) {
      if (tokens->empty()) continue;
      Rewriter(*tokens, facts, {}, nullptr).Run();
      texts.push_back(PrintSql(*tokens, 0, tokens->size()));
    }
  }
  return texts;
}

EngineStatement StatementForm::With(const SqlShape& shape, const StatementParameters& given) const {
  EngineStatement statement{sql, {}, isNothing, {}};
  statement.values.reserve(parameters.size());
  for (const Parameter& parameter : parameters) {
    const SqlLiteral& literal = shape.literals[parameter.literal];
    statement.values.push_back(
        literal.kind == SqlTokenKind::Parameter
            ? ParameterValue(given.values[literal.parameter].Value, parameter.form, parameter.escape)
            : LiteralValue(ValueOf(literal.kind, literal.text), parameter.form));
  }
  return statement;
}

PageShape::PageShape(const PageSpec& page, const StatementParameters& parameters) {
  ShapeParameters own(parameters);
  texts.reserve(page.branches.size() + page.keys.size());  // the shape points into them
  for (const varnel::host::PageBranch& branch : page.branches) {
    texts.push_back(branch.where.empty() ? branch.select : branch.select + u" WHERE (" + branch.where + u")");
    AddToShape(shape, texts.back(), own);
    shape.key.append({u'\0', u'\11'}).append(branch.grouping);
    if (HasNul(branch.grouping)) shape.mayLift = false;
  }
  for (const varnel::host::PageKey& key : page.keys) {
    shape.key.append({u'\0', key.ascending ? u'\4' : u'\5'}).append(key.name);
    shape.key.append({u'\0', u'\6'}).append(key.expression).append({u'\0', u'\7'});
    if (HasNul(key.name) || HasNul(key.expression)) shape.mayLift = false;
    if (!page.behindAnchor) continue;
    texts.push_back(key.anchor.IsNull() ? std::u16string() : TextLiteral(varnel::ToText(key.anchor)));
    AddToShape(shape, texts.back(), own);
  }
  for (const varnel::Long number : {page.rows, page.way, varnel::Long{page.behindAnchor}}) {
    const std::string digits = std::to_string(number);
    shape.key.append({u'\0', u'\10'}).append(digits.begin(), digits.end());
  }
  shape.unbound = own.markers.Fault();
}

EngineStatement SqliteDialect::Translate(std::u16string_view sql, const StatementParameters& parameters) {
  const SqlShape shape = ShapeOf(sql, parameters);
  if (!shape.unbound.empty()) return {{}, {}, false, shape.unbound};
  if (!shape.mayLift) {
    const RewrittenSql rewritten = RewriteForSqlite(sql, m_facts);
    return {varnel::ToUtf8(rewritten.text), {}, rewritten.isNothing, {}};
  }
  return Remember(shape, [&] { return WorkOut(sql, shape); })->front().With(shape, parameters);
}

// The text says what its parameters lack.
std::optional<PageStatements> SqliteDialect::TranslatePage(const PageSpec& page,
                                                           const StatementParameters& parameters) {
  if (m_reads == PageReads::AsWritten) return std::nullopt;
  auto shape = std::make_unique<PageShape>(page, parameters);
  if (!shape->shape.mayLift || !shape->shape.unbound.empty()) return std::nullopt;
  auto forms = Remember(shape->shape, [&] { return WorkOutPage(page, *shape); });
  if (forms->empty()) return std::nullopt;
  return PageStatements(std::move(shape), std::move(forms), parameters);
}

template <typename Work>
std::shared_ptr<const StatementForms> SqliteDialect::Remember(const SqlShape& shape, Work work) {
  const auto family = m_families.find(shape.key);
  if (family != m_families.end()) {
    const auto found = family->second.forms.find(PinnedTexts(family->second, shape));
    if (found != family->second.forms.end()) return found->second;
  }
  Translation translation = work();
  if (m_translations >= kMaxTranslations) ForgetSchema();
  ++m_translations;
  Family& kept = m_families[shape.key];
  Pin(kept, translation.pinned);
  return kept.forms.insert_or_assign(PinnedTexts(kept, shape), std::move(translation.forms)).first->second;
}

SqliteDialect::Translation SqliteDialect::WorkOut(std::u16string_view sql, const SqlShape& shape) {
  Translation translation;
  Tokens tokens = LexSql(sql);
  auto forms = std::make_shared<StatementForms>();
  if (IsNothing(tokens)) {
    forms->push_back({varnel::ToUtf8(sql), {}, true, nullptr});
  } else {
    const Parameters parameters(shape.literals);
    RewriteWords(tokens, parameters);
    forms->push_back(FormOf(tokens, m_facts, parameters));
  }
  AddPinned(tokens, translation.pinned);
  translation.forms = std::move(forms);
  return translation;
}

SqliteDialect::Translation SqliteDialect::WorkOutPage(const PageSpec& page, const PageShape& shape) {
  Translation translation;
  auto forms = std::make_shared<StatementForms>();
  const Parameters parameters(shape.shape.literals);
  for (PageStep& step : PageStepsOf(page, shape, m_facts)) {
    forms->push_back(FormOf(step.text, m_facts, parameters));
    AddPinned(step.text, translation.pinned);
    if (step.walk.empty()) continue;
    forms->back().walk = std::make_shared<StatementForm>(FormOf(step.walk, m_facts, parameters));
    AddPinned(step.walk, translation.pinned);
  }
  translation.forms = std::move(forms);
  return translation;
}

// What is remembered under fewer literals can't be told apart by more.
void SqliteDialect::Pin(Family& family, const std::vector<std::size_t>& literals) {
  std::vector<std::size_t> pinned;
  std::set_union(family.pinned.begin(), family.pinned.end(), literals.begin(), literals.end(),
                 std::back_inserter(pinned));
  if (pinned == family.pinned) return;
  family.pinned = std::move(pinned);
  family.forms.clear();
}

// Each text with its length in front, so that no two lists look alike.
std::u16string SqliteDialect::PinnedTexts(const Family& family, const SqlShape& shape) {
  std::u16string texts;
  for (const size_t literal : family.pinned) {
    const std::u16string_view text = shape.literals[literal].text;
    for (size_t rest = text.size(); rest > 0; rest >>= 15) texts += static_cast<char16_t>(rest & 0x7FFF);
    texts.append({u'\xFFFF'}).append(text);
  }
  return texts;
}

void SqliteDialect::ForgetSchema() {
  m_families.clear();
  m_translations = 0;
}

}  // namespace hostlinux
