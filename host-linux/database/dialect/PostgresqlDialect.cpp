#include "host-linux/database/dialect/PostgresqlDialect.h"

#include <algorithm>
#include <cstdlib>

#include "host-linux/database/dialect/LikePattern.h"
#include "host-linux/database/dialect/SelectNames.h"
#include "host-linux/database/dialect/ServerWords.h"
#include "host-linux/database/dialect/SqlRewriter.h"

namespace hostlinux {
namespace {

using Tokens = std::vector<SqlToken>;

std::u16string LowerAscii(std::u16string_view text) {
  std::u16string lower(text);
  for (char16_t& c : lower) c = c >= u'A' && c <= u'Z' ? static_cast<char16_t>(c + 32) : c;
  return lower;
}

std::u16string Digits(std::size_t number) {
  const std::string digits = std::to_string(number);
  return std::u16string(digits.begin(), digits.end());
}

// --- literals and names

bool IsPlainName(std::u16string_view name) {
  const auto isPart = [](char16_t c) {
    return (c >= u'a' && c <= u'z') || (c >= u'A' && c <= u'Z') || (c >= u'0' && c <= u'9') || c == u'_';
  };
  return !name.empty() && std::all_of(name.begin(), name.end(), isPart);
}

// [a b] and `a b`, not an element of an array: a[1].
bool IsServersName(const Tokens& tokens, std::size_t i) {
  if (tokens[i].kind != SqlTokenKind::QuotedName || tokens[i].text.front() == u'"') return false;
  if (i == 0 || !tokens[i].gap.empty()) return true;
  const SqlTokenKind before = tokens[i - 1].kind;
  return before != SqlTokenKind::Word && before != SqlTokenKind::QuotedName && before != SqlTokenKind::Close;
}

void RewriteName(SqlToken& token) {
  const std::u16string name = NameInQuotes(token);
  token.text = QuotedName(IsPlainName(name) ? LowerAscii(name) : name);
}

// --- LIKE

void RewriteLike(Tokens& tokens, std::size_t like) {
  SqlToken& pattern = tokens[like + 1];
  const SqlToken& next = tokens[like + 2];
  std::u16string value = TextValue(pattern);
  if (next.kind == SqlTokenKind::Operator) return;
  if (IsWord(next, u"ESCAPE")) {
    if (!HasPatternClass(value) || tokens[like + 3].kind != SqlTokenKind::Text) return;
    const std::u16string escape = TextValue(tokens[like + 3]);
    if (escape.size() != 1) return;
    value = PatternWithoutEscape(value, escape[0]);
    DropTokens(tokens, like + 2, like + 4);
  } else if (!HasPatternClass(value) && value.find(u'\\') == std::u16string::npos) {
    return;
  }
  if (const auto escaped = PatternWithEscapes(value)) {  // by a backslash, as the engine's own
    pattern.text = TextLiteral(*escaped);
    return;
  }
  pattern.text = TextLiteral(PatternAsRegex(value));
  tokens[like].text = u"~";
}

void RewriteLikeParameter(Tokens& tokens, std::size_t like, const ParametersInUse& parameters) {
  SqlToken& pattern = tokens[like + 1];
  const ParameterFacts* facts = parameters.Of(pattern);
  const SqlToken& next = tokens[like + 2];
  if (facts == nullptr || next.kind == SqlTokenKind::Operator) return;
  const bool hasEscape = IsWord(next, u"ESCAPE");
  if (!facts->isPattern) {
    if (!hasEscape) pattern.after = u" ESCAPE ''";
    return;
  }
  if (hasEscape) {
    const std::u16string escape =
        tokens[like + 3].kind == SqlTokenKind::Text ? TextValue(tokens[like + 3]) : std::u16string();
    if (escape.size() != 1) return;
    pattern.escape = escape[0];
    DropTokens(tokens, like + 2, like + 4);
  }
  pattern.isPattern = true;
  tokens[like].text = u"~";
}

// NOT LIKE becomes !~.
void JoinNot(Tokens& tokens, std::size_t like) {
  if (tokens[like].text != u"~" || like == 0 || !IsWord(tokens[like - 1], u"NOT")) return;
  tokens[like - 1].dropped = true;
  tokens[like].text = u"!~";
}

class PostgresqlWords : public IEngineWords {
 public:
  bool IsNothing(const Tokens& tokens) const override { return IsReadLevel(tokens); }

