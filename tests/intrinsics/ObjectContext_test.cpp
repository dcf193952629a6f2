#include "host-linux/intrinsics/ObjectContext.h"

#include <gtest/gtest.h>

#include <thread>

#include "varnel/automation/Collection.h"
#include "varnel/automation/Error.h"

namespace {

using namespace hostlinux;
using varnel::Long;
using varnel::ObjectPtr;

// Writes what happens to it into a log that the test reads.
class Component : public varnel::Collection, public varnel::host::IObjectControl {
 public:
  Component(std::string name, std::string& log) : m_name(std::move(name)), m_log(log) {}
  ~Component() override { m_log += m_name + "~ "; }
  void Activate() override { m_log += m_name + "+ "; }
  void Deactivate() override {
    m_log += m_name + "- ";
    if (m_name == "bad") varnel::RaiseRuntimeError(5);
  }

 private:
  std::string m_name;
  std::string& m_log;
};

class ObjectContextTest : public testing::Test {
 protected:
  std::shared_ptr<ObjectContext> MakeContext() {
    ObjectContext::Intrinsics parts;
    parts.request = std::make_shared<Request>(std::make_shared<PageRequest>());
    parts.response = std::make_shared<Response>(Response::Options());
    parts.session = std::make_shared<Session>(m_sessions, "", Session::Options());
    parts.application = std::make_shared<Application>(m_application);
    parts.server = std::make_shared<Server>(Server::Options());
    return std::make_shared<ObjectContext>(parts, [this](varnel::StringView progID) -> ObjectPtr {
      if (progID == u"plain") return std::make_shared<varnel::Collection>();
      return std::make_shared<Component>(varnel::ToUtf8(progID), m_log);
    });
  }

  std::string m_log;
  std::shared_ptr<SessionStore> m_sessions = std::make_shared<SessionStore>(SessionStore::Options());
  std::shared_ptr<ApplicationState> m_application =
      std::make_shared<ApplicationState>(MayKeep(), std::chrono::milliseconds(20));
};

TEST_F(ObjectContextTest, IntrinsicsAreFoundByNameAndInterface) {
  const auto context = MakeContext();
  EXPECT_NE(varnel::CastObject<varnel::host::IRequest>(context->Item(u"Request")), nullptr);
  EXPECT_NE(varnel::CastObject<varnel::host::IResponse>(context->Item(u"response")), nullptr);
  EXPECT_NE(varnel::CastObject<varnel::host::ISession>(context->Item(u"Session")), nullptr);
  EXPECT_NE(varnel::CastObject<varnel::host::IApplication>(context->Item(u"Application")), nullptr);
  EXPECT_NE(varnel::CastObject<varnel::host::IServer>(context->Item(u"Server")), nullptr);
  EXPECT_THROW(context->Item(u"Other"), varnel::Error);
}

TEST_F(ObjectContextTest, ComponentsAreActivatedAndAtTheEndDeactivatedYoungestFirst) {
  const auto context = MakeContext();
  const ObjectPtr a = context->CreateInstance(u"a");
  const ObjectPtr b = context->CreateInstance(u"b");
  context->CreateInstance(u"plain");
  EXPECT_EQ(m_log, "a+ b+ ");
  context->End();
  context->End();
  EXPECT_EQ(m_log, "a+ b+ b- a- ");
}

TEST_F(ObjectContextTest, FailingComponentKeepsNoOtherFromItsEnd) {
  const auto context = MakeContext();
  const ObjectPtr a = context->CreateInstance(u"a");
  const ObjectPtr bad = context->CreateInstance(u"bad");
  context->End();
  EXPECT_EQ(m_log, "a+ bad+ bad- a- ");
}

TEST_F(ObjectContextTest, ComponentThatNobodyHoldsIsStillDeactivatedBeforeItGoes) {
  const auto context = MakeContext();
  context->CreateInstance(u"a");
  EXPECT_EQ(m_log, "a+ ");
  context->End();
  EXPECT_EQ(m_log, "a+ a- a~ ");
}

TEST_F(ObjectContextTest, GuardMakesItTheThreadsContextAndEndsIt) {
  EXPECT_EQ(CurrentContext(), nullptr);
  const auto outer = MakeContext();
  const auto inner = MakeContext();
  {
    const ContextGuard guard(outer);
    EXPECT_EQ(CurrentContext(), outer);
    {
      const ContextGuard nested(inner);
      EXPECT_EQ(CurrentContext(), inner);
      inner->Objects().application->Lock();
    }
    EXPECT_EQ(CurrentContext(), outer);
    outer->Objects().application->Store(u"a", Long{1});
    std::thread([] { EXPECT_EQ(CurrentContext(), nullptr); }).join();
  }
  EXPECT_EQ(CurrentContext(), nullptr);
}

TEST_F(ObjectContextTest, SessionCookieGoesIntoTheHead) {
  const auto context = MakeContext();
  context->Objects().session->SessionID();
  EXPECT_EQ(context->Objects().response->Take().headers.CountOf("Set-Cookie"), 1U);
  EXPECT_EQ(MakeContext()->Objects().response->Take().headers.CountOf("Set-Cookie"), 0U);
}

}  // namespace
