#include "host-linux/database/dialect/OperandFinder.h"

#include <algorithm>
#include <array>

namespace hostlinux {
namespace {

constexpr size_t kNone = static_cast<size_t>(-1);

template <size_t N>
bool IsAnyWord(const SqlToken& token, const std::array<std::u16string_view, N>& words) {
  return std::any_of(words.begin(), words.end(),
                     [&](std::u16string_view word) { return IsWord(token, word); });
}

// Words that are no operand and stand in front of one.
bool IsKeyword(const SqlToken& token) {
  static constexpr std::array<std::u16string_view, 28> kWords = {
      u"AND",  u"OR",   u"NOT",    u"WHERE",    u"ON",      u"HAVING", u"WHEN",
      u"THEN", u"ELSE", u"SELECT", u"FROM",     u"BETWEEN", u"LIKE",   u"IN",
      u"IS",   u"BY",   u"CASE",   u"REGEXP",   u"SET",     u"ALL",    u"ANY",
      u"SOME", u"AS",   u"EXISTS", u"DISTINCT", u"ESCAPE",  u"USING",  u"COLLATE"};
  return IsAnyWord(token, kWords);
}

bool IsArithmetic(const SqlToken& token) {
  return token.kind == SqlTokenKind::Operator && !IsComparison(token) && token.text != u"~";
}

class Finder {
 public:
  Finder(const std::vector<SqlToken>& tokens, const std::vector<size_t>& partner)
      : m_tokens(tokens), m_partner(partner) {}

  // The first token of the chain that ends before `end`, or kNone.
  size_t Chain(size_t end) const {
    size_t begin = Primary(end);
    while (begin != kNone && begin > 0 && IsArithmetic(m_tokens[begin - 1])) {
      const size_t before = Primary(begin - 1);
      if (before == kNone) return begin - 1;  // a sign
      begin = before;
    }
    return begin;
  }

 private:
  // The first token of the name, literal, call or group that ends before `end`, or kNone.
  size_t Primary(size_t end) const {
    if (end == 0) return kNone;
    const size_t last = end - 1;
    switch (m_tokens[last].kind) {
      case SqlTokenKind::Number:
      case SqlTokenKind::Text:
      case SqlTokenKind::Parameter:
        return last;
      case SqlTokenKind::Close:
        return Group(last);
      case SqlTokenKind::QuotedName:
        return Name(last);
      case SqlTokenKind::Word:
        return Word(last);
      default:
        return kNone;
    }
  }

  size_t Group(size_t close) const {
    const size_t open = m_partner[close];
    if (open == kNone) return kNone;
    if (open == 0 || m_tokens[open - 1].kind != SqlTokenKind::Word) return open;
    const SqlToken& word = m_tokens[open - 1];
    if (IsWord(word, u"IN") || IsWord(word, u"EXISTS")) return kNone;
    return IsKeyword(word) ? open : Name(open - 1);
  }

  size_t Word(size_t last) const {
    if (IsWord(m_tokens[last], u"END")) return Case(last);
    if (last > 0 && IsWord(m_tokens[last - 1], u"COLLATE")) return Primary(last - 1);
    return IsKeyword(m_tokens[last]) ? kNone : Name(last);
  }

  // Names with their qualifiers.
  size_t Name(size_t last) const {
    size_t begin = last;
    while (begin >= 2 && m_tokens[begin - 1].kind == SqlTokenKind::Dot && IsNamePart(m_tokens[begin - 2]))
      begin -= 2;
    return begin;
  }

  static bool IsNamePart(const SqlToken& token) {
    return token.kind == SqlTokenKind::Word || token.kind == SqlTokenKind::QuotedName;
  }

  size_t Case(size_t end) const {
    size_t depth = 0;
    for (size_t i = end + 1; i-- > 0;) {
      if (IsWord(m_tokens[i], u"END")) ++depth;
      if (IsWord(m_tokens[i], u"CASE") && --depth == 0) return i;
    }
    return kNone;
  }

  const std::vector<SqlToken>& m_tokens;
  const std::vector<size_t>& m_partner;
};

}  // namespace

bool IsComparison(const SqlToken& token) {
  static constexpr std::array<std::u16string_view, 8> kSigns = {u"=", u"==", u"<>", u"!=",
                                                                u"<", u"<=", u">",  u">="};
  return token.kind == SqlTokenKind::Operator &&
         std::find(kSigns.begin(), kSigns.end(), token.text) != kSigns.end();
}

bool EndsOperand(const SqlToken& token) { return !IsArithmetic(token) && !IsWord(token, u"COLLATE"); }

size_t FindOperand(const std::vector<SqlToken>& tokens, const std::vector<size_t>& partner, size_t op) {
  const size_t begin = Finder(tokens, partner).Chain(op);
  return begin == kNone ? op : begin;
}

}  // namespace hostlinux