  void RewriteTokens(Tokens& io_tokens, const ParametersInUse& parameters) const override {
    for (std::size_t i = 0; i + 1 < io_tokens.size(); ++i) {
      SqlToken& token = io_tokens[i];
      if (token.kind == SqlTokenKind::WideText) {
        token.text.erase(0, 1);
        token.kind = SqlTokenKind::Text;
      } else if (token.kind == SqlTokenKind::Escape) {
        RewriteEscape(token, io_tokens[i + 1]);
      } else if (token.kind == SqlTokenKind::Operator && token.text == u"==") {
        token.text = u"=";
      } else if (IsServersName(io_tokens, i)) {
        RewriteName(token);
      } else if (IsWord(token, u"LIKE")) {
        if (io_tokens[i + 1].kind == SqlTokenKind::Text) RewriteLike(io_tokens, i);
        if (io_tokens[i + 1].kind == SqlTokenKind::Parameter) RewriteLikeParameter(io_tokens, i, parameters);
        JoinNot(io_tokens, i);
      }
    }
  }

  // The engine finds the type of a value by where it stands, and takes each value as text. A fraction goes into no
  // integer, so its type is told.
  std::u16string Mark(std::size_t number, const ParameterFacts* facts) const override {
    return u"$" + Digits(number) + (facts != nullptr && facts->isFraction ? u"::float8" : u"");
  }

  std::optional<KeyComparison> Compare(
      ColumnKind kind, const std::u16string& operand, const std::u16string& op, const LiteralTraits& traits,
      const std::function<std::u16string(LiteralForm)>& write) const override {
    if (kind != ColumnKind::Real) return std::nullopt;
    return CompareWithText(kind, operand, op, traits, write);
  }

  std::optional<std::u16string> Number(
      const SqlToken& number, bool mayLift, const std::function<ColumnKind()>& kindOf,
      const std::function<std::u16string(LiteralForm)>& write) const override {
    if (!IsShortWhole(number.text)) return std::nullopt;
    const ColumnKind kind = kindOf();
    const bool isQuoted = kind == ColumnKind::Text || kind == ColumnKind::Boolean;
    if (!mayLift) return isQuoted ? std::optional(u"'" + number.text + u"'") : std::nullopt;
    return isQuoted ? write(LiteralForm::Number) : write(LiteralForm::Number) + u"::int4";
  }

  bool SharesMarks() const override { return false; }
  bool SortsNullsLow() const override { return false; }
  bool KnowsNullsAlike() const override { return false; }
  bool WrapsBranches() const override { return false; }
  bool JoinsSteps() const override { return true; }
  std::u16string PastNulls(ColumnKind) const override { return u" is not null"; }
};

}  // namespace

const IEngineWords& WordsOfPostgresql() {
  static const PostgresqlWords words;
  return words;
}

RewrittenSql RewriteForPostgresql(std::u16string_view sql, IColumnFacts& facts) {
  return RewriteSql(sql, facts, WordsOfPostgresql());
}

std::vector<std::u16string> RewritePageForPostgresql(const varnel::host::PageSpec& page,
                                                     IColumnFacts& facts) {
  return RewritePage(page, facts, WordsOfPostgresql());
}

std::unordered_map<std::u16string, std::u16string> SpelledNames(std::u16string_view sql) {
  std::unordered_map<std::u16string, std::u16string> names;
  Tokens tokens = LexSql(sql);
  tokens.resize(tokens.size() + 4);
  const SqlStructure structure = ReadStructure(tokens);
  if (structure.scopes.empty() || structure.scopes.front().verb != SqlVerb::Select) return names;
  SqlSpan list = structure.scopes.front().Clause(SqlClause::List);
  if (!list.IsEmpty() && (IsWord(tokens[list.begin], u"DISTINCT") || IsWord(tokens[list.begin], u"ALL")))
    ++list.begin;
  if (const auto top = FindTop(tokens, structure.scopes.front()))
    list.begin = std::max(list.begin, top->span.end);
  for (const SelectItem& item : ReadItems(tokens, structure.partner, list)) {
    if (item.isStar || item.expression.IsEmpty()) continue;
    const SqlToken& name = tokens[item.alias == SqlStructure::kNone ? item.expression.end - 1 : item.alias];
    const bool isBracketed = name.kind == SqlTokenKind::QuotedName && name.text.front() != u'"';
    if (name.kind != SqlTokenKind::Word && !isBracketed) continue;
    const std::u16string spelled = isBracketed ? NameInQuotes(name) : name.text;
    names.emplace(LowerAscii(spelled), spelled);
  }
  return names;
}

std::optional<varnel::Long> RowsOfPlan(const std::string& line) {
  constexpr std::string_view kRows = " rows=";
  const auto rows = line.find(kRows);
  if (rows == std::string::npos) return std::nullopt;
  const double count = std::strtod(line.c_str() + rows + kRows.size(), nullptr);
  return static_cast<varnel::Long>(std::min(count, 2147483647.0));
}

bool IsSortOfPlan(std::string_view line) {
  line.remove_prefix(std::min(line.find_first_not_of(' '), line.size()));
  if (line.starts_with("->  ")) line.remove_prefix(4);
  return line.starts_with("Sort  (") || line.starts_with("Incremental Sort  (");
}

}  // namespace hostlinux
