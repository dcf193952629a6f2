#include "host-linux/web/UrlPath.h"

#include <gtest/gtest.h>

namespace {

using hostlinux::ParseTarget;

TEST(UrlPath, PlainPathAndQueryAreTakenApart) {
  const auto target = ParseTarget("/shop/list.asp?R_1=a%20b&x=?");
  EXPECT_EQ(target.error, "");
  EXPECT_EQ(target.path, "/shop/list.asp");
  EXPECT_EQ(target.rawQuery, "R_1=a%20b&x=?");
}

TEST(UrlPath, PathIsDecodedOnceAndPlusStays) {
  EXPECT_EQ(ParseTarget("/a%20b+c").path, "/a b+c");
  EXPECT_EQ(ParseTarget("/%C3%A4").path, "/\xC3\xA4");
  EXPECT_EQ(ParseTarget("/a%2541").path, "/a%41");
}

TEST(UrlPath, DotSegmentsAndDoubledSlashesVanish) {
  EXPECT_EQ(ParseTarget("/a/./b/../c").path, "/a/c");
  EXPECT_EQ(ParseTarget("//a///b").path, "/a/b");
  EXPECT_EQ(ParseTarget("/a/b/..").path, "/a/");
  EXPECT_EQ(ParseTarget("/a/.").path, "/a/");
  EXPECT_EQ(ParseTarget("/a/..").path, "/");
  EXPECT_EQ(ParseTarget("/").path, "/");
  EXPECT_EQ(ParseTarget("/a/").path, "/a/");
  EXPECT_EQ(ParseTarget("/...").path, "/...");
}

TEST(UrlPath, NothingLeadsAboveTheRoot) {
  for (const char* target :
       {"/..", "/../etc/passwd", "/a/../../b", "/%2e%2e/x", "/a/%2E%2e%2f%2e./b", "/..%2fx"}) {
    EXPECT_EQ(ParseTarget(target).error, "The path of the request leads above the root.") << target;
    EXPECT_EQ(ParseTarget(target).path, "") << target;
  }
}

TEST(UrlPath, BadEscapesAreRefused) {
  for (const char* target : {"/%", "/%4", "/%zz", "/a%4g", "/%u0041"}) {
    EXPECT_EQ(ParseTarget(target).error,
              "The path of the request contains a \"%\" without two hexadecimal digits behind it.")
        << target;
  }
}

TEST(UrlPath, BytesThatFoolFileSystemsAreRefused) {
  EXPECT_NE(ParseTarget("/a%00.png").error, "");
  EXPECT_NE(ParseTarget("/a%0d%0ab").error, "");
  EXPECT_NE(ParseTarget("/a%5Cb").error, "");
  EXPECT_NE(ParseTarget("/a\\b").error, "");
  EXPECT_NE(ParseTarget("/a#b").error, "");
  EXPECT_NE(ParseTarget("/%ff").error, "");
  EXPECT_NE(ParseTarget("/%c0%ae%c0%ae/").error, "");
}

TEST(UrlPath, OnlyPathsAndAbsoluteAddressesAreTargets) {
  EXPECT_NE(ParseTarget("").error, "");
  EXPECT_NE(ParseTarget("*").error, "");
  EXPECT_NE(ParseTarget("list.asp").error, "");
  EXPECT_NE(ParseTarget("ftp://host/a").error, "");
  EXPECT_NE(ParseTarget("http:///a").error, "");
  EXPECT_NE(ParseTarget("http://user@host/a").error, "");
  const auto target = ParseTarget("HTTP://shop.example:81/a?b");
  EXPECT_EQ(target.host, "shop.example:81");
  EXPECT_EQ(target.path, "/a");
  EXPECT_EQ(target.rawQuery, "b");
  EXPECT_EQ(ParseTarget("http://host").path, "/");
  EXPECT_EQ(ParseTarget("http://host?q").rawQuery, "q");
}

}  // namespace
