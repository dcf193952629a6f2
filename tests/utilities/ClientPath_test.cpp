#include "varnel/utilities/ClientPath.h"

#include <gtest/gtest.h>

namespace varnel {
namespace {

TEST(ClientPath, LosesItsFoldersOnAnyPlatform) {
  EXPECT_EQ(BaseName(u"C:\\a\\b.txt"), u"b");
  EXPECT_EQ(BaseName(u"/a/b.txt"), u"b");
  EXPECT_EQ(BaseName(u"a\\b/c"), u"c");
  EXPECT_EQ(BaseName(u"a/"), u"");
  EXPECT_EQ(Extension(u"a.b\\c"), u"");
  EXPECT_EQ(Extension(u"a.b/c.d"), u"d");
}

TEST(ClientPath, ExtensionFollowsTheLastPoint) {
  EXPECT_EQ(BaseName(u"b.tar.gz"), u"b.tar");
  EXPECT_EQ(Extension(u"b.tar.gz"), u"gz");
  EXPECT_EQ(BaseName(u"a"), u"a");
  EXPECT_EQ(Extension(u"a"), u"");
  EXPECT_EQ(BaseName(u"a."), u"a");
  EXPECT_EQ(Extension(u"a."), u"");
}

TEST(ClientPath, LeadingPointBeginsAnExtension) {
  EXPECT_EQ(BaseName(u".profile"), u"");
  EXPECT_EQ(Extension(u".profile"), u"profile");
  EXPECT_EQ(BaseName(u""), u"");
  EXPECT_EQ(Extension(u""), u"");
}

}  // namespace
}  // namespace varnel
