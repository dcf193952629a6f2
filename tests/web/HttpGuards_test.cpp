// What comes in from outside, as bad as it can be: each is refused, and the next request is served.

#include <sys/resource.h>

#include <algorithm>
#include <future>

#include "ServerFixture.h"

namespace {

using namespace hostlinux;
using namespace std::chrono_literals;
using hosttest::Answer;
using hosttest::Echo;
using hosttest::TestClient;
using hosttest::TextResponse;

constexpr char kChunkedHead[] = "POST / HTTP/1.1\r\nHost: a\r\nTransfer-Encoding: chunked\r\n\r\n";

class HttpGuardsTest : public hosttest::ServerFixture {
 protected:
  // The answer to `bytes` on a connection of its own, which must end with it.
  Answer LastAnswer(const std::string& bytes) {
    auto client = Connect();
    client.Send(bytes);
    const Answer answer = client.ReadAnswer();
    EXPECT_EQ(answer.headers.Joined("Connection"), "close") << bytes;
    EXPECT_TRUE(client.IsEnded()) << bytes;
    return answer;
  }

  void ExpectServing() { EXPECT_EQ(Connect().Get("/next").body, "GET /next [] localhost "); }
};

TEST_F(HttpGuardsTest, HeadThatOthersMayReadDifferentlyIsRefused) {
  Serve(Echo);
  for (const char* bytes : {
           "POST / HTTP/1.1\r\nHost: a\r\nContent-Length: 3\r\nTransfer-Encoding: chunked\r\n\r\n0\r\n\r\n",
           "POST / HTTP/1.1\r\nHost: a\r\nTransfer-Encoding: chunked\r\nContent-Length: 3\r\n\r\n0\r\n\r\n",
           "POST / HTTP/1.1\r\nHost: a\r\nContent-Length: 3\r\nContent-Length: 4\r\n\r\nabcd",
           "POST / HTTP/1.1\r\nHost: a\r\nContent-Length: 3\r\nContent-Length: 3\r\n\r\nabc",
           "POST / HTTP/1.1\r\nHost: a\r\nContent-Length: 3, 3\r\n\r\nabc",
           "POST / HTTP/1.1\r\nHost: a\r\nContent-Length: +3\r\n\r\nabc",
           "POST / HTTP/1.1\r\nHost: a\r\nContent-Length: 0x3\r\n\r\nabc",
           "POST / HTTP/1.1\r\nHost: a\r\nContent-Length: 3 \v\r\n\r\nabc",
           "POST / HTTP/1.1\r\nHost: a\r\nContent-Length: 99999999999999999999\r\n\r\nabc",
           "POST / HTTP/1.1\r\nHost: a\r\nTransfer-Encoding : chunked\r\n\r\n0\r\n\r\n",
           "POST / HTTP/1.1\r\nHost: a\r\nTransfer-Encoding:\r\n chunked\r\n\r\n0\r\n\r\n",
           "GET / HTTP/1.1\r\nHost: a\r\nX-A: 1\r\n 2\r\n\r\n",
           "GET / HTTP/1.1\r\nHost: a\r\nX-A: 1\r\n\t2\r\n\r\n",
           "GET / HTTP/1.1\r\n Host: a\r\n\r\n",
           "GET / HTTP/1.1\r\nHost: a\nX-A: 1\r\n\r\n",
           "GET  / HTTP/1.1\r\nHost: a\r\n\r\n",
           "GET / HTTP/1.1\r\nHost: a\rX-A: 1\r\n\r\n",
           "G\x01T / HTTP/1.1\r\nHost: a\r\n\r\n",
           "GET / HTTP/1.1\r\nHost: a\r\n: empty\r\n\r\n",
       }) {
    auto client = Connect();
    client.Send(bytes);
    client.EndSending();
    const Answer answer = client.ReadAnswer();
    EXPECT_EQ(answer.status, 400) << bytes;
    EXPECT_EQ(answer.headers.Joined("Connection"), "close") << bytes;
    EXPECT_TRUE(client.IsEnded()) << bytes;
  }
  ExpectServing();
}

TEST_F(HttpGuardsTest, RequestLineWithoutAKnownVersionIsRefused) {
  Serve(Echo);
  for (const char* line : {"GET / HTTP/1.1\nX: 1", "GET / x HTTP/1.1", "GET / http/1.1", "GET / HTTP/3.0"}) {
    EXPECT_EQ(LastAnswer(std::string(line) + "\r\nHost: a\r\n\r\n").status, 505) << line;
  }
  ExpectServing();
}

TEST_F(HttpGuardsTest, NulBytesInTheHeadAreRefused) {
  Serve(Echo);
  using namespace std::string_literals;
  for (const std::string& bytes :
       {"GET /a\0b HTTP/1.1\r\nHost: a\r\n\r\n"s, "GET / HTTP/1.1\r\nHost: a\r\nX-A: \0\r\n\r\n"s,
        "GET / HTTP/1.1\r\nHost: a\r\nX\0A: 1\r\n\r\n"s}) {
    EXPECT_EQ(LastAnswer(bytes).status, 400);
  }
  ExpectServing();
}

TEST_F(HttpGuardsTest, HeadOfTenMegabytesIsRefusedAfterItsFirstBytes) {
  Serve(Echo);
  auto client = Connect();
  auto sent = std::async(std::launch::async, [&] {
    client.Send("GET / HTTP/1.1\r\nHost: a\r\nX-A: ");
    for (int i = 0; i < 10; ++i) client.Send(std::string(1'000'000, 'a'));
  });
  EXPECT_EQ(client.ReadAnswer().status, 431);
  EXPECT_TRUE(client.IsEnded());
  sent.get();
  auto lines = Connect();
  std::string head = "GET / HTTP/1.1\r\nHost: a\r\n";
  for (int i = 0; i < 10'000; ++i) head += "X-" + std::to_string(i) + ": 1\r\n";
  lines.Send(head);
  EXPECT_EQ(lines.ReadAnswer().status, 431);
  ExpectServing();
}

TEST_F(HttpGuardsTest, LongAddressIsRefused) {
  m_options.maxTarget = 100;
  Serve(Echo);
  EXPECT_EQ(LastAnswer("GET /" + std::string(100, 'a') + " HTTP/1.1\r\nHost: a\r\n\r\n").status, 414);
  EXPECT_EQ(Connect().Get("/" + std::string(99, 'a')).status, 200);
}

TEST_F(HttpGuardsTest, BadChunksAreRefused) {
  Serve(Echo);
  for (const char* chunks : {"zz\r\n\r\n", "-1\r\na\r\n0\r\n\r\n", "\r\n\r\n", "3\r\nabcd\r\n0\r\n\r\n",
                             "3\nabc\r\n0\r\n\r\n", "fffffffffffffffff\r\na\r\n", "3;=\r\nabc\r\n0\r\n\r\n",
                             "0x3\r\nabc\r\n0\r\n\r\n", "0\r\nContent-Length: 5\r\n\r\n"}) {
    EXPECT_EQ(LastAnswer(std::string(kChunkedHead) + chunks).status, 400) << chunks;
  }
  EXPECT_EQ(LastAnswer(std::string(kChunkedHead) + "ffffffffffffffff\r\na\r\n").status, 413);
  ExpectServing();
}

TEST_F(HttpGuardsTest, TrailerIsReadOverAndNoPartOfTheHead) {
  Serve([](const HttpRequest& request, ClientLink&) {
    return TextResponse(request.body + " " + request.serverName + " [" + request.headers.Joined("X-A") + "]");
  });
  auto client = Connect();
  client.Send(std::string(kChunkedHead) + "3;name=\"value\"\r\nabc\r\n0\r\nX-A: 1\r\nX-B: 2\r\n\r\n");
  EXPECT_EQ(client.ReadAnswer().body, "abc a []");
  EXPECT_EQ(client.Get("/").body, " localhost []");
}

TEST_F(HttpGuardsTest, EndlessChunkLinesAndTrailersAreRefused) {
  Serve(Echo);
  for (const char* begin : {"3;name=", "0\r\nX-A: "}) {
    auto client = Connect();
    auto sent = std::async(std::launch::async,
                           [&] { client.Send(kChunkedHead + (begin + std::string(3'000'000, 'a'))); });
    EXPECT_EQ(client.ReadAnswer().status, 400) << begin;
    sent.get();
  }
  ExpectServing();
}

TEST_F(HttpGuardsTest, BodyOfManySmallChunksIsJoined) {
  Serve([](const HttpRequest& request, ClientLink&) {
    return TextResponse(std::to_string(request.body.size()));
  });
  std::string body;
  for (int i = 0; i < 20'000; ++i) body += "1\r\na\r\n";
  auto client = Connect();
  client.Send(kChunkedHead + body + "0\r\n\r\n");
  EXPECT_EQ(client.ReadAnswer().body, "20000");
}

TEST_F(HttpGuardsTest, BodyLongerThanAnnouncedIsTheNextRequest) {
  Serve(Echo);
  auto client = Connect();
  client.Send("POST / HTTP/1.1\r\nHost: a\r\nContent-Length: 3\r\n\r\nabcdef\r\n\r\n");
  EXPECT_EQ(client.ReadAnswer().body, "POST / [] a abc");
  const Answer rest = client.ReadAnswer();
  EXPECT_EQ(rest.status, 400);
  EXPECT_TRUE(client.IsEnded());
  ExpectServing();
}

TEST_F(HttpGuardsTest, BodyShorterThanAnnouncedIsRefusedAtTheClientsEnd) {
  Serve(Echo);
  for (const char* bytes : {"POST / HTTP/1.1\r\nHost: a\r\nContent-Length: 5\r\n\r\nabc",
                            "POST / HTTP/1.1\r\nHost: a\r\nTransfer-Encoding: chunked\r\n\r\n5\r\nabc",
                            "GET / HTTP/1.1\r\nHos"}) {
    auto client = Connect();
    client.Send(bytes);
    client.EndSending();
    EXPECT_EQ(client.ReadAnswer().status, 400) << bytes;
    EXPECT_TRUE(client.IsEnded()) << bytes;
  }
  ExpectServing();
}

TEST_F(HttpGuardsTest, HalfClosedClientGetsItsAnswer) {
  Serve(Echo);
  auto client = Connect();
  client.Send("GET /half HTTP/1.1\r\nHost: a\r\n\r\n");
  client.EndSending();
  EXPECT_EQ(client.ReadAnswer().body, "GET /half [] a ");
  EXPECT_TRUE(client.IsEnded());
}

TEST_F(HttpGuardsTest, BadRequestInAPipelineEndsItBehindTheGoodOnes) {
  Serve(Echo);
  auto client = Connect();
  client.Send(
      "GET /1 HTTP/1.1\r\nHost: a\r\n\r\nGET /2 HTTP/1.1\r\nHost: a\r\n\r\nrubbish\r\n\r\nGET /3 "
      "HTTP/1.1\r\n\r\n");
  EXPECT_EQ(client.ReadAnswer().body, "GET /1 [] a ");
  EXPECT_EQ(client.ReadAnswer().body, "GET /2 [] a ");
  EXPECT_EQ(client.ReadAnswer().status, 400);
  EXPECT_TRUE(client.IsEnded());
}

// A byte before each limit of a read, so that only the limit of the whole step can end it.
void Trickle(TestClient& client, const std::string& begin, const std::atomic<bool>& ended) {
  client.Send(begin);
  while (!ended) {
    std::this_thread::sleep_for(5ms);
    client.Send("a");
  }
}

TEST_F(HttpGuardsTest, TricklingHeadAndBodyDoNotProlongTheirTime) {
  m_options.headTimeout = m_options.bodyTimeout = 60ms;
  Serve(Echo);
  for (const char* begin : {"GET / HTTP/1.1\r\nHost: a\r\nX-A: ",
                            "POST / HTTP/1.1\r\nHost: a\r\nContent-Length: 100000\r\n\r\n"}) {
    auto client = Connect();
    std::atomic<bool> ended = false;
    auto sender = std::async(std::launch::async, [&] { Trickle(client, begin, ended); });
    EXPECT_EQ(client.ReadAnswer().status, 408) << begin;
    ended = true;
    sender.get();
  }
  ExpectServing();
}

TEST_F(HttpGuardsTest, BodiesTogetherAreBounded) {
  m_options.maxBodies = 5000;
  Serve(Echo);
  const auto hold = [&] {
    auto client = Connect();
    client.Send("POST / HTTP/1.1\r\nHost: a\r\nContent-Length: 4001\r\n\r\n" + std::string(4000, 'a'));
    return client;
  };
  auto holder = hold();
  // An announcement alone takes nothing away.
  auto announcer = Connect();
  announcer.Send("POST / HTTP/1.1\r\nHost: a\r\nContent-Length: 1000000\r\n\r\n");
  const std::string second =
      "POST / HTTP/1.1\r\nHost: a\r\nContent-Length: 1001\r\n\r\n" + std::string(1001, 'b');
  Answer refused;
  // The first body may still be on its way, and be the one that is refused.
  do {
    auto client = Connect();
    client.Send(second);
    refused = client.ReadAnswer();
    if (holder.HasMore()) holder = hold();
  } while (refused.status == 200);
  EXPECT_EQ(refused.status, 503);
  EXPECT_EQ(refused.headers.Joined("Retry-After"), "2");
  ExpectServing();
  holder.Send("a");
  EXPECT_EQ(holder.ReadAnswer().status, 200);
  auto after = Connect();
  after.Send(second);
  EXPECT_EQ(after.ReadAnswer().status, 200);
}

TEST_F(HttpGuardsTest, RequestThatIsNotAdmittedIsRefusedAndTheConnectionGoesOn) {
  m_options.retryAfter = 7;
  m_options.admits = [](const HttpRequest& request) {
    return request.remoteAddress != "127.0.0.1" || request.path != "/flood";
  };
  Serve(Echo);
  auto client = Connect();
  const Answer refused = client.Get("/flood");
  EXPECT_EQ(refused.status, 429);
  EXPECT_EQ(refused.headers.Joined("Retry-After"), "7");
  EXPECT_EQ(client.Get("/next").body, "GET /next [] localhost ");
  client.Send("POST /flood HTTP/1.1\r\nHost: h\r\nContent-Length: 3\r\n\r\nabc");
  EXPECT_EQ(client.ReadAnswer().status, 429);
  EXPECT_EQ(client.Get("/last").status, 200);
}

TEST_F(HttpGuardsTest, SilentClientsKeepNobodyOut) {
  m_options.maxConnections = 4;
  Serve(Echo);
  std::vector<TestClient> silent;
  for (int i = 0; i < 40; ++i) {
    silent.push_back(Connect());
    ExpectServing();
  }
  EXPECT_TRUE(silent.front().IsEnded());
}

// Whoever waits for a place gets that of the first one that has nothing to do any more, not of the first whose
// time has passed.
TEST_F(HttpGuardsTest, ClientThatWaitsForAPlaceGetsTheFirstOneThatIsIdle) {
  m_options.maxConnections = 2;
  m_options.idleTimeout = 10min;
  Serve([&](const HttpRequest& request, ClientLink& link) {
    if (request.path == "/wait") {
      m_gate.Arrive();
      m_gate.Wait();
    }
    return Echo(request, link);
  });
  auto first = Connect();
  auto second = Connect();
  for (TestClient* client : {&first, &second}) client->Send("GET /wait HTTP/1.1\r\nHost: a\r\n\r\n");
  m_gate.AwaitArrivals(2);
  auto third = Connect();
  third.Send("GET /third HTTP/1.1\r\nHost: a\r\n\r\n");
  std::this_thread::sleep_for(50ms);  // it is in the backlog now
  m_gate.Open();
  EXPECT_EQ(first.ReadAnswer().status, 200);
  EXPECT_EQ(second.ReadAnswer().status, 200);
  EXPECT_EQ(third.ReadAnswer().body, "GET /third [] a ");
}

TEST_F(HttpGuardsTest, TwoThousandSilentClientsDelayNobody) {
  rlimit files{};
  ASSERT_EQ(::getrlimit(RLIMIT_NOFILE, &files), 0);
  files.rlim_cur = std::min<rlim_t>(files.rlim_max, 5000);
  ASSERT_EQ(::setrlimit(RLIMIT_NOFILE, &files), 0);
  Serve(Echo);
  std::vector<TestClient> silent;
  silent.reserve(2000);
  for (int i = 0; i < 2000; ++i) silent.push_back(Connect());
  ExpectServing();
  EXPECT_EQ(silent.front().Get("/").status, 200);
  EXPECT_EQ(silent.back().Get("/").status, 200);
}

TEST_F(HttpGuardsTest, DownloadThatIsTakenSlowlyHoldsNeitherThreadNorOthers) {
  m_options.threads = 1;
  Serve([](const HttpRequest& request, ClientLink& link) {
    if (request.path != "/big") return Echo(request, link);
    return TextResponse(std::string(6'000'000, 'x'));
  });
  TestClient slow(m_server->Port(), 4096);
  slow.Send("GET /big HTTP/1.1\r\nHost: a\r\n\r\n");
  EXPECT_EQ(slow.ReadHead().status, 200);
  for (int i = 0; i < 20; ++i) ExpectServing();
  EXPECT_EQ(slow.ReadBytes(6'000'000).size(), 6'000'000U);
}

TEST_F(HttpGuardsTest, ClientThatTakesAByteAtATimeIsCut) {
  m_options.writeTimeout = 60ms;
  Serve([](const HttpRequest&, ClientLink&) { return TextResponse(std::string(6'000'000, 'x')); });
  TestClient slow(m_server->Port(), 4096);
  slow.Send("GET / HTTP/1.1\r\nHost: a\r\n\r\n");
  slow.ReadHead();
  std::string got;
  for (int i = 0; i < 40; ++i) {
    got += slow.ReadBytes(1);
    std::this_thread::sleep_for(5ms);
  }
  EXPECT_LT(got.size() + slow.ReadToEnd().size(), 6'000'000U);
}

TEST_F(HttpGuardsTest, BusyClientIsAnsweredOnceMoreWhileTheServerEnds) {
  m_options.drainGrace = 10s;
  Serve(Echo);
  auto busy = Connect();
  EXPECT_EQ(busy.Get("/1").status, 200);
  auto drained = std::async(std::launch::async, [&] { return m_server->Drain(20s); });
  std::this_thread::sleep_for(20ms);
  const Answer answer = busy.Get("/2");
  EXPECT_EQ(answer.status, 200);
  EXPECT_EQ(answer.headers.Joined("Connection"), "close");
  EXPECT_TRUE(busy.IsEnded());
  busy.Reset();
  EXPECT_TRUE(drained.get());
}

TEST_F(HttpGuardsTest, ClientThatWasPromisedItsConnectionIsAnsweredOnceMore) {
  m_options.drainGrace = 10s;
  Serve([&](const HttpRequest& request, ClientLink& link) {
    if (request.path != "/flush") return Echo(request, link);
    link.Flush(TextResponse("begun"));
    m_gate.Wait();
    return TextResponse(" and done");
  });
  auto client = Connect();
  client.Send("GET /flush HTTP/1.1\r\nHost: a\r\n\r\n");
  // Its head, which promises that the connection stays, is out before the server begins to end.
  const Answer head = client.ReadHead();
  EXPECT_EQ(head.headers.Find("Connection"), nullptr);
  auto drained = std::async(std::launch::async, [&] { return m_server->Drain(20s); });
  std::this_thread::sleep_for(20ms);
  m_gate.Open();
  client.ReadThrough("0\r\n\r\n");
  const Answer next = client.Get("/next");
  EXPECT_EQ(next.body, "GET /next [] localhost ");
  EXPECT_EQ(next.headers.Joined("Connection"), "close");
  client.Reset();
  EXPECT_TRUE(drained.get());
}

TEST_F(HttpGuardsTest, ConnectionsInTheBacklogAreServedAtTheVeryEnd) {
  m_options.maxConnections = 1;
  hosttest::Gate gate;
  Serve([&](const HttpRequest& request, ClientLink& link) {
    if (request.path == "/wait") {
      gate.Arrive();
      gate.Wait();
    }
    return Echo(request, link);
  });
  auto first = Connect();
  first.Send("GET /wait HTTP/1.1\r\nHost: a\r\n\r\n");
  gate.AwaitArrivals(1);
  auto second = Connect();
  second.Send("GET /second HTTP/1.1\r\nHost: a\r\n\r\n");
  auto drained =
      std::async(std::launch::async, [&] { return m_server->Drain(20s, HttpServer::Backlog::Take); });
  std::this_thread::sleep_for(20ms);
  gate.Open();
  EXPECT_EQ(first.ReadAnswer().status, 200);
  EXPECT_EQ(second.ReadAnswer().body, "GET /second [] a ");
  first.Reset();
  second.Reset();
  EXPECT_TRUE(drained.get());
}

}  // namespace
