#include "host-linux/database/odbc/OdbcFacts.h"

#include "varnel/automation/String.h"

namespace hostlinux {
namespace {

constexpr std::size_t kMaxFacts = 2000;

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

}  // namespace hostlinux
