// Walks a list of objects that was taken when the walk began.
#pragma once

#include <vector>

#include "varnel/automation/Object.h"

namespace hostlinux {

class ObjectEnumeration : public varnel::Enumeration {
 public:
  explicit ObjectEnumeration(std::vector<varnel::ObjectPtr> objects) : m_objects(std::move(objects)) {}

  bool Next(varnel::Variant& value) override {
    if (m_next == m_objects.size()) return false;
    value = varnel::Variant(m_objects[m_next++]);
    return true;
  }

 private:
  std::vector<varnel::ObjectPtr> m_objects;
  std::size_t m_next = 0;
};

}  // namespace hostlinux
