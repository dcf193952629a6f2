// Clients that read more slowly than their pages write: they cost others nothing.

#include <atomic>
#include <vector>

#include "ServerFixture.h"

namespace {

using namespace hostlinux;
using namespace std::chrono_literals;
using hosttest::Echo;
using hosttest::TestClient;
using hosttest::TextResponse;

constexpr std::size_t kMegabyte = 1 << 20;
constexpr int kSmallWindow = 64 * 1024;

// A text in which a piece that is lost, doubled or out of its place shows.
std::string Numbers(std::size_t size, std::size_t first = 0) {
  std::string text;
  for (std::size_t i = first; text.size() < size; ++i) text += std::to_string(i) + ",";
  return text;
}

class SlowReadersTest : public hosttest::ServerFixture {
 protected:
  // Pages below /slow flush `part` `flushes` times.
  void ServeFlushing(std::string part, int flushes) {
    Serve([this, part = std::move(part), flushes](const HttpRequest& request, ClientLink& link) {
      if (!request.path.starts_with("/slow")) return Echo(request, link);
      for (int i = 0; i < flushes; ++i) {
        link.Flush(TextResponse(part));
        ++m_flushed;
      }
      return TextResponse("end");
    });
  }

  // A client that asks and reads nothing.
  TestClient Ask() {
    TestClient client(m_server->Port(), kSmallWindow);
    client.Send("GET /slow HTTP/1.1\r\nHost: a\r\nConnection: close\r\n\r\n");
    return client;
  }

  void ExpectServing() { EXPECT_EQ(Connect().Get("/next").body, "GET /next [] localhost "); }

  void AwaitFlushes(int count) {
    while (m_flushed < count) std::this_thread::yield();
  }

  std::atomic<int> m_flushed = 0;
};

TEST_F(SlowReadersTest, PageRunsOnWhileItsClientReadsNothing) {
  m_options.threads = 1;
  const std::string part = Numbers(10 * kMegabyte);
  ServeFlushing(part, 3);
  TestClient slow = Ask();
  AwaitFlushes(3);
  ExpectServing();
  EXPECT_TRUE(slow.ReadAnswer().body == part + part + part + "end");
  EXPECT_TRUE(slow.IsEnded());
}

TEST_F(SlowReadersTest, SmallPartsArriveInTheirOrder) {
  m_options.threads = 1;
  std::string all;
  Serve([&](const HttpRequest& request, ClientLink& link) {
    if (request.path != "/slow") return Echo(request, link);
    for (std::size_t i = 0; i < 3000; ++i) {
      const std::string part = Numbers(1000 + i, i);
      all += part;
      link.Flush(TextResponse(part));
    }
    m_gate.Arrive();
    return TextResponse("end");
  });
  TestClient slow = Ask();
  m_gate.AwaitArrivals(1);
  EXPECT_TRUE(slow.ReadAnswer().body == all + "end");
}

TEST_F(SlowReadersTest, ClientThatReadsWhileThePageWritesMissesNothing) {
  m_options.threads = 1;
  m_options.maxUnread = kMegabyte;
  const std::string part = Numbers(100'000);
  ServeFlushing(part, 200);
  TestClient slow = Ask();
  slow.ReadHead();
  std::string wanted;
  for (int i = 0; i < 200; ++i) wanted += part;
  std::string got;
  for (std::string line = slow.ReadThrough("\r\n"); line != "0\r\n"; line = slow.ReadThrough("\r\n")) {
    got += slow.ReadBytes(std::stoull(line, nullptr, 16));
    slow.ReadThrough("\r\n");
  }
  EXPECT_TRUE(got == wanted + "end");
}

TEST_F(SlowReadersTest, PageWaitsWhereItsUnreadBytesHaveNoRoomAndOthersAreServed) {
  m_options.threads = 1;
  m_options.maxUnread = kMegabyte;
  const std::string part = Numbers(10 * kMegabyte);
  ServeFlushing(part, 3);
  TestClient slow = Ask();
  slow.ReadHead();
  for (int i = 0; i < 20; ++i) ExpectServing();
  std::this_thread::sleep_for(50ms);
  EXPECT_EQ(m_flushed, 0);
  for (int i = 0; i < 20; ++i) ExpectServing();
  EXPECT_EQ(slow.ReadBytes(10 * kMegabyte).size(), 10 * kMegabyte);
  EXPECT_TRUE(slow.ReadToEnd().ends_with("3\r\nend\r\n0\r\n\r\n"));
  EXPECT_EQ(m_flushed, 3);
}

TEST_F(SlowReadersTest, OnlySoManyPagesWaitAndOneMoreIsGivenUp) {
  m_options.threads = 2;
  m_options.maxUnread = kMegabyte;
  ServeFlushing(Numbers(10 * kMegabyte), 1);
  std::vector<TestClient> slow;
  slow.reserve(10);
  for (int i = 0; i < 10; ++i) slow.push_back(Ask());
  AwaitFlushes(6);  // those that were given up
  for (int i = 0; i < 20; ++i) ExpectServing();
  int whole = 0;
  for (TestClient& client : slow) whole += client.ReadToEnd().ends_with("0\r\n\r\n") ? 1 : 0;
  EXPECT_EQ(whole, 4);
}

TEST_F(SlowReadersTest, AllUnreadBytesTogetherAreBounded) {
  m_options.threads = 1;
  m_options.maxUnread = 20 * kMegabyte;
  m_options.maxUnreadTogether = 30 * kMegabyte;
  ServeFlushing(Numbers(20 * kMegabyte), 1);
  TestClient first = Ask();
  AwaitFlushes(1);
  TestClient second = Ask();
  second.ReadHead();
  std::this_thread::sleep_for(50ms);
  EXPECT_EQ(m_flushed, 1);
  EXPECT_TRUE(first.ReadToEnd().ends_with("0\r\n\r\n"));
  // The second goes on once it is read.
  EXPECT_TRUE(second.ReadToEnd().ends_with("0\r\n\r\n"));
  TestClient third = Ask();
  AwaitFlushes(3);
}

TEST_F(SlowReadersTest, ClientThatStandsStillIsDroppedAndItsPageGoesOn) {
  m_options.threads = 1;
  m_options.maxUnread = kMegabyte;
  m_options.writeTimeout = 100ms;
  ServeFlushing(Numbers(10 * kMegabyte), 2);
  TestClient slow = Ask();
  AwaitFlushes(2);
  ExpectServing();
  EXPECT_LT(slow.ReadToEnd().size(), 20 * kMegabyte);
}

TEST_F(SlowReadersTest, ClientThatGoesFreesItsPage) {
  m_options.threads = 1;
  m_options.maxUnread = kMegabyte;
  ServeFlushing(Numbers(10 * kMegabyte), 2);
  for (int i = 1; i <= 10; ++i) {
    TestClient slow = Ask();
    slow.ReadHead();
    slow.Reset();
    AwaitFlushes(2 * i);
  }
  ExpectServing();
}

}  // namespace
