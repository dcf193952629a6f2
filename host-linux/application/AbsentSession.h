// What the library finds as the session of a page that has none: no values, and the locale of the page.
#pragma once

#include "varnel/automation/Object.h"
#include "varnel/host/Intrinsics.h"

namespace hostlinux {

class AbsentSession : public varnel::Object, public varnel::host::ISession {
 public:
  explicit AbsentSession(varnel::Long lcid) : m_lcid(lcid) {}

  const varnel::ClassInfo& Class() const override {
    static const varnel::ClassInfo info{u"Session", {}};
    return info;
  }

  varnel::Variant Value(varnel::StringView) override { return {}; }
  varnel::Long LCID() override { return m_lcid; }

 private:
  const varnel::Long m_lcid;
};

}  // namespace hostlinux
