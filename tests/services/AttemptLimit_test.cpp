#include "host-linux/services/AttemptLimit.h"

#include <gtest/gtest.h>

namespace hostlinux {
namespace {

using namespace std::chrono_literals;

class AttemptLimitTest : public testing::Test {
 protected:
  AttemptLimitTest() : m_limit({3, 4, [this] { return m_now; }}) {}

  std::chrono::seconds Take(const std::string& address, int times = 1) {
    for (int i = 1; i < times; ++i) m_limit.Take(address);
    return m_limit.Take(address);
  }

  AttemptLimit::Clock::time_point m_now{1h};
  AttemptLimit m_limit;
};

TEST_F(AttemptLimitTest, SoManyInAMinuteAndThenTheRestOfTheMinuteIsWaitedFor) {
  EXPECT_EQ(Take("10.0.0.1", 3), 0s);
  EXPECT_EQ(Take("10.0.0.1"), 60s);
  m_now += 20500ms;
  EXPECT_EQ(Take("10.0.0.1"), 40s);
  m_now += 39400ms;
  EXPECT_EQ(Take("10.0.0.1"), 1s);
  m_now += 100ms;
  EXPECT_EQ(Take("10.0.0.1", 3), 0s);
  EXPECT_EQ(Take("10.0.0.1"), 60s);
}

TEST_F(AttemptLimitTest, AnotherAddressHasAttemptsOfItsOwn) {
  Take("10.0.0.1", 4);
  EXPECT_EQ(Take("10.0.0.2"), 0s);
  EXPECT_EQ(Take(""), 0s);
}

TEST_F(AttemptLimitTest, AnIpv6NetworkCountsAsOne) {
  EXPECT_EQ(Take("2001:db8:0:1::1"), 0s);
  EXPECT_EQ(Take("2001:db8:0:1:ffff::2"), 0s);
  EXPECT_EQ(Take("2001:DB8::1:0:0:0:3"), 0s);
  EXPECT_EQ(Take("2001:db8:0:1::4"), 60s);
  EXPECT_EQ(Take("2001:db8:0:2::1"), 0s);
}

TEST_F(AttemptLimitTest, Ipv4AddressesInIpv6DressAreNotOneNetwork) {
  Take("::ffff:10.0.0.1", 4);
  EXPECT_EQ(Take("::ffff:10.0.0.2"), 0s);
}

TEST_F(AttemptLimitTest, RemembersSoManyAddressesAndForgetsTheOldest) {
  for (const char* address : {"a", "b", "c", "d"}) {
    EXPECT_EQ(Take(address, 3), 0s);
    m_now += 1s;
  }
  EXPECT_EQ(Take("e"), 0s);
  EXPECT_EQ(Take("b"), 57s);
  EXPECT_EQ(Take("a"), 0s);
  EXPECT_EQ(Take("c"), 58s);
}

}  // namespace
}  // namespace hostlinux
