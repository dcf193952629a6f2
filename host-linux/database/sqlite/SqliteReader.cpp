#include "host-linux/database/sqlite/SqliteReader.h"

#include <algorithm>
#include <utility>

#include "host-linux/database/sqlite/SqliteErrors.h"
#include "host-linux/database/sqlite/SqliteSession.h"

namespace hostlinux {

SqliteReader::SqliteReader(SqliteSession& session, std::shared_ptr<SqliteStatement> statement,
                           std::vector<BoundValue> values, const StatementLimits& limits)
    : m_session(&session),
      m_statement(std::move(statement)),
      m_values(std::move(values)),
      m_limits(limits),
      m_most(session.MostResultBytes()),
      m_ahead(m_statement->Columns()) {
  session.AddReader(*this);
}

SqliteReader::~SqliteReader() {
  if (m_session != nullptr) LetGo();
}

bool SqliteReader::HasMore() const {
  return m_session != nullptr || m_ahead.Rows() > 0 || m_failure != nullptr;
}

RowStore SqliteReader::Read(std::size_t held) {
  const std::size_t most = m_most - std::min(m_most, held);
  if (m_session != nullptr) ReadOn(most, m_limits.timeout);
  if (m_ahead.Rows() == 0) std::rethrow_exception(m_failure);
  if (m_ahead.Size() > most) RaiseTooLarge();
  return std::exchange(m_ahead, RowStore(m_ahead.Columns()));
}

// The rows before a failure are the script's; it meets the failure where the next row would be.
void SqliteReader::ReadOn(std::size_t most, std::chrono::milliseconds timeout) {
  try {
    m_session->ReadOn(*m_statement, m_ahead, m_limits.batchRows, most, timeout);
  } catch (...) {
    m_failure = std::current_exception();
  }
  if (!m_statement->IsRunning()) LetGo();
}

std::optional<RowCount> SqliteReader::Count() {
  if (m_session == nullptr) return std::nullopt;
  return m_session->CountRows(*m_statement, m_values, m_limits);
}

void SqliteReader::ReadAhead(SqliteTimeLimit::Clock::time_point begin) noexcept {
  using std::chrono::milliseconds;
  while (m_session != nullptr) {
    milliseconds left = m_limits.timeout;
    if (left.count() > 0) {
      left -= std::chrono::duration_cast<milliseconds>(SqliteTimeLimit::Clock::now() - begin);
      left = std::max(left, milliseconds(1));  // enough to fail
    }
    ReadOn(m_most, left);
  }
}

void SqliteReader::LetGo() {
  m_statement->End();
  m_statement = nullptr;
  m_session->RemoveReader(*this);
  m_session = nullptr;
}

}  // namespace hostlinux
