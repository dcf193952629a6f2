#include "host-linux/web/ScriptThreads.h"

#include <gtest/gtest.h>

#include <future>

namespace {

using hostlinux::ScriptThreads;

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

}  // namespace
