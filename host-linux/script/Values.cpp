#include "host-linux/script/Values.h"

#include <cmath>
#include <cstring>
#include <type_traits>
#include <typeinfo>

#include "host-linux/script/InternalFields.h"
#include "host-linux/script/ScriptCore.h"
#include "host-linux/script/V8Text.h"
#include "varnel/automation/Error.h"

namespace hostlinux {
namespace {

using varnel::Variant;
namespace runtime_error = varnel::runtime_error;

constexpr int kMaxDepth = 32;
constexpr std::uint32_t kMaxElements = 10'000'000;
constexpr double kDayMs = 24.0 * 60 * 60 * 1000;
constexpr double kUnixEpochDays = 25569;  // from 30 December 1899 to 1 January 1970

[[noreturn]] void RaiseTooLong() {
  varnel::RaiseRuntimeError(runtime_error::kOutOfMemory, u"the text is too long");
}

// Milliseconds of local time since 1970 to days and back. Before day 0 the time of day still counts forward.
// An invalid date is one on both sides.
varnel::Date FromLocalMs(double ms) {
  const double days = ms / kDayMs + kUnixEpochDays;
  if (days >= 0) return {days};
  const double whole = std::floor(days);
  return {whole - (days - whole)};
}

double ToLocalMs(varnel::Date date) {
  const double whole = std::trunc(date.days);
  return std::round((whole + std::abs(date.days - whole) - kUnixEpochDays) * kDayMs);
}

class VariantReader {
 public:
  VariantReader(ScriptCore& core, PassedArrays* passed)
      : m_core(core), m_isolate(core.Isolate()), m_passed(passed) {}

  Variant Read(v8::Local<v8::Value> value) {
    if (value->IsString()) return ReadText(value.As<v8::String>());
    if (value->IsInt32()) return value.As<v8::Int32>()->Value();
    if (value->IsUndefined()) return varnel::Missing();
    if (value->IsNull()) return varnel::Null();
    if (value->IsBoolean()) return value->IsTrue();
    if (value->IsNumber()) return ReadNumber(value.As<v8::Number>()->Value());
    if (value->IsObject()) return ReadObject(value.As<v8::Object>());
    varnel::RaiseRuntimeError(runtime_error::kTypeMismatch);
  }

 private:
  // Plain values, which most are, need none.
  v8::Local<v8::Context> Context() const { return m_isolate->GetCurrentContext(); }

  Variant ReadText(v8::Local<v8::String> text) {
    const auto length = static_cast<std::size_t>(text->Length());
    if (length > kMostTextUnits - m_textUnits) RaiseTooLong();
    m_textUnits += length;
    return ToText(m_isolate, text);
  }

  // Minus zero is a whole number like any other zero.
  static Variant ReadNumber(double value) {
    if (value == 0) return varnel::Long{0};
    return value;
  }

  Variant ReadObject(v8::Local<v8::Object> object) {
    if (object->InternalFieldCount() == kFieldCount) return ReadOwn(object);
    if (object->IsArray()) return ReadArray(object.As<v8::Array>());
    if (object->IsDate()) return FromLocalMs(m_core.Tools().LocalMs(Context(), object));
    if (object->IsUint8Array()) return ReadBytes(object.As<v8::Uint8Array>());
    if (object->IsStringObject()) return Read(object.As<v8::StringObject>()->ValueOf());
    if (object->IsNumberObject())
      return Read(v8::Number::New(m_isolate, object.As<v8::NumberObject>()->ValueOf()));
    if (object->IsBooleanObject()) return object.As<v8::BooleanObject>()->ValueOf();
    return m_core.Scripts().Make(m_core, object);
  }

  Variant ReadOwn(v8::Local<v8::Object> object) {
    if (HasTag(object, wrapperTag)) return Wrappers::Unwrap(object);
    if (HasTag(object, typedValueTag)) return Helpers::ReadTyped(object);
    return Read(Take(object->Get(Context(), Name(m_isolate, "value"))));
  }

  static Variant ReadBytes(v8::Local<v8::Uint8Array> array) {
    auto bytes = std::make_shared<varnel::Bytes>(array->ByteLength());
    array->CopyContents(bytes->data(), bytes->size());
    return varnel::BytesPtr(std::move(bytes));
  }

