#include "host-linux/web/AddressLimit.h"

#include <gmock/gmock.h>

namespace {

using namespace hostlinux;
using namespace std::chrono_literals;
using testing::ElementsAre;

class AddressLimitTest : public testing::Test {
 protected:
  AddressLimit MakeLimit(std::uint32_t perMinute) {
    AddressLimit::Options options;
    options.perMinute = perMinute;
    options.now = [this] { return m_now; };
    options.refused = [this](const std::string& address) { m_refused.push_back(address); };
    return AddressLimit(options);
  }

  // How many of `count` attempts are taken.
  static int Taken(AddressLimit& limit, const std::string& address, int count) {
    int taken = 0;
    for (int i = 0; i < count; ++i) taken += limit.Take(address) == 0s ? 1 : 0;
    return taken;
  }

  static HttpRequest From(const std::string& address, const std::string& forwardedFor = "") {
    HttpRequest request;
    request.remoteAddress = address;
    if (!forwardedFor.empty()) request.headers.Add("X-Forwarded-For", forwardedFor);
    return request;
  }

  AddressLimit::Clock::time_point m_now = AddressLimit::Clock::time_point() + 1h;
  std::vector<std::string> m_refused;
};

TEST_F(AddressLimitTest, GivesAMinutesWorthAtOnceAndThenByTheTime) {
  AddressLimit limit = MakeLimit(60);
  EXPECT_EQ(Taken(limit, "192.0.2.1", 100), 60);
  EXPECT_EQ(limit.Take("192.0.2.1"), 1s);
  m_now += 10s;
  EXPECT_EQ(Taken(limit, "192.0.2.1", 100), 10);
  m_now += 1h;
  EXPECT_EQ(Taken(limit, "192.0.2.1", 100), 60);
}

TEST_F(AddressLimitTest, TellsHowLongToWait) {
  AddressLimit limit = MakeLimit(4);
  Taken(limit, "192.0.2.1", 4);
  EXPECT_EQ(limit.Take("192.0.2.1"), 15s);
  m_now += 10s;
  EXPECT_EQ(limit.Take("192.0.2.1"), 5s);
  m_now += 5s;
  EXPECT_EQ(limit.Take("192.0.2.1"), 0s);
}

TEST_F(AddressLimitTest, AddressesCountAloneAndIPv6OnesByTheirNetwork) {
  AddressLimit limit = MakeLimit(2);
  EXPECT_EQ(Taken(limit, "192.0.2.1", 5), 2);
  EXPECT_EQ(Taken(limit, "192.0.2.2", 5), 2);
  EXPECT_EQ(Taken(limit, "::ffff:192.0.2.1", 5), 0);
  EXPECT_EQ(Taken(limit, "2001:db8:0:1::1", 1), 1);
  EXPECT_EQ(Taken(limit, "2001:db8:0:1:ffff::2", 5), 1);
  EXPECT_EQ(Taken(limit, "2001:db8:0:2::1", 5), 2);
}

TEST_F(AddressLimitTest, TellsOfAnAddressOnceAMinute) {
  AddressLimit limit = MakeLimit(1);
  for (int i = 0; i < 100; ++i) limit.Take("192.0.2.1");
  EXPECT_THAT(m_refused, ElementsAre("192.0.2.1"));
  limit.Take("192.0.2.2");
  limit.Take("192.0.2.2");
  EXPECT_THAT(m_refused, ElementsAre("192.0.2.1", "192.0.2.2"));
  m_now += 61s;
  for (int i = 0; i < 100; ++i) limit.Take("192.0.2.1");
  EXPECT_THAT(m_refused, ElementsAre("192.0.2.1", "192.0.2.2", "192.0.2.1"));
}

TEST_F(AddressLimitTest, FloodOfAddressesDoesNotForgetTheOneThatTakesMost) {
  AddressLimit limit = MakeLimit(100);
  EXPECT_EQ(Taken(limit, "192.0.2.1", 200), 100);
  for (int i = 0; i < 100'000; ++i) {
    const std::string address = std::to_string(1 + i / 65536) + "." + std::to_string(i / 256 % 256) + "." +
                                std::to_string(i % 256) + ".7";
    EXPECT_EQ(limit.Take(address), 0s);
  }
  EXPECT_EQ(Taken(limit, "192.0.2.1", 200), 0);
}

TEST_F(AddressLimitTest, WhoeverHasNoAddressMayAlways) {
  AddressLimit limit = MakeLimit(1);
  EXPECT_EQ(Taken(limit, "", 10), 10);
  EXPECT_EQ(Taken(limit, "unix", 10), 10);
}

TEST_F(AddressLimitTest, LoopbackAndLocalSocketsTellNothingOfTheVisitor) {
  for (const char* address : {"", "127.0.0.1", "127.8.9.1", "::1", "::ffff:127.0.0.1"})
    EXPECT_FALSE(HasOwnAddress(From(address))) << address;
  for (const char* address : {"192.0.2.1", "10.0.0.7", "2001:db8::1", "::2", "128.0.0.1"})
    EXPECT_TRUE(HasOwnAddress(From(address))) << address;
}

TEST_F(AddressLimitTest, ProxyOfAPrivateNetworkThatIsNotTrustedStandsForAll) {
  for (const char* proxy :
       {"10.0.0.7", "172.16.0.1", "172.31.255.1", "192.168.1.1", "fd00::1", "100.64.0.1"}) {
    EXPECT_FALSE(HasOwnAddress(From(proxy, "203.0.113.9"))) << proxy;
    // A trusted one's word is the address already.
    EXPECT_TRUE(HasOwnAddress(From(proxy, "203.0.113.9, " + std::string(proxy)))) << proxy;
  }
}

TEST_F(AddressLimitTest, NobodyOnTheInternetEscapesByCallingHimselfAProxy) {
  for (const char* address : {"203.0.113.9", "172.32.0.1", "192.169.0.1", "2001:db8::1"}) {
    HttpRequest request = From(address, "1.2.3.4");
    request.headers.Add("Forwarded", "for=1.2.3.4");
    EXPECT_TRUE(HasOwnAddress(request)) << address;
  }
}

}  // namespace
