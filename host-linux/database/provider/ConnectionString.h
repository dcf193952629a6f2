// Connection strings: "Provider=SQLite;Data Source=shop.db;Mode=Read".
#pragma once

#include <utility>
#include <vector>

#include "varnel/automation/String.h"

namespace hostlinux {

// The pairs of a connection string. Keys compare without case and without blanks around them; a value may
// stand in '...' or "..." (a doubled quote is one) or in {...}. A key that occurs twice counts with its last
// value.
class ConnectionString {
 public:
  ConnectionString() = default;
  // Raises 0x80004005 for a pair without "=".
  explicit ConnectionString(varnel::StringView text);

  // The value of `key`, or the empty text.
  varnel::String Get(varnel::StringView key) const;
  // The same with another value of `key`.
  ConnectionString With(const varnel::String& key, const varnel::String& value) const;
  bool IsEmpty() const { return m_pairs.empty(); }
  // In the order of the text.
  const std::vector<std::pair<varnel::String, varnel::String>>& Pairs() const { return m_pairs; }

 private:
  std::vector<std::pair<varnel::String, varnel::String>> m_pairs;
};

}  // namespace hostlinux
