#include "host-linux/application/RequestScope.h"

#include "host-linux/services/Log.h"

namespace hostlinux {

RequestScope::RequestScope(std::string id, std::shared_ptr<ObjectContext> context, AdoDatabase& database)
    : m_id(std::move(id)),
      m_context(std::move(context)),
      m_guard(m_context),
      m_response(*m_context->Objects().response),
      m_database(database) {}

RequestScope::~RequestScope() {
  m_context->End();
  try {
    m_database.EndRequest();
  } catch (const std::exception& error) {
    WriteLog(LogLevel::Error, std::string("A connection could not be closed: ") + error.what());
  }
}

}  // namespace hostlinux
