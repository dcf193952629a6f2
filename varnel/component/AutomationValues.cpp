#include "varnel/component/AutomationValues.h"

#include <cmath>
#include <cstring>
#include <limits>

#include "varnel/automation/Convert.h"
#include "varnel/automation/Error.h"
#include "varnel/component/ObjectWrappers.h"

namespace varnel::com {

namespace {

// So deep do arrays and references lie in each other.
constexpr int kMostLevels = 32;
constexpr double kCurrencyUnits = 10000;
constexpr int kMostDecimals = 28;

[[noreturn]] void RaiseMismatch() { RaiseRuntimeError(runtime_error::kTypeMismatch); }

// Memory of callers isn't always aligned.
template <typename T>
T Read(const void* place) {
  T value;
  std::memcpy(&value, place, sizeof(T));  // NOLINT(bugprone-sizeof-expression): a pointer is one, too
  return value;
}

template <typename T>
void Write(void* place, T value) {
  std::memcpy(place, &value, sizeof(T));  // NOLINT(bugprone-sizeof-expression): a pointer is one, too
}

template <typename T>
Variant WholeNumber(T number) {
  if (number >= std::numeric_limits<Long>::min() && number <= std::numeric_limits<Long>::max())
    return static_cast<Long>(number);
  return static_cast<double>(number);
}

Variant UnsignedNumber(std::uint64_t number) {
  if (number <= std::uint64_t{std::numeric_limits<Long>::max()}) return static_cast<Long>(number);
  return static_cast<double>(number);
}

long double PowerOfTen(int exponent) {
  long double power = 1;
  for (int i = 0; i < exponent; ++i) power *= 10;
  return power;
}

double NumberOf(const Decimal& decimal) {
  if (decimal.scale > kMostDecimals) RaiseMismatch();
  const long double digits =
      std::ldexp(static_cast<long double>(decimal.high), 64) + static_cast<long double>(decimal.low);
  const auto number = static_cast<double>(digits / PowerOfTen(decimal.scale));
  return decimal.sign == 0 ? number : -number;
}

Variant Load(VARTYPE type, const void* place, int level);

Variant LoadElements(const SAFEARRAY& array, VARTYPE type, const char* data, int level) {
  const std::size_t count = array.rgsabound[0].cElements;
  const Long first = array.rgsabound[0].lLbound;
  if (type == VT_UI1 && first == 0) {
    const auto* bytes = reinterpret_cast<const Byte*>(data);
    return BytesPtr(std::make_shared<const Bytes>(bytes, bytes + count));
  }
  auto items = std::make_shared<Array>();
  items->firstPosition = first;
  items->items.reserve(count);
  for (std::size_t i = 0; i < count; ++i)
    items->items.push_back(Load(type, data + i * array.cbElements, level));
  return items;
}

// Keeps an array's elements where they are.
class ArrayAccess {
 public:
  explicit ArrayAccess(SAFEARRAY* array) : m_array(array) {
    if (FAILED(SafeArrayAccessData(m_array, &m_data))) RaiseMismatch();
  }
  ~ArrayAccess() { SafeArrayUnaccessData(m_array); }
  ArrayAccess(const ArrayAccess&) = delete;
  ArrayAccess& operator=(const ArrayAccess&) = delete;
  char* Data() const { return static_cast<char*>(m_data); }

