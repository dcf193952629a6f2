#include <gtest/gtest.h>

#include <limits>

#include "varnel/automation/Convert.h"
#include "varnel/component/ClassFactory.h"
#include "varnel/utilities/Utilities.h"

namespace varnel {
namespace {

class Encoders : public testing::Test {
 protected:
  static Date At(int year, int month, int day, int hour = 0, int minute = 0, int second = 0) {
    return MakeDate({year, month, day, hour, minute, second});
  }

  Utilities util;
};

TEST_F(Encoders, ATextIsANationalCharacterLiteral) {
  EXPECT_EQ(util.SQLEncodeStr(u"abc"), u"N'abc'");
  EXPECT_EQ(util.SQLEncodeStr(u"O'Brien"), u"N'O''Brien'");
  EXPECT_EQ(util.SQLEncodeStr(u"'"), u"N''''");
  EXPECT_EQ(util.SQLEncodeStr(u"''"), u"N''''''");
  EXPECT_EQ(util.SQLEncodeStr(u"50%*[a]_"), u"N'50%*[a]_'");
}

TEST_F(Encoders, AnEmptyTextIsAnEmptyLiteralAndNeverNull) {
  EXPECT_EQ(util.SQLEncodeStr(u""), u"N''");
  EXPECT_EQ(util.SQLEncodeStrForWHERE(u""), u"N''");
  EXPECT_EQ(util.SQLEncodeStrForJOIN(u""), u"N''");
  EXPECT_EQ(util.SQLEncodeStrForLIKE(u""), u"N''");
}

TEST_F(Encoders, WhereAndJoinEncodeLikeAnyText) {
  EXPECT_EQ(util.SQLEncodeStrForWHERE(u"O'Brien*%"), u"N'O''Brien*%'");
  EXPECT_EQ(util.SQLEncodeStrForJOIN(u"O'Brien*%"), u"N'O''Brien*%'");
}

TEST_F(Encoders, ASearchPatternKnowsTheStarAlone) {
  EXPECT_EQ(util.SQLEncodeStrForLIKE(u"50%*[a]_"), u"N'50[%]%[[]a][_]'");
  EXPECT_EQ(util.SQLEncodeStrForLIKE(u"*"), u"N'%'");
  EXPECT_EQ(util.SQLEncodeStrForLIKE(u"%"), u"N'[%]'");
  EXPECT_EQ(util.SQLEncodeStrForLIKE(u"["), u"N'[[]'");
  EXPECT_EQ(util.SQLEncodeStrForLIKE(u"_"), u"N'[_]'");
  EXPECT_EQ(util.SQLEncodeStrForLIKE(u"O'B*"), u"N'O''B%'");
  EXPECT_EQ(util.SQLEncodeStrForLIKE(u"[%]"), u"N'[[][%]]'");
}

TEST_F(Encoders, AWholeNumberIsItsDigits) {
  EXPECT_EQ(util.SQLEncodeLng(0), u"0");
  EXPECT_EQ(util.SQLEncodeLng(255), u"255");
  EXPECT_EQ(util.SQLEncodeLng(std::numeric_limits<Long>::max()), u"2147483647");
  EXPECT_EQ(util.SQLEncodeLng(std::numeric_limits<Long>::min()), u"-2147483648");
  EXPECT_EQ(util.SQLEncodeByte(0), u"0");
  EXPECT_EQ(util.SQLEncodeByte(255), u"255");
}

TEST_F(Encoders, ADoubleHasAPlaceForItsSign) {
  EXPECT_EQ(util.SQLEncodeDbl(255), u" 255");
  EXPECT_EQ(util.SQLEncodeDbl(0), u" 0");
  EXPECT_EQ(util.SQLEncodeDbl(1.5), u" 1.5");
  EXPECT_EQ(util.SQLEncodeDbl(-1.5), u"-1.5");
  EXPECT_EQ(util.SQLEncodeDbl(0.5), u" .5");
  EXPECT_EQ(util.SQLEncodeDbl(1e20), u" 1E+20");
}

TEST_F(Encoders, ADateIsADayWhateverItsTime) {
  EXPECT_EQ(util.SQLEncodeDate(At(2024, 3, 5)), u"{d '2024-03-05'}");
  EXPECT_EQ(util.SQLEncodeDate(At(2024, 12, 31, 23, 59, 59)), u"{d '2024-12-31'}");
  EXPECT_EQ(util.SQLEncodeDate(Date{0}), u"{d '1899-12-30'}");
  EXPECT_EQ(util.SQLEncodeDate(At(100, 1, 1)), u"{d '100-01-01'}");
}

TEST_F(Encoders, ADateTimeIsInWholeSeconds) {
  EXPECT_EQ(util.SQLEncodeDateTime(At(2024, 3, 5, 7, 8, 9)), u"{ts '2024-03-05 07:08:09'}");
  EXPECT_EQ(util.SQLEncodeDateTime(At(2024, 3, 5)), u"{ts '2024-03-05 00:00:00'}");
  EXPECT_EQ(util.SQLEncodeDateTime(At(2024, 12, 31, 23, 59, 59)), u"{ts '2024-12-31 23:59:59'}");
}

TEST_F(Encoders, AnLdapValueStandsForItself) {
  EXPECT_EQ(util.LDAPEncodeStr(u"a*(b)\\'"), u"a\\2a\\28b\\29\\5c\\27");
  EXPECT_EQ(util.LDAPEncodeStr(u"**"), u"\\2a\\2a");
  EXPECT_EQ(util.LDAPEncodeStr(u""), u"");
}

TEST_F(Encoders, AnLdapSearchKeepsOneStarOfARun) {
  EXPECT_EQ(util.LDAPEncodeStrForSearch(u"a***b"), u"a*b");
  EXPECT_EQ(util.LDAPEncodeStrForSearch(u"****"), u"*");
  EXPECT_EQ(util.LDAPEncodeStrForSearch(u"a**b*c"), u"a*b*c");
  EXPECT_EQ(util.LDAPEncodeStrForSearch(u"\\*"), u"\\5c*");
  EXPECT_EQ(util.LDAPEncodeStrForSearch(u"(a')"), u"\\28a\\27\\29");
}

// What scripts hand in is converted as for any operation.
TEST_F(Encoders, AreCalledByName) {
  const ObjectPtr made = CreateComponent(u"varnel.UTILITIES");
  EXPECT_EQ(ToText(made->CallWith(u"sqlencodestr", u"O'Brien")), u"N'O''Brien'");
  EXPECT_EQ(ToText(made->CallWith(u"SQLEncodeLng", u"12")), u"12");
  EXPECT_EQ(ToText(made->CallWith(u"SQLEncodeDbl", Long{12})), u" 12");
  EXPECT_EQ(ToText(made->CallWith(u"SQLEncodeByte", Long{7})), u"7");
}

}  // namespace
}  // namespace varnel
