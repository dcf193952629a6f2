// What the dialect asks of the server about a query.
#pragma once

#include <unordered_map>

#include "host-linux/database/dialect/ColumnFacts.h"
#include "host-linux/database/odbc/OdbcConnection.h"

namespace hostlinux {

class OdbcFacts : public IColumnFacts {
 public:
  // `connection` outlives it.
  explicit OdbcFacts(OdbcConnection& connection) : m_connection(connection) {}

  // From now on what is no table's column has no type: the server gives values of any type there, whatever its driver says.
  void LeaveExpressionsUntyped() { m_leavesUntyped = true; }

  std::optional<std::vector<ColumnFact>> Describe(const std::u16string& select) override;
  // It isn't asked: where an index gives the order of the first columns, the server sorts groups of rows, of which the first
  // may be large.
  std::optional<SortWork> SortsFor(const std::u16string&) override { return SortWork::Groups; }
  // Of PostgreSQL only.
  bool ReadsInOrder(const std::u16string& select) override;
  bool HasPartialIndex() override { return false; }

  void Forget() {
    m_facts.clear();
    m_orders.clear();
  }

 private:
  OdbcConnection& m_connection;
  bool m_leavesUntyped = false;
  std::unordered_map<std::u16string, std::optional<std::vector<ColumnFact>>> m_facts;
  std::unordered_map<std::u16string, bool> m_orders;  // what ReadsInOrder found
};

}  // namespace hostlinux
