#include "host-linux/services/Accounts.h"

#include <gtest/gtest.h>

#include <atomic>
#include <thread>
#include <vector>

#include "host-linux/services/AccountsComponent.h"
#include "host-linux/services/PasswordHash.h"
#include "varnel/automation/Convert.h"

namespace hostlinux {
namespace {

using namespace std::chrono_literals;
using varnel::Long;
using varnel::String;
using varnel::Variant;

SiteConfiguration Site() {
  static const std::string hash = MakePasswordHash("open sesame");
  SiteConfiguration site;
  site.users["clerk"] = {1033, hash, "editor"};
  site.users["demo"] = {1033, "", ""};
  site.signInAttempts = 5;
  return site;
}

TEST(AccountsTest, AUserIsKnownByNameAndPassword) {
  Accounts accounts(Site());
  EXPECT_TRUE(accounts.Check("clerk", "open sesame", "10.0.0.1").isRight);
  const Accounts::Verdict wrong = accounts.Check("clerk", "open", "10.0.0.1");
  EXPECT_FALSE(wrong.isRight);
  EXPECT_EQ(wrong.retryAfter, 0s);
  EXPECT_FALSE(accounts.Check("Clerk", "open sesame", "10.0.0.1").isRight);
  EXPECT_FALSE(accounts.Check("", "open sesame", "10.0.0.1").isRight);
}

TEST(AccountsTest, AUserWithoutPasswordCannotSignIn) {
  Accounts accounts(Site());
  for (const char* password : {"", "demo", "nobody", "*"})
    EXPECT_FALSE(accounts.Check("demo", password, "").isRight);
}

TEST(AccountsTest, TooManyAttemptsOfAnAddressAreNotLookedAt) {
  Accounts accounts(Site());
  for (int i = 0; i < 5; ++i) EXPECT_EQ(accounts.Check("clerk", "guess", "10.0.0.1").retryAfter, 0s);
  const Accounts::Verdict verdict = accounts.Check("clerk", "open sesame", "10.0.0.1");
  EXPECT_FALSE(verdict.isRight);
  EXPECT_GT(verdict.retryAfter, 0s);
  EXPECT_TRUE(accounts.Check("clerk", "open sesame", "10.0.0.2").isRight);
}

// Each thread has an address of its own, so that only the check that is under way can hold it back.
TEST(AccountsTest, OneCheckIsMadeAtATimeAndNobodyWaitsForIt) {
  Accounts accounts(Site());
  std::atomic<int> right = 0;
  std::atomic<int> later = 0;
  std::vector<std::thread> threads;
  threads.reserve(8);
  for (int i = 0; i < 8; ++i) {
    threads.emplace_back([&, address = "10.0.1." + std::to_string(i)] {
      for (int attempt = 0; attempt < 3; ++attempt) {
        const Accounts::Verdict verdict = accounts.Check("clerk", "open sesame", address);
        ++(verdict.isRight ? right : later);
        EXPECT_EQ(verdict.retryAfter, verdict.isRight ? 0s : 1s);
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_GT(right, 0);
  EXPECT_EQ(right + later, 24);
}

TEST(AccountsTest, RolesAreThoseOfTheSite) {
  const Accounts accounts(Site());
  EXPECT_EQ(accounts.RoleOf("clerk"), "editor");
  EXPECT_EQ(accounts.RoleOf("demo"), "");
  EXPECT_EQ(accounts.RoleOf("nobody"), "");
}

TEST(AccountsTest, PagesAskByNames) {
  AccountsComponent component(std::make_shared<Accounts>(Site()), [] { return "10.0.0.1"; });
  EXPECT_EQ(component.CallWith(u"check", u"clerk", u"open sesame"), Variant(true));
  EXPECT_EQ(component.Get(u"RetryAfter"), Variant(Long{0}));
  for (int i = 0; i < 4; ++i) EXPECT_EQ(component.CallWith(u"Check", u"clerk", u"x"), Variant(false));
  EXPECT_EQ(component.Get(u"RetryAfter"), Variant(Long{0}));
  EXPECT_EQ(component.CallWith(u"Check", u"clerk", u"open sesame"), Variant(false));
  EXPECT_GT(component.RetryAfter(), 0);
  EXPECT_EQ(component.CallWith(u"RoleOf", u"clerk"), Variant(u"editor"));
}

}  // namespace
}  // namespace hostlinux
