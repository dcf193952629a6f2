#include "varnel/recordset/StateText.h"

#include <limits>

#include "varnel/automation/Convert.h"
#include "varnel/automation/Error.h"

namespace varnel {

namespace {

constexpr std::size_t kLengthWidth = 3;
constexpr std::size_t kLastPosition = std::numeric_limits<Integer>::max();

String NumberField(std::int64_t value) { return EncodeNumber(DecimalText(value)); }
String BooleanField(bool value) { return NumberField(value ? -1 : 0); }

String EncodeBody(StringView text) {
  String body;
  for (const char16_t unit : text) {
    if (!body.empty()) body += u'+';
    body += DecimalText(static_cast<std::int16_t>(unit));
  }
  return body;
}

String KeyFields(const std::vector<Variant>& keys) {
  String fields = NumberField(static_cast<std::int64_t>(keys.size()) - 1);
  for (const Variant& key : keys) fields += EncodeValue(key);
  return fields;
}

// Takes field after field from the left.
class StateReader {
 public:
  explicit StateReader(StringView text) : m_text(text) {}

  Integer ReadInteger() { return ToInteger(Variant(ReadNumber())); }
  Long ReadLong() { return ToLong(Variant(ReadNumber())); }

  Variant ReadValue() {
    RequireReachable();
    const Integer length = ToInteger(Variant(Replace(Piece(kLengthWidth), u"z", u"-")));
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
    const String text = Trim(ReadNumber());
    return text.empty() ? 0 : ToLong(Variant(text));
  }

 private:
  String ReadNumber() {
    RequireReachable();
    const auto end = m_text.find(u'x', m_at);
    if (end == StringView::npos) RaiseRuntimeError(runtime_error::kInvalidArgument);
    const StringView field = m_text.substr(m_at, end - m_at);
    m_at = end + 1;
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

char16_t DecodeChar(const String& code) {
  const Long value = ToLong(Variant(code));
  if (value < -32768 || value > 65535) RaiseRuntimeError(runtime_error::kOverflow);
  return static_cast<char16_t>(value);
}

}  // namespace

String EncodeNumber(StringView iText) { return Replace(iText, u"-", u"z") + u"x"; }

String EncodeValue(const Variant& iValue) {
  if (iValue.IsNull()) return u" z1";
  const String body = EncodeBody(ToText(iValue));
  String length = DecimalText(static_cast<std::int64_t>(body.size()));
  while (length.size() < kLengthWidth) length.insert(length.begin(), u' ');
  return length + body;
}

String DecodeChars(StringView iBody) {
  String text;
  for (const String& code : Split(iBody, u"+")) text += DecodeChar(code);
  return text;
}

String SerializeState(const PersistedState& iState) {
  String text = NumberField(iState.NavType);
  text += NumberField(iState.TotalRecords);
  text += NumberField(iState.FirstRecord);
  text += EncodeValue(iState.SortFields);
  text += BooleanField(iState.SortReversed);
  if (iState.HasKeys()) text += KeyFields(iState.KeyValues);
  text += NumberField(iState.DisplayPage);
  text += NumberField(iState.LeftPage);
  text += NumberField(iState.RightPage);
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
