#include "host-linux/sessions/ValueBytes.h"

#include <cmath>

#include "host-linux/sessions/Bytes.h"

namespace hostlinux {

namespace {

using varnel::ArrayPtr;
using varnel::BytesPtr;
using varnel::Variant;

constexpr int kMaxDepth = 32;

// What stands in front of each value. The numbers are in files: new kinds come behind.
enum class Kind : std::uint8_t {
  Empty,
  Null,
  False,
  True,
  Byte,
  Integer,
  Long,
  Double,
  Date,
  Text,
  Nothing,
  Array,
  NoArray,
  Bytes,
  NoBytes
};

bool Write(ByteWriter& writer, const Variant& value, int depth);

void WriteKind(ByteWriter& writer, Kind kind) { writer.Number(static_cast<std::uint8_t>(kind)); }

template <typename T>
bool WriteNumber(ByteWriter& writer, Kind kind, T number) {
  WriteKind(writer, kind);
  writer.Number(number);
  return true;
}

bool WriteArray(ByteWriter& writer, const ArrayPtr& array, int depth) {
  WriteKind(writer, array ? Kind::Array : Kind::NoArray);
  if (!array) return true;
  if (depth == kMaxDepth) return false;
  writer.Number(static_cast<std::uint32_t>(array->items.size()));
  for (const Variant& item : array->items) {
    if (!Write(writer, item, depth + 1)) return false;
  }
  return true;
}

bool WriteBytes(ByteWriter& writer, const BytesPtr& bytes) {
  WriteKind(writer, bytes ? Kind::Bytes : Kind::NoBytes);
  if (bytes) writer.Text(std::string_view(reinterpret_cast<const char*>(bytes->data()), bytes->size()));
  return true;
}

struct Writing {
  ByteWriter& writer;
  int depth;

  bool Plain(Kind kind) const {
    WriteKind(writer, kind);
    return true;
  }
  bool operator()(varnel::Empty) const { return Plain(Kind::Empty); }
  bool operator()(varnel::Missing) const { return Plain(Kind::Empty); }
  bool operator()(varnel::Null) const { return Plain(Kind::Null); }
  bool operator()(bool value) const { return Plain(value ? Kind::True : Kind::False); }
  bool operator()(varnel::Byte value) const { return WriteNumber(writer, Kind::Byte, value); }
  bool operator()(varnel::Integer value) const { return WriteNumber(writer, Kind::Integer, value); }
  bool operator()(varnel::Long value) const { return WriteNumber(writer, Kind::Long, value); }
  bool operator()(double value) const { return WriteNumber(writer, Kind::Double, value); }
  bool operator()(varnel::Date value) const { return WriteNumber(writer, Kind::Date, value.days); }
  bool operator()(const varnel::String& value) const {
    WriteKind(writer, Kind::Text);
    writer.Text(varnel::StringView(value));
    return true;
  }
  bool operator()(const varnel::ObjectPtr& value) const { return value == nullptr && Plain(Kind::Nothing); }
  bool operator()(const ArrayPtr& value) const { return WriteArray(writer, value, depth); }
  bool operator()(const BytesPtr& value) const { return WriteBytes(writer, value); }
};

bool Write(ByteWriter& writer, const Variant& value, int depth) {
  return value.Visit(Writing{writer, depth});
}

bool Read(ByteReader& reader, Variant& value, int depth);

template <typename T>
bool ReadNumber(ByteReader& reader, Variant& value) {
  T number{};
  if (!reader.Number(number)) return false;
  value = number;
  return true;
}

bool ReadDate(ByteReader& reader, Variant& value) {
  varnel::Date date;
  if (!reader.Number(date.days) || std::isnan(date.days)) return false;
  value = date;
  return true;
}

bool ReadText(ByteReader& reader, Variant& value) {
  varnel::String text;
  if (!reader.Text(text)) return false;
  value = std::move(text);
  return true;
}

bool ReadBytes(ByteReader& reader, Variant& value) {
  std::string text;
  if (!reader.Text(text)) return false;
  value = std::make_shared<const varnel::Bytes>(text.begin(), text.end());
  return true;
}

bool ReadArray(ByteReader& reader, Variant& value, int depth) {
  std::uint32_t count = 0;
  // Each item takes a byte at least.
  if (depth == kMaxDepth || !reader.Number(count) || count > reader.Left()) return false;
  auto array = std::make_shared<varnel::Array>();
  for (std::uint32_t i = 0; i < count; ++i) {
    if (!Read(reader, array->items.emplace_back(), depth + 1)) return false;
  }
  value = std::move(array);
  return true;
}

bool Become(Variant& value, Variant plain) {
  value = std::move(plain);
  return true;
}

bool Read(ByteReader& reader, Variant& value, int depth) {
  std::uint8_t kind = 0;
  if (!reader.Number(kind)) return false;
  switch (static_cast<Kind>(kind)) {
    case Kind::Empty:
      return Become(value, Variant());
    case Kind::Null:
      return Become(value, varnel::Null());
    case Kind::False:
      return Become(value, false);
    case Kind::True:
      return Become(value, true);
    case Kind::Byte:
      return ReadNumber<varnel::Byte>(reader, value);
    case Kind::Integer:
      return ReadNumber<varnel::Integer>(reader, value);
    case Kind::Long:
      return ReadNumber<varnel::Long>(reader, value);
    case Kind::Double:
      return ReadNumber<double>(reader, value);
    case Kind::Date:
      return ReadDate(reader, value);
    case Kind::Text:
      return ReadText(reader, value);
    case Kind::Nothing:
      return Become(value, nullptr);
    case Kind::Array:
      return ReadArray(reader, value, depth);
    case Kind::NoArray:
      return Become(value, ArrayPtr());
    case Kind::Bytes:
      return ReadBytes(reader, value);
    case Kind::NoBytes:
      return Become(value, BytesPtr());
  }
  return false;
}

}  // namespace

std::optional<std::string> BytesOf(const KeyedValue& value) {
  ByteWriter writer;
  writer.Number(static_cast<std::uint64_t>(value.order));
  writer.Text(varnel::StringView(value.key));
  if (!Write(writer, value.value, 0)) return std::nullopt;
  return writer.Take();
}

std::string NameOf(varnel::StringView key) {
  const varnel::String folded = varnel::ToLower(key);
  // With a letter in front, since an empty key is a key too.
  return "k" + std::string(reinterpret_cast<const char*>(folded.data()), folded.size() * sizeof(char16_t));
}

std::optional<KeyedValue> ValueOf(std::string_view bytes) {
  ByteReader reader(bytes);
  KeyedValue value;
  std::uint64_t order = 0;
  if (!reader.Number(order) || !reader.Text(value.key) || !Read(reader, value.value, 0)) return std::nullopt;
  if (reader.Left() != 0 || order == UINT64_MAX) return std::nullopt;
  value.order = order;
  return value;
}

}  // namespace hostlinux
