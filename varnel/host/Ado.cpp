#include "varnel/host/Ado.h"

#include "varnel/automation/Convert.h"
#include "varnel/automation/Error.h"

namespace varnel::host {

namespace {

[[noreturn]] void Refuse(const Variant& value) {
  const String found = value.IsEmpty() || value.IsMissing() ? String(u"undefined") : TypeName(value);
  RaiseRuntimeError(runtime_error::kInvalidArgument,
                    u"a parameter is a text, a number, a date, a boolean, bytes or null, not " + found);
}

bool IsNothing(const Variant& value) {
  const ObjectPtr* object = value.As<ObjectPtr>();
  return object != nullptr && *object == nullptr;
}

}  // namespace

Variant ToParameterValue(const Variant& value) {
  if (value.IsEmpty() || value.IsMissing() || value.Is<ArrayPtr>()) Refuse(value);
  if (IsNothing(value)) return Null();
  if (!value.IsObject()) return value;
  const Variant plain = ToPlain(value);
  if (plain.IsEmpty()) return Variant(String());
  if (plain.IsMissing() || plain.IsObject() || plain.Is<ArrayPtr>()) Refuse(plain);
  return plain;
}

}  // namespace varnel::host
