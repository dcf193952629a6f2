// The tagged value that travels between scripts, hosts and the library.
#pragma once

#include <concepts>
#include <cstdint>
#include <cstring>
#include <memory>
#include <type_traits>
#include <utility>
#include <vector>

#include "varnel/automation/Date.h"
#include "varnel/automation/String.h"

namespace varnel {

class Object;
class Variant;

using ObjectPtr = std::shared_ptr<Object>;  // a null pointer is Nothing
using Bytes = std::vector<Byte>;
using BytesPtr = std::shared_ptr<const Bytes>;

// An array of Variants. Copies of a Variant share it, so that an array handed over by
// reference is changed in place.
struct Array;
using ArrayPtr = std::shared_ptr<Array>;

struct Empty {
  bool operator==(const Empty&) const = default;
};
struct Null {
  bool operator==(const Null&) const = default;
};
// A left-out optional argument.
struct Missing {
  bool operator==(const Missing&) const = default;
};

// A number, a date or nothing at all is copied as eight bytes, and only a text, an array or an object is
// asked what copying and ending it means: pages move more values than anything else.
class Variant {
 public:
  Variant() noexcept : m_kind(Kind::Empty), m_plain(0) {}
  Variant(Empty) noexcept : Variant() {}
  Variant(Null) noexcept : m_kind(Kind::Null), m_plain(0) {}
  Variant(Missing) noexcept : m_kind(Kind::Missing), m_plain(0) {}
  Variant(std::same_as<bool> auto value) noexcept : m_kind(Kind::Boolean), m_boolean(value) {}
  Variant(Byte value) noexcept : m_kind(Kind::Byte), m_byte(value) {}
  Variant(Integer value) noexcept : m_kind(Kind::Integer), m_integer(value) {}
  Variant(Long value) noexcept : m_kind(Kind::Long), m_long(value) {}
  Variant(double value) noexcept : m_kind(Kind::Double), m_double(value) {}
  Variant(Date value) noexcept : m_kind(Kind::Date), m_date(value) {}
  Variant(String value) noexcept : m_kind(Kind::Text), m_text(std::move(value)) {}
  Variant(StringView value) : m_kind(Kind::Text), m_text(value) {}
  Variant(const char16_t* value) : m_kind(Kind::Text), m_text(value) {}
  Variant(ArrayPtr value) noexcept : m_kind(Kind::Array), m_array(std::move(value)) {}
  Variant(BytesPtr value) noexcept : m_kind(Kind::Bytes), m_bytes(std::move(value)) {}
  Variant(std::nullptr_t) noexcept : m_kind(Kind::Object), m_object() {}
  template <typename T>
    requires std::convertible_to<std::shared_ptr<T>, ObjectPtr>
  Variant(std::shared_ptr<T> object) noexcept : m_kind(Kind::Object), m_object(std::move(object)) {}

  Variant(const Variant& other) { CopyFrom(other); }
  Variant(Variant&& other) noexcept { MoveFrom(std::move(other)); }
  ~Variant() {
    if (!IsPlain()) End();
  }
  Variant& operator=(const Variant& other);
  Variant& operator=(Variant&& other) noexcept;

  bool IsEmpty() const { return m_kind == Kind::Empty; }
  bool IsNull() const { return m_kind == Kind::Null; }
  bool IsMissing() const { return m_kind == Kind::Missing; }
  bool IsText() const { return m_kind == Kind::Text; }
  bool IsObject() const { return m_kind == Kind::Object; }

  template <typename T>
  bool Is() const {
    return m_kind == kKindOf<T>;
  }
  // The value as the type that it has; a null pointer if it has another one.
  template <typename T>
  const T* As() const {
    return Is<T>() ? &Content<T>() : nullptr;
  }

  // Calls `visitor` with the value as the type that it has.
  template <typename F>
  decltype(auto) Visit(F&& visitor) const {
    switch (m_kind) {
      case Kind::Null:
        return visitor(Null());
      case Kind::Missing:
        return visitor(Missing());
      case Kind::Boolean:
        return visitor(m_boolean);
      case Kind::Byte:
        return visitor(m_byte);
      case Kind::Integer:
        return visitor(m_integer);
      case Kind::Long:
        return visitor(m_long);
      case Kind::Double:
        return visitor(m_double);
      case Kind::Date:
        return visitor(m_date);
      case Kind::Text:
        return visitor(m_text);
      case Kind::Object:
        return visitor(m_object);
      case Kind::Array:
        return visitor(m_array);
      case Kind::Bytes:
        return visitor(m_bytes);
      case Kind::Empty:
        break;
    }
    return visitor(Empty());
  }

  // Same type and same value; objects and arrays are the same if they are one.
  bool operator==(const Variant& other) const;

 private:
  // Those from Text on own something.
  enum class Kind : std::uint8_t {
    Empty,
    Null,
    Missing,
    Boolean,
    Byte,
    Integer,
    Long,
    Double,
    Date,
    Text,
    Object,
    Array,
    Bytes
  };

