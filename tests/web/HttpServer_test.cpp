#include "host-linux/web/HttpServer.h"

#include <gtest/gtest.h>

#include <atomic>
#include <future>
#include <thread>
#include <vector>

#include "ServerFixture.h"

namespace {

using namespace hostlinux;
using namespace std::chrono_literals;
using hosttest::Answer;
using hosttest::Echo;
using hosttest::TestClient;
using hosttest::TextResponse;

class HttpServerTest : public hosttest::ServerFixture {};

TEST_F(HttpServerTest, RequestReachesThePageAndItsResponseTheClient) {
  Serve(Echo);
  auto client = Connect();
  client.Send(
      "POST /shop/../shop/a%20b.asp?x=%41 HTTP/1.1\r\nHost: shop.example:99\r\nContent-Length: "
      "4\r\n\r\nbody");
  const Answer answer = client.ReadAnswer();
  EXPECT_EQ(answer.status, 200);
  EXPECT_EQ(answer.body, "POST /shop/a b.asp [x=%41] shop.example body");
  EXPECT_EQ(*answer.headers.Find("Content-Type"), "text/plain");
  EXPECT_EQ(answer.headers.CountOf("Date"), 1U);
  EXPECT_EQ(answer.headers.Find("Connection"), nullptr);
}

TEST_F(HttpServerTest, PageSeesHeadersAddressAndPort) {
  Serve([](const HttpRequest& request, ClientLink&) {
    return TextResponse(request.headers.Joined("x-a") + " " + request.remoteAddress + " " +
                        std::to_string(request.serverPort) + " " + std::to_string(request.id.size()));
  });
  auto client = Connect();
  const std::string port = std::to_string(m_server->Port());
  EXPECT_EQ(client.Get("/", "X-A: 1\r\nx-a: 2\r\n").body, "1, 2 127.0.0.1 " + port + " 16");
}

TEST_F(HttpServerTest, ConnectionIsKeptForFurtherRequests) {
  Serve(Echo);
  auto client = Connect();
  EXPECT_EQ(client.Get("/1").body, "GET /1 [] localhost ");
  EXPECT_EQ(client.Get("/2").body, "GET /2 [] localhost ");
}

TEST_F(HttpServerTest, ConnectionEndsWhenTheClientAsksForIt) {
  Serve(Echo);
  auto client = Connect();
  const Answer answer = client.Get("/", "Connection: close\r\n");
  EXPECT_EQ(*answer.headers.Find("Connection"), "close");
  EXPECT_TRUE(client.IsEnded());
}

TEST_F(HttpServerTest, OldProtocolKeepsTheConnectionOnlyOnRequest) {
  Serve(Echo);
  auto client = Connect();
  client.Send("GET /a HTTP/1.0\r\nConnection: keep-alive\r\n\r\n");
  EXPECT_EQ(*client.ReadAnswer().headers.Find("Connection"), "keep-alive");
  client.Send("GET /b HTTP/1.0\r\n\r\n");
  const Answer answer = client.ReadAnswer();
  EXPECT_EQ(answer.body, "GET /b []  ");
  EXPECT_EQ(*answer.headers.Find("Connection"), "close");
  EXPECT_TRUE(client.IsEnded());
}

TEST_F(HttpServerTest, PipelinedRequestsAreAnsweredInOrder) {
  Serve(Echo);
  auto client = Connect();
  client.Send(
      "GET /1 HTTP/1.1\r\nHost: h\r\n\r\nPOST /2 HTTP/1.1\r\nHost: h\r\nContent-Length: 2\r\n\r\nxyGET /3 "
      "HTTP/1.1\r\nHost: "
      "h\r\n\r\n");
  EXPECT_EQ(client.ReadAnswer().body, "GET /1 [] h ");
  EXPECT_EQ(client.ReadAnswer().body, "POST /2 [] h xy");
  EXPECT_EQ(client.ReadAnswer().body, "GET /3 [] h ");
}

TEST_F(HttpServerTest, HeadArrivingByteByByteIsRead) {
  Serve(Echo);
  auto client = Connect();
  for (const char c : std::string("GET /slow HTTP/1.1\r\nHost: h\r\n\r\n")) client.Send(std::string(1, c));
  EXPECT_EQ(client.ReadAnswer().body, "GET /slow [] h ");
}

TEST_F(HttpServerTest, ChunkedBodyIsJoined) {
  Serve(Echo);
  auto client = Connect();
  client.Send(
      "POST / HTTP/1.1\r\nHost: h\r\nTransfer-Encoding: chunked\r\n\r\n3\r\nabc\r\n2\r\nde\r\n0\r\n\r\n");
  EXPECT_EQ(client.ReadAnswer().body, "POST / [] h abcde");
}

TEST_F(HttpServerTest, ClientThatWaitsForContinueIsToldToGoOn) {
  Serve(Echo);
  auto client = Connect();
  client.Send("POST / HTTP/1.1\r\nHost: h\r\nExpect: 100-continue\r\nContent-Length: 2\r\n\r\n");
  EXPECT_EQ(client.ReadThrough("\r\n\r\n"), "HTTP/1.1 100 Continue\r\n\r\n");
  client.Send("ok");
  EXPECT_EQ(client.ReadAnswer().body, "POST / [] h ok");
}

TEST_F(HttpServerTest, HeadHasTheLengthButNoBody) {
  Serve([](const HttpRequest&, ClientLink&) { return TextResponse("12345"); });
  auto client = Connect();
  client.Send("HEAD / HTTP/1.1\r\nHost: h\r\n\r\n");
  EXPECT_EQ(*client.ReadAnswer(true).headers.Find("Content-Length"), "5");
  EXPECT_EQ(client.Get("/").body, "12345");
}

TEST_F(HttpServerTest, ServerWritesTheFramingHeadersItself) {
  Serve([](const HttpRequest&, ClientLink&) {
    HttpResponse response = TextResponse("12345");
    response.headers.Add("Content-Length", "99");
    response.headers.Add("Connection", "upgrade");
    response.headers.Add("Transfer-Encoding", "chunked");
    response.headers.Add("Date", "never");
    return response;
  });
  auto client = Connect();
  const Answer answer = client.Get("/");
  EXPECT_EQ(answer.body, "12345");
  EXPECT_EQ(answer.headers.CountOf("Content-Length"), 1U);
  EXPECT_EQ(answer.headers.Find("Connection"), nullptr);
  EXPECT_EQ(answer.headers.Find("Transfer-Encoding"), nullptr);
  EXPECT_NE(*answer.headers.Find("Date"), "never");
}

TEST_F(HttpServerTest, EmptyStatusHasNeitherBodyNorLength) {
  Serve([](const HttpRequest&, ClientLink&) {
    HttpResponse response = TextResponse("dropped");
    response.status = 204;
    return response;
  });
  auto client = Connect();
  const Answer answer = client.Get("/");
  EXPECT_EQ(answer.status, 204);
  EXPECT_EQ(answer.headers.Find("Content-Length"), nullptr);
  EXPECT_EQ(client.Get("/").status, 204);
}

TEST_F(HttpServerTest, MalformedRequestsAreRefusedAndTheConnectionEnds) {
  Serve(Echo);
  for (const char* bytes : {
           "nonsense\r\n\r\n",
           "GET /\r\n\r\n",
           "GET / HTTP/1.1\r\n\r\n",
           "GET / HTTP/1.1\r\nHost: a\r\nHost: b\r\n\r\n",
           "GET / HTTP/1.1\r\nHost: a/b\"<script>\r\n\r\n",
           "GET / HTTP/1.1\r\nHost : a\r\n\r\n",
           "GET / HTTP/1.1\r\nHost: a\r\nNo colon\r\n\r\n",
           "POST / HTTP/1.1\r\nHost: a\r\nContent-Length: -1\r\n\r\n",
           "POST / HTTP/1.1\r\nHost: a\r\nContent-Length: 1\r\nContent-Length: 2\r\n\r\nab",
           "POST / HTTP/1.1\r\nHost: a\r\nContent-Length: 3\r\nTransfer-Encoding: chunked\r\n\r\n0\r\n\r\n",
           "POST / HTTP/1.0\r\nTransfer-Encoding: chunked\r\n\r\n0\r\n\r\n",
           "POST / HTTP/1.1\r\nHost: a\r\nTransfer-Encoding: chunked\r\n\r\nzz\r\n\r\n",
           "\x16\x03\x01\x02",
       }) {
    auto client = Connect();
    client.Send(bytes);
    client.EndSending();
    const Answer answer = client.ReadAnswer();
    EXPECT_EQ(answer.status, 400) << bytes;
    EXPECT_EQ(*answer.headers.Find("Connection"), "close") << bytes;
    EXPECT_TRUE(client.IsEnded()) << bytes;
  }
}

TEST_F(HttpServerTest, UnknownCodingsMethodsAndVersionsAreRefused) {
  Serve(Echo);
  auto coded = Connect();
  coded.Send("POST / HTTP/1.1\r\nHost: a\r\nTransfer-Encoding: gzip, chunked\r\n\r\n0\r\n\r\n");
  EXPECT_EQ(coded.ReadAnswer().status, 501);
  auto traced = Connect();
  traced.Send("TRACE / HTTP/1.1\r\nHost: a\r\n\r\n");
  EXPECT_EQ(traced.ReadAnswer().status, 501);
  auto newer = Connect();
  newer.Send("GET / HTTP/2.7\r\nHost: a\r\n\r\n");
  EXPECT_EQ(newer.ReadAnswer().status, 505);
}

TEST_F(HttpServerTest, BadPathIsRefusedAndTheConnectionGoesOn) {
  Serve(Echo);
  auto client = Connect();
  for (const char* target : {"/%zz", "/../x", "/a%00", "/a\\b", "/%ff"})
    EXPECT_EQ(client.Get(target).status, 400);
  EXPECT_EQ(client.Get("/fine").status, 200);
}

TEST_F(HttpServerTest, OversizedHeadIsRefused) {
  m_options.maxHead = 1024;
  Serve(Echo);
  auto long1 = Connect();
  EXPECT_EQ(long1.Get("/" + std::string(2000, 'a')).status, 431);
  auto long2 = Connect();
  EXPECT_EQ(long2.Get("/", "X-Long: " + std::string(100'000, 'a') + "\r\n").status, 431);
  auto fitting = Connect();
  EXPECT_EQ(fitting.Get("/" + std::string(500, 'a')).status, 200);
}

TEST_F(HttpServerTest, OversizedBodyIsRefusedEvenWhileTheClientSends) {
  m_options.maxBody = 1000;
  Serve(Echo);
  auto announced = Connect();
  announced.Send("POST / HTTP/1.1\r\nHost: h\r\nContent-Length: 1001\r\n\r\n" + std::string(1001, 'a'));
  EXPECT_EQ(announced.ReadAnswer().status, 413);
  auto chunked = Connect();
  chunked.Send("POST / HTTP/1.1\r\nHost: h\r\nTransfer-Encoding: chunked\r\n\r\n600\r\n" +
               std::string(0x600, 'a') + "\r\n0\r\n\r\n");
  EXPECT_EQ(chunked.ReadAnswer().status, 413);
  auto large = Connect();
  large.Send("POST / HTTP/1.1\r\nHost: h\r\nContent-Length: 3000000\r\n\r\n" + std::string(3'000'000, 'a'));
  EXPECT_EQ(large.ReadAnswer().status, 413);
  auto exact = Connect();
  exact.Send("POST / HTTP/1.1\r\nHost: h\r\nContent-Length: 1000\r\n\r\n" + std::string(1000, 'a'));
  EXPECT_EQ(exact.ReadAnswer().body, "POST / [] h " + std::string(1000, 'a'));
}

TEST_F(HttpServerTest, HeadThatNeverEndsTimesOut) {
  m_options.headTimeout = 30ms;
  Serve(Echo);
  auto client = Connect();
  client.Send("GET / HTTP/1.1\r\nHost:");
  EXPECT_EQ(client.ReadAnswer().status, 408);
  EXPECT_TRUE(client.IsEnded());
}

TEST_F(HttpServerTest, BodyThatNeverEndsTimesOut) {
  m_options.bodyTimeout = 30ms;
  Serve(Echo);
  auto client = Connect();
  client.Send("POST / HTTP/1.1\r\nHost: h\r\nContent-Length: 10\r\n\r\nabc");
  EXPECT_EQ(client.ReadAnswer().status, 408);
  EXPECT_TRUE(client.IsEnded());
}

TEST_F(HttpServerTest, IdleConnectionsAreClosedWithoutAWord) {
  m_options.idleTimeout = 30ms;
  Serve(Echo);
  auto fresh = Connect();
  EXPECT_TRUE(fresh.IsEnded());
  auto used = Connect();
  EXPECT_EQ(used.Get("/").status, 200);
  EXPECT_TRUE(used.IsEnded());
}

TEST_F(HttpServerTest, ClientThatTakesNothingIsCut) {
  m_options.writeTimeout = 50ms;
  Serve([](const HttpRequest&, ClientLink&) {
    std::string body;
    body.resize(40'000'000, 'x');
    return TextResponse(std::move(body));
  });
  TestClient client(m_server->Port(), 4096);
  client.Send("GET / HTTP/1.1\r\nHost: h\r\n\r\n");
  // Draining waits for responses under way, so it ends in time only because this one is given up.
  EXPECT_TRUE(m_server->Drain(20s));
  EXPECT_LT(client.ReadToEnd().size(), 40'000'000U);
}

TEST_F(HttpServerTest, SlowClientsHoldNoScriptThread) {
  m_options.threads = 1;
  Serve(Echo);
  auto halfHead = Connect();
  halfHead.Send("GET / HTTP/1.1\r\n");
  auto halfBody = Connect();
  halfBody.Send("POST / HTTP/1.1\r\nHost: h\r\nContent-Length: 10\r\n\r\nabc");
  auto idle = Connect();
  EXPECT_EQ(Connect().Get("/quick").status, 200);
}

TEST_F(HttpServerTest, LargeResponseArrivesWhole) {
  std::string large;
  for (int i = 0; large.size() < 5'000'000; ++i) large += std::to_string(i) + ",";
  Serve([&](const HttpRequest&, ClientLink&) { return TextResponse(large); });
  auto client = Connect();
  EXPECT_TRUE(client.Get("/").body == large);
  EXPECT_TRUE(client.Get("/").body == large);
  m_server.reset();
}

TEST_F(HttpServerTest, FailingPageTellsTheLogAndNotTheClient) {
  Serve([](const HttpRequest& request, ClientLink&) -> HttpResponse {
    throw std::runtime_error("secret of " + request.id);
  });
  auto client = Connect();
  const Answer answer = client.Get("/");
  EXPECT_EQ(answer.status, 500);
  EXPECT_EQ(answer.body.find("secret"), std::string::npos);
  ASSERT_EQ(m_problems.size(), 1U);
  const std::string id = m_problems[0].substr(8, 16);
  EXPECT_EQ(m_problems[0], "Request " + id + ": secret of " + id);
  EXPECT_NE(answer.body.find("Request " + id), std::string::npos);
  EXPECT_EQ(client.Get("/").status, 500);
}

TEST_F(HttpServerTest, FullQueueIsAnsweredAtOnceAndTheConnectionGoesOn) {
  m_options.threads = 1;
  m_options.maxQueue = 1;
  m_options.retryAfter = 7;
  Serve([&](const HttpRequest& request, ClientLink& link) {
    m_gate.Arrive();
    m_gate.Wait();
    return Echo(request, link);
  });
  auto running = Connect();
  running.Send("GET /running HTTP/1.1\r\nHost: h\r\n\r\n");
  m_gate.AwaitArrivals(1);
  // Of two that compete for the one waiting place, one gets it.
  std::vector<TestClient> others;
  for (int i = 0; i < 2; ++i) {
    others.push_back(Connect());
    others.back().Send("GET /other HTTP/1.1\r\nHost: h\r\nConnection: close\r\n\r\n");
  }
  auto third = Connect();
  const Answer busy = third.Get("/third");
  EXPECT_EQ(busy.status, 503);
  EXPECT_EQ(*busy.headers.Find("Retry-After"), "7");
  m_gate.Open();
  EXPECT_EQ(running.ReadAnswer().status, 200);
  EXPECT_EQ(others[0].ReadAnswer().status + others[1].ReadAnswer().status, 200 + 503);
  EXPECT_EQ(third.Get("/again").status, 200);
}

TEST_F(HttpServerTest, ConnectionsBeyondTheLimitWaitForOneToEnd) {
  m_options.maxConnections = 1;
  Serve(Echo);
  auto first = std::make_unique<TestClient>(m_server->Port());
  EXPECT_EQ(first->Get("/").status, 200);
  auto second = Connect();
  second.Send("GET /second HTTP/1.1\r\nHost: h\r\n\r\n");
  first.reset();
  EXPECT_EQ(second.ReadAnswer().body, "GET /second [] h ");
}

TEST_F(HttpServerTest, QuickHandlerAnswersWithoutAScriptThread) {
  m_options.threads = 1;
  m_handlers.quick = [](const HttpRequest& request) -> std::optional<HttpResponse> {
    if (request.path == "/quick") return TextResponse("quick");
    if (request.path == "/bad") throw std::runtime_error("broken");
    return std::nullopt;
  };
  Serve([&](const HttpRequest&, ClientLink&) {
    m_gate.Arrive();
    m_gate.Wait();
    return TextResponse("page");
  });
  auto page = Connect();
  page.Send("GET /page HTTP/1.1\r\nHost: h\r\n\r\n");
  m_gate.AwaitArrivals(1);
  auto quick = Connect();
  EXPECT_EQ(quick.Get("/quick").body, "quick");
  EXPECT_EQ(quick.Get("/bad").status, 500);
  m_gate.Open();
  EXPECT_EQ(page.ReadAnswer().body, "page");
}

TEST_F(HttpServerTest, FlushedPartsArriveWhileThePageRuns) {
  Serve([&](const HttpRequest&, ClientLink& link) {
    link.Flush(TextResponse("first "));
    m_gate.Wait();
    link.Flush(TextResponse("second "));
    return TextResponse("last");
  });
  auto client = Connect();
  client.Send("GET / HTTP/1.1\r\nHost: h\r\n\r\n");
  EXPECT_EQ(client.ReadThrough("first \r\n").substr(0, 15), "HTTP/1.1 200 OK");
  m_gate.Open();
  EXPECT_EQ(client.ReadThrough("0\r\n\r\n"), "7\r\nsecond \r\n4\r\nlast\r\n0\r\n\r\n");
}

TEST_F(HttpServerTest, FlushedPageKeepsTheConnectionInOrder) {
  Serve([](const HttpRequest&, ClientLink& link) {
    link.Flush(TextResponse("a"));
    return TextResponse("b");
  });
  auto client = Connect();
  EXPECT_EQ(client.Get("/").body, "ab");
  client.Send("HEAD / HTTP/1.1\r\nHost: h\r\n\r\n");
  EXPECT_EQ(client.ReadAnswer(true).status, 200);
  EXPECT_EQ(client.Get("/").body, "ab");
  client.Send("GET / HTTP/1.0\r\n\r\n");
  EXPECT_EQ(client.ReadAnswer().body, "ab");
  EXPECT_TRUE(client.IsEnded());
}

TEST_F(HttpServerTest, PageThatFailsAfterAFlushIsBrokenOff) {
  Serve([](const HttpRequest&, ClientLink& link) -> HttpResponse {
    link.Flush(TextResponse("begun"));
    throw std::runtime_error("broken");
  });
  auto client = Connect();
  client.Send("GET / HTTP/1.1\r\nHost: h\r\n\r\n");
  client.ReadHead();
  EXPECT_EQ(client.ReadToEnd(), "5\r\nbegun\r\n");
}

TEST_F(HttpServerTest, PageLearnsThatItsClientHasGone) {
  std::promise<bool> before;
  std::promise<bool> after;
  Serve([&](const HttpRequest&, ClientLink& link) {
    before.set_value(link.IsConnected());
    m_gate.Wait();
    while (link.IsConnected()) std::this_thread::yield();
    after.set_value(link.IsConnected());
    return TextResponse("to nobody");
  });
  auto client = Connect();
  client.Send("GET / HTTP/1.1\r\nHost: h\r\n\r\n");
  EXPECT_TRUE(before.get_future().get());
  client.Reset();
  m_gate.Open();
  EXPECT_FALSE(after.get_future().get());
  m_server.reset();
}

TEST_F(HttpServerTest, DrainFinishesRunningRequestsAndTakesNoMore) {
  Serve([&](const HttpRequest& request, ClientLink& link) {
    m_gate.Arrive();
    m_gate.Wait();
    return Echo(request, link);
  });
  auto running = Connect();
  running.Send("GET /running HTTP/1.1\r\nHost: h\r\n\r\n");
  m_gate.AwaitArrivals(1);
  const std::uint16_t port = m_server->Port();
  auto drained = std::async(std::launch::async, [&] { return m_server->Drain(20s); });
  // The socket refuses connections once draining has begun.
  while (true) {
    try {
      TestClient probe(port);
      std::this_thread::yield();
    } catch (const std::runtime_error&) {
      break;
    }
  }
  m_gate.Open();
  const Answer answer = running.ReadAnswer();
  EXPECT_EQ(answer.body, "GET /running [] h ");
  EXPECT_EQ(*answer.headers.Find("Connection"), "close");
  EXPECT_TRUE(running.IsEnded());
  running.Reset();
  EXPECT_TRUE(drained.get());
}

TEST_F(HttpServerTest, DrainClosesIdleConnections) {
  Serve(Echo);
  auto idle = Connect();
  EXPECT_EQ(idle.Get("/").status, 200);
  EXPECT_TRUE(m_server->Drain(20s));
  EXPECT_TRUE(idle.IsEnded());
}

TEST_F(HttpServerTest, DrainCutsWhatOutlivesItsLimit) {
  Serve([&](const HttpRequest&, ClientLink&) {
    m_gate.Arrive();
    m_gate.Wait();
    return TextResponse("late");
  });
  auto client = Connect();
  client.Send("GET / HTTP/1.1\r\nHost: h\r\n\r\n");
  m_gate.AwaitArrivals(1);
  EXPECT_FALSE(m_server->Drain(20ms));
  EXPECT_EQ(client.ReadToEnd(), "");
  m_gate.Open();
}

TEST_F(HttpServerTest, ResponsesAreToldToTheAccessLog) {
  std::promise<AccessEntry> told;
  m_handlers.finished = [&](const AccessEntry& entry) { told.set_value(entry); };
  Serve([](const HttpRequest&, ClientLink&) { return TextResponse("12345"); });
  auto client = Connect();
  client.Get("/a?b");
  const AccessEntry entry = told.get_future().get();
  EXPECT_EQ(entry.method + " " + entry.target, "GET /a?b");
  EXPECT_EQ(entry.status, 200);
  EXPECT_EQ(entry.bodyBytes, 5U);
  EXPECT_EQ(entry.remoteAddress, "127.0.0.1");
  m_server.reset();
}

TEST_F(HttpServerTest, ManyClientsAtOnceGetTheirOwnAnswers) {
  Serve(Echo);
  std::vector<std::future<int>> clients;
  clients.reserve(8);
  for (int c = 0; c < 8; ++c) {
    clients.push_back(std::async(std::launch::async, [this, c] {
      auto client = Connect();
      int right = 0;
      for (int i = 0; i < 50; ++i) {
        const std::string path = "/" + std::to_string(c) + "-" + std::to_string(i);
        right += client.Get(path).body == "GET " + path + " [] localhost " ? 1 : 0;
      }
      return right;
    }));
  }
  for (auto& client : clients) EXPECT_EQ(client.get(), 50);
}

}  // namespace
