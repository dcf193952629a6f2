#include "host-linux/database/dialect/MariadbDialect.h"

#include "host-linux/database/dialect/LikePattern.h"
#include "host-linux/database/dialect/ServerWords.h"
#include "host-linux/database/dialect/SqlRewriter.h"

namespace hostlinux {
namespace {

using Tokens = std::vector<SqlToken>;

// Around a regular expression: a dot matches line breaks, and the end is behind the last of them.
constexpr std::u16string_view kRegexStart = u"(?s)";
constexpr std::u16string_view kRegexEnd = u"(?!\\n)";

// The server takes no empty text for none where a backslash escapes nothing in literals.
constexpr std::u16string_view kNoEscape = u"\u0001";

bool EndsPattern(const SqlToken& next) { return next.kind != SqlTokenKind::Operator; }

// The character that ESCAPE behind the pattern names; '\0' for what isn't one character.
char16_t EscapeOf(const Tokens& tokens, size_t like) {
  const SqlToken& escape = tokens[like + 3];
  const std::u16string value = escape.kind == SqlTokenKind::Text ? TextValue(escape) : std::u16string();
  return value.size() == 1 ? value[0] : u'\0';
}

void RewriteLike(Tokens& tokens, size_t like) {
  SqlToken& pattern = tokens[like + 1];
  std::u16string value = TextValue(pattern);
  if (!EndsPattern(tokens[like + 2])) return;
  const bool hasEscape = IsWord(tokens[like + 2], u"ESCAPE");
  // Without ESCAPE a backslash would escape here, whatever the session's mode.
  if (!HasPatternClass(value) && (hasEscape || value.find(u'\\') == std::u16string::npos)) return;
  if (hasEscape) {
    const char16_t escape = EscapeOf(tokens, like);
    if (escape == u'\0') return;
    value = PatternWithoutEscape(value, escape);
    DropTokens(tokens, like + 2, like + 4);
  }
  if (const auto escaped = PatternWithEscapes(value)) {
    pattern.text = TextLiteral(*escaped) + u" ESCAPE '\\'";
    return;
  }
  pattern.text = TextLiteral(std::u16string(kRegexStart) + PatternAsRegex(value) + std::u16string(kRegexEnd));
  tokens[like].text = u"REGEXP";
}

void RewriteLikeParameter(Tokens& tokens, size_t like, const ParametersInUse& parameters) {
  SqlToken& pattern = tokens[like + 1];
  const ParameterFacts* facts = parameters.Of(pattern);
  if (facts == nullptr || !EndsPattern(tokens[like + 2])) return;
  const bool hasEscape = IsWord(tokens[like + 2], u"ESCAPE");
  if (!facts->isPattern) {
    if (!hasEscape) pattern.after = u" ESCAPE " + TextLiteral(kNoEscape);
    return;
  }
  if (hasEscape) {
    pattern.escape = EscapeOf(tokens, like);
    if (pattern.escape == u'\0') return;
    DropTokens(tokens, like + 2, like + 4);
  }
  pattern.isPattern = true;
  pattern.before = u"CONCAT(" + TextLiteral(kRegexStart) + u", ";
  pattern.after = u", " + TextLiteral(kRegexEnd) + u")";
  tokens[like].text = u"REGEXP";
}

class MariadbWords : public IEngineWords {
 public:
  bool IsNothing(const Tokens& tokens) const override { return IsReadLevel(tokens); }

  void RewriteTokens(Tokens& io_tokens, const ParametersInUse& parameters) const override {
    for (size_t i = 0; i + 4 < io_tokens.size(); ++i) {
      SqlToken& token = io_tokens[i];
      if (token.kind == SqlTokenKind::WideText) {
        token.text.erase(0, 1);
        token.kind = SqlTokenKind::Text;
      } else if (token.kind == SqlTokenKind::Escape) {
        RewriteEscape(token, io_tokens[i + 1]);
      } else if (token.kind == SqlTokenKind::Operator && token.text == u"==") {
        token.text = u"=";
      } else if (token.kind == SqlTokenKind::QuotedName && token.text.front() == u'[') {
        token.text = QuotedName(NameInQuotes(token));
      } else if (IsWord(token, u"LIKE")) {
        if (io_tokens[i + 1].kind == SqlTokenKind::Text) RewriteLike(io_tokens, i);
        if (io_tokens[i + 1].kind == SqlTokenKind::Parameter) RewriteLikeParameter(io_tokens, i, parameters);
      }
    }
  }

  std::u16string Mark(std::size_t number, const ParameterFacts*) const override {
    const std::string digits = std::to_string(number);
    return u"?" + std::u16string(digits.begin(), digits.end());
  }

  // An expression's value has a type here too, so a text that isn't one's kind is left to the server.
  std::optional<KeyComparison> Compare(
      ColumnKind kind, const std::u16string& operand, const std::u16string& op, const LiteralTraits& traits,
      const std::function<std::u16string(LiteralForm)>& write) const override {
    if (kind == ColumnKind::Unknown || kind == ColumnKind::Blob) return std::nullopt;
    // Fixed-point values print as they are.
    if (kind == ColumnKind::Numeric && traits.isNumeral)
      return KeyComparison{false, write(LiteralForm::Number)};
    // The server compares a day as its midnight.
    if (kind == ColumnKind::DateOnly) kind = ColumnKind::Date;
    return CompareWithText(kind, operand, op, traits, write);
  }

  std::optional<std::u16string> Number(
      const SqlToken& number, bool mayLift, const std::function<ColumnKind()>& kindOf,
      const std::function<std::u16string(LiteralForm)>& write) const override {
    if (!IsShortWhole(number.text)) return std::nullopt;
    const bool isText = kindOf() == ColumnKind::Text;
    if (!mayLift) return isText ? std::optional(TextLiteral(number.text)) : std::nullopt;
    return write(isText ? LiteralForm::Text : LiteralForm::Number);
  }

  bool SharesMarks() const override { return true; }
  bool MarksByPlace() const override { return true; }
  bool SeeksRows() const override { return false; }
  bool SortsNullsLow() const override { return true; }
  bool WrapsBranches() const override { return false; }
  bool JoinsSteps() const override { return true; }
  std::u16string PastNulls(ColumnKind) const override { return u" is not null"; }
};

}  // namespace

const IEngineWords& WordsOfMariadb() {
  static const MariadbWords words;
  return words;
}

RewrittenSql RewriteForMariadb(std::u16string_view sql, IColumnFacts& facts) {
  return RewriteSql(sql, facts, WordsOfMariadb());
}

std::vector<std::u16string> RewritePageForMariadb(const varnel::host::PageSpec& page, IColumnFacts& facts) {
  return RewritePage(page, facts, WordsOfMariadb());
}

}  // namespace hostlinux
