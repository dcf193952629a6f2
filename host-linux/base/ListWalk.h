// A for-each over what was listed when it began.
#pragma once

#include <utility>
#include <vector>

#include "varnel/automation/Object.h"

namespace hostlinux {

// `T` is what a Variant is made of: texts, objects.
template <typename T>
class ListWalk : public varnel::Enumeration {
 public:
  explicit ListWalk(std::vector<T> items) : m_items(std::move(items)) {}

  bool Next(varnel::Variant& value) override {
    if (m_next == m_items.size()) return false;
    value = varnel::Variant(m_items[m_next++]);
    return true;
  }

 private:
  std::vector<T> m_items;
  std::size_t m_next = 0;
};

}  // namespace hostlinux
