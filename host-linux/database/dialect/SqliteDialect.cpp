#include "host-linux/database/dialect/SqliteDialect.h"

#include "host-linux/database/dialect/LikePattern.h"
#include "host-linux/database/dialect/SqlRewriter.h"

namespace hostlinux {
namespace {

using Tokens = std::vector<SqlToken>;

bool IsIsolationLevel(const Tokens& tokens) {
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
    DropTokens(tokens, like + 2, like + 4);
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
void RewriteLikeParameter(Tokens& tokens, size_t like, const ParametersInUse& parameters) {
  SqlToken& pattern = tokens[like + 1];
  const ParameterFacts* facts = parameters.Of(pattern);
  const SqlToken& next = tokens[like + 2];
  if (facts == nullptr || !facts->isPattern || next.kind == SqlTokenKind::Operator) return;
  if (IsWord(next, u"ESCAPE")) {
    const std::u16string escape =
        tokens[like + 3].kind == SqlTokenKind::Text ? TextValue(tokens[like + 3]) : std::u16string();
    if (escape.size() != 1) return;
    pattern.escape = escape[0];
    DropTokens(tokens, like + 2, like + 4);
  }
  tokens[like].text = u"REGEXP";
}

void RewriteLikes(Tokens& tokens, const ParametersInUse& parameters) {
  for (size_t i = 0; i + 1 < tokens.size(); ++i) {
    if (!IsWord(tokens[i], u"LIKE")) continue;
    if (tokens[i + 1].kind == SqlTokenKind::Text) RewriteLike(tokens, i);
    if (tokens[i + 1].kind == SqlTokenKind::Parameter) RewriteLikeParameter(tokens, i, parameters);
  }
}

class SqliteWords : public IEngineWords {
 public:
  bool IsNothing(const Tokens& tokens) const override { return IsIsolationLevel(tokens); }

  void RewriteTokens(Tokens& io_tokens, const ParametersInUse& parameters) const override {
    RewriteLiterals(io_tokens);
    RewriteLikes(io_tokens, parameters);
  }

  std::u16string Mark(std::size_t number, const ParameterFacts*) const override {
    const std::string digits = std::to_string(number);
    return u"?" + std::u16string(digits.begin(), digits.end());
  }

  std::optional<KeyComparison> Compare(
      ColumnKind kind, const std::u16string& operand, const std::u16string& op, const LiteralTraits& traits,
      const std::function<std::u16string(LiteralForm)>& write) const override {
    return CompareWithText(kind, operand, op, traits, write);
  }

  std::optional<std::u16string> Number(
      const SqlToken&, bool mayLift, const std::function<ColumnKind()>&,
      const std::function<std::u16string(LiteralForm)>& write) const override {
    if (!mayLift) return std::nullopt;
    return write(LiteralForm::Number);
  }

  bool SharesMarks() const override { return true; }
  bool SortsNullsLow() const override { return true; }
  bool WrapsBranches() const override { return true; }
  bool JoinsSteps() const override { return false; }

  // Only against a value can an index pass over the NULLs.
  std::u16string PastNulls(ColumnKind kind) const override {
    if (kind == ColumnKind::Unknown || kind == ColumnKind::Blob) return u" is not null";
    return kind == ColumnKind::Text ? u" >= ''" : u" >= -9e999";
  }
};

}  // namespace

const IEngineWords& WordsOfSqlite() {
  static const SqliteWords words;
  return words;
}

RewrittenSql RewriteForSqlite(std::u16string_view sql, IColumnFacts& facts) {
  return RewriteSql(sql, facts, WordsOfSqlite());
}

std::vector<std::u16string> RewritePageForSqlite(const varnel::host::PageSpec& page, IColumnFacts& facts) {
  return RewritePage(page, facts, WordsOfSqlite());
}

}  // namespace hostlinux
