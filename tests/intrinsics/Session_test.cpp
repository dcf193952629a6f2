#include "host-linux/intrinsics/Session.h"

#include <gtest/gtest.h>

#include <thread>

#include "host-fake/ErrorOf.h"
#include "host-linux/intrinsics/RequestCollection.h"
#include "varnel/automation/Collection.h"
#include "varnel/automation/Convert.h"

namespace {

using namespace hostlinux;
using hostfake::NumberOf;
using namespace std::chrono_literals;
using varnel::Long;
using varnel::String;
using varnel::Variant;

class SessionTest : public testing::Test {
 protected:
  SessionTest() {
    SessionStore::Options options;
    options.maxSessions = 3;
    options.timeout = 20min;
    options.now = [this] { return m_now; };
    m_store = std::make_shared<SessionStore>(options);
    m_store->SetInitial(u"REMOTE_USER", u"demo");
  }

  std::shared_ptr<Session> Visit(const std::string& token = "") {
    return std::make_shared<Session>(m_store, token, Session::Options{1033, "/shop", false});
  }

  // The cookie that the browser would send next; empty where none is set.
  static std::string TokenSetBy(const Session& session) {
    HttpResponse head;
    session.CompleteHead(head);
    const std::string* cookie = head.headers.Find("Set-Cookie");
    if (!cookie) return "";
    const std::string begin = "varnel_session=";
    EXPECT_EQ(cookie->substr(0, begin.size()), begin);
    return cookie->substr(begin.size(), cookie->find(';') - begin.size());
  }

  std::string BeginOne() {
    const auto session = Visit();
    session->SessionID();
    return TokenSetBy(*session);
  }

