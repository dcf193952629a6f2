// Whether a session may begin is the wiring's to say.

#include <gtest/gtest.h>

#include "host-linux/intrinsics/Session.h"
#include "varnel/automation/Error.h"

namespace {

using namespace hostlinux;
using varnel::Long;
using varnel::Variant;

TEST(SessionGateTest, SessionIsBegunOnlyWhereItMay) {
  const auto store = std::make_shared<SessionStore>(SessionStore::Options());
  store->SetInitial(u"REMOTE_USER", u"demo");
  const Session::Options options{1033, "/shop", false, [] { throw varnel::PageEnded(); }};
  const auto refused = std::make_shared<Session>(store, "", options);
  EXPECT_EQ(refused->Value(u"REMOTE_USER"), Variant(u"demo"));
  EXPECT_THROW(refused->Store(u"a", Long{1}), varnel::PageEnded);
  EXPECT_EQ(store->Count(), 0U);
  const std::string token = store->Begin()->token;
  const auto begun = std::make_shared<Session>(store, token, options);
  begun->Store(u"a", Long{1});
  EXPECT_EQ(begun->Value(u"a"), Variant(Long{1}));
}

}  // namespace
