// Sessions in a Redis server: what one web process stores, others see. A process is a store with an archive of its
// own here.

#include "host-linux/sessions/RedisSessions.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <set>
#include <thread>

#include "host-fake/ErrorOf.h"
#include "host-linux/intrinsics/HostError.h"
#include "host-linux/intrinsics/Session.h"
#include "host-linux/sessions/ValueBytes.h"
#include "tests/redis/RedisServer.h"
#include "varnel/automation/Collection.h"

namespace {

using namespace hostlinux;
using namespace std::chrono_literals;
using hostfake::NumberOf;
using hosttest::RedisServer;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::StartsWith;
using varnel::Long;
using varnel::Variant;

class RedisSessionsTest : public testing::Test {
 protected:
  struct Process {
    std::shared_ptr<RedisSessions> archive;
    std::shared_ptr<SessionStore> store;
  };

  void SetUp() override {
    if (!RedisServer::IsInstalled()) GTEST_SKIP() << "redis-server isn't installed";
    StartServer();
  }

  void StartServer(std::vector<std::string> settings = {}) {
    m_server = std::make_unique<RedisServer>(std::move(settings));
  }

  RedisSessions::Options Options() {
    RedisSessions::Options options;
    options.client.address = *ParseRedisAddress(m_server->Address());
    options.client.timeout = 1s;
    options.client.firstPause = options.client.longestPause = 1ms;
    options.prefix = "site";
    options.maxBytes = 100'000;
    options.log = [this](const std::string& sentence) {
      const std::lock_guard lock(m_mutex);
      m_log.push_back(sentence);
    };
    return options;
  }

  Process StartProcess() { return StartProcess(Options()); }

  static Process StartProcess(RedisSessions::Options archiveOptions) {
    Process process;
    SessionStore::Options options;
    options.maxBytes = archiveOptions.maxBytes;
    process.archive = std::make_shared<RedisSessions>(std::move(archiveOptions));
    options.archive = process.archive;
    options.mayKeep = [](const varnel::Object&) { return true; };
    process.store = std::make_shared<SessionStore>(options);
    process.store->SetInitial(u"REMOTE_USER", u"demo");
    return process;
  }

  static std::shared_ptr<Session> Visit(const Process& process, const std::string& token = "") {
    return std::make_shared<Session>(process.store, token, Session::Options());
  }

  static std::string TokenSetBy(const Session& session) {
    HttpResponse head;
    session.CompleteHead(head);
    const std::string* cookie = head.headers.Find("Set-Cookie");
    return cookie == nullptr ? "" : cookie->substr(15, 32);
  }

  static std::string Set(const Process& process, const std::string& token, const char16_t* key,
                         const Variant& value) {
    const auto session = Visit(process, token);
    session->Store(key, value);
    session->Save();
    return TokenSetBy(*session);
  }

  static Variant Get(const Process& process, const std::string& token, const char16_t* key) {
    const auto session = Visit(process, token);
    Variant value = session->Value(key);
    session->Save();
    return value;
  }

  static bool CanGet(const Process& process, const std::string& token) {
    try {
      Get(process, token, u"a");
      return true;
    } catch (const varnel::Error&) {
      return false;
    }
  }

  static bool AwaitServer(const Process& process, const std::string& token) {
    for (int tries = 0; tries < 500; ++tries) {
      if (CanGet(process, token)) return true;
      std::this_thread::sleep_for(20ms);
    }
    return false;
  }

  std::vector<std::string> Keys() const {
    std::vector<std::string> keys;
    for (const RedisReply& item : m_server->Tell({"KEYS", "*"}).items) keys.push_back(item.text);
    std::sort(keys.begin(), keys.end());
    return keys;
  }

  // That of the only session.
  std::string SessionKey() const {
    for (const std::string& key : Keys())
      if (key.ends_with("}")) return key;
    return "";
  }