  SessionStore::Clock::time_point m_now{};
  std::shared_ptr<SessionStore> m_store;
};

TEST_F(SessionTest, ReadingBeginsNoSession) {
  const auto session = Visit();
  EXPECT_EQ(session->Value(u"remote_user"), Variant(u"demo"));
  EXPECT_EQ(session->Value(u"x"), Variant());
  EXPECT_EQ(session->LCID(), 1033);
  EXPECT_EQ(session->Timeout(), 20);
  EXPECT_EQ(session->CodePage(), 65001);
  EXPECT_EQ(session->ContentsObject()->Count(), 1);
  EXPECT_EQ(TokenSetBy(*session), "");
  EXPECT_EQ(m_store->Count(), 0U);
}

TEST_F(SessionTest, TheFormTokenIsTheSessionsOwnAndNotItsCookie) {
  const auto session = Visit();
  const String formToken = session->FormToken();
  const std::string cookie = TokenSetBy(*session);
  EXPECT_EQ(formToken.size(), 32U);
  EXPECT_NE(varnel::ToUtf8(formToken), cookie);
  EXPECT_EQ(Visit(cookie)->FormToken(), formToken);
  EXPECT_NE(Visit()->FormToken(), formToken);
}

TEST_F(SessionTest, FirstWriteBeginsOneAndSetsItsCookie) {
  const auto session = Visit();
  session->ContentsObject()->Put(u"Basket", Long{3});
  HttpResponse head;
  session->CompleteHead(head);
  const std::string cookie = *head.headers.Find("Set-Cookie");
  const std::string token = TokenSetBy(*session);
  EXPECT_EQ(token.size(), 32U);
  EXPECT_EQ(cookie, "varnel_session=" + token + "; Path=/shop; HttpOnly; SameSite=Lax");

  const auto next = Visit(token);
  EXPECT_EQ(next->Value(u"BASKET"), Variant(Long{3}));
  EXPECT_EQ(next->Value(u"REMOTE_USER"), Variant(u"demo"));
  EXPECT_EQ(TokenSetBy(*next), "");
}

TEST_F(SessionTest, FirstLookAtTheIdBeginsOne) {
  const auto session = Visit();
  const Variant id = session->Get(u"SessionID");
  const std::string token = TokenSetBy(*session);
  EXPECT_NE(token, "");
  EXPECT_EQ(Visit(token)->Get(u"sessionid"), id);
  EXPECT_NE(Visit()->Get(u"SessionID"), id);
}

TEST_F(SessionTest, UnknownTokenIsNeverTakenOver) {
  const auto session = Visit("0123456789abcdef0123456789abcdef");
  session->SessionID();
  EXPECT_NE(TokenSetBy(*session), "0123456789abcdef0123456789abcdef");
  EXPECT_EQ(m_store->Count(), 1U);
}

TEST_F(SessionTest, ValuesOfOneSessionAreNotThoseOfAnother) {
  const auto first = Visit();
  first->Store(u"a", Long{1});
  const auto second = Visit();
  second->Store(u"b", Long{2});
  EXPECT_EQ(second->Value(u"a"), Variant());
  EXPECT_EQ(Visit()->Value(u"b"), Variant());
}

TEST_F(SessionTest, ContentsIsACollectionOfTheValues) {
  const auto session = Visit();
  const auto contents = session->ContentsObject();
  contents->Put(u"B", u"1");
  contents->Put(u"a", u"2");
  contents->Put(u"b", u"3");
  EXPECT_EQ(contents->Get(u"b"), Variant(u"3"));
  EXPECT_EQ(contents->Get(u"nothing"), Variant());
  EXPECT_EQ(contents->Get(u"Count"), Variant(Long{3}));
  EXPECT_EQ(contents->Key(2), u"B");
  EXPECT_EQ(contents->Item(Long{3}), Variant(u"2"));
  EXPECT_EQ(NumberOf([&] { contents->Item(Long{4}); }), 9);
  std::vector<String> keys;
  const auto walk = contents->Enumerate();
  for (Variant key; walk->Next(key);) keys.push_back(*key.As<String>());
  EXPECT_EQ(keys, (std::vector<String>{u"REMOTE_USER", u"B", u"a"}));
  contents->CallWith(u"Remove", u"B");
  EXPECT_EQ(session->Value(u"b"), Variant());
  contents->CallWith(u"RemoveAll");
  EXPECT_EQ(contents->Count(), 0);
}

TEST_F(SessionTest, NameOfAMemberIsRefused) {
  const auto contents = Visit()->ContentsObject();
  for (const char16_t* name : {u"Count", u"item", u"KEY", u"Remove", u"RemoveAll"}) {
    EXPECT_EQ(NumberOf([&] { contents->Put(name, u"x"); }), 438);
  }
  EXPECT_EQ(m_store->Count(), 0U);
}

TEST_F(SessionTest, ObjectsOfThePageAreRefused) {
  const auto session = Visit();
  const auto object = std::make_shared<varnel::Collection>();
  EXPECT_EQ(NumberOf([&] { session->Store(u"a", object); }), 13);
  auto array = std::make_shared<varnel::Array>();
  array->items = {Variant(Long{1}), Variant(object)};
  EXPECT_EQ(NumberOf([&] { session->Store(u"a", array); }), 13);
  EXPECT_EQ(session->Value(u"a"), Variant());
  session->Store(u"a", Variant(nullptr));
  EXPECT_EQ(session->Value(u"a"), Variant(nullptr));
}

TEST_F(SessionTest, ComponentsThatMayBeKeptAreTakenButNeverTheRequestsOwnObjects) {
  SessionStore::Options options;
  options.mayKeep = [](const varnel::Object&) { return true; };
  const auto session =
      std::make_shared<Session>(std::make_shared<SessionStore>(options), "", Session::Options());
  const auto object = std::make_shared<varnel::Collection>();
  session->Store(u"a", object);
  EXPECT_EQ(session->Value(u"a"), Variant(object));
  EXPECT_EQ(NumberOf([&] { session->Store(u"b", std::make_shared<RequestValue>(std::vector<String>())); }),
            13);
  EXPECT_EQ(NumberOf([&] { session->Store(u"b", session->ContentsObject()); }), 13);
  EXPECT_EQ(NumberOf([&] { session->Store(u"b", session); }), 13);
}

TEST_F(SessionTest, ArraysAreCopiedInAndOut) {
  const auto session = Visit();
  auto array = std::make_shared<varnel::Array>();
  array->items = {Variant(Long{1})};
  session->Store(u"a", array);
  array->items[0] = Long{2};
  const Variant first = session->Value(u"a");
  EXPECT_EQ((*first.As<varnel::ArrayPtr>())->items[0], Variant(Long{1}));
  (*first.As<varnel::ArrayPtr>())->items[0] = Long{3};
  EXPECT_EQ((*session->Value(u"a").As<varnel::ArrayPtr>())->items[0], Variant(Long{1}));
}

TEST_F(SessionTest, ArrayThatContainsItselfIsRefused) {
  const auto session = Visit();
  auto array = std::make_shared<varnel::Array>();
  array->items = {Variant(array)};
  EXPECT_EQ(NumberOf([&] { session->Store(u"a", array); }), 5);
  array->items.clear();
}

TEST_F(SessionTest, IdleSessionExpires) {
  const std::string token = BeginOne();
  m_now += 19min;
  EXPECT_EQ(TokenSetBy(*Visit(token)), "");
  m_now += 20min;
  const auto late = Visit(token);
  late->SessionID();
  EXPECT_NE(TokenSetBy(*late), "");
  EXPECT_EQ(m_store->Count(), 1U);
}

TEST_F(SessionTest, OwnTimeoutCounts) {
  const auto session = Visit();
  session->Put(u"Timeout", Long{60});
  EXPECT_EQ(session->Get(u"Timeout"), Variant(Long{60}));
  const std::string token = TokenSetBy(*session);
  m_now += 59min;
  EXPECT_EQ(Visit(token)->Timeout(), 60);
  for (const Long bad : {0, -1, 1441}) EXPECT_EQ(NumberOf([&] { session->SetTimeout(bad); }), 5);
}

TEST_F(SessionTest, LongestIdleIsDroppedFirst) {
  const std::string first = BeginOne();
  const std::string second = BeginOne();
  const std::string third = BeginOne();
  Visit(first);
  BeginOne();
  EXPECT_EQ(m_store->Count(), 3U);
  EXPECT_EQ(m_store->Find(second), nullptr);
  EXPECT_NE(m_store->Find(first), nullptr);
  EXPECT_NE(m_store->Find(third), nullptr);
}

TEST_F(SessionTest, AFloodOfNewOnesDropsNoneThatWasUsedAgain) {
  const std::string first = BeginOne();
  const std::string second = BeginOne();
  Visit(first);
  Visit(second);
  m_now += 5min;
  for (int i = 0; i < 1000; ++i) BeginOne();
  EXPECT_EQ(m_store->Count(), 3U);
  EXPECT_NE(m_store->Find(first), nullptr);
  EXPECT_NE(m_store->Find(second), nullptr);
}

TEST_F(SessionTest, WhereAllWereUsedAgainTheLongestIdleMakesRoom) {
  const std::vector<std::string> tokens = {BeginOne(), BeginOne(), BeginOne()};
  for (const std::string& token : tokens) Visit(token);
  const std::string fourth = BeginOne();
  EXPECT_EQ(m_store->Find(tokens[0]), nullptr);
  EXPECT_NE(m_store->Find(tokens[1]), nullptr);
  EXPECT_NE(m_store->Find(fourth), nullptr);
}

TEST_F(SessionTest, RenewedItIsStillOneThatWasUsedAgain) {
  const std::string token = BeginOne();
  const auto session = Visit(token);
  session->Renew();
  const std::string renewed = TokenSetBy(*session);
  for (int i = 0; i < 10; ++i) BeginOne();
  EXPECT_NE(m_store->Find(renewed), nullptr);
}

TEST_F(SessionTest, ExpiredOnesMakeRoomWithoutBeingAskedFor) {
  BeginOne();
  BeginOne();
  m_now += 21min;
  BeginOne();
  EXPECT_EQ(m_store->Count(), 1U);
}

TEST_F(SessionTest, AbandonEndsItForTheNextRequest) {
  const std::string token = BeginOne();
  const auto session = Visit(token);
  session->Store(u"a", Long{1});
  session->CallWith(u"Abandon");
  EXPECT_EQ(session->Value(u"a"), Variant(Long{1}));
  HttpResponse head;
  session->CompleteHead(head);
  EXPECT_EQ(*head.headers.Find("Set-Cookie"),
            "varnel_session=; Expires=Thu, 01 Jan 1970 00:00:00 GMT; Path=/shop; HttpOnly; SameSite=Lax");
  EXPECT_EQ(Visit(token)->Value(u"a"), Variant());
}

TEST_F(SessionTest, AbandonedBeforeItWasSentLeavesNoCookie) {
  const auto session = Visit();
  session->Abandon();
  session->SessionID();
  session->Abandon();
  EXPECT_EQ(TokenSetBy(*session), "");
  EXPECT_EQ(m_store->Count(), 0U);
}

TEST_F(SessionTest, RenewedItHasAnotherIdAndTheSameValues) {
  const std::string token = BeginOne();
  const auto session = Visit(token);
  session->Store(u"a", Long{1});
  session->SetLCID(1031);
  session->SetTimeout(60);
  const Long id = session->SessionID();
  const String formToken = session->FormToken();
  session->CallWith(u"Renew");
  session->Store(u"b", Long{2});
  const std::string renewed = TokenSetBy(*session);
  EXPECT_EQ(renewed.size(), 32U);
  EXPECT_NE(renewed, token);
  EXPECT_NE(session->SessionID(), id);
  EXPECT_NE(session->FormToken(), formToken);

  const auto next = Visit(renewed);
  EXPECT_EQ(next->Value(u"a"), Variant(Long{1}));
  EXPECT_EQ(next->Value(u"b"), Variant(Long{2}));
  EXPECT_EQ(next->Value(u"REMOTE_USER"), Variant(u"demo"));
  EXPECT_EQ(next->LCID(), 1031);
  EXPECT_EQ(next->Timeout(), 60);
  EXPECT_EQ(next->FormToken(), session->FormToken());
  EXPECT_EQ(m_store->Count(), 1U);
}

TEST_F(SessionTest, RenewedItsOldIdIsDeadAtOnceAndSeesNothingNew) {
  const std::string token = BeginOne();
  const auto planted = Visit(token);  // a request of somebody who knows the old id, under way
  const auto session = Visit(token);
  session->Renew();
  session->Store(u"user", u"clerk");
  EXPECT_EQ(planted->Value(u"user"), Variant());
  planted->Store(u"user", u"mallory");
  EXPECT_EQ(session->Value(u"user"), Variant(u"clerk"));
  EXPECT_EQ(Visit(token)->Value(u"user"), Variant());
  EXPECT_EQ(TokenSetBy(*planted), "");
}

TEST_F(SessionTest, RenewingBeginsOneThatHasNotBegun) {
  const auto session = Visit("0123456789abcdef0123456789abcdef");
  session->Renew();
  EXPECT_EQ(TokenSetBy(*session).size(), 32U);
  EXPECT_EQ(m_store->Count(), 1U);
}

TEST_F(SessionTest, RenewedAndThenAbandonedItsCookieGoes) {
  const std::string token = BeginOne();
  const auto session = Visit(token);
  session->Renew();
  session->Abandon();
  session->Renew();
  EXPECT_EQ(TokenSetBy(*session), "");
  HttpResponse head;
  session->CompleteHead(head);
  EXPECT_NE(head.headers.Find("Set-Cookie"), nullptr);
  EXPECT_EQ(m_store->Count(), 0U);
}

TEST_F(SessionTest, RenewingDropsNoOtherSession) {
  const std::string first = BeginOne();
  BeginOne();
  const std::string third = BeginOne();
  Visit(third)->Renew();
  EXPECT_EQ(m_store->Count(), 3U);
  EXPECT_NE(m_store->Find(first), nullptr);
}

TEST_F(SessionTest, LocaleIsKeptAndThePagesOwnGoesFirst) {
  const auto session = Visit();
  session->Put(u"LCID", Long{1031});
  const auto next = Visit(TokenSetBy(*session));
  EXPECT_EQ(next->LCID(), 1031);
  next->SetPageLCID(1036);
  EXPECT_EQ(next->LCID(), 1036);
  EXPECT_EQ(Visit(TokenSetBy(*session))->LCID(), 1031);
  EXPECT_EQ(NumberOf([&] { session->SetLCID(0); }), 5);
}

TEST_F(SessionTest, CodePageIsUtf8) {
  const auto session = Visit();
  session->Put(u"CodePage", Long{65001});
  EXPECT_EQ(NumberOf([&] { session->Put(u"CodePage", Long{1252}); }), 5);
}

TEST_F(SessionTest, ParallelRequestsOfOneSessionGetAndSetAtomically) {
  const std::string token = BeginOne();
  std::vector<std::thread> threads;
  threads.reserve(4);
  for (int t = 0; t < 4; ++t) {
    threads.emplace_back([&, t] {
      const auto session = Visit(token);
      for (int i = 0; i < 200; ++i) {
        session->Store(u"text", String(static_cast<std::size_t>(i % 50), static_cast<char16_t>(u'a' + t)));
        const Variant value = session->Value(u"text");
        const String& text = *value.As<String>();
        EXPECT_EQ(text.find_first_not_of(text.empty() ? u'x' : text[0]), String::npos);
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
}

TEST_F(SessionTest, LockKeepsOtherRequestsFromLockingUntilTheEndOfThisOne) {
  const std::string token = BeginOne();
  auto first = Visit(token);
  first->CallWith(u"Lock");
  first->CallWith(u"Lock");
  Session::Options options;
  options.timeLeft = [] { return 20ms; };
  const auto second = std::make_shared<Session>(m_store, token, options);
  EXPECT_EQ(NumberOf([&] { second->CallWith(u"Lock"); }), static_cast<Long>(0x80004005));
  second->Store(u"a", Long{1});  // who doesn't lock isn't held up
  first->CallWith(u"Unlock");
  second->CallWith(u"Lock");
  second->Save();
  first->CallWith(u"Lock");
  first.reset();
  second->CallWith(u"Lock");
  second->CallWith(u"Unlock");
  second->CallWith(u"Unlock");
}

TEST_F(SessionTest, LockedReadsAndWritesOfManyRequestsAreWhole) {
  const std::string token = BeginOne();
  Visit(token)->Store(u"n", Long{0});
  std::vector<std::thread> threads;
  threads.reserve(4);
  for (int t = 0; t < 4; ++t) {
    threads.emplace_back([&] {
      for (int i = 0; i < 100; ++i) {
        const auto session = Visit(token);
        session->Lock();
        session->Store(u"n", *session->Value(u"n").As<Long>() + 1);
        session->Save();
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(Visit(token)->Value(u"n"), Variant(Long{400}));
}

TEST_F(SessionTest, LockBeginsOne) {
  const auto session = Visit();
  session->Lock();
  EXPECT_EQ(m_store->Count(), 1U);
  EXPECT_NE(TokenSetBy(*session), "");
}

}  // namespace
