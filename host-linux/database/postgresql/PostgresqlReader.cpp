#include "host-linux/database/postgresql/PostgresqlReader.h"

#include <algorithm>
#include <limits>
#include <utility>

#include "host-linux/database/postgresql/PostgresqlErrors.h"
#include "host-linux/database/postgresql/PostgresqlSession.h"

namespace hostlinux {

PostgresqlReader::PostgresqlReader(PostgresqlSession& session, std::shared_ptr<const PostgresqlShape> shape,
                                   const StatementLimits& limits)
    : m_session(&session),
      m_shape(std::move(shape)),
      m_limits(limits),
      m_most(session.MostResultBytes()),
      m_ahead(m_shape->kinds.size()) {
  session.SetReader(this);
}

PostgresqlReader::~PostgresqlReader() {
  if (m_session != nullptr) m_session->StopReader();
}

RowStore PostgresqlReader::Read(std::size_t held) {
  const std::size_t most = m_most - std::min(m_most, held);
  if (m_session != nullptr) ReadOn(m_limits.batchRows, most);
  if (m_ahead.Rows() == 0) std::rethrow_exception(m_failure);
  return std::exchange(m_ahead, RowStore(m_ahead.Columns()));
}

// The rows before a failure are the script's; it meets the failure where the next row would be.
void PostgresqlReader::ReadOn(std::size_t rows, std::size_t most) {
  try {
    if (m_session->ReadRows(*m_shape, m_ahead, {rows, most, m_limits.timeout})) return;
    m_session->SetReader(nullptr);
  } catch (...) {
    m_failure = std::current_exception();
    m_session->StopReader();
  }
  m_session = nullptr;
}

void PostgresqlReader::ReadAhead() noexcept {
  if (m_session != nullptr) ReadOn(std::numeric_limits<std::size_t>::max(), m_most);
}

}  // namespace hostlinux
