// A for-each over values that were listed when it began.
#pragma once

#include <vector>

#include "varnel/automation/Object.h"

namespace hostlinux {

class Walk : public varnel::Enumeration {
 public:
  explicit Walk(std::vector<varnel::String> items) : m_items(std::move(items)) {}

  bool Next(varnel::Variant& value) override {
    if (m_position == m_items.size()) return false;
    value = m_items[m_position++];
    return true;
  }

 private:
  std::vector<varnel::String> m_items;
  std::size_t m_position = 0;
};

}  // namespace hostlinux
