#include "host-linux/script/LooseBracket.h"

#include <gtest/gtest.h>

#include <string>

namespace hostlinux {
namespace {

// "{2": the sign and its line; "{2 )3": and what it met.
std::string Loose(std::string_view script) {
  const auto loose = FindLooseBracket(script);
  if (!loose) return "";
  std::string text = loose->sign + std::to_string(loose->line);
  if (loose->before != '\0') text += std::string(" ") + loose->before + std::to_string(loose->lineOfBefore);
  return text;
}

TEST(LooseBracketTest, PairsAreNone) {
  EXPECT_EQ(Loose(""), "");
  EXPECT_EQ(Loose("f({a: [1, 2]});\nif (b) { c(); }"), "");
}

TEST(LooseBracketTest, WhatIsNeverClosed) {
  EXPECT_EQ(Loose("var a = 1;\nvar b = (a;\nf();"), "(2");
  EXPECT_EQ(Loose("function f() {\n  g([1, 2);\n}"), "[2 )2");
  EXPECT_EQ(Loose("a();\nf({\n  b: 1\n);"), "{2 )4");
}

TEST(LooseBracketTest, OfSeveralTheLastOne) { EXPECT_EQ(Loose("f(function () {\n  g();\n"), "{1"); }

TEST(LooseBracketTest, WhatClosesNothing) { EXPECT_EQ(Loose("if (a) {\n  b();\n}\n}"), "}4"); }

TEST(LooseBracketTest, TextsPatternsAndCommentsHoldNone) {
  EXPECT_EQ(Loose("f('(', \"{\", `[`, /[(]/); // {\n/* ( */"), "");
  EXPECT_EQ(Loose("`${f(1)} (`"), "");
}

}  // namespace
}  // namespace hostlinux
