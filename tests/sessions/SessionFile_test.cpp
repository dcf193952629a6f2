// Sessions in a file: what one worker stores, others see. A worker is a store with a file of its own here.

#include "host-linux/sessions/SessionFile.h"

#include <gmock/gmock.h>
#include <stdlib.h>
#include <sys/stat.h>

#include <fstream>
#include <thread>

#include "host-linux/intrinsics/Session.h"
#include "varnel/automation/Collection.h"

namespace {

using namespace hostlinux;
using namespace std::chrono_literals;
using testing::ElementsAre;
using testing::HasSubstr;
using varnel::Long;
using varnel::Variant;

class SessionFileTest : public testing::Test {
 protected:
  struct Worker {
    std::shared_ptr<SessionFile> file;
    std::shared_ptr<SessionStore> store;
  };

  SessionFileTest() {
    std::string pattern = (std::filesystem::temp_directory_path() / "sessions-XXXXXX").string();
    if (mkdtemp(pattern.data()) == nullptr) throw std::runtime_error("no folder");
    m_folder = pattern;
  }
  ~SessionFileTest() override { std::filesystem::remove_all(m_folder); }

  SessionFile::Options FileOptions() {
    SessionFile::Options options;
    options.folder = m_folder;
    options.log = [this](const std::string& sentence) { m_log.push_back(sentence); };
    return options;
  }

  Worker StartWorker() {
    Worker worker;
    worker.file = std::make_shared<SessionFile>(FileOptions());
    worker.store = StoreOn(worker.file);
    worker.store->Tidy();
    return worker;
  }

  std::shared_ptr<SessionStore> StoreOn(std::shared_ptr<ISessionArchive> archive) {
    SessionStore::Options options;
    options.maxSessions = m_maxSessions;
    options.now = [this] { return SessionStore::Clock::time_point() + std::chrono::seconds(m_seconds); };
    options.timeOfDay = [this] { return 1'000'000 + m_seconds; };
    options.archive = std::move(archive);
    options.mayKeep = [](const varnel::Object&) { return true; };
    auto store = std::make_shared<SessionStore>(options);
    store->SetInitial(u"REMOTE_USER", u"demo");
    return store;
  }

  static std::shared_ptr<Session> Visit(const Worker& worker, const std::string& token = "") {
    return std::make_shared<Session>(worker.store, token, Session::Options());
  }

  static std::string TokenSetBy(const Session& session) {
    HttpResponse head;
    session.CompleteHead(head);
    const std::string* cookie = head.headers.Find("Set-Cookie");
    return cookie == nullptr ? "" : cookie->substr(15, 32);
  }

  // One request that sets a value.
  static std::string Set(const Worker& worker, const std::string& token, const char16_t* key,
                         const Variant& value) {
    const auto session = Visit(worker, token);
    session->Store(key, value);
    session->Save();
    return TokenSetBy(*session);
  }

  static Variant Get(const Worker& worker, const std::string& token, const char16_t* key) {
    const auto session = Visit(worker, token);
    Variant value = session->Value(key);
    session->Save();
    return value;
  }

