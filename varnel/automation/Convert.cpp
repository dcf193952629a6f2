#include "varnel/automation/Convert.h"

#include <cmath>
#include <limits>
#include <type_traits>

#include "varnel/automation/Error.h"
#include "varnel/automation/LocaleFacts.h"

namespace varnel {

namespace {

[[noreturn]] void RaiseMismatch() { RaiseRuntimeError(runtime_error::kTypeMismatch); }

// A date that a script couldn't make is none in any conversion.
Date RequireDate(Date date) {
  if (std::isnan(date.days)) RaiseRuntimeError(runtime_error::kTypeMismatch, u"an invalid date");
  return date;
}

// The value that stands for an object where a plain one is needed. Objects may lead to each other without
// end. What runs for a default value may be a script, which changes what holds the object: so it is held
// here.
Variant PlainValueOf(ObjectPtr object) {
  for (int step = 0; step < kMostDefaultSteps; ++step) {
    if (object == nullptr) RaiseRuntimeError(runtime_error::kObjectNotSet);
    if (object->Class().Default() == nullptr) RaiseMismatch();
    Variant value = object->CallDefault({});
    const ObjectPtr* next = value.As<ObjectPtr>();
    if (next == nullptr) return value;
    object = *next;
  }
  RaiseRuntimeError(runtime_error::kTypeMismatch, u"default values lead to each other");
}

// A number rounded to the nearest whole one, a half to the even neighbour, within the range of T.
template <typename T>
T RoundTo(double value) {
  const double rounded = std::nearbyint(value);
  if (!(rounded >= std::numeric_limits<T>::min() && rounded <= std::numeric_limits<T>::max())) {
    RaiseRuntimeError(runtime_error::kOverflow);
  }
  return static_cast<T>(rounded);
}

template <typename T>
T ToWhole(const Variant& value) {
  if (const T* same = value.As<T>()) return *same;
  return RoundTo<T>(ToDouble(value));
}

}  // namespace

Integer ToInteger(const Variant& value) { return ToWhole<Integer>(value); }
Long ToLong(const Variant& value) { return ToWhole<Long>(value); }
Byte ToByte(const Variant& value) { return ToWhole<Byte>(value); }
Long RoundToLong(double value) { return RoundTo<Long>(value); }

double ToDouble(const Variant& value) {
  return value.Visit([](const auto& held) -> double {
    using T = std::decay_t<decltype(held)>;
    if constexpr (std::is_same_v<T, bool>) {
      return held ? -1 : 0;
    } else if constexpr (std::is_arithmetic_v<T>) {
      return held;
    } else if constexpr (std::is_same_v<T, Empty> || std::is_same_v<T, Missing>) {
      return 0;
    } else if constexpr (std::is_same_v<T, Null>) {
      RaiseRuntimeError(runtime_error::kInvalidUseOfNull);
    } else if constexpr (std::is_same_v<T, Date>) {
      return RequireDate(held).days;
    } else if constexpr (std::is_same_v<T, String>) {
      return ParseNumber(held);
    } else if constexpr (std::is_same_v<T, ObjectPtr>) {
      return ToDouble(PlainValueOf(held));
    } else {
      RaiseMismatch();
    }
  });
}

bool ToBoolean(const Variant& value) {
  if (const bool* same = value.As<bool>()) return *same;
  if (const ObjectPtr* object = value.As<ObjectPtr>()) return ToBoolean(PlainValueOf(*object));
  if (const String* text = value.As<String>()) {
    if (EqualsNoCase(Trim(*text), u"True")) return true;
    if (EqualsNoCase(Trim(*text), u"False")) return false;
  }
  return ToDouble(value) != 0;
}

Date ToDate(const Variant& value) {
  if (const Date* same = value.As<Date>()) return RequireDate(*same);
  if (const ObjectPtr* object = value.As<ObjectPtr>()) return ToDate(PlainValueOf(*object));
  if (const String* text = value.As<String>()) return ParseDate(*text);
  const Date date{ToDouble(value)};
  SplitDate(date);  // raises if there is no such day
  return date;
}

String ToText(const Variant& value) {
  return value.Visit([](const auto& held) -> String {
    using T = std::decay_t<decltype(held)>;
    if constexpr (std::is_same_v<T, String>) {
      return held;
    } else if constexpr (std::is_same_v<T, bool>) {
      return held ? u"True" : u"False";
    } else if constexpr (std::is_same_v<T, double>) {
      return NumberText(held);
    } else if constexpr (std::is_arithmetic_v<T>) {
      return DecimalText(held);
    } else if constexpr (std::is_same_v<T, Empty> || std::is_same_v<T, Missing>) {
      return {};
    } else if constexpr (std::is_same_v<T, Null>) {
      RaiseRuntimeError(runtime_error::kInvalidUseOfNull);
    } else if constexpr (std::is_same_v<T, Date>) {
      return DateText(RequireDate(held));
    } else if constexpr (std::is_same_v<T, ObjectPtr>) {
      return ToText(PlainValueOf(held));
    } else {
      RaiseMismatch();
    }
  });
}

Variant ToPlain(const Variant& value) {
  const ObjectPtr* object = value.As<ObjectPtr>();
  return object == nullptr ? value : PlainValueOf(*object);
}

ObjectPtr ToObject(const Variant& value) {
  if (value.IsNull()) return nullptr;
  const ObjectPtr* object = value.As<ObjectPtr>();
  if (object == nullptr) RaiseMismatch();
  return *object;
}

String TypeName(const Variant& value) {
  return value.Visit([](const auto& held) -> String {
    using T = std::decay_t<decltype(held)>;
    if constexpr (std::is_same_v<T, Empty> || std::is_same_v<T, Missing>) return u"Empty";
    if constexpr (std::is_same_v<T, Null>) return u"Null";
    if constexpr (std::is_same_v<T, bool>) return u"Boolean";
    if constexpr (std::is_same_v<T, Byte>) return u"Byte";
    if constexpr (std::is_same_v<T, Integer>) return u"Integer";
    if constexpr (std::is_same_v<T, Long>) return u"Long";
    if constexpr (std::is_same_v<T, double>) return u"Double";
    if constexpr (std::is_same_v<T, Date>) return u"Date";
    if constexpr (std::is_same_v<T, String>) return u"String";
    if constexpr (std::is_same_v<T, ArrayPtr>) return u"Variant()";
    if constexpr (std::is_same_v<T, BytesPtr>) return u"Byte()";
    if constexpr (std::is_same_v<T, ObjectPtr>)
      return held == nullptr ? String(u"Nothing") : held->Class().name;
  });
}

}  // namespace varnel
