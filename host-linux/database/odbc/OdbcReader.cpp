#include "host-linux/database/odbc/OdbcReader.h"

#include <algorithm>
#include <limits>
#include <utility>

#include "host-linux/database/odbc/OdbcSession.h"

namespace hostlinux {

OdbcReader::OdbcReader(OdbcSession& session, OdbcPrepared prepared, const StatementLimits& limits)
    : m_session(&session),
      m_prepared(std::move(prepared)),
      m_limits(limits),
      m_most(session.MostResultBytes()),
      m_ahead(m_prepared.kinds.size()) {
  session.SetReader(this);
}

OdbcReader::~OdbcReader() {
  if (m_session != nullptr) m_session->StopReader(m_prepared);
}

RowStore OdbcReader::Read(std::size_t held) {
  const std::size_t most = m_most - std::min(m_most, held);
  if (m_session != nullptr) ReadOn(m_limits.batchRows, most);
  if (m_ahead.Rows() == 0) std::rethrow_exception(m_failure);
  return std::exchange(m_ahead, RowStore(m_ahead.Columns()));
}

// The rows before a failure are the script's; it meets the failure where the next row would be.
void OdbcReader::ReadOn(std::size_t rows, std::size_t most) {
  try {
    if (m_session->ReadRows(m_prepared, m_ahead, {rows, most, m_limits.timeout})) return;
  } catch (...) {
    m_failure = std::current_exception();
  }
  m_session->StopReader(m_prepared);
  m_session = nullptr;
}

void OdbcReader::ReadAhead() noexcept {
  if (m_session != nullptr) ReadOn(std::numeric_limits<std::size_t>::max(), m_most);
}

}  // namespace hostlinux
