#include "host-linux/redis/RedisReply.h"

#include <gmock/gmock.h>

#include "host-linux/redis/RedisFailure.h"

namespace {

using namespace hostlinux;
using namespace std::string_literals;
using namespace std::string_view_literals;
using Kind = RedisReply::Kind;

RedisReply ReplyOf(std::string_view bytes) {
  RedisReplyReader reader(1000);
  reader.Feed(bytes);
  auto reply = reader.Next();
  EXPECT_TRUE(reply) << bytes;
  return reply ? *reply : RedisReply();
}

// The reason why the bytes are no reply; "none" where they are one, or a part of one.
std::string FailureOf(std::string_view bytes, std::size_t maxBytes = 1000) {
  RedisReplyReader reader(maxBytes);
  try {
    reader.Feed(bytes);
    reader.Next();
  } catch (const RedisFailure& failure) {
    return failure.what();
  }
  return "none";
}

TEST(RedisReply, EachKindIsRead) {
  EXPECT_EQ(ReplyOf("+OK\r\n").text, "OK");
  EXPECT_EQ(ReplyOf("$5\r\na\r\nb\0\r\n"sv).text, "a\r\nb\0"s);
  EXPECT_EQ(ReplyOf(":-7\r\n").integer, -7);
  EXPECT_EQ(ReplyOf("$-1\r\n").kind, Kind::Nil);
  EXPECT_EQ(ReplyOf("*-1\r\n").kind, Kind::Nil);
  const RedisReply error = ReplyOf("-OOM no memory\r\n");
  EXPECT_TRUE(error.IsError());
  EXPECT_EQ(error.text, "OOM no memory");
}

TEST(RedisReply, ArraysHoldTheirItemsInOrder) {
  const RedisReply reply = ReplyOf("*3\r\n$1\r\na\r\n*2\r\n:1\r\n$-1\r\n+z\r\n");
  ASSERT_EQ(reply.items.size(), 3U);
  EXPECT_EQ(reply.items[0].text, "a");
  ASSERT_EQ(reply.items[1].items.size(), 2U);
  EXPECT_EQ(reply.items[1].items[0].integer, 1);
  EXPECT_EQ(reply.items[1].items[1].kind, Kind::Nil);
  EXPECT_EQ(reply.items[2].text, "z");
  EXPECT_TRUE(ReplyOf("*0\r\n").items.empty());
}

TEST(RedisReply, PiecesOfAnySizeMakeTheSameReply) {
  const std::string bytes = "*2\r\n$3\r\nabc\r\n:12\r\n";
  RedisReplyReader reader(1000);
  for (std::size_t i = 0; i + 1 < bytes.size(); ++i) {
    reader.Feed(bytes.substr(i, 1));
    EXPECT_FALSE(reader.Next()) << i;
  }
  reader.Feed(bytes.substr(bytes.size() - 1));
  const auto reply = reader.Next();
  ASSERT_TRUE(reply);
  EXPECT_EQ(reply->items[1].integer, 12);
}

TEST(RedisReply, WhatIsNoReplyIsRefused) {
  for (const char* bytes : {"hello\r\n", "\r\n", "*1\r\nx\r\n", "$x\r\n", "*-5\r\n"})
    EXPECT_THAT(FailureOf(bytes), testing::StartsWith("its answer can't be read: ")) << bytes;
}

TEST(RedisReply, AnswersEndAtTheirLimit) {
  EXPECT_EQ(FailureOf("$5000\r\n" + std::string(900, 'x')), "none");
  EXPECT_EQ(FailureOf("$5000\r\n" + std::string(1000, 'x')), "its answer is longer than 1000 bytes");
  RedisReplyReader reader(10);
  for (int i = 0; i < 100; ++i) {
    reader.BeginAnew();
    reader.Feed("+1234\r\n");
    EXPECT_TRUE(reader.Next());
  }
  reader.BeginAnew();
  reader.Feed("+1\r\n+1\r\n");
  EXPECT_THROW(reader.Feed("+1\r\n"), RedisFailure);
}

TEST(RedisReply, CountsThatNobodyCanFillTakeNoMemory) {
  for (const char* bytes : {"*1000\r\n", "*2147483647\r\n", "*60\r\n*60\r\n", "*2\r\n*61\r\n$1\r\na\r\n"})
    EXPECT_EQ(FailureOf(bytes), "its answer is longer than 1000 bytes") << bytes;
  for (const char* bytes : {"*4294967295\r\n", "*99999999999999999999\r\n"})
    EXPECT_THAT(FailureOf(bytes), testing::StartsWith("its answer ")) << bytes;
}

TEST(RedisReply, NestingEnds) {
  std::string bytes;
  for (int i = 0; i < 30; ++i) bytes += "*1\r\n";
  EXPECT_THAT(FailureOf(bytes), testing::StartsWith("its answer can't be read: "));
}

}  // namespace