  std::unique_ptr<RedisServer> m_server;
  std::mutex m_mutex;
  std::vector<std::string> m_log;
};

TEST_F(RedisSessionsTest, OutlivesItsProcessWithAllItsSettings) {
  std::string token;
  varnel::String formToken;
  Long id = 0;
  {
    const Process first = StartProcess();
    const auto session = Visit(first);
    session->Store(u"Basket", Long{3});
    session->SetLCID(1031);
    session->SetTimeout(60);
    id = session->SessionID();
    formToken = session->FormToken();
    session->Save();
    token = TokenSetBy(*session);
  }
  const Process second = StartProcess();
  const auto session = Visit(second, token);
  EXPECT_EQ(session->Value(u"BASKET"), Variant(Long{3}));
  EXPECT_EQ(session->Value(u"REMOTE_USER"), Variant(u"demo"));
  EXPECT_THAT(session->Keys(), ElementsAre(u"REMOTE_USER", u"Basket"));
  EXPECT_EQ(session->LCID(), 1031);
  EXPECT_EQ(session->Timeout(), 60);
  EXPECT_EQ(session->SessionID(), id);
  EXPECT_EQ(session->FormToken(), formToken);
  EXPECT_THAT(m_log, IsEmpty());
}

TEST_F(RedisSessionsTest, EveryKindOfValueComesBack) {
  const auto array = std::make_shared<varnel::Array>();
  array->items = {Variant(Long{1}), Variant(u"z\u00e9"), Variant(varnel::Null())};
  const std::vector<Variant> values = {
      Variant(),    Variant(varnel::Null()),         Variant(true),
      Variant(1.5), Variant(varnel::Date{45000.25}), Variant(varnel::String(2000, u'\n'))};
  const Process one = StartProcess();
  const Process other = StartProcess();
  const std::string token = Set(one, "", u"array", array);
  for (const Variant& value : values) {
    Set(one, token, u"value", value);
    EXPECT_EQ(Get(other, token, u"value"), value);
  }
  const Variant back = Get(other, token, u"array");
  ASSERT_TRUE(back.Is<varnel::ArrayPtr>());
  EXPECT_EQ((*back.As<varnel::ArrayPtr>())->items, array->items);
}

TEST_F(RedisSessionsTest, WhatOneProcessChangesTheOtherSeesInItsNextRequest) {
  const Process one = StartProcess();
  const Process other = StartProcess();
  const std::string token = Set(one, "", u"n", Long{1});
  for (Long n = 2; n < 20; ++n) {
    const Process& writer = n % 2 == 0 ? other : one;
    const Process& reader = n % 2 == 0 ? one : other;
    Set(writer, token, u"n", n);
    EXPECT_EQ(Get(reader, token, u"n"), Variant(n));
  }
}

TEST_F(RedisSessionsTest, ChangesOfTwoProcessesToDifferentKeysAreBothKept) {
  const Process one = StartProcess();
  const Process other = StartProcess();
  const std::string token = Set(one, "", u"a", Long{1});
  const auto slow = Visit(one, token);
  slow->Store(u"slow", u"s");
  Set(other, token, u"quick", u"q");
  slow->Save();
  for (const Process& process : {one, other}) {
    EXPECT_EQ(Get(process, token, u"slow"), Variant(u"s"));
    EXPECT_EQ(Get(process, token, u"quick"), Variant(u"q"));
    EXPECT_EQ(Get(process, token, u"a"), Variant(Long{1}));
  }
}

TEST_F(RedisSessionsTest, RemovedKeysAreRemovedForAll) {
  const Process one = StartProcess();
  const Process other = StartProcess();
  const std::string token = Set(one, "", u"Basket", Long{1});
  EXPECT_EQ(Get(other, token, u"basket"), Variant(Long{1}));
  const auto session = Visit(one, token);
  session->Remove(u"BASKET");
  session->Save();
  EXPECT_EQ(Get(other, token, u"basket"), Variant());
  const auto emptied = Visit(one, token);
  emptied->RemoveAll();
  emptied->Save();
  EXPECT_THAT(Visit(other, token)->Keys(), IsEmpty());
}

TEST_F(RedisSessionsTest, AbandonedOrRenewedItsOldIdIsDeadForAll) {
  const Process one = StartProcess();
  const Process other = StartProcess();
  const std::string token = Set(one, "", u"a", Long{1});
  const auto planted = Visit(other, token);
  EXPECT_EQ(planted->Value(u"a"), Variant(Long{1}));
  const auto session = Visit(one, token);
  session->Renew();
  session->Store(u"user", u"clerk");
  session->Save();
  planted->Store(u"user", u"mallory");
  planted->Save();
  const std::string renewed = TokenSetBy(*session);
  EXPECT_EQ(Get(other, token, u"a"), Variant());
  EXPECT_EQ(Get(other, renewed, u"user"), Variant(u"clerk"));
  EXPECT_EQ(Get(other, renewed, u"a"), Variant(Long{1}));
  Visit(one, renewed)->Abandon();
  EXPECT_EQ(Get(other, renewed, u"a"), Variant());
  EXPECT_EQ(SessionKey(), "");
}

TEST_F(RedisSessionsTest, TokensThatNobodyGaveOutFindNothing) {
  const Process process = StartProcess();
  Set(process, "", u"a", Long{1});
  for (const std::string token : {"0123456789abcdef0123456789abcdef", "x", "*", "' OR 1=1 --"})
    EXPECT_EQ(process.store->Find(token), nullptr) << token;
}

TEST_F(RedisSessionsTest, SitesWithPrefixesOfTheirOwnDontMeet) {
  auto options = Options();
  options.prefix = "other";
  const std::string token = Set(StartProcess(), "", u"a", Long{1});
  EXPECT_EQ(Get(StartProcess(options), token, u"a"), Variant());
}

TEST_F(RedisSessionsTest, NumbersOfSessionsAreNobodyElses) {
  const Process one = StartProcess();
  const Process other = StartProcess();
  std::set<Long> ids;
  for (int i = 0; i < 100; ++i) {
    ids.insert(Visit(one)->SessionID());
    ids.insert(Visit(other)->SessionID());
  }
  EXPECT_EQ(ids.size(), 200U);
  EXPECT_GT(*ids.begin(), 0);
}

TEST_F(RedisSessionsTest, WhoReadsTheKeysLearnsNoToken) {
  const std::string token = Set(StartProcess(), "", u"a", Long{1});
  ASSERT_EQ(token.size(), 32U);
  for (const std::string& key : Keys()) {
    EXPECT_THAT(key, StartsWith("site:1:"));
    EXPECT_THAT(key, testing::Not(HasSubstr(token)));
  }
}

TEST_F(RedisSessionsTest, ItExpiresInTheServerByItsOwnTimeout) {
  const Process process = StartProcess();
  const std::string token = Set(process, "", u"a", Long{1});
  const std::string key = SessionKey();
  const auto secondsLeft = [&] { return m_server->Tell({"TTL", key}).integer; };
  EXPECT_GT(secondsLeft(), 20 * 60);
  EXPECT_LE(secondsLeft(), 21 * 60);
  const auto session = Visit(process, token);
  session->SetTimeout(2);
  session->Save();
  EXPECT_GT(secondsLeft(), 2 * 60);
  EXPECT_LE(secondsLeft(), 3 * 60);
  // Unused for two minutes, as far as the server's clock says.
  m_server->Tell({"EXPIRE", key, "60"});
  EXPECT_EQ(Get(StartProcess(), token, u"a"), Variant());
  m_server->Tell({"EXPIRE", key, "100"});
  EXPECT_EQ(Get(StartProcess(), token, u"a"), Variant(Long{1}));
}

TEST_F(RedisSessionsTest, RequestsThatOnlyReadOrDontLookKeepItAlive) {
  const Process process = StartProcess();
  const std::string token = Set(process, "", u"a", Long{1});
  const std::string key = SessionKey();
  m_server->Tell({"EXPIRE", key, "100"});
  Visit(process, token)->Save();
  process.archive->Tidy();
  EXPECT_GT(m_server->Tell({"TTL", key}).integer, 20 * 60);
  // Another process doesn't know it yet.
  m_server->Tell({"EXPIRE", key, "100"});
  const Process other = StartProcess();
  Visit(other, token)->Save();
  other.archive->Tidy();
  EXPECT_GT(m_server->Tell({"TTL", key}).integer, 20 * 60);
  // What names nothing makes nothing.
  Visit(other, "0123456789abcdef0123456789abcdef")->Save();
  other.archive->Tidy();
  EXPECT_EQ(SessionKey(), key);
}

TEST_F(RedisSessionsTest, MemoryThatIsCrowdedThrowsNobodyOut) {
  Process process = StartProcess();
  SessionStore::Options options;
  options.maxSessions = 3;
  options.archive = process.archive;
  process.store = std::make_shared<SessionStore>(options);
  std::vector<std::string> tokens;
  tokens.reserve(10);
  for (Long i = 0; i < 10; ++i) tokens.push_back(Set(process, "", u"a", i));
  process.archive->Tidy();
  for (Long i = 0; i < 10; ++i)
    EXPECT_EQ(Get(process, tokens[static_cast<std::size_t>(i)], u"a"), Variant(i));
  EXPECT_LE(process.store->Count(), 3U);
}

TEST_F(RedisSessionsTest, WithoutTheServerItCantBeUsedAndComesBack) {
  const Process process = StartProcess();
  const std::string token = Set(process, "", u"a", Long{1});
  m_server->Kill();
  const auto session = Visit(process, token);
  EXPECT_EQ(NumberOf([&] { session->Value(u"a"); }), kHostFailure);
  EXPECT_THAT(session->Failure(), StartsWith("Redis at redis://127.0.0.1:"));
  EXPECT_EQ(NumberOf([&] { session->Store(u"a", Long{2}); }), kHostFailure);
  EXPECT_EQ(NumberOf([&] { session->Lock(); }), kHostFailure);
  EXPECT_EQ(NumberOf([&] {
              Visit(process)->SessionID();
              Visit(StartProcess())->SessionID();
            }),
            kHostFailure);
  // Nobody who doesn't look at his session sees anything of it.
  EXPECT_NO_THROW(Visit(process, token)->Save());
  EXPECT_EQ(Visit(process)->Value(u"REMOTE_USER"), Variant(u"demo"));
  m_server->Start();
  EXPECT_TRUE(AwaitServer(process, token));
  EXPECT_EQ(Get(process, token, u"a"), Variant());  // it held nothing on a disk
  const std::string next = Set(process, "", u"a", Long{5});
  EXPECT_EQ(Get(StartProcess(), next, u"a"), Variant(Long{5}));
}

TEST_F(RedisSessionsTest, ServerThatIsMissingAtTheStartIsTakenWhenItComes) {
  m_server->Kill();
  const Process process = StartProcess();
  EXPECT_FALSE(CanGet(process, "0123456789abcdef0123456789abcdef"));
  m_server->Start();
  EXPECT_TRUE(AwaitServer(process, "0123456789abcdef0123456789abcdef"));
  const std::string token = Set(process, "", u"a", Long{1});
  EXPECT_EQ(Get(process, token, u"a"), Variant(Long{1}));
  EXPECT_THAT(m_log,
              ElementsAre(HasSubstr("can't be asked: Connection refused"), HasSubstr("answers again")));
}

TEST_F(RedisSessionsTest, WhatCouldntBeStoredIsSeenByNobody) {
  const Process process = StartProcess();
  const std::string token = Set(process, "", u"a", Long{1});
  const auto session = Visit(process, token);
  session->Store(u"a", Long{2});
  const auto begun = Visit(process);
  begun->Store(u"a", Long{3});
  m_server->Freeze();
  EXPECT_THROW(session->Save(), ArchiveFailure);
  EXPECT_THROW(begun->Save(), ArchiveFailure);
  EXPECT_EQ(TokenSetBy(*begun), "");
  EXPECT_THAT(session->Failure(), HasSubstr("didn't answer in time"));
  m_server->Kill();
  m_server->Start();
  EXPECT_TRUE(AwaitServer(process, token));
  EXPECT_EQ(Get(process, token, u"a"), Variant());
}

TEST_F(RedisSessionsTest, FullServerIsReadStillAndTakesMoreWhenItHasRoom) {
  const Process process = StartProcess();
  const std::string token = Set(process, "", u"a", Long{1});
  m_server->Tell({"CONFIG", "SET", "maxmemory", "1"});
  m_server->Tell({"CONFIG", "SET", "maxmemory-policy", "noeviction"});
  EXPECT_EQ(Get(process, token, u"a"), Variant(Long{1}));
  const auto session = Visit(process, token);
  session->Store(u"a", Long{2});
  session->Store(u"b", Long{2});
  session->Remove(u"REMOTE_USER");
  EXPECT_THROW(session->Save(), ArchiveFailure);
  EXPECT_THAT(session->Failure(), HasSubstr("refuses it: OOM"));
  EXPECT_EQ(NumberOf([&] { Visit(process, token)->Lock(); }), kHostFailure);
  // Nothing of it is half done, and nobody waits because of it.
  EXPECT_EQ(Get(process, token, u"a"), Variant(Long{1}));
  EXPECT_EQ(Get(process, token, u"REMOTE_USER"), Variant(u"demo"));
  // It lives on even so.
  m_server->Tell({"EXPIRE", SessionKey(), "100"});
  Visit(process, token)->Save();
  process.archive->Tidy();
  EXPECT_GT(m_server->Tell({"TTL", SessionKey()}).integer, 20 * 60);
  m_server->Tell({"CONFIG", "SET", "maxmemory", "0"});
  Set(process, token, u"a", Long{2});
  EXPECT_EQ(Get(StartProcess(), token, u"a"), Variant(Long{2}));
}

TEST_F(RedisSessionsTest, SlowServerCostsARequestItsTimeOnce) {
  StartServer({"--enable-debug-command", "local"});
  auto options = Options();
  options.client.timeout = 300ms;
  options.client.firstPause = options.client.longestPause = 60s;
  const Process process = StartProcess(options);
  const std::string token = Set(process, "", u"a", Long{1});
  std::thread sleeper([&] { EXPECT_FALSE(m_server->Tell({"DEBUG", "SLEEP", "3"}).IsError()); });
  bool isGone = false;
  for (int tries = 0; tries < 200 && !isGone; ++tries) {
    isGone = !CanGet(process, token);
    std::this_thread::sleep_for(10ms);
  }
  EXPECT_TRUE(isGone);
  const auto start = std::chrono::steady_clock::now();
  for (int i = 0; i < 100; ++i) EXPECT_FALSE(CanGet(process, token));  // 30 s if each waited
  EXPECT_LT(std::chrono::steady_clock::now() - start, 15s);
  sleeper.join();
}

TEST_F(RedisSessionsTest, SignOutThatCantBeStoredIsToldAndDoneLater) {
  const Process process = StartProcess();
  const std::string token = Set(process, "", u"user", u"clerk");
  const auto session = Visit(process, token);
  EXPECT_EQ(session->Value(u"user"), Variant(u"clerk"));
  m_server->Freeze();
  EXPECT_EQ(NumberOf([&] { session->Abandon(); }), kHostFailure);
  m_server->Thaw();
  for (int tries = 0; tries < 500 && !SessionKey().empty(); ++tries) {
    process.archive->Tidy();
    std::this_thread::sleep_for(20ms);
  }
  EXPECT_EQ(SessionKey(), "");
}

TEST_F(RedisSessionsTest, ReplacedServerHasNoSessionsAndNobodyFails) {
  const Process process = StartProcess();
  const std::string token = Set(process, "", u"a", Long{1});
  m_server->Tell({"FLUSHALL"});
  EXPECT_EQ(Get(process, token, u"a"), Variant());
  const std::string next = Set(process, token, u"a", Long{2});
  EXPECT_NE(next, token);
  EXPECT_EQ(Get(process, next, u"a"), Variant(Long{2}));
}

// Whatever stands under a session's key: no session, no crash, one line in the log.
TEST_F(RedisSessionsTest, ForeignBytesAreNoSession) {
  const std::string token = Set(StartProcess(), "", u"a", Long{1});
  const std::string key = SessionKey();
  const std::string name = NameOf(u"a");
  const std::vector<std::vector<std::vector<std::string>>> damages = {
      {{"HSET", key, name, "x"}},
      {{"HSET", key, name, *BytesOf({u"other", 1, Variant(u"a")})}},
      {{"HSET", key, name, std::string(BytesOf({u"a", 1, Variant(u"a")})->substr(0, 12))}},
      {{"HSET", key, "v", "-1"}},
      {{"HSET", key, "v", "99999999999999999999"}},
      {{"HSET", key, "i", "0"}},
      {{"HSET", key, "i", "4294967297"}},
      {{"HSET", key, "f", "short"}},
      {{"HSET", key, "l", "1033 "}},
      {{"HSET", key, "m", "9000000"}},
      {{"HSET", key, "z", "1"}},
      {{"HDEL", key, "f"}},
      {{"HSET", key, name, std::string(1'000'000, 'x')}},
      {{"DEL", key}, {"SET", key, "text"}},
      {{"DEL", key}, {"RPUSH", key, "a", "b"}},
  };
  const std::string dump = m_server->Tell({"DUMP", key}).text;
  for (const auto& damage : damages) {
    m_server->Tell({"RESTORE", key, "900000", dump, "REPLACE"});
    ASSERT_EQ(Get(StartProcess(), token, u"a"), Variant(Long{1}));
    for (const auto& command : damage) ASSERT_FALSE(m_server->Tell(command).IsError());
    m_log.clear();
    const Process process = StartProcess();
    EXPECT_EQ(Get(process, token, u"a"), Variant()) << damage[0][2] << "=" << damage[0][3].substr(0, 20);
    EXPECT_EQ(Get(process, token, u"a"), Variant());
    EXPECT_THAT(m_log, ElementsAre(HasSubstr("isn't one of this site")));
  }
}

TEST_F(RedisSessionsTest, LockedChangesOfAllProcessesAreWhole) {
  const std::vector<Process> processes = {StartProcess(), StartProcess()};
  const std::string token = Set(processes[0], "", u"n", Long{0});
  std::vector<std::thread> threads;
  threads.reserve(4);
  for (std::size_t t = 0; t < 4; ++t) {
    threads.emplace_back([&, t] {
      for (int i = 0; i < 25; ++i) {
        const auto session = Visit(processes[t % 2], token);
        session->Lock();
        session->Store(u"n", *session->Value(u"n").As<Long>() + 1);
        if (i % 2 == 0) session->Unlock();
        session->Save();
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(Get(processes[0], token, u"n"), Variant(Long{100}));
  EXPECT_EQ(Keys().size(), 2U);  // the session and the numbers: no lock is left
}

TEST_F(RedisSessionsTest, LockOfAnotherProcessIsWaitedForAsLongAsThePageMayRun) {
  const Process one = StartProcess();
  const Process other = StartProcess();
  const std::string token = Set(one, "", u"n", Long{1});
  const auto holder = Visit(one, token);
  holder->Lock();
  Session::Options options;
  options.timeLeft = [] { return 100ms; };
  const auto waiter = std::make_shared<Session>(other.store, token, options);
  EXPECT_EQ(NumberOf([&] { waiter->Lock(); }), kHostFailure);
  EXPECT_EQ(waiter->Failure(), "");
  // Who doesn't lock isn't held up.
  EXPECT_EQ(Get(other, token, u"n"), Variant(Long{1}));
  holder->Save();
  EXPECT_NO_THROW(waiter->Lock());
}

TEST_F(RedisSessionsTest, LockOfAProcessThatHasEndedEndsToo) {
  auto options = Options();
  options.lease = 300ms;
  const Process one = StartProcess(options);
  const Process other = StartProcess(options);
  const std::string token = Set(one, "", u"n", Long{1});
  const auto holder = Visit(one, token);
  holder->Lock();
  holder->Store(u"n", Long{2});
  // Renewed, it lasts.
  for (int i = 0; i < 10; ++i) {
    one.archive->Tidy();
    std::this_thread::sleep_for(50ms);
  }
  EXPECT_FALSE(other.archive->TryLock(token));
  const auto next = Visit(other, token);
  next->Lock();
  // What the first one comes back with is refused.
  EXPECT_THROW(holder->Save(), ArchiveFailure);
  EXPECT_EQ(next->Value(u"n"), Variant(Long{1}));
  next->Store(u"n", Long{3});
  next->Save();
  EXPECT_EQ(Get(one, token, u"n"), Variant(Long{3}));
}

TEST_F(RedisSessionsTest, RenewedItStaysLocked) {
  const Process one = StartProcess();
  const Process other = StartProcess();
  const auto session = Visit(one);
  session->Lock();
  session->Store(u"a", Long{1});
  session->Renew();
  session->Unlock();
  session->Lock();
  const std::string token = TokenSetBy(*session);
  EXPECT_FALSE(other.archive->TryLock(token));
  session->Save();
  EXPECT_TRUE(other.archive->TryLock(token));
}

}  // namespace
