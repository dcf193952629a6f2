#include "tests/script/TestObjects.h"

#include <algorithm>

namespace hostlinux {

const varnel::ClassInfo& TestObject::Class() const {
  using varnel::Method;
  using varnel::ReadOnly;
  static const varnel::ClassInfo info{u"TestObject",
                                      {Method<&TestObject::TypeName>(u"TypeName"),
                                       Method<&TestObject::Optional>(u"Optional", {varnel::Missing()}),
                                       Method<&TestObject::Add>(u"Add", {varnel::Long{10}}),
                                       Method<&TestObject::Double>(u"Double"),
                                       Method<&TestObject::Replace>(u"Replace"),
                                       Method<&TestObject::Sort>(u"Sort"),
                                       Method<&TestObject::Look>(u"Look", {false}),
                                       Method<&TestObject::SetAndFail>(u"SetAndFail"),
                                       Method<&TestObject::Same>(u"Same"),
                                       Method<&TestObject::Self>(u"Self"),
                                       ReadOnly<&TestObject::Fields>(u"Fields"),
                                       ReadOnly<&TestObject::Bag>(u"Bag"),
                                       Method<&TestObject::Nothing>(u"Nothing"),
                                       Method<&TestObject::Kind>(u"Kind"),
                                       Method<&TestObject::TakesObject>(u"TakesObject"),
                                       Method<&TestObject::Fail>(u"Fail"),
                                       Method<&TestObject::FailHard>(u"FailHard"),
                                       Method<&TestObject::CallBack>(u"CallBack"),
                                       Method<&TestObject::CallFunction>(u"CallFunction"),
                                       Method<&TestObject::Describe>(u"Describe"),
                                       Method<&TestObject::Keep>(u"Keep"),
                                       Method<&TestObject::Stop>(u"Stop"),
                                       Method<&TestObject::TextOf>(u"TextOf"),
                                       Method<&TestObject::Sum>(u"Sum"),
                                       varnel::DataMember<&TestObject::m_width>(u"Width")}};
  return info;
}

void TestObject::Sort(Variant& array) {
  auto& items = (*array.As<varnel::ArrayPtr>())->items;
  std::sort(items.begin(), items.end(),
            [](const Variant& a, const Variant& b) { return varnel::ToDouble(a) < varnel::ToDouble(b); });
}

void TestObject::SetAndFail(Variant& value) {
  value = u"set";
  varnel::RaiseRuntimeError(varnel::runtime_error::kInvalidArgument);
}

Variant TestObject::Kind(const varnel::String& name) {
  if (name == u"Empty") return {};
  if (name == u"Null") return varnel::Null();
  if (name == u"Nothing") return nullptr;
  if (name == u"Integer") return varnel::Integer{-3};
  if (name == u"Long") return varnel::Long{100000};
  if (name == u"Byte") return varnel::Byte{200};
  if (name == u"Double") return 2.5;
  if (name == u"Boolean") return true;
  if (name == u"String") return u"caf\u00e9 \u20ac";
  if (name == u"Date") return varnel::Date{2.25};
  if (name == u"Early") return varnel::Date{-1.25};
  if (name == u"Bytes") return varnel::BytesPtr(std::make_shared<varnel::Bytes>(varnel::Bytes{1, 2, 255}));
  if (name == u"Array")
    return std::make_shared<varnel::Array>(varnel::Array{{varnel::Long{1}, varnel::Null(), u"x"}});
  varnel::RaiseRuntimeError(varnel::runtime_error::kInvalidArgument);
}

void TestObject::Fail(varnel::Long number) {
  varnel::ErrInfo info;
  info.Number = number;
  info.Source = u"Test.Source";
  info.Description = u"It failed";
  info.HelpFile = u"help.hlp";
  info.HelpContext = 12;
  throw varnel::Error(info);
}

Variant TestObject::CallBack(const varnel::ObjectPtr& target, const varnel::String& name,
                             const Variant& argument) {
  if (argument.IsNull()) return target->Get(name);
  return target->CallWith(name, argument);
}

Variant TestObject::CallFunction(const varnel::ObjectPtr& function, const Variant& argument) {
  Variant value = argument;
  return function->CallDefault(varnel::Arguments(&value, 1));
}

// What the library sees of an error that `target`'s member "fail" raises.
varnel::String TestObject::Describe(const varnel::ObjectPtr& target) {
  try {
    target->Call(u"fail", {});
  } catch (const varnel::Error& error) {
    const varnel::ErrInfo& info = error.Info();
    return varnel::DecimalText(info.Number) + u"|" + info.Source + u"|" + info.Description;
  }
  return u"no error";
}

varnel::Long TestObject::Sum(const varnel::ObjectPtr& collection) {
  const auto walk = collection->Enumerate();
  varnel::Long sum = 0;
  for (Variant value; walk && walk->Next(value);) sum += varnel::ToLong(value);
  return sum;
}

}  // namespace hostlinux
