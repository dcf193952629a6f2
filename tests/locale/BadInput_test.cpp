// Every operation with what it can't use: Null or False comes out, and never an error.
#include <limits>

#include "tests/locale/LocaleHost.h"

namespace localetest {
namespace {

constexpr std::size_t kTenMegabytes = (10 << 20) / sizeof(char16_t);

// An object that has no value of its own.
Variant AnObject() { return std::make_shared<varnel::DataFunctions>(); }

// What is neither a number nor a date, nor a text of one.
std::vector<Variant> NoValues() {
  return {Variant(Null()),
          Variant(nullptr),
          AnObject(),
          Variant(std::make_shared<varnel::Array>()),
          Variant(u"x"),
          Variant(String(1, char16_t{0xD800})),
          Variant(u"1" + String(1, char16_t{0xDC00})),
          Variant(std::numeric_limits<double>::quiet_NaN()),
          Variant(std::numeric_limits<double>::infinity()),
          Variant(-std::numeric_limits<double>::infinity()),
          Variant(Date{std::numeric_limits<double>::quiet_NaN()})};
}

class BadInput : public LocaleTest {};

TEST_F(BadInput, WrittenIsNull) {
  for (const Variant& bad : NoValues()) {
    SCOPED_TRACE(varnel::ToUtf8(varnel::TypeName(bad)));
    EXPECT_TRUE(functions.Float(bad, Long{1031}).IsNull());
    EXPECT_TRUE(functions.FloatEx(bad, Long{1031}).IsNull());
    EXPECT_TRUE(functions.FloatEx(1.5, Long{1031}, bad).IsNull());
    EXPECT_TRUE(functions.Number(bad, Long{1031}).IsNull());
    EXPECT_TRUE(functions.DateTime(bad, Long{1031}).IsNull());
    EXPECT_TRUE(functions.DateFromJava(bad, Long{0}, Long{1}, Long{1031}).IsNull());
    EXPECT_TRUE(functions.DateFromJava(Long{2024}, bad, Long{1}, Long{1031}).IsNull());
    EXPECT_TRUE(functions.DateFromJava(Long{2024}, Long{0}, bad, Long{1031}).IsNull());
  }
}

TEST_F(BadInput, ReadIsNull) {
  for (const Variant& bad : NoValues()) {
    SCOPED_TRACE(varnel::ToUtf8(varnel::TypeName(bad)));
    EXPECT_TRUE(functions.ConvertFloatString(bad, Long{1031}).IsNull());
    EXPECT_TRUE(functions.ConvertNumberString(bad, Long{1031}).IsNull());
    EXPECT_TRUE(functions.ConvertDateString(bad, Long{1031}).IsNull());
  }
}

TEST_F(BadInput, ALocaleThatIsNoneIsNull) {
  for (const Variant& bad : NoValues()) {
    SCOPED_TRACE(varnel::ToUtf8(varnel::TypeName(bad)));
    EXPECT_TRUE(functions.Float(1.5, bad).IsNull());
    EXPECT_TRUE(functions.FloatEx(1.5, bad).IsNull());
    EXPECT_TRUE(functions.Number(Long{1}, bad).IsNull());
    EXPECT_TRUE(functions.DateTime(Day(2024, 3, 5), bad).IsNull());
    EXPECT_TRUE(functions.DateFromJava(Long{2024}, Long{0}, Long{1}, bad).IsNull());
    EXPECT_TRUE(functions.ConvertFloatString(u"1,5", bad).IsNull());
    EXPECT_TRUE(functions.ConvertNumberString(u"1", bad).IsNull());
    EXPECT_TRUE(functions.ConvertDateString(u"1.2.2001", bad).IsNull());
  }
}

TEST_F(BadInput, ValidatedIsFalse) {
  const Variant wrong(false);
  const Variant day(Day(2024, 3, 5));
  for (const Variant& bad : NoValues()) {
    SCOPED_TRACE(varnel::ToUtf8(varnel::TypeName(bad)));
    EXPECT_EQ(functions.ValidateFloat(bad), wrong);
    EXPECT_EQ(functions.ValidateFloat(1.5, bad), wrong);
    EXPECT_EQ(functions.ValidateFloat(1.5, Missing(), bad), wrong);
    EXPECT_EQ(functions.ValidateNumber(bad), wrong);
    EXPECT_EQ(functions.ValidateNumber(Long{1}, bad), wrong);
    EXPECT_EQ(functions.ValidateNumber(Long{1}, Missing(), bad), wrong);
    EXPECT_EQ(functions.ValidateDateTime(bad), wrong);
    EXPECT_EQ(functions.ValidateDateTime(day, bad), wrong);
    EXPECT_EQ(functions.ValidateDateTime(day, Missing(), bad), wrong);
  }
}

TEST_F(BadInput, DatesOutsideTheirRange) {
  // 31 December 99 and 1 January 10000.
  for (const double days : {-657435.0, 2958466.0, 1E+300, -1E+300}) {
    EXPECT_TRUE(functions.DateTime(days, Long{1031}).IsNull()) << days;
    EXPECT_TRUE(functions.DateTime(Date{days}, Long{1031}).IsNull()) << days;
    EXPECT_EQ(functions.ValidateDateTime(days), Variant(false)) << days;
    EXPECT_EQ(functions.ValidateDateTime(Date{days}), Variant(false)) << days;
  }
  EXPECT_EQ(functions.ValidateDateTime(Day(9999, 12, 31)), Variant(true));
  EXPECT_EQ(functions.ValidateDateTime(Day(100, 1, 1)), Variant(true));
}

TEST_F(BadInput, LocalesBeyondALongAreNull) {
  for (const double lcid : {2147483648.0, -2147483649.0, 1E+300}) {
    EXPECT_TRUE(functions.Float(1.5, lcid).IsNull());
    EXPECT_TRUE(functions.DateTime(Day(2024, 3, 5), lcid).IsNull());
  }
}

TEST_F(BadInput, LongTextsThatCantBeRead) {
  for (const char16_t unit : {u'9', u'.', char16_t{0xD800}}) {
    const Variant text(String(kTenMegabytes, unit));
    EXPECT_TRUE(functions.ConvertFloatString(text, Long{1031}).IsNull());
    EXPECT_TRUE(functions.ConvertDateString(text, Long{1031}).IsNull());
    EXPECT_EQ(functions.ValidateDateTime(text), Variant(false));
  }
  const Variant digits(String(kTenMegabytes, u'9'));
  EXPECT_TRUE(functions.ConvertNumberString(digits, Long{1031}).IsNull());
  EXPECT_TRUE(functions.Float(digits, Long{1031}).IsNull());
  EXPECT_TRUE(functions.FloatEx(1.5, Long{1031}, digits).IsNull());
  EXPECT_TRUE(functions.Number(Long{1}, digits).IsNull());
  EXPECT_TRUE(functions.DateTime(digits, Long{1031}).IsNull());
  EXPECT_EQ(functions.ValidateFloat(digits), Variant(false));
}

// Blanks, zeros and separators in any number don't make a number bad.
TEST_F(BadInput, LongTextsThatCanBeRead) {
  EXPECT_EQ(functions.ConvertFloatString(String(kTenMegabytes, u' ') + u"1,5", Long{1031}), Variant(1.5));
  EXPECT_EQ(functions.ConvertFloatString(u"1" + String(kTenMegabytes, u'.') + u"2,5", Long{1031}),
            Variant(12.5));
  EXPECT_EQ(functions.ConvertFloatString(u"0," + String(kTenMegabytes, u'0') + u"1", Long{1031}),
            Variant(0.0));
  EXPECT_EQ(functions.ConvertDateString(u"1.2.2001." + String(kTenMegabytes, u'.'), Long{1031}),
            Variant(Day(2001, 2, 1)));
}

TEST_F(BadInput, NothingIsLogged) {
  for (const Variant& bad : NoValues()) {
    functions.Float(bad, bad);
    functions.DateTime(bad, bad, bad);
    functions.ConvertDateString(bad, bad);
    functions.ValidateFloat(bad, bad, bad);
  }
  EXPECT_TRUE(host.Log().Entries().empty());
}

}  // namespace
}  // namespace localetest
