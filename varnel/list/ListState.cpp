#include "varnel/list/ListState.h"

#include <limits>

namespace varnel {

namespace {

constexpr char16_t kEnd = u'.';
constexpr StringView kHexDigits = u"0123456789abcdef";
constexpr std::size_t kContextDigits = 8;
constexpr std::size_t kSealDigits = 32;

bool IsDigit(char16_t c) { return c >= u'0' && c <= u'9'; }

bool StandsForItself(unsigned char c) {
  return IsDigit(c) || (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || c == '-' || c == '_';
}

int HexValue(char16_t c) {
  const auto at = kHexDigits.find(c);
  return at == StringView::npos ? -1 : static_cast<int>(at);
}

void AppendHex(String& text, std::uint32_t value, std::size_t digits) {
  for (std::size_t i = digits; i-- > 0;) text += kHexDigits[value >> (4 * i) & 15];
}

void AppendKey(String& text, const Variant& key) {
  const String* value = key.As<String>();
  text += value == nullptr ? u'n' : u't';
  if (value == nullptr) return;
  text.reserve(text.size() + 2 * value->size());
  for (const char c : ToUtf8(*value)) {
    const auto byte = static_cast<unsigned char>(c);
    if (StandsForItself(byte)) {
      text += static_cast<char16_t>(byte);
    } else {
      text += u'~';
      AppendHex(text, byte, 2);
    }
  }
}

// The field up to the next end, which goes with it; nothing where there is none.
std::optional<StringView> TakeField(StringView& rest) {
  const auto end = rest.find(kEnd);
  if (end == StringView::npos) return std::nullopt;
  const StringView field = rest.substr(0, end);
  rest.remove_prefix(end + 1);
  return field;
}

std::optional<Long> ReadNumber(StringView digits) {
  if (digits.empty() || digits.size() > 10) return std::nullopt;
  std::int64_t value = 0;
  for (const char16_t c : digits) {
    if (!IsDigit(c)) return std::nullopt;
    value = value * 10 + (c - u'0');
  }
  if (value > std::numeric_limits<Long>::max()) return std::nullopt;
  return static_cast<Long>(value);
}

std::optional<ListTotal> ReadTotal(StringView field) {
  ListTotal total;
  if (field == u"-") return total;
  total.isMore = field.ends_with(u'm');
  total.isEstimate = field.ends_with(u'e');
  if (total.isMore || total.isEstimate) field.remove_suffix(1);
  const auto rows = ReadNumber(field);
  if (!rows) return std::nullopt;
  total.rows = *rows;
  return total;
}

std::optional<std::uint32_t> ReadContext(StringView field) {
  if (field.size() != kContextDigits) return std::nullopt;
  std::uint32_t value = 0;
  for (const char16_t c : field) {
    const int digit = HexValue(c);
    if (digit < 0) return std::nullopt;
    value = value << 4 | static_cast<std::uint32_t>(digit);
  }
  return value;
}

std::optional<ListPosition::Move> ReadMove(StringView field) {
  using Move = ListPosition::Move;
  for (const Move move : {Move::First, Move::Next, Move::Previous, Move::Last}) {
    if (field.size() == 1 && field[0] == static_cast<char16_t>(move)) return move;
  }
  return std::nullopt;
}

std::optional<Variant> ReadKey(StringView field) {
  if (field == u"n") return Variant(Null());
  if (field.empty() || field[0] != u't') return std::nullopt;
  std::string bytes;
  for (std::size_t i = 1; i < field.size(); ++i) {
    if (field[i] != u'~') {
      if (field[i] >= 0x80 || !StandsForItself(static_cast<unsigned char>(field[i]))) return std::nullopt;
      bytes += static_cast<char>(field[i]);
      continue;
    }
    const int high = i + 2 < field.size() ? HexValue(field[i + 1]) : -1;
    const int low = i + 2 < field.size() ? HexValue(field[i + 2]) : -1;
    if (high < 0 || low < 0) return std::nullopt;
    bytes += static_cast<char>(high * 16 + low);
    i += 2;
  }
  String text = FromUtf8(bytes);
  // No engine reads a statement behind a NUL.
  if (text.find(u'\0') != String::npos) return std::nullopt;
  return Variant(std::move(text));
}

// All keys that `io_rest` begins with; nothing where one of them is none.
std::optional<std::vector<Variant>> TakeKeys(StringView& io_rest) {
  std::vector<Variant> keys;
  while (const auto field = TakeField(io_rest)) {
    auto key = ReadKey(*field);
    if (!key) return std::nullopt;
    keys.push_back(std::move(*key));
  }
  return keys;
}

bool IsSeal(StringView text) {
  if (text.size() != kSealDigits + 1 || text[0] != u's') return false;
  for (const char16_t c : text.substr(1)) {
    if (HexValue(c) < 0) return false;
  }
  return true;
}

}  // namespace

String WriteListPosition(const ListPosition& position) {
  String text(1, static_cast<char16_t>(position.move));
  const auto append = [&](Long number) {
    text += kEnd;
    AppendDecimal(text, number);
  };
  append(position.skipped);
  append(position.firstRecord);
  text += kEnd;
  if (position.total.IsKnown()) {
    AppendDecimal(text, position.total.rows);
    if (position.total.isMore) text += u'm';
    if (position.total.isEstimate) text += u'e';
  } else {
    text += u'-';
  }
  text += kEnd;
  AppendHex(text, position.context, kContextDigits);
  text += kEnd;
  return text + WriteListKeys(position.keys);
}

String WriteListKeys(const std::vector<Variant>& keys) {
  String text;
  for (const Variant& key : keys) {
    AppendKey(text, key);
    text += kEnd;
  }
  return text;
}

std::optional<std::vector<Variant>> ReadListKeys(StringView text) {
  auto keys = TakeKeys(text);
  if (!keys || keys->empty() || !text.empty()) return std::nullopt;
  return keys;
}

std::optional<ListPosition> ReadListPosition(StringView text) {
  StringView fields[5];
  for (StringView& field : fields) {
    const auto taken = TakeField(text);
    if (!taken) return std::nullopt;
    field = *taken;
  }
  const auto move = ReadMove(fields[0]);
  const auto skipped = ReadNumber(fields[1]);
  const auto firstRecord = ReadNumber(fields[2]);
  const auto total = ReadTotal(fields[3]);
  const auto context = ReadContext(fields[4]);
  if (!move || !skipped || !firstRecord || !total || !context) return std::nullopt;
  auto keys = TakeKeys(text);
  if (!keys) return std::nullopt;
  ListPosition position{*move, *skipped, *firstRecord, *total, *context, std::move(*keys)};
  if (!text.empty() && !IsSeal(text)) return std::nullopt;
  if (position.HasAnchor() == position.keys.empty()) return std::nullopt;
  return position;
}

// FNV-1a.
std::uint32_t ContextOf(StringView text) {
  std::uint32_t hash = 2166136261U;
  for (const char16_t c : text) {
    hash = (hash ^ (c & 0xFFU)) * 16777619U;
    hash = (hash ^ (c >> 8U)) * 16777619U;
  }
  return hash;
}

}  // namespace varnel
