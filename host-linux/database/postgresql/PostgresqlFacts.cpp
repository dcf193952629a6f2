#include "host-linux/database/postgresql/PostgresqlFacts.h"

#include "host-linux/database/dialect/PostgresqlDialect.h"
#include "host-linux/database/postgresql/PostgresqlTypes.h"
#include "varnel/automation/String.h"

namespace hostlinux {
namespace {

constexpr std::size_t kMaxFacts = 2000;
constexpr int kMostColumns = 1600;  // of a table of the server's

int NumberOf(const char* digits) { return std::atoi(digits); }

}  // namespace

std::optional<std::vector<ColumnFact>> PostgresqlFacts::Describe(const std::u16string& select) {
  if (const auto found = m_facts.find(select); found != m_facts.end()) return found->second;
  std::optional<std::vector<ColumnFact>> facts;
  const bool isKnown = m_tries([&] {
    m_connection.Prepare("", varnel::ToUtf8(select));
    const PostgresqlResult described = m_connection.Describe("");
    facts = FactsOf(described.get());
  });
  if (!isKnown) facts = std::nullopt;
  if (m_facts.size() >= kMaxFacts) m_facts.clear();
  return m_facts.insert_or_assign(select, std::move(facts)).first->second;
}

bool PostgresqlFacts::ReadsInOrder(const std::u16string& select) {
  if (const auto found = m_orders.find(select); found != m_orders.end()) return found->second;
  bool sorts = true;
  m_tries([&] {
    m_connection.Prepare("", "EXPLAIN " + varnel::ToUtf8(select));
    const PostgresqlResult plan = m_connection.Run("", {});
    sorts = false;
    for (int i = 0; i < PQntuples(plan.get()); ++i)
      sorts = sorts || IsSortOfPlan(PQgetvalue(plan.get(), i, 0));
  });
  if (m_orders.size() >= kMaxFacts) m_orders.clear();
  return m_orders.insert_or_assign(select, !sorts).first->second;
}

std::vector<ColumnFact> PostgresqlFacts::FactsOf(const PGresult* described) {
  std::vector<ColumnFact> facts;
  for (int i = 0; i < PQnfields(described); ++i) {
    ColumnFact& fact = facts.emplace_back();
    fact.name = varnel::FromUtf8(PQfname(described, i));
    fact.declaredType = DeclaredTypeOf(PQftype(described, i));
    const Oid table = PQftable(described, i);
    if (table == InvalidOid) continue;
    const Table& known = TableOf(table);
    const auto column = static_cast<std::size_t>(PQftablecol(described, i));
    fact.table = known.name;
    fact.isNotNull = column < known.isNotNull.size() && known.isNotNull[column];
  }
  return facts;
}

const PostgresqlFacts::Table& PostgresqlFacts::TableOf(Oid table) {
  if (const auto found = m_tables.find(table); found != m_tables.end()) return found->second;
  m_connection.Prepare(
      "",
      "SELECT c.relname, a.attnum, a.attnotnull FROM pg_catalog.pg_class c JOIN pg_catalog.pg_attribute a"
      " ON a.attrelid = c.oid WHERE c.oid = $1 AND a.attnum > 0");
  const PostgresqlResult rows = m_connection.Run("", {static_cast<std::int64_t>(table)});
  Table& known = m_tables[table];
  for (int i = 0; i < PQntuples(rows.get()); ++i) {
    known.name = varnel::FromUtf8(PQgetvalue(rows.get(), i, 0));
    const int column = NumberOf(PQgetvalue(rows.get(), i, 1));
    if (column < 1 || column > kMostColumns) continue;
    if (known.isNotNull.size() <= static_cast<std::size_t>(column))
      known.isNotNull.resize(static_cast<std::size_t>(column) + 1);
    known.isNotNull[static_cast<std::size_t>(column)] = *PQgetvalue(rows.get(), i, 2) == 't';
  }
  return known;
}

void PostgresqlFacts::Forget() {
  m_facts.clear();
  m_orders.clear();
  m_tables.clear();
}

}  // namespace hostlinux