  template <typename T>
  static constexpr Kind KindOf() {
    if constexpr (std::is_same_v<T, varnel::Empty>) return Kind::Empty;
    if constexpr (std::is_same_v<T, varnel::Null>) return Kind::Null;
    if constexpr (std::is_same_v<T, varnel::Missing>) return Kind::Missing;
    if constexpr (std::is_same_v<T, bool>) return Kind::Boolean;
    if constexpr (std::is_same_v<T, varnel::Byte>) return Kind::Byte;
    if constexpr (std::is_same_v<T, varnel::Integer>) return Kind::Integer;
    if constexpr (std::is_same_v<T, varnel::Long>) return Kind::Long;
    if constexpr (std::is_same_v<T, double>) return Kind::Double;
    if constexpr (std::is_same_v<T, varnel::Date>) return Kind::Date;
    if constexpr (std::is_same_v<T, String>) return Kind::Text;
    if constexpr (std::is_same_v<T, ObjectPtr>) return Kind::Object;
    if constexpr (std::is_same_v<T, ArrayPtr>) return Kind::Array;
    if constexpr (std::is_same_v<T, BytesPtr>) return Kind::Bytes;
  }
  template <typename T>
  static constexpr Kind kKindOf = KindOf<T>();

  template <typename T>
  const T& Content() const {
    if constexpr (std::is_same_v<T, bool>) return m_boolean;
    if constexpr (std::is_same_v<T, varnel::Byte>) return m_byte;
    if constexpr (std::is_same_v<T, varnel::Integer>) return m_integer;
    if constexpr (std::is_same_v<T, varnel::Long>) return m_long;
    if constexpr (std::is_same_v<T, double>) return m_double;
    if constexpr (std::is_same_v<T, varnel::Date>) return m_date;
    if constexpr (std::is_same_v<T, String>) return m_text;
    if constexpr (std::is_same_v<T, ObjectPtr>) return m_object;
    if constexpr (std::is_same_v<T, ArrayPtr>) return m_array;
    if constexpr (std::is_same_v<T, BytesPtr>) return m_bytes;
  }

  bool IsPlain() const { return m_kind < Kind::Text; }
  // These three fill a value that holds nothing yet, or empty one without saying so.
  void CopyFrom(const Variant& other);
  void MoveFrom(Variant&& other) noexcept;
  void End() noexcept;

  Kind m_kind;
  union {
    std::uint64_t m_plain;  // the bytes of those that own nothing
    bool m_boolean;
    varnel::Byte m_byte;
    varnel::Integer m_integer;
    varnel::Long m_long;
    double m_double;
    varnel::Date m_date;
    String m_text;
    ObjectPtr m_object;
    ArrayPtr m_array;
    BytesPtr m_bytes;
  };
};

struct Array {
  std::vector<Variant> items;
  Long firstPosition = 0;  // what its owner calls the position of the first item
};

inline void Variant::CopyFrom(const Variant& other) {
  m_kind = other.m_kind;
  switch (m_kind) {
    case Kind::Text:
      std::construct_at(&m_text, other.m_text);
      break;
    case Kind::Object:
      std::construct_at(&m_object, other.m_object);
      break;
    case Kind::Array:
      std::construct_at(&m_array, other.m_array);
      break;
    case Kind::Bytes:
      std::construct_at(&m_bytes, other.m_bytes);
      break;
    default:
      std::memcpy(&m_plain, &other.m_plain, sizeof m_plain);
  }
}

inline void Variant::MoveFrom(Variant&& other) noexcept {
  m_kind = other.m_kind;
  switch (m_kind) {
    case Kind::Text:
      std::construct_at(&m_text, std::move(other.m_text));
      break;
    case Kind::Object:
      std::construct_at(&m_object, std::move(other.m_object));
      break;
    case Kind::Array:
      std::construct_at(&m_array, std::move(other.m_array));
      break;
    case Kind::Bytes:
      std::construct_at(&m_bytes, std::move(other.m_bytes));
      break;
    default:
      std::memcpy(&m_plain, &other.m_plain, sizeof m_plain);
  }
}

inline void Variant::End() noexcept {
  switch (m_kind) {
    case Kind::Text:
      return std::destroy_at(&m_text);
    case Kind::Object:
      return std::destroy_at(&m_object);
    case Kind::Array:
      return std::destroy_at(&m_array);
    case Kind::Bytes:
      return std::destroy_at(&m_bytes);
    default:
      return;
  }
}

inline Variant& Variant::operator=(const Variant& other) {
  if (IsText() && other.IsText()) {
    m_text = other.m_text;  // in the memory that it has
    return *this;
  }
  return *this = Variant(other);
}

// What was held ends last: the other value may be a part of it.
inline Variant& Variant::operator=(Variant&& other) noexcept {
  if (this == &other) return *this;
  const Variant before(std::move(*this));
  if (!IsPlain()) End();
  MoveFrom(std::move(other));
  return *this;
}

inline bool Variant::operator==(const Variant& other) const {
  if (m_kind != other.m_kind) return false;
  return Visit([&other](const auto& held) {
    using T = std::decay_t<decltype(held)>;
    if constexpr (std::is_empty_v<T>) {
      return true;
    } else {
      return held == other.Content<T>();
    }
  });
}

}  // namespace varnel
