// An object with a value, as a recordset's field is one.
#pragma once

#include <utility>

#include "varnel/automation/Members.h"

namespace varnel::test {

// Its default value is what it is made with.
class Holder : public Object {
 public:
  explicit Holder(Variant value) : m_value(std::move(value)) {}
  const ClassInfo& Class() const override {
    static const ClassInfo info{u"Holder", {ReadOnly<&Holder::Value>(u"Value").AsDefault()}};
    return info;
  }
  Variant Value() const { return m_value; }

 private:
  Variant m_value;
};

}  // namespace varnel::test
