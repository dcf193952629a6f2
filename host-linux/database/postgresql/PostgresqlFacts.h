// What the dialect asks of the server about a query.
#pragma once

#include <chrono>
#include <functional>
#include <unordered_map>

#include "host-linux/database/dialect/ColumnFacts.h"
#include "host-linux/database/postgresql/PostgresqlConnection.h"

namespace hostlinux {

class PostgresqlFacts : public IColumnFacts {
 public:
  // `connection` outlives it. `tries` runs what may fail without harm to an open transaction.
  PostgresqlFacts(PostgresqlConnection& connection, std::function<bool(const std::function<void()>&)> tries)
      : m_connection(connection), m_tries(std::move(tries)) {}

  std::optional<std::vector<ColumnFact>> Describe(const std::u16string& select) override;
  // It isn't asked: the answer hangs on how NULLs sort, which the text doesn't say yet. Where an index gives the order of the
  // first columns it sorts groups of rows, of which the first may be large.
  std::optional<SortWork> SortsFor(const std::u16string&) override { return SortWork::Groups; }
  bool ReadsInOrder(const std::u16string& select) override;
  // It sees the values of a statement when it looks for an index.
  bool HasPartialIndex() override { return false; }

  void Forget();

 private:
  struct Table {
    std::u16string name;
    std::vector<bool> isNotNull;  // by the column's number, from 1
  };

  std::vector<ColumnFact> FactsOf(const PGresult* described);
  const Table& TableOf(Oid table);

  PostgresqlConnection& m_connection;
  std::function<bool(const std::function<void()>&)> m_tries;
  std::unordered_map<std::u16string, std::optional<std::vector<ColumnFact>>> m_facts;
  std::unordered_map<std::u16string, bool> m_orders;  // what ReadsInOrder found
  std::unordered_map<Oid, Table> m_tables;
};

}  // namespace hostlinux
