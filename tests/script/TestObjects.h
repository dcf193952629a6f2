// Objects of a library, made for tests: plain members, values by reference, a collection.
#pragma once

#include <memory>
#include <utility>
#include <vector>

#include "varnel/automation/Members.h"

namespace hostlinux {

using varnel::Variant;

// A value with a name, as a field of a recordset.
class TestField final : public varnel::Object {
 public:
  TestField(varnel::String name, Variant value) : m_name(std::move(name)), m_value(std::move(value)) {}
  const varnel::ClassInfo& Class() const override {
    static const varnel::ClassInfo info{u"TestField",
                                        {varnel::DataMember<&TestField::m_value>(u"Value").AsDefault(),
                                         varnel::ReadOnly<&TestField::Name>(u"Name")}};
    return info;
  }
  varnel::String Name() const { return m_name; }

  varnel::String m_name;
  Variant m_value;
};

class TestEnumeration final : public varnel::Enumeration {
 public:
  explicit TestEnumeration(std::vector<Variant> items) : m_items(std::move(items)) {}
  bool Next(Variant& value) override {
    if (m_at == m_items.size()) return false;
    value = m_items[m_at++];
    return true;
  }

 private:
  std::vector<Variant> m_items;
  std::size_t m_at = 0;
};

class TestFields final : public varnel::Object {
 public:
  const varnel::ClassInfo& Class() const override {
    static const varnel::ClassInfo info{u"TestFields",
                                        {varnel::ReadOnly<&TestFields::Item>(u"Item").AsDefault(),
                                         varnel::ReadOnly<&TestFields::Count>(u"Count")}};
    return info;
  }
  std::unique_ptr<varnel::Enumeration> Enumerate() override {
    return std::make_unique<TestEnumeration>(std::vector<Variant>(m_fields.begin(), m_fields.end()));
  }
  Variant Item(const Variant& key) {
    for (const auto& field : m_fields)
      if (key.IsText() && varnel::EqualsNoCase(field->m_name, varnel::ToText(key))) return field;
    varnel::RaiseRuntimeError(varnel::runtime_error::kInvalidArgument);
  }
  varnel::Long Count() { return static_cast<varnel::Long>(m_fields.size()); }

  std::vector<std::shared_ptr<TestField>> m_fields;
};

// Holds values by name that no member table lists, as a session's contents do.
class TestBag final : public varnel::Object {
 public:
  const varnel::ClassInfo& Class() const override {
    static const varnel::ClassInfo info{u"TestBag", {varnel::ReadOnly<&TestBag::Count>(u"Count")}};
    return info;
  }
  Variant Get(varnel::StringView name) override {
    for (const auto& [key, value] : m_values)
      if (varnel::EqualsNoCase(key, name)) return value;
    return Class().Find(name) ? varnel::Object::Get(name) : Variant();
  }
  void Put(varnel::StringView name, const Variant& value) override {
    if (Class().Find(name)) return varnel::Object::Put(name, value);
    m_values.emplace_back(varnel::String(name), value);
  }
  varnel::Long Count() { return static_cast<varnel::Long>(m_values.size()); }

 private:
  std::vector<std::pair<varnel::String, Variant>> m_values;
};

class TestObject final : public varnel::Object {
 public:
  const varnel::ClassInfo& Class() const override;

  // Members that scripts see.
  varnel::String TypeName(const Variant& value) { return varnel::TypeName(value); }
  varnel::String Optional(const Variant& value) {
    return value.IsMissing() ? u"left out" : varnel::TypeName(value);
  }
  varnel::Long Add(varnel::Long a, varnel::Long b) { return a + b; }
  void Double(varnel::Long& value) { value *= 2; }
  void Replace(Variant& value, const Variant& with) { value = with; }
  void Sort(Variant& array);
  varnel::Long Look(varnel::Long& value, bool& flag) { return flag ? value : -value; }
  void SetAndFail(Variant& value);
  Variant Same(const Variant& value) { return value; }
  varnel::ObjectPtr Self() { return shared_from_this(); }
  varnel::ObjectPtr Fields() { return m_fields; }
  varnel::ObjectPtr Bag() { return m_bag; }
  varnel::ObjectPtr Nothing() { return nullptr; }
  Variant Kind(const varnel::String& name);
  bool TakesObject(const varnel::ObjectPtr&) { return true; }
  void Fail(varnel::Long number);
  void FailHard() { throw std::runtime_error("hard"); }
  Variant CallBack(const varnel::ObjectPtr& target, const varnel::String& name, const Variant& argument);
  Variant CallFunction(const varnel::ObjectPtr& function, const Variant& argument);
  varnel::String Describe(const varnel::ObjectPtr& target);
  void Keep(const varnel::ObjectPtr& object) { kept = object; }
  void Stop() { onStop(); }
  varnel::String TextOf(const varnel::String& text) { return text; }
  varnel::Long Sum(const varnel::ObjectPtr& collection);

  std::shared_ptr<TestFields> m_fields = std::make_shared<TestFields>();
  std::shared_ptr<TestBag> m_bag = std::make_shared<TestBag>();
  varnel::Integer m_width = 5;
  varnel::ObjectPtr kept;
  void (*onStop)() = nullptr;
};

}  // namespace hostlinux