  std::filesystem::path m_folder;
  std::vector<std::string> m_log;
  std::size_t m_maxSessions = 100;
  std::int64_t m_seconds = 0;
};

TEST_F(SessionFileTest, OutlivesItsWorkerWithAllItsSettings) {
  std::string token;
  varnel::String formToken;
  Long id = 0;
  {
    const Worker first = StartWorker();
    const auto session = Visit(first);
    session->Store(u"Basket", Long{3});
    session->SetLCID(1031);
    session->SetTimeout(60);
    id = session->SessionID();
    formToken = session->FormToken();
    token = TokenSetBy(*session);
    session->Save();
  }
  const Worker second = StartWorker();
  EXPECT_EQ(second.store->Count(), 1U);
  const auto session = Visit(second, token);
  EXPECT_EQ(session->Value(u"BASKET"), Variant(Long{3}));
  EXPECT_EQ(session->Value(u"REMOTE_USER"), Variant(u"demo"));
  EXPECT_THAT(session->Keys(), ElementsAre(u"REMOTE_USER", u"Basket"));
  EXPECT_EQ(session->LCID(), 1031);
  EXPECT_EQ(session->Timeout(), 60);
  EXPECT_EQ(session->SessionID(), id);
  EXPECT_EQ(session->FormToken(), formToken);
}

TEST_F(SessionFileTest, IsFoundBeforeAllAreKnown) {
  std::string token = Set(StartWorker(), "", u"a", Long{1});
  Worker next;
  next.file = std::make_shared<SessionFile>(FileOptions());
  next.store = StoreOn(next.file);
  EXPECT_EQ(next.store->Count(), 0U);
  EXPECT_EQ(Get(next, token, u"a"), Variant(Long{1}));
}

TEST_F(SessionFileTest, WhatOneWorkerChangesTheOtherSeesInItsNextRequest) {
  const Worker one = StartWorker();
  const Worker other = StartWorker();
  const std::string token = Set(one, "", u"n", Long{1});
  EXPECT_EQ(Get(other, token, u"n"), Variant(Long{1}));
  for (Long n = 2; n < 20; ++n) {
    const Worker& writer = n % 2 == 0 ? other : one;
    const Worker& reader = n % 2 == 0 ? one : other;
    Set(writer, token, u"n", n);
    EXPECT_EQ(Get(reader, token, u"n"), Variant(n));
  }
}

TEST_F(SessionFileTest, ChangesOfTwoWorkersToDifferentKeysAreBothKept) {
  const Worker one = StartWorker();
  const Worker other = StartWorker();
  const std::string token = Set(one, "", u"a", Long{1});
  const auto slow = Visit(one, token);  // a long request of the worker that makes way
  slow->Store(u"slow", u"s");
  Set(other, token, u"quick", u"q");
  slow->Save();
  for (const Worker& worker : {one, other}) {
    EXPECT_EQ(Get(worker, token, u"slow"), Variant(u"s"));
    EXPECT_EQ(Get(worker, token, u"quick"), Variant(u"q"));
    EXPECT_EQ(Get(worker, token, u"a"), Variant(Long{1}));
  }
}

TEST_F(SessionFileTest, RemovedKeysAreRemovedForAll) {
  const Worker one = StartWorker();
  const Worker other = StartWorker();
  const std::string token = Set(one, "", u"Basket", Long{1});
  Set(one, token, u"b", Long{2});
  EXPECT_EQ(Get(other, token, u"basket"), Variant(Long{1}));
  const auto session = Visit(one, token);
  session->Remove(u"BASKET");
  session->Save();
  EXPECT_EQ(Get(other, token, u"basket"), Variant());
  Set(other, token, u"BASKET", Long{5});
  EXPECT_EQ(Get(one, token, u"basket"), Variant(Long{5}));
  const auto emptied = Visit(one, token);
  emptied->RemoveAll();
  emptied->Save();
  EXPECT_THAT(Visit(other, token)->Keys(), ElementsAre());
}

TEST_F(SessionFileTest, ObjectsStayWithTheirWorker) {
  const auto object = std::make_shared<varnel::Collection>();
  const Worker one = StartWorker();
  const Worker other = StartWorker();
  const std::string token = Set(one, "", u"o", u"text");
  EXPECT_EQ(Get(other, token, u"o"), Variant(u"text"));
  Set(one, token, u"o", object);
  EXPECT_EQ(Get(one, token, u"o"), Variant(object));
  EXPECT_EQ(Get(other, token, u"o"), Variant());
  Set(other, token, u"n", Long{1});
  EXPECT_EQ(Get(one, token, u"o"), Variant(object));
  EXPECT_EQ(Get(one, token, u"n"), Variant(Long{1}));
}

TEST_F(SessionFileTest, AbandonedItIsGoneForAllWorkersAtOnce) {
  const Worker one = StartWorker();
  const Worker other = StartWorker();
  const std::string token = Set(one, "", u"a", Long{1});
  const auto held = Visit(other, token);
  Visit(one, token)->Abandon();
  held->Store(u"a", Long{2});
  held->Save();
  EXPECT_EQ(Get(other, token, u"a"), Variant());
  EXPECT_EQ(Get(one, token, u"a"), Variant());
  EXPECT_EQ(Get(StartWorker(), token, u"a"), Variant());
}

TEST_F(SessionFileTest, RenewedItsOldIdIsDeadForAllWorkers) {
  const Worker one = StartWorker();
  const Worker other = StartWorker();
  const std::string token = Set(one, "", u"a", Long{1});
  const auto planted = Visit(other, token);
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
}

TEST_F(SessionFileTest, ItExpiresByTheLastUseInAnyWorker) {
  const Worker one = StartWorker();
  const Worker other = StartWorker();
  const std::string token = Set(one, "", u"a", Long{1});
  m_seconds += 15 * 60;
  EXPECT_EQ(Get(other, token, u"a"), Variant(Long{1}));
  m_seconds += 15 * 60;
  EXPECT_EQ(Get(one, token, u"a"), Variant(Long{1}));
  m_seconds += 21 * 60;
  one.store->Tidy();
  one.file->Tidy();
  EXPECT_EQ(Get(StartWorker(), token, u"a"), Variant());
  EXPECT_TRUE(one.file->Heads().empty());
}

TEST_F(SessionFileTest, OneThatAnotherWorkerHasUsedIsNotTidiedAway) {
  const Worker one = StartWorker();
  const Worker other = StartWorker();
  const std::string token = Set(one, "", u"a", Long{1});
  m_seconds += 15 * 60;
  Get(other, token, u"a");
  m_seconds += 10 * 60;  // expired as far as the first one knows
  one.store->Tidy();
  one.file->Tidy();
  EXPECT_EQ(Get(one, token, u"a"), Variant(Long{1}));
}

TEST_F(SessionFileTest, ThoseCrowdedOutLeaveTheFileToo) {
  m_maxSessions = 3;
  const Worker worker = StartWorker();
  const std::string used = Set(worker, "", u"a", Long{1});
  Get(worker, used, u"a");
  for (Long i = 0; i < 10; ++i) Set(worker, "", u"a", i);
  worker.file->Tidy();
  EXPECT_EQ(worker.file->Heads().size(), 3U);
  EXPECT_EQ(Get(StartWorker(), used, u"a"), Variant(Long{1}));
}

TEST_F(SessionFileTest, ThatItWasUsedAgainIsKnownToTheNextWorker) {
  m_maxSessions = 3;
  std::string used;
  {
    const Worker worker = StartWorker();
    used = Set(worker, "", u"a", Long{1});
    Get(worker, used, u"a");
    m_seconds += 60;
    Set(worker, "", u"a", Long{2});
  }
  const Worker next = StartWorker();
  for (Long i = 0; i < 10; ++i) Set(next, "", u"a", i);
  EXPECT_EQ(Get(next, used, u"a"), Variant(Long{1}));
}

TEST_F(SessionFileTest, TokensThatNobodyGaveOutFindNothing) {
  const Worker worker = StartWorker();
  Set(worker, "", u"a", Long{1});
  for (const std::string token : {"0123456789abcdef0123456789abcdef", "x", "' OR 1=1 --"})
    EXPECT_EQ(worker.store->Find(token), nullptr) << token;
}

TEST_F(SessionFileTest, ItIsReadableByItsUserAlone) {
  const Worker worker = StartWorker();
  Set(worker, "", u"a", Long{1});
  for (const auto& entry : std::filesystem::directory_iterator(m_folder)) {
    struct stat facts {};
    ASSERT_EQ(::stat(entry.path().c_str(), &facts), 0);
    EXPECT_EQ(facts.st_mode & 0777, 0600U) << entry.path();
  }
  std::filesystem::permissions(m_folder, std::filesystem::perms(0755));
  EXPECT_THROW(StartWorker(), ArchiveFailure);
}

TEST_F(SessionFileTest, FolderThatCannotBeMadeIsTold) {
  m_folder /= "missing/sessions";
  try {
    StartWorker();
    FAIL();
  } catch (const ArchiveFailure& failure) {
    EXPECT_THAT(failure.what(), HasSubstr("missing/sessions: No such file or directory"));
  }
  m_folder = m_folder.parent_path().parent_path();
}

TEST_F(SessionFileTest, DamagedFileStartsAnewWithOneWarning) {
  Set(StartWorker(), "", u"a", Long{1});
  for (const std::string& damage :
       {std::string("no database"), std::string(100'000, 'x'), std::string("SQLite format 3\0", 16)}) {
    m_log.clear();
    std::filesystem::remove(m_folder / "sessions.db-wal");
    std::ofstream(m_folder / "sessions.db", std::ios::binary) << damage;
    const Worker worker = StartWorker();
    EXPECT_EQ(worker.store->Count(), 0U);
    const std::string token = Set(worker, "", u"a", Long{2});
    EXPECT_EQ(Get(StartWorker(), token, u"a"), Variant(Long{2}));
    EXPECT_THAT(m_log, ElementsAre(HasSubstr("they start anew"))) << damage.substr(0, 20);
  }
}

TEST_F(SessionFileTest, FileThatIsCutOffUnderTheWorkerStartsAnew) {
  const Worker worker = StartWorker();
  std::vector<std::string> tokens;
  tokens.reserve(500);
  for (Long i = 0; i < 500; ++i) tokens.push_back(Set(worker, "", u"text", varnel::String(300, u'x')));
  StartWorker().file->Tidy();
  worker.file->Tidy();
  std::filesystem::resize_file(m_folder / "sessions.db", 5000);
  std::filesystem::resize_file(m_folder / "sessions.db-wal", 0);
  for (const std::string& token : tokens) Get(worker, token, u"text");
  std::string fresh;
  for (int tries = 0; tries < 100 && Get(StartWorker(), fresh, u"a") != Variant(Long{1}); ++tries) {
    worker.file->Tidy();
    fresh = Set(worker, "", u"a", Long{1});
    std::this_thread::sleep_for(50ms);
  }
  EXPECT_EQ(Get(StartWorker(), fresh, u"a"), Variant(Long{1}));
}

TEST_F(SessionFileTest, RemovedFileIsMadeAgain) {
  const Worker worker = StartWorker();
  Set(worker, "", u"a", Long{1});
  for (const char* name : {"sessions.db", "sessions.db-wal", "sessions.db-shm"})
    std::filesystem::remove(m_folder / name);
  worker.file->Tidy();
  const std::string token = Set(worker, "", u"a", Long{2});
  EXPECT_EQ(Get(StartWorker(), token, u"a"), Variant(Long{2}));
  EXPECT_THAT(m_log, ElementsAre(HasSubstr("has been replaced")));
}

TEST_F(SessionFileTest, FullFileLeavesSessionsInMemoryWithOneLine) {
  auto options = FileOptions();
  options.maxBytes = 100'000;
  Worker worker;
  worker.file = std::make_shared<SessionFile>(options);
  worker.store = StoreOn(worker.file);
  std::vector<std::string> tokens;
  tokens.reserve(50);
  for (Long i = 0; i < 50; ++i)
    tokens.push_back(Set(worker, "", u"text", varnel::String(3000, static_cast<char16_t>(u'a' + i % 26))));
  for (std::size_t i = 0; i < tokens.size(); ++i) {
    const Variant value = Get(worker, tokens[i], u"text");
    ASSERT_TRUE(value.IsText()) << i;
    EXPECT_EQ(*value.As<varnel::String>(), varnel::String(3000, static_cast<char16_t>(u'a' + i % 26)));
  }
  EXPECT_THAT(m_log, ElementsAre(HasSubstr("full")));
}

TEST_F(SessionFileTest, ParallelRequestsOfOneSessionLoseNoStoredValue) {
  const Worker one = StartWorker();
  const Worker other = StartWorker();
  const std::string token = Set(one, "", u"a", Long{1});
  std::vector<std::thread> threads;
  threads.reserve(4);
  for (int t = 0; t < 4; ++t) {
    threads.emplace_back([&, t] {
      const varnel::String key(1, static_cast<char16_t>(u'a' + t));
      for (Long i = 1; i <= 100; ++i) Set(t % 2 == 0 ? one : other, token, key.c_str(), i);
    });
  }
  for (std::thread& thread : threads) thread.join();
  for (const Worker& worker : {one, other, StartWorker()}) {
    for (const char16_t* key : {u"a", u"b", u"c", u"d"})
      EXPECT_EQ(Get(worker, token, key), Variant(Long{100}));
  }
}

TEST_F(SessionFileTest, LockedChangesOfAllWorkersAreWhole) {
  const std::vector<Worker> workers = {StartWorker(), StartWorker()};
  const std::string token = Set(workers[0], "", u"n", Long{0});
  std::vector<std::thread> threads;
  threads.reserve(4);
  for (std::size_t t = 0; t < 4; ++t) {
    threads.emplace_back([&, t] {
      for (int i = 0; i < 50; ++i) {
        const auto session = Visit(workers[t % 2], token);
        session->Lock();
        session->Store(u"n", *session->Value(u"n").As<Long>() + 1);
        session->Save();
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(Get(workers[0], token, u"n"), Variant(Long{200}));
}

TEST_F(SessionFileTest, LockOfAWorkerThatHasEndedIsFree) {
  auto one = std::make_unique<Worker>(StartWorker());
  const Worker other = StartWorker();
  const std::string token = Set(*one, "", u"n", Long{1});
  EXPECT_TRUE(one->file->TryLock(token));
  EXPECT_FALSE(other.file->TryLock(token));
  one.reset();
  EXPECT_TRUE(other.file->TryLock(token));
}

TEST_F(SessionFileTest, SessionsOfAnotherWorkerCountOnceItHasTidied) {
  const Worker one = StartWorker();
  const Worker other = StartWorker();
  for (Long i = 0; i < 5; ++i) Set(one, "", u"a", i);
  EXPECT_EQ(other.store->Count(), 0U);
  other.store->Tidy();
  EXPECT_EQ(other.store->Count(), 5U);
}

}  // namespace
