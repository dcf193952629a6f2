#include "host-linux/database/odbc/OdbcFacts.h"

#include "host-linux/database/dialect/PostgresqlDialect.h"
#include "varnel/automation/Convert.h"

namespace hostlinux {
namespace {

constexpr std::size_t kMaxFacts = 2000;
constexpr std::size_t kLongestLine = 1 << 20;  // of a plan

// What the server refuses is unknown; a server that is gone isn't.
bool IsRefusal(const varnel::host::ProviderError& error) {
  return error.Number != provider_error::kTimeout && !error.SQLState.starts_with(u"08");
}

}  // namespace

std::optional<std::vector<ColumnFact>> OdbcFacts::Describe(const std::u16string& select) {
  if (const auto found = m_facts.find(select); found != m_facts.end()) return found->second;
  std::optional<std::vector<ColumnFact>> facts;
  try {
    const OdbcStatement statement(m_connection, varnel::ToUtf8(select));
    facts.emplace();
    for (std::size_t i = 0; i < statement.Columns().size(); ++i) {
      const OdbcColumn& column = statement.Columns()[i];
      const std::u16string table = statement.TableOf(i);
      const bool isTyped = !m_leavesUntyped || !table.empty();
      facts->push_back(
          {column.name, isTyped ? DeclaredTypeOf(column) : std::u16string(), table, !column.mayBeNull});
    }
    if (facts->empty()) facts = std::nullopt;
  } catch (const ProviderFailure& failure) {
    if (!IsRefusal(failure.Error())) throw;
    facts = std::nullopt;
  }
  if (m_facts.size() >= kMaxFacts) m_facts.clear();
  return m_facts.insert_or_assign(select, std::move(facts)).first->second;
}

bool OdbcFacts::ReadsInOrder(const std::u16string& select) {
  if (const auto found = m_orders.find(select); found != m_orders.end()) return found->second;
  bool sorts = false;
  try {
    OdbcStatement plan(m_connection, "EXPLAIN " + varnel::ToUtf8(select));
    plan.Execute({});
    while (plan.Fetch()) {
      RowStore line(1);
      plan.AddRow(line, {OdbcKind::Text}, kLongestLine);
      sorts = sorts || IsSortOfPlan(varnel::ToUtf8(varnel::ToText(line.Value(0, 0))));
    }
  } catch (const ProviderFailure& failure) {
    if (!IsRefusal(failure.Error())) throw;
    sorts = true;
  }
  if (m_orders.size() >= kMaxFacts) m_orders.clear();
  return m_orders.insert_or_assign(select, !sorts).first->second;
}

}  // namespace hostlinux
