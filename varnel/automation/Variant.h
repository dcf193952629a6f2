// The tagged value that travels between scripts, hosts and the library.
#pragma once

#include <concepts>
#include <memory>
#include <utility>
#include <variant>
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

class Variant {
 public:
  using Value = std::variant<Empty, Null, Missing, bool, Byte, Integer, Long, double, Date, String, ObjectPtr,
                             ArrayPtr, BytesPtr>;

  Variant() = default;
  Variant(Empty) {}
  Variant(Null value) : m_value(value) {}
  Variant(Missing value) : m_value(value) {}
  Variant(std::same_as<bool> auto value) : m_value(value) {}
  Variant(Byte value) : m_value(value) {}
  Variant(Integer value) : m_value(value) {}
  Variant(Long value) : m_value(value) {}
  Variant(double value) : m_value(value) {}
  Variant(Date value) : m_value(value) {}
  Variant(String value) : m_value(std::move(value)) {}
  Variant(StringView value) : m_value(String(value)) {}
  Variant(const char16_t* value) : m_value(String(value)) {}
  Variant(ArrayPtr value) : m_value(std::move(value)) {}
  Variant(BytesPtr value) : m_value(std::move(value)) {}
  Variant(std::nullptr_t) : m_value(ObjectPtr()) {}
  template <typename T>
    requires std::convertible_to<std::shared_ptr<T>, ObjectPtr>
  Variant(std::shared_ptr<T> object) : m_value(ObjectPtr(std::move(object))) {}

  bool IsEmpty() const { return Is<Empty>(); }
  bool IsNull() const { return Is<Null>(); }
  bool IsMissing() const { return Is<Missing>(); }
  bool IsText() const { return Is<String>(); }
  bool IsObject() const { return Is<ObjectPtr>(); }

  template <typename T>
  bool Is() const {
    return std::holds_alternative<T>(m_value);
  }
  // The value as the type that it has; a null pointer if it has another one.
  template <typename T>
  const T* As() const {
    return std::get_if<T>(&m_value);
  }

  const Value& Get() const { return m_value; }

  // Same type and same value; objects and arrays are the same if they are one.
  bool operator==(const Variant&) const = default;

 private:
  Value m_value;
};

struct Array {
  std::vector<Variant> items;
  Long firstPosition = 0;  // what its owner calls the position of the first item
};

}  // namespace varnel
