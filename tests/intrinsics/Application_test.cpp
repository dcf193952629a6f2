#include "host-linux/intrinsics/Application.h"

#include <gtest/gtest.h>

#include <future>

#include "host-fake/ErrorOf.h"
#include "varnel/automation/Collection.h"

namespace {

using namespace hostlinux;
using hostfake::NumberOf;
using namespace std::chrono_literals;
using varnel::Long;
using varnel::Variant;

class ApplicationTest : public testing::Test {
 protected:
  std::shared_ptr<Application> Visit() { return std::make_shared<Application>(m_state); }

  std::shared_ptr<ApplicationState> m_state = std::make_shared<ApplicationState>(MayKeep(), 20ms);
};

TEST_F(ApplicationTest, ValuesAreSharedByAllRequestsInAnyCase) {
  m_state->Set(u"TableBorderWidth", u"1");
  const auto writer = Visit();
  writer->ContentsObject()->Put(u"Visits", Long{7});
  const auto reader = Visit();
  EXPECT_EQ(reader->Value(u"visits"), Variant(Long{7}));
  EXPECT_EQ(reader->CallWith(u"Value", u"TABLEBORDERWIDTH"), Variant(u"1"));
  Variant key[] = {Variant(u"Visits")};
  EXPECT_EQ(reader->CallDefault(key), Variant(Long{7}));
  EXPECT_EQ(reader->Value(u"other"), Variant());
  EXPECT_EQ(reader->ContentsObject()->Count(), 2);
}

TEST_F(ApplicationTest, HostsOwnObjectsAreKeptAndThoseOfPagesRefused) {
  const auto messages = std::make_shared<varnel::Collection>();
  m_state->Set(u"I18NMessageManager", messages);
  const auto application = Visit();
  EXPECT_EQ(application->Value(u"I18NMessageManager"), Variant(messages));
  EXPECT_EQ(NumberOf([&] { application->Store(u"mine", messages); }), 13);
}

TEST_F(ApplicationTest, LockKeepsOthersFromWritingButNotFromReading) {
  const auto owner = Visit();
  const auto other = Visit();
  owner->CallWith(u"Lock");
  owner->Store(u"a", Long{1});
  EXPECT_EQ(other->Value(u"a"), Variant(Long{1}));
  constexpr Long failure = static_cast<Long>(0x80004005);
  EXPECT_EQ(NumberOf([&] { other->Store(u"a", Long{2}); }), failure);
  EXPECT_EQ(NumberOf([&] { other->Lock(); }), failure);
  EXPECT_EQ(NumberOf([&] { other->ContentsObject()->RemoveAll(); }), failure);
  other->Unlock();
  EXPECT_EQ(NumberOf([&] { other->Remove(u"a"); }), failure);
  owner->CallWith(u"Unlock");
  other->Store(u"a", Long{2});
  EXPECT_EQ(owner->Value(u"a"), Variant(Long{2}));
}

TEST_F(ApplicationTest, WaitingWriterGoesOnWhenTheLockIsFreed) {
  m_state = std::make_shared<ApplicationState>(MayKeep(), 20s);
  const auto owner = Visit();
  owner->Lock();
  owner->Lock();
  auto written = std::async(std::launch::async, [&] { Visit()->Store(u"a", Long{2}); });
  owner->Store(u"a", Long{1});
  owner->Unlock();
  written.get();
  EXPECT_EQ(owner->Value(u"a"), Variant(Long{2}));
}

TEST_F(ApplicationTest, EndOfTheRequestFreesItsLock) {
  Visit()->Lock();
  Visit()->Store(u"a", Long{1});
  EXPECT_EQ(Visit()->Value(u"a"), Variant(Long{1}));
}

TEST_F(ApplicationTest, CountingUnderTheLockLosesNothing) {
  m_state = std::make_shared<ApplicationState>(MayKeep(), 20s);
  m_state->Set(u"n", Long{0});
  std::vector<std::future<void>> counters;
  counters.reserve(4);
  for (int t = 0; t < 4; ++t) {
    counters.push_back(std::async(std::launch::async, [&] {
      for (int i = 0; i < 100; ++i) {
        const auto application = Visit();
        application->Lock();
        application->Store(u"n", *application->Value(u"n").As<Long>() + 1);
      }
    }));
  }
  for (auto& counter : counters) counter.get();
  EXPECT_EQ(Visit()->Value(u"n"), Variant(Long{400}));
}

}  // namespace
