// One running request: its context, where its pages' text goes, and its end.
#pragma once

#include <memory>

#include "host-linux/database/AdoDatabase.h"
#include "host-linux/intrinsics/ObjectContext.h"
#include "host-linux/script/ScriptEngine.h"

namespace hostlinux {

// While it lives, the request is the one of this thread. What the request made ends in this order, whatever
// refers to it:
//   1. the scripts are cut off, so that nothing runs any more;
//   2. the activated components are deactivated, the youngest first, and the application is unlocked;
//   3. the objects let each other go, and then go, the youngest first (the engine knows them);
//   4. connections that something still holds are closed.
// The first three are done when the page's run is over, the last one with the scope.
class RequestScope : public PageOutput {
 public:
  // `id`: under which the log knows the request.
  RequestScope(std::string id, std::shared_ptr<ObjectContext> context, AdoDatabase& database);
  ~RequestScope() override;
  RequestScope(const RequestScope&) = delete;
  RequestScope& operator=(const RequestScope&) = delete;

  const ObjectContext::Intrinsics& Objects() const { return m_context->Objects(); }

  // Into the response.
  void WriteText(std::string_view utf8) override { m_response.WriteUtf8(utf8); }
  void WriteValue(const varnel::Variant& value) override { m_response.WriteValue(value); }
  void WriteEncoded(const varnel::Variant& value) override { m_response.WriteEncoded(value); }
  void OnPageEnd() override { m_context->End(); }
  std::string RequestId() const override { return m_id; }

 private:
  const std::string m_id;
  const std::shared_ptr<ObjectContext> m_context;
  const ContextGuard m_guard;
  Response& m_response;
  AdoDatabase& m_database;
};

}  // namespace hostlinux
