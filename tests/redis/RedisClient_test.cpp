// The client and a real server, whatever becomes of it.

#include "host-linux/redis/RedisClient.h"

#include <gmock/gmock.h>
#include <sys/socket.h>

#include <atomic>
#include <thread>

#include "host-linux/web/ListenSocket.h"
#include "tests/redis/RedisServer.h"

namespace {

using namespace hostlinux;
using namespace std::chrono_literals;
using hosttest::RedisServer;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::StartsWith;

class RedisClientTest : public testing::Test {
 protected:
  void SetUp() override {
    if (!RedisServer::IsInstalled()) GTEST_SKIP() << "redis-server isn't installed";
  }

  RedisClient::Options OptionsFor(const std::string& address) {
    RedisClient::Options options;
    options.address = *ParseRedisAddress(address);
    options.firstPause = 1ms;
    options.longestPause = 2ms;
    options.timeout = 500ms;
    options.log = [this](const std::string& sentence) {
      const std::lock_guard lock(m_mutex);
      m_log.push_back(sentence);
    };
    return options;
  }

  // The first reply's text, or the reason why there is none.
  static std::string Ask(RedisClient& client, const RedisCommand& command) {
    try {
      const RedisReply reply = client.Run({command})[0];
      return reply.kind == RedisReply::Kind::Integer ? std::to_string(reply.integer) : reply.text;
    } catch (const RedisFailure& failure) {
      return std::string("failed: ") + failure.what();
    }
  }

  static bool AwaitAnswer(RedisClient& client) {
    for (int tries = 0; tries < 1000; ++tries) {
      if (Ask(client, {"PING"}) == "PONG") return true;
      std::this_thread::sleep_for(10ms);
    }
    return false;
  }

