#include "varnel/recordset/StateText.h"

#include <algorithm>
#include <limits>
#include <optional>

#include "varnel/automation/Convert.h"
#include "varnel/automation/Error.h"

namespace varnel {

namespace {

constexpr std::size_t kLengthWidth = 3;
constexpr std::size_t kTypicalLength = 200;
constexpr std::size_t kLastPosition = std::numeric_limits<Integer>::max();

void AppendNumber(String& target, std::int64_t value) {
  const std::size_t sign = target.size();
  AppendDecimal(target, value);
  if (value < 0) target[sign] = u'z';
  target += u'x';
}

void AppendBoolean(String& target, bool value) { AppendNumber(target, value ? -1 : 0); }

// Room is made once, for the longest codes that there are: a state has hundreds of them.
void AppendBody(String& target, StringView text) {
  constexpr std::size_t kMostUnits = 7;  // "-32768" and a plus sign
  std::size_t end = target.size();
  target.resize(end + kMostUnits * text.size());
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (i > 0) target[end++] = u'+';
    end += WriteDecimal(&target[end], static_cast<std::int16_t>(text[i]));
  }
  target.resize(end);
}

void AppendText(String& target, StringView text) {
  const std::size_t start = target.size();
  AppendBody(target, text);
  String length = DecimalText(static_cast<std::int64_t>(target.size() - start));
  if (length.size() < kLengthWidth) length.insert(0, kLengthWidth - length.size(), u' ');
  target.insert(start, length);
}

void AppendValue(String& target, const Variant& value) {
  if (value.IsNull()) {
    target += u" z1";
  } else if (const String* text = value.As<String>()) {
    AppendText(target, *text);
  } else {
    AppendText(target, ToText(value));
  }
}

void AppendKeys(String& target, const std::vector<Variant>& keys) {
  AppendNumber(target, static_cast<std::int64_t>(keys.size()) - 1);
  for (const Variant& key : keys) AppendValue(target, key);
}

// A number of a few digits, as nearly all are; nothing for any other text, which the conversions judge.
std::optional<Long> FewDigits(StringView text) {
  constexpr std::size_t kMost = 9;
  if (text.empty() || text.size() > kMost) return std::nullopt;
  Long value = 0;
  for (const char16_t unit : text) {
    if (unit < u'0' || unit > u'9') return std::nullopt;
    value = value * 10 + (unit - u'0');
  }
  return value;
}

// Takes field after field from the left.
class StateReader {
 public:
  explicit StateReader(StringView text) : m_text(text) {}

  Integer ReadInteger() { return ToInteger(ReadNumber()); }
  Long ReadLong() { return ToLong(ReadNumber()); }

  Variant ReadValue() {
    RequireReachable();
    const Integer length = ToInteger(NumberOf(Piece(kLengthWidth)));
    m_at += kLengthWidth;
    if (length == -1) return Null();
    RequireReachable();
    if (length < 0) RaiseRuntimeError(runtime_error::kInvalidArgument);
    const StringView body = Piece(static_cast<std::size_t>(length));
    m_at += static_cast<std::size_t>(length);
    return DecodeChars(body);
  }

  // The array grows as its elements are read: a large index costs nothing where the text is short.
  std::vector<Variant> ReadKeys() {
    const Integer highest = ReadInteger();
    if (highest < 0) RaiseRuntimeError(runtime_error::kSubscript);
    std::vector<Variant> keys;
    for (int i = 0; i <= highest; ++i) keys.push_back(ReadValue());
    return keys;
  }

  Long ReadJumpPage() {
    RequireReachable();
    const auto end = m_text.find(u'x', m_at);
    if (end == StringView::npos || end == m_at) return 0;
    const String text = Trim(ReadField());
    return text.empty() ? 0 : ToLong(NumberOf(text));
  }

 private:
  Variant ReadNumber() { return NumberOf(ReadField()); }

  StringView ReadField() {
    RequireReachable();
    const auto end = m_text.find(u'x', m_at);
    if (end == StringView::npos) RaiseRuntimeError(runtime_error::kInvalidArgument);
    const StringView field = m_text.substr(m_at, end - m_at);
    m_at = end + 1;
    return field;
  }

  static Variant NumberOf(StringView field) {
    // A short length stands behind blanks.
    if (const auto number = FewDigits(field.substr(std::min(field.find_first_not_of(u' '), field.size()))))
      return *number;
    return Replace(field, u"z", u"-");
  }

  // At most `count` characters: what there is of them.
  StringView Piece(std::size_t count) const {
    return m_at < m_text.size() ? m_text.substr(m_at, count) : StringView();
  }

  // The position, counted from 1, is a 16-bit number: behind the last one nothing can be read.
  void RequireReachable() const {
    if (m_at >= kLastPosition) RaiseRuntimeError(runtime_error::kInvalidArgument);
  }

  StringView m_text;
  std::size_t m_at = 0;
};

char16_t DecodeChar(StringView code) {
  const std::optional<Long> plain = FewDigits(code);
  const Long value = plain ? *plain : ToLong(Variant(code));
  if (value < -32768 || value > 65535) RaiseRuntimeError(runtime_error::kOverflow);
  return static_cast<char16_t>(value);
}

}  // namespace

String EncodeNumber(StringView iText) { return Replace(iText, u"-", u"z") + u"x"; }

String EncodeValue(const Variant& iValue) {
  String text;
  AppendValue(text, iValue);
  return text;
}

String DecodeChars(StringView iBody) {
  String text;
  for (std::size_t start = 0; start <= iBody.size() && !iBody.empty();) {
    const std::size_t end = std::min(iBody.find(u'+', start), iBody.size());
    text += DecodeChar(iBody.substr(start, end - start));
    start = end + 1;
  }
  return text;
}

String SerializeState(const PersistedState& iState) {
  String text;
  text.reserve(kTypicalLength);
  AppendNumber(text, iState.NavType);
  AppendNumber(text, iState.TotalRecords);
  AppendNumber(text, iState.FirstRecord);
  AppendText(text, iState.SortFields);
  AppendBoolean(text, iState.SortReversed);
  if (iState.HasKeys()) AppendKeys(text, iState.KeyValues);
  AppendNumber(text, iState.DisplayPage);
  AppendNumber(text, iState.LeftPage);
  AppendNumber(text, iState.RightPage);
  return text;
}

PersistedState ParseState(StringView iText, bool iWithJumpPage) {
  StateReader reader(iText);
  PersistedState state;
  state.NavType = reader.ReadInteger();
  state.TotalRecords = reader.ReadLong();
  state.FirstRecord = reader.ReadLong();
  state.SortFields = ToText(reader.ReadValue());
  state.SortReversed = reader.ReadInteger() != 0;
  if (state.HasKeys()) state.KeyValues = reader.ReadKeys();
  state.DisplayPage = reader.ReadLong();
  state.LeftPage = reader.ReadLong();
  state.RightPage = reader.ReadLong();
  if (iWithJumpPage) state.JumpPage = reader.ReadJumpPage();
  return state;
}

}  // namespace varnel
