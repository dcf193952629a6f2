#include "host-linux/web/ScriptThreads.h"

#include <gtest/gtest.h>
#include <sys/epoll.h>
#include <sys/eventfd.h>

#include <atomic>
#include <future>
#include <memory>

namespace {

using hostlinux::ScriptThreads;
using hostlinux::UniqueFd;

TEST(ScriptThreads, TasksRunInTheirOrder) {
  std::string order;
  std::promise<void> done;
  ScriptThreads threads({1, 10, {}, {}});
  for (const char c : {'a', 'b', 'c'}) EXPECT_TRUE(threads.TryPost([&order, c] { order += c; }));
  EXPECT_TRUE(threads.TryPost([&] { done.set_value(); }));
  done.get_future().wait();
  EXPECT_EQ(order, "abc");
}

TEST(ScriptThreads, QueueIsBoundedByItsLengthAndTheFreeThreads) {
  std::promise<void> gate;
  std::promise<void> begun;
  ScriptThreads threads({1, 2, {}, {}});
  ASSERT_TRUE(threads.TryPost([&] {
    begun.set_value();
    gate.get_future().wait();
  }));
  begun.get_future().wait();
  EXPECT_TRUE(threads.TryPost([] {}));
  EXPECT_TRUE(threads.TryPost([] {}));
  EXPECT_FALSE(threads.TryPost([] {}));
  gate.set_value();
}

TEST(ScriptThreads, WithoutAQueueFreeThreadsStillTakeTasks) {
  std::promise<void> done;
  ScriptThreads threads({0, 0, {}, {}});
  EXPECT_TRUE(threads.TryPost([&] { done.set_value(); }));
  done.get_future().wait();
}

TEST(ScriptThreads, WhoeverIsReadyIsHeardOfOnce) {
  const UniqueFd ready(::eventfd(1, EFD_NONBLOCK));
  std::promise<std::uint64_t> heard;
  ScriptThreads threads({1, 0, [&](std::uint64_t id) { heard.set_value(id); }, {}});
  EXPECT_TRUE(threads.Watch(ready.Get(), 7, EPOLLIN));
  EXPECT_EQ(heard.get_future().get(), 7U);
  EXPECT_FALSE(threads.Watch(-1, 8, EPOLLIN));
}

TEST(ScriptThreads, WhileAllAreBusySomebodyElseTakesWhoIsReady) {
  const UniqueFd first(::eventfd(1, EFD_NONBLOCK));
  const UniqueFd second(::eventfd(1, EFD_NONBLOCK));
  std::promise<void> gate;
  std::promise<void> begun;
  std::atomic<int> tellings = 0;
  ScriptThreads threads({1, 0,
                         [&](std::uint64_t) {
                           begun.set_value();
                           gate.get_future().wait();
                         },
                         [&] { ++tellings; }});
  EXPECT_TRUE(threads.TakeReady().empty());
  EXPECT_FALSE(threads.AreAllBusy());
  threads.Watch(first.Get(), 1, EPOLLIN);
  begun.get_future().wait();
  EXPECT_TRUE(threads.AreAllBusy());
  EXPECT_EQ(tellings, 1);
  threads.Watch(second.Get(), 2, EPOLLIN);
  EXPECT_EQ(threads.TakeReady(), std::vector<std::uint64_t>{2});
  EXPECT_TRUE(threads.TakeReady().empty());
  gate.set_value();
}

TEST(ScriptThreads, AnotherThreadTakesThePlaceOfOneThatWaits) {
  std::promise<void> gate;
  std::promise<void> waits;
  std::promise<void> ran;
  ScriptThreads threads({1, 10, {}, {}});
  threads.TryPost([&] {
    EXPECT_TRUE(threads.BeginWait());
    waits.set_value();
    gate.get_future().wait();
    threads.EndWait();
  });
  waits.get_future().wait();
  threads.TryPost([&] { ran.set_value(); });
  ran.get_future().wait();
  gate.set_value();
}

TEST(ScriptThreads, OnlySoManyMayWaitAndTheirPlacesComeBack) {
  ScriptThreads threads({1, 10, {}, {}});
  for (int round = 0; round < 20; ++round) {
    std::promise<void> gate;
    const std::shared_future<void> opened = gate.get_future().share();
    std::atomic<int> waiting = 0;
    std::atomic<int> ended = 0;
    for (int i = 0; i < 4; ++i) {
      threads.TryPost([&] {
        EXPECT_TRUE(threads.BeginWait());
        ++waiting;
        opened.wait();
        threads.EndWait();
        ++ended;
      });
    }
    while (waiting < 4) std::this_thread::yield();
    std::promise<bool> mayWait;
    threads.TryPost([&] { mayWait.set_value(threads.BeginWait()); });
    EXPECT_FALSE(mayWait.get_future().get());
    gate.set_value();
    while (ended < 4) std::this_thread::yield();
  }
}

TEST(ScriptThreads, ALongTaskStepsAsideForThoseThatWait) {
  std::atomic<bool> isStopped = false;
  std::promise<void> begun;
  std::promise<void> done;
  ScriptThreads threads({1, 5, {}, {}});
  ASSERT_TRUE(threads.TryPost([&] {
    begun.set_value();
    while (!isStopped) threads.StepAside(std::chrono::seconds(60));
    done.set_value();
  }));
  begun.get_future().wait();
  EXPECT_TRUE(threads.TryPost([&] { isStopped = true; }));
  EXPECT_EQ(done.get_future().wait_for(std::chrono::seconds(30)), std::future_status::ready);
}

// Those that wait can't be run by anybody: the other task holds the thread that it took over.
TEST(ScriptThreads, ALongTaskGoesOnAfterAWhile) {
  std::promise<void> gate;
  std::promise<void> begun;
  std::promise<void> done;
  ScriptThreads threads({1, 5, {}, {}});
  ASSERT_TRUE(threads.TryPost([&] {
    begun.get_future().wait();
    for (int i = 0; i < 3; ++i) threads.StepAside(std::chrono::milliseconds(20));
    done.set_value();
  }));
  const std::shared_future<void> opened = gate.get_future().share();
  EXPECT_TRUE(threads.TryPost([opened] { opened.wait(); }));
  EXPECT_TRUE(threads.TryPost([] {}));
  begun.set_value();
  EXPECT_EQ(done.get_future().wait_for(std::chrono::seconds(30)), std::future_status::ready);
  gate.set_value();
}

TEST(ScriptThreads, NobodyStepsAsideForNobody) {
  std::promise<void> done;
  ScriptThreads threads({1, 5, {}, {}});
  ASSERT_TRUE(threads.TryPost([&] {
    for (int i = 0; i < 1000; ++i) threads.StepAside(std::chrono::hours(1));
    done.set_value();
  }));
  EXPECT_EQ(done.get_future().wait_for(std::chrono::seconds(30)), std::future_status::ready);
}

// More tasks than may step aside, each on a thread of its own in the end: all go on, and none is lost.
TEST(ScriptThreads, OnlySoManyStepAsideAndAllEnd) {
  constexpr int kTasks = 12;
  std::atomic<int> rounds = 0;
  std::atomic<int> ended = 0;
  std::promise<void> done;
  ScriptThreads threads({2, 20, {}, {}});
  for (int i = 0; i < kTasks; ++i) {
    ASSERT_TRUE(threads.TryPost([&] {
      for (int round = 0; round < 50; ++round, ++rounds) threads.StepAside(std::chrono::milliseconds(1));
      if (++ended == kTasks) done.set_value();
    }));
  }
  EXPECT_EQ(done.get_future().wait_for(std::chrono::seconds(60)), std::future_status::ready);
  EXPECT_EQ(rounds, kTasks * 50);
}

}  // namespace