  std::mutex m_mutex;
  std::vector<std::string> m_log;
};

TEST_F(RedisClientTest, AnswersCommandsByTcpAndByALocalSocket) {
  const RedisServer server;
  for (const std::string& address : {server.Address(), server.LocalAddress()}) {
    RedisClient client(OptionsFor(address));
    const std::string bytes("a\r\n\0b", 5);
    const auto replies = client.Run({{"SET", "key", bytes}, {"GET", "key"}, {"NONSENSE"}, {"GET", "none"}});
    ASSERT_EQ(replies.size(), 4U);
    EXPECT_EQ(replies[0].text, "OK");
    EXPECT_EQ(replies[1].text, bytes);
    EXPECT_TRUE(replies[2].IsError());
    EXPECT_EQ(replies[3].kind, RedisReply::Kind::Nil);
    EXPECT_EQ(Ask(client, {"PING"}), "PONG");
  }
}

TEST_F(RedisClientTest, TheDatabaseOfTheAddressIsTaken) {
  const RedisServer server;
  RedisClient third(OptionsFor(server.Address() + "/3"));
  RedisClient first(OptionsFor(server.Address()));
  EXPECT_EQ(Ask(third, {"SET", "key", "third"}), "OK");
  EXPECT_EQ(Ask(first, {"GET", "key"}), "");
  EXPECT_EQ(Ask(third, {"GET", "key"}), "third");
  RedisClient none(OptionsFor(server.Address() + "/99"));
  EXPECT_THAT(Ask(none, {"PING"}), StartsWith("failed: it refuses us: ERR DB index is out of range"));
}

TEST_F(RedisClientTest, PasswordsAreShownAndNeverTold) {
  const RedisServer server({"--requirepass", "se/cr@t"});
  const std::string port = std::to_string(server.Port());
  RedisClient right(OptionsFor("redis://:se%2Fcr%40t@127.0.0.1:" + port));
  EXPECT_EQ(Ask(right, {"PING"}), "PONG");
  RedisClient wrong(OptionsFor("redis://:guess@127.0.0.1:" + port));
  EXPECT_THAT(Ask(wrong, {"PING"}), StartsWith("failed: it refuses us: WRONGPASS"));
  RedisClient none(OptionsFor("redis://127.0.0.1:" + port));
  EXPECT_THAT(Ask(none, {"PING"}), StartsWith("failed: it refuses us: NOAUTH"));
  EXPECT_EQ(m_log.size(), 2U);
  for (const std::string& line : m_log) EXPECT_THAT(line, testing::Not(HasSubstr("guess")));
}

TEST_F(RedisClientTest, ServerThatIsGoneFailsAtOnceAndIsFoundAgain) {
  RedisServer server;
  RedisClient client(OptionsFor(server.Address()));
  EXPECT_EQ(Ask(client, {"PING"}), "PONG");
  server.Kill();
  EXPECT_EQ(Ask(client, {"PING"}), "failed: Connection refused");
  server.Start();
  EXPECT_TRUE(AwaitAnswer(client));
  EXPECT_THAT(m_log, ElementsAre("Redis at redis://127.0.0.1:" + std::to_string(server.Port()) +
                                     "/0 can't be asked: Connection refused",
                                 HasSubstr("answers again")));
}

TEST_F(RedisClientTest, ConnectionThatTheServerHasClosedIsMadeAnewUnseen) {
  const RedisServer server;
  RedisClient client(OptionsFor(server.Address()));
  for (int i = 0; i < 5; ++i) {
    EXPECT_EQ(Ask(client, {"PING"}), "PONG");
    server.Tell({"CLIENT", "KILL", "TYPE", "normal", "SKIPME", "yes"});
  }
  EXPECT_THAT(m_log, ElementsAre());
}

TEST_F(RedisClientTest, ServerThatHangsCostsEachCallItsTimeAtMost) {
  RedisServer server;
  auto options = OptionsFor(server.Address());
  options.firstPause = options.longestPause = 200ms;
  RedisClient client(std::move(options));
  EXPECT_EQ(Ask(client, {"PING"}), "PONG");
  server.Freeze();
  EXPECT_EQ(Ask(client, {"PING"}), "failed: it didn't answer in time");
  // Known to be gone: only one in a while waits. 100 calls would wait 50 s.
  const auto start = std::chrono::steady_clock::now();
  for (int i = 0; i < 100; ++i) EXPECT_EQ(Ask(client, {"PING"}), "failed: it didn't answer in time");
  EXPECT_LT(std::chrono::steady_clock::now() - start, 20s);
  server.Thaw();
  EXPECT_TRUE(AwaitAnswer(client));
}

// What it never sent in answer to another call isn't taken for an answer to this one.
TEST_F(RedisClientTest, LateAnswersReachNobodyElse) {
  RedisServer server;
  RedisClient client(OptionsFor(server.Address()));
  EXPECT_EQ(Ask(client, {"SET", "mine", "A"}), "OK");
  server.Freeze();
  EXPECT_EQ(Ask(client, {"GET", "mine"}), "failed: it didn't answer in time");
  server.Thaw();
  EXPECT_TRUE(AwaitAnswer(client));
  EXPECT_EQ(Ask(client, {"ECHO", "B"}), "B");
}

TEST_F(RedisClientTest, WhereItIsGoneOneCallAtATimeLooks) {
  RedisServer server;
  auto options = OptionsFor(server.Address());
  options.longestPause = 1ms;
  RedisClient client(std::move(options));
  server.Freeze();
  Ask(client, {"PING"});
  std::this_thread::sleep_for(5ms);
  std::atomic<int> quick = 0;
  std::vector<std::thread> threads;
  threads.reserve(8);
  for (int i = 0; i < 8; ++i) {
    threads.emplace_back([&] {
      const auto start = std::chrono::steady_clock::now();
      Ask(client, {"PING"});
      if (std::chrono::steady_clock::now() - start < 450ms) ++quick;
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_GE(quick, 1);
  server.Thaw();
  EXPECT_TRUE(AwaitAnswer(client));
}

TEST_F(RedisClientTest, AnswersThatAreTooLongFailAlone) {
  const RedisServer server;
  auto options = OptionsFor(server.Address());
  options.maxReply = 10'000;
  RedisClient client(std::move(options));
  server.Tell({"SET", "long", std::string(100'000, 'x')});
  EXPECT_EQ(Ask(client, {"GET", "long"}), "failed: its answer is longer than 10000 bytes");
  EXPECT_EQ(Ask(client, {"PING"}), "PONG");
  EXPECT_THAT(m_log, ElementsAre());
}

TEST_F(RedisClientTest, ManyThreadsShareIt) {
  const RedisServer server;
  RedisClient client(OptionsFor(server.Address()));
  std::vector<std::thread> threads;
  threads.reserve(4);
  for (int t = 0; t < 4; ++t) {
    threads.emplace_back([&] {
      for (int i = 0; i < 200; ++i) client.Run({{"INCR", "n"}});
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(Ask(client, {"GET", "n"}), "800");
}

// A program at that port that isn't Redis.
TEST_F(RedisClientTest, OtherProgramsAreToldFromIt) {
  const UniqueFd listener = ListenAt("127.0.0.1:0");
  std::thread other([&] {
    const UniqueFd client(::accept(listener.Get(), nullptr, nullptr));
    const std::string_view words = "SSH-2.0-Other\r\n";
    ::send(client.Get(), words.data(), words.size(), MSG_NOSIGNAL);
    std::this_thread::sleep_for(100ms);
  });
  RedisClient client(OptionsFor("redis://127.0.0.1:" + std::to_string(PortOf(listener.Get()))));
  EXPECT_THAT(Ask(client, {"PING"}), StartsWith("failed: its answer can't be read: "));
  other.join();
}

// With an authority, a server's certificate by it and one of another authority.
class RedisTlsTest : public RedisClientTest {
 protected:
  static void MakeCertificates(const std::filesystem::path& folder) {
    const std::string script =
        "cd '" + folder.string() +
        "' && exec >openssl.log 2>&1 && "
        "openssl req -x509 -newkey ec -pkeyopt ec_paramgen_curve:prime256v1 -nodes -days 2 -subj "
        "/CN=authority -keyout ca.key -out ca.crt && "
        "openssl req -newkey ec -pkeyopt ec_paramgen_curve:prime256v1 -nodes -subj /CN=server -keyout "
        "server.key -out server.csr && "
        "printf 'subjectAltName=IP:127.0.0.1' > names && "
        "openssl x509 -req -in server.csr -CA ca.crt -CAkey ca.key -CAcreateserial -days 2 -extfile names "
        "-out server.crt && "
        "openssl req -x509 -newkey ec -pkeyopt ec_paramgen_curve:prime256v1 -nodes -days 2 -subj /CN=other "
        "-keyout other.key -out other.crt";
    ASSERT_EQ(std::system(script.c_str()), 0);
  }
};

TEST_F(RedisTlsTest, ItIsSpokenWithTheServerThatIsMeantOnly) {
  if (std::system("command -v openssl >/dev/null") != 0) GTEST_SKIP() << "openssl isn't installed";
  std::string folder = (std::filesystem::temp_directory_path() / "varnel-tls-XXXXXX").string();
  ASSERT_NE(mkdtemp(folder.data()), nullptr);
  MakeCertificates(folder);
  const RedisServer server({"--tls-port", "%TLS%", "--tls-cert-file", folder + "/server.crt",
                            "--tls-key-file", folder + "/server.key", "--tls-ca-cert-file",
                            folder + "/ca.crt"});
  const std::string port = std::to_string(server.TlsPort());
  const auto ask = [&](const std::string& host, const std::string& ca, bool showsItself) {
    auto options = OptionsFor("rediss://" + host + ":" + port);
    options.timeout = 5s;
    options.caFile = folder + "/" + ca;
    if (showsItself) {
      options.certFile = folder + "/server.crt";
      options.keyFile = folder + "/server.key";
    }
    RedisClient client(std::move(options));
    return Ask(client, {"ECHO", std::string(100'000, 'x')});
  };
  EXPECT_EQ(ask("127.0.0.1", "ca.crt", true), std::string(100'000, 'x'));
  EXPECT_EQ(ask("localhost", "ca.crt", true), "failed: its certificate isn't taken: hostname mismatch");
  EXPECT_THAT(ask("127.0.0.1", "other.crt", true), HasSubstr("certificate isn't taken"));
  EXPECT_THAT(ask("127.0.0.1", "ca.crt", false), StartsWith("failed: "));
  EXPECT_THROW(ask("127.0.0.1", "missing.crt", true), RedisFailure);
  // Plain words to the port of TLS, and the other way round.
  RedisClient plain(OptionsFor("redis://127.0.0.1:" + port));
  EXPECT_THAT(Ask(plain, {"PING"}), StartsWith("failed: "));
  RedisClient tls(OptionsFor("rediss://127.0.0.1:" + std::to_string(server.Port())));
  EXPECT_THAT(Ask(tls, {"PING"}), StartsWith("failed: "));
  std::filesystem::remove_all(folder);
}

}  // namespace
