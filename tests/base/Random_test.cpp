#include "host-linux/base/Random.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <set>

namespace hostlinux {
namespace {

TEST(Random, TokensAreThirtyTwoDigitsAndNeverTheSame) {
  std::set<std::string> tokens;
  for (int i = 0; i < 1000; ++i) tokens.insert(RandomToken());
  EXPECT_EQ(tokens.size(), 1000U);
  for (const std::string& token : tokens) {
    EXPECT_EQ(token.size(), 32U);
    EXPECT_EQ(token.find_first_not_of("0123456789abcdef"), std::string::npos) << token;
  }
}

TEST(Random, NumbersUseAllTheirBits) {
  std::uint64_t ones = 0;
  std::uint64_t zeros = 0;
  for (int i = 0; i < 200; ++i) {
    const auto number = RandomNumber<std::uint64_t>();
    ones |= number;
    zeros |= ~number;
  }
  EXPECT_EQ(ones, ~std::uint64_t{0});
  EXPECT_EQ(zeros, ~std::uint64_t{0});
}

}  // namespace
}  // namespace hostlinux
