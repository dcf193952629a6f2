#include "host-linux/database/dialect/SelectNames.h"

namespace hostlinux {
namespace {

using Tokens = std::vector<SqlToken>;

bool IsName(const SqlToken& token) {
  return token.kind == SqlTokenKind::Word || token.kind == SqlTokenKind::QuotedName;
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

// Behind the expression of an item: its alias, with or without AS, is left out.
size_t EndOfExpression(const Tokens& tokens, SqlSpan item) {
  if (item.end - item.begin < 2 || !IsName(tokens[item.end - 1])) return item.end;
  const SqlToken& before = tokens[item.end - 2];
  if (IsWord(before, u"AS")) return item.end - 2;
  const bool endsOperand = before.kind == SqlTokenKind::Close || before.kind == SqlTokenKind::Number ||
                           before.kind == SqlTokenKind::Text || before.kind == SqlTokenKind::Parameter ||
                           IsName(before);
  if (!endsOperand || IsWord(before, u"COLLATE") || IsWord(tokens[item.end - 1], u"END")) return item.end;
  return item.end - 1;
}

SelectItem ItemOf(const Tokens& tokens, SqlSpan item) {
  const bool isStar = !item.IsEmpty() && tokens[item.end - 1].text == u"*" &&
                      tokens[item.end - 1].kind == SqlTokenKind::Operator;
  const size_t end = EndOfExpression(tokens, item);
  return {{item.begin, end}, isStar, end < item.end ? item.end - 1 : SqlStructure::kNone};
}

}  // namespace

std::optional<SelectTop> FindTop(const Tokens& tokens, const SqlScope& scope) {
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
  return SelectTop{{top, behind}, number};
}

std::optional<std::vector<OrderTerm>> ReadOrder(const Tokens& tokens, const SqlSpan& order) {
  std::vector<OrderTerm> terms;
  for (size_t i = order.begin + 2; i < order.end; ++i) {
    const std::optional<OrderTerm> term = ReadOrderTerm(tokens, i, order.end);
    if (!term || (i < order.end && tokens[i].kind != SqlTokenKind::Comma)) return std::nullopt;
    terms.push_back(*term);
  }
  return terms;
}

std::vector<SelectItem> ReadItems(const Tokens& tokens, const std::vector<size_t>& partner, SqlSpan list) {
  std::vector<SelectItem> items;
  size_t begin = list.begin;
  for (size_t i = list.begin; i < list.end; ++i) {
    if (tokens[i].kind == SqlTokenKind::Open && partner[i] != SqlStructure::kNone) i = partner[i];
    if (tokens[i].kind != SqlTokenKind::Comma) continue;
    items.push_back(ItemOf(tokens, {begin, i}));
    begin = i + 1;
  }
  items.push_back(ItemOf(tokens, {begin, list.end}));
  return items;
}

std::u16string PlainName(const SqlToken& token) {
  const bool quoted = token.kind == SqlTokenKind::QuotedName && token.text.size() >= 2;
  return UpperAscii(quoted ? token.text.substr(1, token.text.size() - 2) : token.text);
}

}  // namespace hostlinux
