#include "host-linux/web/SpillFile.h"

#include <gtest/gtest.h>

namespace {

using hostlinux::SpillBounds;
using hostlinux::SpillFile;

SpillBounds Bounds(std::uint64_t most, std::uint64_t together) { return SpillBounds{most, together, 0}; }

// A read ends where the ring does.
std::string ReadAll(SpillFile& file) {
  std::string all;
  while (!file.IsEmpty()) all += file.Read(100);
  return all;
}

TEST(SpillFile, BytesComeBackInTheirOrder) {
  SpillBounds bounds = Bounds(100, 100);
  SpillFile file(bounds);
  EXPECT_TRUE(file.IsEmpty());
  EXPECT_EQ(file.Write("hello "), 6U);
  EXPECT_EQ(file.Write("world"), 5U);
  EXPECT_FALSE(file.IsEmpty());
  EXPECT_EQ(file.Read(8), "hello wo");
  EXPECT_EQ(file.Read(8), "rld");
  EXPECT_TRUE(file.IsEmpty());
}

TEST(SpillFile, NeverHoldsMoreThanItsBound) {
  SpillBounds bounds = Bounds(10, 100);
  SpillFile file(bounds);
  EXPECT_EQ(file.Write("0123456"), 7U);
  EXPECT_EQ(file.Write("789ab"), 3U);
  EXPECT_EQ(file.Write("a"), 0U);
  EXPECT_EQ(file.Read(4), "0123");
  EXPECT_EQ(file.Write("abcdef"), 4U);
  EXPECT_EQ(bounds.together, 10U);
  EXPECT_EQ(ReadAll(file), "456789abcd");
}

TEST(SpillFile, RingGoesRoundManyTimes) {
  SpillBounds bounds = Bounds(7, 100);
  SpillFile file(bounds);
  std::string wanted;
  std::string got;
  EXPECT_EQ(file.Write("xyz"), 3U);
  for (int i = 0; i < 100; ++i) {
    const std::string bytes = std::to_string(100 + i);
    EXPECT_EQ(file.Write(bytes), 3U);
    wanted += bytes;
    while (got.size() < wanted.size()) {
      const std::string part = file.Read(wanted.size() - got.size());
      ASSERT_FALSE(part.empty());
      got += part;
    }
  }
  EXPECT_EQ(got + ReadAll(file), "xyz" + wanted);
}

TEST(SpillFile, FilesTogetherAreBoundedAndGiveBackWhatTheyTook) {
  SpillBounds bounds = Bounds(10, 15);
  SpillFile first(bounds);
  {
    SpillFile second(bounds);
    EXPECT_EQ(first.Write("0123456789"), 10U);
    EXPECT_EQ(second.Write("01234567"), 0U);
    EXPECT_EQ(second.Write("01234"), 5U);
  }
  EXPECT_EQ(bounds.together, 10U);
  EXPECT_EQ(first.Read(10), "0123456789");
  EXPECT_EQ(bounds.together, 0U);
}

}  // namespace
