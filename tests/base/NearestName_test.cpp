// What is suggested to whoever writes a name that isn't there.
#include "host-linux/base/NearestName.h"

#include <gtest/gtest.h>

namespace {

using hostlinux::DidYouMean;
using hostlinux::NearestName;
using varnel::String;

const std::vector<String> kNames = {u"Open", u"OpenRS", u"MoveNext", u"MoveFirst", u"SetPageSize"};

TEST(NearestName, FindsASlip) {
  EXPECT_EQ(u"MoveNext", NearestName(u"MovNext", kNames));         // left out
  EXPECT_EQ(u"MoveNext", NearestName(u"MoveNextt", kNames));       // added
  EXPECT_EQ(u"SetPageSize", NearestName(u"SetPageSise", kNames));  // changed
  EXPECT_EQ(u"OpenRS", NearestName(u"OepnRS", kNames));            // in the wrong order
}

TEST(NearestName, TakesNoNoticeOfTheCaseOfLetters) { EXPECT_EQ(u"OpenRS", NearestName(u"OPENSR", kNames)); }

TEST(NearestName, TakesTheNearestAndOfEqualOnesTheFirst) {
  EXPECT_EQ(u"MoveFirst", NearestName(u"MoveFist", kNames));
  EXPECT_EQ(u"OpenRT", NearestName(u"OpenR", {u"Opsn", u"OpenRT", u"OpenRS"}));
}

TEST(NearestName, SuggestsNothingThatIsFar) {
  EXPECT_EQ(u"", NearestName(u"Refresh", kNames));
  EXPECT_EQ(u"", NearestName(u"", kNames));
  EXPECT_EQ(u"", NearestName(u"x", {u"y"}));
  EXPECT_EQ(u"", NearestName(u"id", {u"price", u"name"}));
  EXPECT_EQ(u"", NearestName(String(101, u'a'), {String(101, u'a')}));
}

TEST(NearestName, MakesASentence) {
  EXPECT_EQ(u" Did you mean 'OpenRS'?", DidYouMean(u"OpenSR", kNames));
  EXPECT_EQ(u"", DidYouMean(u"Refresh", kNames));
}

}  // namespace