 private:
  SAFEARRAY* m_array;
  void* m_data = nullptr;
};

bool IsListOf(const SAFEARRAY& array, VARTYPE type) {
  const std::size_t size = SizeOfElement(type);
  return array.cDims == 1 && size != 0 && array.cbElements == size;
}

// An array that was never dimensioned has no elements.
Variant LoadArray(SAFEARRAY* array, VARTYPE type, int level) {
  if (level > kMostLevels) RaiseMismatch();
  if (array == nullptr) return std::make_shared<Array>();
  if (!IsListOf(*array, type)) RaiseMismatch();
  const ArrayAccess access(array);
  return LoadElements(*array, type, access.Data(), level + 1);
}

Variant LoadError(std::int32_t code) {
  if (code == DISP_E_PARAMNOTFOUND) return Missing();
  RaiseMismatch();
}

Variant LoadUnknown(IUnknown* object) {
  if (object == nullptr) return nullptr;
  const auto dispatch = QueryFor<IDispatch>(object, kDispatchId);
  if (!dispatch) RaiseMismatch();
  return UnwrapObject(dispatch.Get());
}

Variant LoadValue(const VARIANT& value, int level) {
  if (level > kMostLevels) RaiseMismatch();
  const auto type = static_cast<VARTYPE>(value.vt & VT_TYPEMASK);
  const bool byReference = (value.vt & VT_BYREF) != 0;
  if ((value.vt & ~(VT_TYPEMASK | VT_ARRAY | VT_BYREF)) != 0) RaiseMismatch();
  if (byReference && value.byref == nullptr) RaiseMismatch();
  if ((value.vt & VT_ARRAY) != 0)
    return LoadArray(byReference ? Read<SAFEARRAY*>(value.byref) : value.parray, type, level);
  if (byReference) {
    // A reference to nothing, or to no value.
    if (type == VT_EMPTY || type == VT_NULL) RaiseMismatch();
    return Load(type, value.byref, level);
  }
  // A value by itself is no VARIANT in a VARIANT, and a Decimal begins in front of the others.
  if (type == VT_VARIANT) RaiseMismatch();
  if (type == VT_DECIMAL) return NumberOf(Read<Decimal>(&value));
  return Load(type, &value.llVal, level);
}

Variant Load(VARTYPE type, const void* place, int level) {
  switch (type) {
    case VT_EMPTY:
      return {};
    case VT_NULL:
      return Null();
    case VT_I1:
      return static_cast<Integer>(Read<std::int8_t>(place));
    case VT_UI1:
      return Read<Byte>(place);
    case VT_I2:
      return Read<Integer>(place);
    case VT_UI2:
      return static_cast<Long>(Read<std::uint16_t>(place));
    case VT_I4:
    case VT_INT:
      return Read<Long>(place);
    case VT_UI4:
    case VT_UINT:
      return UnsignedNumber(Read<std::uint32_t>(place));
    case VT_I8:
      return WholeNumber(Read<std::int64_t>(place));
    case VT_UI8:
      return UnsignedNumber(Read<std::uint64_t>(place));
    case VT_R4:
      return static_cast<double>(Read<float>(place));
    case VT_R8:
      return Read<double>(place);
    case VT_CY:
      return static_cast<double>(static_cast<long double>(Read<std::int64_t>(place)) /
                                 static_cast<long double>(kCurrencyUnits));
    case VT_DECIMAL:
      return NumberOf(Read<Decimal>(place));
    case VT_BOOL:
      return Read<VARIANT_BOOL>(place) != VARIANT_FALSE;
    case VT_DATE:
      return Date{Read<double>(place)};
    case VT_BSTR:
      return TextOf(Read<BSTR>(place));
    case VT_ERROR:
      return LoadError(Read<std::int32_t>(place));
    case VT_DISPATCH:
      return UnwrapObject(Read<IDispatch*>(place));
    case VT_UNKNOWN:
      return LoadUnknown(Read<IUnknown*>(place));
    case VT_VARIANT:
      return LoadValue(*static_cast<const VARIANT*>(place), level + 1);
    default:
      RaiseMismatch();
  }
}

void Save(const Variant& value, VARIANT& target, int level);

SAFEARRAY* MakeArray(VARTYPE type, std::size_t count, Long first) {
  if (count > std::numeric_limits<ULONG>::max()) RaiseRuntimeError(runtime_error::kOutOfMemory);
  SAFEARRAYBOUND bound{static_cast<ULONG>(count), first};
  SAFEARRAY* array = SafeArrayCreate(type, 1, &bound);
  if (array == nullptr) RaiseRuntimeError(runtime_error::kOutOfMemory);
  return array;
}

void SaveArray(const Array& items, VARIANT& target, int level) {
  if (level > kMostLevels) RaiseMismatch();
  OwnedVariant owned;
  owned.Get().parray = MakeArray(VT_VARIANT, items.items.size(), items.firstPosition);
  owned.Get().vt = VT_ARRAY | VT_VARIANT;
  {
    const ArrayAccess access(owned.Get().parray);
    auto* elements = reinterpret_cast<VARIANT*>(access.Data());
    for (std::size_t i = 0; i < items.items.size(); ++i) Save(items.items[i], elements[i], level + 1);
  }
  target = owned.Detach();
}

void SaveBytes(const Bytes& bytes, VARIANT& target) {
  target.parray = MakeArray(VT_UI1, bytes.size(), 0);
  target.vt = VT_ARRAY | VT_UI1;
  const ArrayAccess access(target.parray);
  if (!bytes.empty()) std::memcpy(access.Data(), bytes.data(), bytes.size());
}

void SaveObject(const ObjectPtr& object, VARIANT& target) {
  target.pdispVal = object == nullptr ? nullptr : WrapObject(object).Detach();
  target.vt = VT_DISPATCH;
}

// Everything but texts, objects and arrays, in the order in which they come most.
bool SavePlain(const Variant& value, VARIANT& target) {
  if (const auto* number = value.As<Long>()) {
    target.lVal = *number;
    target.vt = VT_I4;
  } else if (const auto* shortNumber = value.As<Integer>()) {
    target.iVal = *shortNumber;
    target.vt = VT_I2;
  } else if (const auto* real = value.As<double>()) {
    target.dblVal = *real;
    target.vt = VT_R8;
  } else if (const auto* truth = value.As<bool>()) {
    target.boolVal = *truth ? VARIANT_TRUE : VARIANT_FALSE;
    target.vt = VT_BOOL;
  } else if (const auto* date = value.As<Date>()) {
    target.date = date->days;
    target.vt = VT_DATE;
  } else if (const auto* byte = value.As<Byte>()) {
    target.bVal = *byte;
    target.vt = VT_UI1;
  } else if (value.IsNull()) {
    target.vt = VT_NULL;
  } else if (value.IsMissing()) {
    target.scode = DISP_E_PARAMNOTFOUND;
    target.vt = VT_ERROR;
  } else {
    return false;
  }
  return true;
}

void Save(const Variant& value, VARIANT& target, int level) {
  target = VARIANT{};
  if (SavePlain(value, target) || value.IsEmpty()) return;
  if (const auto* text = value.As<String>()) {
    target.bstrVal = MakeText(*text);
    target.vt = VT_BSTR;
  } else if (const auto* object = value.As<ObjectPtr>()) {
    SaveObject(*object, target);
  } else if (const auto* array = value.As<ArrayPtr>()) {
    SaveArray(*array == nullptr ? Array() : **array, target, level);
  } else if (const auto* bytes = value.As<BytesPtr>()) {
    SaveBytes(*bytes == nullptr ? Bytes() : **bytes, target);
  }
}

// A number in the range of T, rounded half to even.
template <typename T>
T ToWhole(const Variant& value) {
  const double number = std::nearbyint(ToDouble(value));
  // The upper end of the largest types isn't a Double itself.
  constexpr double kBelow = static_cast<double>(std::numeric_limits<T>::min());
  const double kAbove = std::ldexp(1.0, std::numeric_limits<T>::digits);
  if (!(number >= kBelow && number < kAbove)) RaiseRuntimeError(runtime_error::kOverflow);
  return static_cast<T>(number);
}

std::int64_t ToCurrency(const Variant& value) {
  return ToWhole<std::int64_t>(ToDouble(value) * kCurrencyUnits);
}

// With as many decimals as make it whole, and 15 at most.
Decimal ToDecimal(const Variant& value) {
  constexpr int kDecimalsOfDouble = 15;
  const double number = ToDouble(value);
  Decimal decimal{};
  decimal.sign = std::signbit(number) ? 0x80 : 0;
  long double digits = std::fabs(number);
  if (!(digits < std::ldexp(1.0L, 64))) RaiseRuntimeError(runtime_error::kOverflow);
  while (decimal.scale < kDecimalsOfDouble && digits != std::floor(digits) &&
         digits < std::ldexp(1.0L, 53) / 10) {
    digits = std::fabs(number) * PowerOfTen(++decimal.scale);
    // A Double in decimals isn't exact: what is left of it then is less than it can tell.
    const long double whole = std::nearbyint(digits);
    if (std::fabs(digits - whole) < digits * std::numeric_limits<double>::epsilon()) digits = whole;
  }
  decimal.low = static_cast<std::uint64_t>(std::nearbyint(digits));
  return decimal;
}

// What lies in front of its digits is the type of a VARIANT that it may stand in.
void WriteDecimal(void* place, Decimal decimal) {
  decimal.reserved = Read<Decimal>(place).reserved;
  Write(place, decimal);
}

void ReplaceText(const Variant& result, void* place) {
  const BSTR made = MakeText(ToText(result));
  const BSTR before = Read<BSTR>(place);
  Write(place, made);
  SysFreeString(before);
}

void ReplaceObject(const Variant& result, void* place) {
  const ObjectPtr object = ToObject(result);
  IDispatch* made = object == nullptr ? nullptr : WrapObject(object).Detach();
  IUnknown* before = Read<IUnknown*>(place);
  Write(place, static_cast<IUnknown*>(made));
  if (before != nullptr) before->Release();
}

void StoreElement(const Variant& result, VARTYPE type, void* place);

void ReplaceElements(const Variant& result, SAFEARRAY* array, VARTYPE type) {
  const auto* items = result.As<ArrayPtr>();
  const auto* bytes = result.As<BytesPtr>();
  const std::size_t count = items != nullptr && *items != nullptr   ? (*items)->items.size()
                            : bytes != nullptr && *bytes != nullptr ? (*bytes)->size()
                                                                    : 0;
  if (items == nullptr && bytes == nullptr) RaiseMismatch();
  if (array == nullptr && count == 0) return;
  if (array == nullptr || !IsListOf(*array, type) || array->rgsabound[0].cElements != count) RaiseMismatch();
  const ArrayAccess access(array);
  for (std::size_t i = 0; i < count; ++i) {
    StoreElement(items != nullptr ? (*items)->items[i] : Variant((**bytes)[i]), type,
                 access.Data() + i * array->cbElements);
  }
}

bool HoldsSuchAnArray(const VARIANT& value, const Variant& result) {
  const auto* items = result.As<ArrayPtr>();
  return (value.vt & VT_ARRAY) != 0 && items != nullptr && *items != nullptr && value.parray != nullptr &&
         IsListOf(*value.parray, static_cast<VARTYPE>(value.vt & VT_TYPEMASK)) &&
         value.parray->rgsabound[0].cElements == (*items)->items.size();
}

void ReplaceValue(const Variant& result, VARIANT& target) {
  if (IsByReference(target)) return StoreByReference(result, target);
  if (HoldsSuchAnArray(target, result))
    return ReplaceElements(result, target.parray, static_cast<VARTYPE>(target.vt & VT_TYPEMASK));
  OwnedVariant made;
  Save(result, made.Get(), 0);
  OwnedVariant before;
  before.Get() = target;
  target = made.Detach();
}

void StoreElement(const Variant& result, VARTYPE type, void* place) {
  switch (type) {
    case VT_I1:
      return Write(place, ToWhole<std::int8_t>(result));
    case VT_UI1:
      return Write(place, ToByte(result));
    case VT_I2:
      return Write(place, ToInteger(result));
    case VT_UI2:
      return Write(place, ToWhole<std::uint16_t>(result));
    case VT_I4:
    case VT_INT:
      return Write(place, ToLong(result));
    case VT_UI4:
    case VT_UINT:
      return Write(place, ToWhole<std::uint32_t>(result));
    case VT_I8:
      return Write(place, ToWhole<std::int64_t>(result));
    case VT_UI8:
      return Write(place, ToWhole<std::uint64_t>(result));
    case VT_R4:
      return Write(place, static_cast<float>(ToDouble(result)));
    case VT_R8:
      return Write(place, ToDouble(result));
    case VT_CY:
      return Write(place, ToCurrency(result));
    case VT_DECIMAL:
      return WriteDecimal(place, ToDecimal(result));
    case VT_BOOL:
      return Write(place, ToBoolean(result) ? VARIANT_TRUE : VARIANT_FALSE);
    case VT_DATE:
      return Write(place, ToDate(result).days);
    case VT_BSTR:
      return ReplaceText(result, place);
    case VT_DISPATCH:
    case VT_UNKNOWN:
      return ReplaceObject(result, place);
    case VT_VARIANT:
      return ReplaceValue(result, *static_cast<VARIANT*>(place));
    default:
      RaiseMismatch();
  }
}

}  // namespace

Variant FromAutomation(const VARIANT& value) { return LoadValue(value, 0); }

void ToAutomation(const Variant& value, VARIANT& target) { Save(value, target, 0); }

bool IsByReference(const VARIANT& argument) {
  return (argument.vt & VT_BYREF) != 0 && argument.byref != nullptr;
}

void StoreByReference(const Variant& result, const VARIANT& argument) {
  if (!IsByReference(argument)) return;
  const auto type = static_cast<VARTYPE>(argument.vt & VT_TYPEMASK);
  if ((argument.vt & VT_ARRAY) != 0) return ReplaceElements(result, Read<SAFEARRAY*>(argument.byref), type);
  StoreElement(result, type, argument.byref);
}

}  // namespace varnel::com
