#include "host-linux/component/CValues.h"

#include <algorithm>
#include <cstring>
#include <limits>
#include <new>

#include "host-linux/base/Utf8.h"
#include "host-linux/component/Handles.h"
#include "varnel/automation/Error.h"

namespace hostlinux {

using varnel::RaiseRuntimeError;
using varnel::Variant;
namespace runtime_error = varnel::runtime_error;

namespace {

constexpr int kMostLevels = 32;

varnel::String CheckedText(std::string_view bytes) {
  if (!IsUtf8(bytes)) RaiseRuntimeError(runtime_error::kInvalidArgument, u"a text that is no UTF-8");
  return varnel::FromUtf8(bytes);
}

void RequireMemory(const void* memory, std::size_t size) {
  if (memory == nullptr && size > 0)
    RaiseRuntimeError(runtime_error::kInvalidArgument, u"a size without memory");
}

template <typename T>
T InRange(std::int32_t number) {
  if (number < std::numeric_limits<T>::min() || number > std::numeric_limits<T>::max())
    RaiseRuntimeError(runtime_error::kOverflow);
  return static_cast<T>(number);
}

Variant Read(const varnel_value& value, int level);

Variant ReadArray(const varnel_value& value, int level) {
  if (level > kMostLevels) RaiseRuntimeError(runtime_error::kTypeMismatch);
  RequireMemory(value.of.items, value.size);
  auto array = std::make_shared<varnel::Array>();
  array->firstPosition = value.first;
  for (std::size_t i = 0; i < value.size; ++i) array->items.push_back(Read(value.of.items[i], level + 1));
  return array;
}

Variant Read(const varnel_value& value, int level) {
  switch (value.type) {
    case VARNEL_EMPTY:
      return {};
    case VARNEL_NULL:
      return varnel::Null();
    case VARNEL_MISSING:
      return varnel::Missing();
    case VARNEL_BOOLEAN:
      return value.of.number != 0;
    case VARNEL_BYTE:
      return InRange<varnel::Byte>(value.of.number);
    case VARNEL_INTEGER:
      return InRange<varnel::Integer>(value.of.number);
    case VARNEL_LONG:
      return varnel::Long{value.of.number};
    case VARNEL_DOUBLE:
      return value.of.real;
    case VARNEL_DATE:
      return varnel::Date{value.of.real};
    case VARNEL_TEXT:
      RequireMemory(value.of.text, value.size);
      return CheckedText({value.of.text, value.size});
    case VARNEL_OBJECT:
      return Handles::OfThread().Find(value.of.object);
    case VARNEL_ARRAY:
      return ReadArray(value, level);
    case VARNEL_BYTES:
      RequireMemory(value.of.bytes, value.size);
      return varnel::BytesPtr(
          std::make_shared<const varnel::Bytes>(value.of.bytes, value.of.bytes + value.size));
    default:
      RaiseRuntimeError(runtime_error::kTypeMismatch);
  }
}

char* CopyOf(const void* bytes, std::size_t size) {
  auto* copy = new char[size + 1];
  if (size > 0) std::memcpy(copy, bytes, size);
  copy[size] = 0;
  return copy;
}

void Write(const Variant& value, varnel_value& target, int level);

void WriteArray(const varnel::Array& array, varnel_value& target, int level) {
  if (level > kMostLevels) RaiseRuntimeError(runtime_error::kTypeMismatch);
  varnel_value made{};
  made.type = VARNEL_ARRAY;
  made.owned = 1;
  made.of.items = new varnel_value[array.items.size()]();
  made.size = array.items.size();
  made.first = array.firstPosition;
  try {
    for (std::size_t i = 0; i < made.size; ++i) Write(array.items[i], made.of.items[i], level + 1);
  } catch (...) {
    ClearC(made);
    throw;
  }
  target = made;
}

void SetNumber(varnel_value& target, std::int32_t type, std::int32_t number) {
  target.type = type;
  target.of.number = number;
}

void SetReal(varnel_value& target, std::int32_t type, double real) {
  target.type = type;
  target.of.real = real;
}

bool WritePlain(const Variant& value, varnel_value& target) {
  if (const auto* truth = value.As<bool>()) {
    SetNumber(target, VARNEL_BOOLEAN, *truth ? 1 : 0);
  } else if (const auto* byte = value.As<varnel::Byte>()) {
    SetNumber(target, VARNEL_BYTE, *byte);
  } else if (const auto* integer = value.As<varnel::Integer>()) {
    SetNumber(target, VARNEL_INTEGER, *integer);
  } else if (const auto* number = value.As<varnel::Long>()) {
    SetNumber(target, VARNEL_LONG, *number);
  } else if (const auto* real = value.As<double>()) {
    SetReal(target, VARNEL_DOUBLE, *real);
  } else if (const auto* date = value.As<varnel::Date>()) {
    SetReal(target, VARNEL_DATE, date->days);
  } else if (value.IsEmpty() || value.IsNull() || value.IsMissing()) {
    target.type = value.IsEmpty() ? VARNEL_EMPTY : value.IsNull() ? VARNEL_NULL : VARNEL_MISSING;
  } else {
    return false;
  }
  return true;
}

void WriteText(const varnel::String& text, varnel_value& target) {
  const std::string bytes = varnel::ToUtf8(text);
  target.of.text = CopyOf(bytes.data(), bytes.size());
  target.size = bytes.size();
  target.type = VARNEL_TEXT;
  target.owned = 1;
}

void WriteBytes(const varnel::Bytes& bytes, varnel_value& target) {
  target.of.text = CopyOf(bytes.data(), bytes.size());
  target.size = bytes.size();
  target.type = VARNEL_BYTES;
  target.owned = 1;
}

void Write(const Variant& value, varnel_value& target, int level) {
  target = varnel_value{};
  if (WritePlain(value, target)) return;
  if (const auto* text = value.As<varnel::String>()) {
    WriteText(*text, target);
  } else if (const auto* object = value.As<varnel::ObjectPtr>()) {
    target.of.object = Handles::OfThread().Add(*object);
    target.type = VARNEL_OBJECT;
    target.owned = 1;
  } else if (const auto* array = value.As<varnel::ArrayPtr>()) {
    WriteArray(*array == nullptr ? varnel::Array() : **array, target, level);
  } else if (const auto* bytes = value.As<varnel::BytesPtr>()) {
    WriteBytes(*bytes == nullptr ? varnel::Bytes() : **bytes, target);
  }
}

}  // namespace

Variant FromC(const varnel_value& value) { return Read(value, 0); }

void ToC(const Variant& value, varnel_value& target) { Write(value, target, 0); }

void ClearC(varnel_value& value) noexcept {
  const varnel_value last = value;
  value = varnel_value{};
  if (last.owned == 0) return;
  switch (last.type) {
    case VARNEL_TEXT:
    case VARNEL_BYTES:
      delete[] last.of.text;
      break;
    case VARNEL_OBJECT:
      Handles::OfThread().Remove(last.of.object);
      break;
    case VARNEL_ARRAY:
      for (std::size_t i = 0; i < last.size; ++i) ClearC(last.of.items[i]);
      delete[] last.of.items;
      break;
    default:
      break;
  }
}

varnel::String TextOfC(const char* text) {
  if (text == nullptr) RaiseRuntimeError(runtime_error::kInvalidArgument, u"a text is missing");
  return CheckedText(text);
}

}  // namespace hostlinux