  Variant ReadArray(v8::Local<v8::Array> array) {
    if (m_depth == kMaxDepth) varnel::RaiseRuntimeError(runtime_error::kInvalidArgument, u"arrays too deep");
    // An element may be a getter that makes the array longer.
    const std::uint32_t length = array->Length();
    if (length > kMaxElements - m_elements) varnel::RaiseRuntimeError(runtime_error::kOutOfMemory);
    m_elements += length;
    ++m_depth;
    auto copy = std::make_shared<varnel::Array>();
    copy->items.reserve(length);
    for (std::uint32_t i = 0; i < length; ++i) {
      Variant item = Read(Take(array->Get(Context(), i)));
      copy->items.push_back(item.IsMissing() ? Variant() : std::move(item));
    }
    --m_depth;
    if (m_passed != nullptr) m_passed->push_back({array, copy, copy->items});
    return copy;
  }

  ScriptCore& m_core;
  v8::Isolate* m_isolate;
  PassedArrays* m_passed;
  int m_depth = 0;
  std::uint32_t m_elements = 0;
  std::size_t m_textUnits = 0;
};

class ScriptWriter {
 public:
  explicit ScriptWriter(ScriptCore& core) : m_core(core), m_isolate(core.Isolate()) {}

  v8::Local<v8::Value> Write(const Variant& value) {
    return value.Visit([this](const auto& content) { return Of(content); });
  }

 private:
  v8::Local<v8::Value> Of(const varnel::Empty&) { return v8::Undefined(m_isolate); }
  v8::Local<v8::Value> Of(const varnel::Missing&) { return v8::Undefined(m_isolate); }
  v8::Local<v8::Value> Of(const varnel::Null&) { return v8::Null(m_isolate); }
  v8::Local<v8::Value> Of(const bool& value) { return v8::Boolean::New(m_isolate, value); }
  v8::Local<v8::Value> Of(const varnel::Byte& value) { return v8::Integer::New(m_isolate, value); }
  v8::Local<v8::Value> Of(const varnel::Integer& value) { return v8::Integer::New(m_isolate, value); }
  v8::Local<v8::Value> Of(const varnel::Long& value) { return v8::Integer::New(m_isolate, value); }
  v8::Local<v8::Value> Of(const double& value) { return v8::Number::New(m_isolate, value); }
  v8::Local<v8::Value> Of(const varnel::Date& value) {
    return m_core.Tools().MakeDate(m_isolate->GetCurrentContext(), ToLocalMs(value));
  }
  v8::Local<v8::Value> Of(const varnel::String& value) {
    if (value.size() > kMostTextUnits) RaiseTooLong();
    return Take(ToV8(m_isolate, varnel::StringView(value)));
  }
  v8::Local<v8::Value> Of(const varnel::ObjectPtr& object) {
    if (!object) return v8::Null(m_isolate);
    if (const auto known = m_core.Objects().Known(*object); !known.IsEmpty()) return known;
    // A class that nothing derives from, asked without the way through all bases.
    const varnel::Object& target = *object;
    if (typeid(target) == typeid(ScriptObject)) return static_cast<const ScriptObject&>(target).Local();
    return m_core.Objects().Wrap(object);
  }
  v8::Local<v8::Value> Of(const varnel::ArrayPtr& array) {
    if (!array) return v8::Undefined(m_isolate);
    if (m_depth == kMaxDepth) varnel::RaiseRuntimeError(runtime_error::kInvalidArgument, u"arrays too deep");
    ++m_depth;
    std::vector<v8::Local<v8::Value>> items;
    items.reserve(array->items.size());
    for (const Variant& item : array->items) {
      if (m_core.Stopping()) throw PendingException();  // the engine's heap is full
      items.push_back(Write(item));
    }
    --m_depth;
    return v8::Array::New(m_isolate, items.data(), items.size());
  }
  v8::Local<v8::Value> Of(const varnel::BytesPtr& bytes) {
    const std::size_t size = bytes ? bytes->size() : 0;
    std::unique_ptr<v8::BackingStore> store = m_core.NewBuffer(size);
    if (size > 0) std::memcpy(store->Data(), bytes->data(), size);
    return v8::Uint8Array::New(v8::ArrayBuffer::New(m_isolate, std::move(store)), 0, size);
  }

  ScriptCore& m_core;
  v8::Isolate* m_isolate;
  int m_depth = 0;
};

}  // namespace

Variant ToVariant(ScriptCore& core, v8::Local<v8::Value> value, PassedArrays* passed) {
  return VariantReader(core, passed).Read(value);
}

v8::Local<v8::Value> ToScript(ScriptCore& core, const Variant& value) {
  return ScriptWriter(core).Write(value);
}

}  // namespace hostlinux
