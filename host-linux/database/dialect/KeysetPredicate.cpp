#include "host-linux/database/dialect/KeysetPredicate.h"

#include "host-linux/database/dialect/OperandFinder.h"

namespace hostlinux {
namespace {

constexpr size_t kMaxKeys = 8;

bool IsSign(const SqlToken& token, std::u16string_view sign) {
  return token.kind == SqlTokenKind::Operator && token.text == sign;
}

class PredicateReader {
 public:
  PredicateReader(const std::vector<SqlToken>& tokens, const std::vector<size_t>& partner)
      : m_tokens(tokens), m_partner(partner) {}

  // The condition in `span`, down to the last key.
  bool Read(SqlSpan span) {
    if (m_keys.size() == kMaxKeys || span.IsEmpty()) return false;
    if (IsGroup(span) && m_tokens[span.end - 2].kind == SqlTokenKind::Close) return ReadLevel(span);
    const std::optional<PageKey> key = ReadBehind(span);
    if (key) m_keys.push_back(*key);
    return key.has_value();
  }

  std::vector<PageKey> Take() { return std::move(m_keys); }

 private:
  bool IsGroup(SqlSpan span) const {
    return m_tokens[span.begin].kind == SqlTokenKind::Open && m_partner[span.begin] == span.end - 1;
  }
  bool IsWordAt(size_t i, std::u16string_view word) const { return IsWord(m_tokens[i], word); }
  bool IsNullAt(size_t i) const { return IsWordAt(i, u"IS") && IsWordAt(i + 1, u"NULL"); }

  // (p or (e = 'k' and rest))
  bool ReadLevel(SqlSpan span) {
    const size_t close = span.end - 2;
    const size_t open = m_partner[close];
    if (open == SqlStructure::kNone || open <= span.begin + 2 || !IsWordAt(open - 1, u"OR")) return false;
    std::optional<PageKey> key = ReadBehind({span.begin + 1, open - 1});
    if (!key) return false;
    const size_t rest = ReadSame(*key, {open + 1, close});
    if (rest == SqlStructure::kNone) return false;
    m_keys.push_back(*key);
    return Read({rest, close});
  }

  // The test for the rows strictly behind.
  std::optional<PageKey> ReadBehind(SqlSpan span) const {
    const size_t length = span.end - span.begin;
    if (length < 3) return std::nullopt;
    if (length == 3 && m_tokens[span.begin].text == u"0" && IsSign(m_tokens[span.begin + 1], u"=") &&
        m_tokens[span.begin + 2].text == u"1") {
      return PageKey{{}, false, SqlStructure::kNone};
    }
    if (IsGroup(span)) return ReadLowerOrNull({span.begin + 1, span.end - 1});
    if (m_tokens[span.end - 1].kind == SqlTokenKind::Text && IsSign(m_tokens[span.end - 2], u">"))
      return KeyOf({span.begin, span.end - 2}, true, span.end - 1);
    if (length > 3 && IsWordAt(span.end - 3, u"IS") && IsWordAt(span.end - 2, u"NOT") &&
        IsWordAt(span.end - 1, u"NULL")) {
      return KeyOf({span.begin, span.end - 3}, true, SqlStructure::kNone);
    }
    return std::nullopt;
  }

  // e < 'k' or e is null
  std::optional<PageKey> ReadLowerOrNull(SqlSpan span) const {
    const size_t length = span.end - span.begin;
    if (length < 7 || length % 2 == 0) return std::nullopt;
    const size_t sign = span.begin + (length - 5) / 2;
    if (!IsSign(m_tokens[sign], u"<") || m_tokens[sign + 1].kind != SqlTokenKind::Text ||
        !IsWordAt(sign + 2, u"OR") || !IsNullAt(span.end - 2) ||
        !SameTokens(m_tokens, {span.begin, sign}, {sign + 3, span.end - 2})) {
      return std::nullopt;
    }
    return KeyOf({span.begin, sign}, false, sign + 1);
  }

  // Only one operand can be joined to others by AND.
  std::optional<PageKey> KeyOf(SqlSpan expression, bool ascending, size_t literal) const {
    if (expression.IsEmpty() || FindOperand(m_tokens, m_partner, expression.end) != expression.begin)
      return std::nullopt;
    return PageKey{expression, ascending, literal};
  }

  // `e = 'k' and` or `e is null and` at the beginning of `span`: the position behind it, or kNone. The
  // expression of a key without one is taken from here.
  size_t ReadSame(PageKey& key, SqlSpan span) const {
    if (key.expression.IsEmpty()) {
      size_t is = span.begin;
      while (is < span.end && !IsWordAt(is, u"IS")) ++is;
      const std::optional<PageKey> found = KeyOf({span.begin, is}, false, SqlStructure::kNone);
      if (!found) return SqlStructure::kNone;
      key.expression = found->expression;
    }
    const size_t sign = span.begin + (key.expression.end - key.expression.begin);
    if (sign + 3 >= span.end || !SameTokens(m_tokens, key.expression, {span.begin, sign}) ||
        !IsWordAt(sign + 2, u"AND")) {
      return SqlStructure::kNone;
    }
    const bool same = key.IsNull()
                          ? IsNullAt(sign)
                          : IsSign(m_tokens[sign], u"=") &&
                                SameTokens(m_tokens, {key.literal, key.literal + 1}, {sign + 1, sign + 2});
    return same ? sign + 3 : SqlStructure::kNone;
  }

  const std::vector<SqlToken>& m_tokens;
  const std::vector<size_t>& m_partner;
  std::vector<PageKey> m_keys;
};

}  // namespace

bool SameTokens(const std::vector<SqlToken>& tokens, SqlSpan a, SqlSpan b) {
  if (a.end - a.begin != b.end - b.begin) return false;
  for (size_t i = 0; i < a.end - a.begin; ++i) {
    const SqlToken& first = tokens[a.begin + i];
    const SqlToken& second = tokens[b.begin + i];
    if (first.kind != second.kind) return false;
    const bool word = first.kind == SqlTokenKind::Word;
    if (word ? UpperAscii(first.text) != UpperAscii(second.text) : first.text != second.text) return false;
  }
  return true;
}

std::optional<std::vector<PageKey>> ReadKeysetPredicate(const std::vector<SqlToken>& tokens,
                                                        const std::vector<size_t>& partner, SqlSpan span) {
  PredicateReader reader(tokens, partner);
  if (!reader.Read(span)) return std::nullopt;
  return reader.Take();
}

}  // namespace hostlinux
