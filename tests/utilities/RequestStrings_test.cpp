#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "host-fake/ErrorOf.h"
#include "host-fake/FakeHost.h"
#include "varnel/automation/Convert.h"
#include "varnel/utilities/Decoders.h"
#include "varnel/utilities/Utilities.h"

namespace varnel {
namespace {

using hostfake::ErrorOf;
using hostfake::NumberOf;

class RequestStrings : public testing::Test {
 protected:
  // What is found, as "True x y" or "False ".
  std::string Found(const String& form, const String& pattern) {
    Variant value = Long{7};
    const bool found = Utilities().RetrieveElementFromRequestFormCollection(form, pattern, value);
    return (found ? "True " : "False ") + ToUtf8(ToText(value));
  }

  std::string Decoded(const String& text) { return ToUtf8(UrlDecode(text)); }

  hostfake::FakeHost m_host;
};

TEST_F(RequestStrings, FindAValueByItsPattern) {
  EXPECT_EQ(Found(u"a=1&b=2", u"b="), "True 2");
  EXPECT_EQ(Found(u"a=1&b=2", u"a="), "True 1");
  EXPECT_EQ(Found(u"a=x%20y&b=2", u"A="), "True x y");
}

TEST_F(RequestStrings, GiveNothingForAMissingOrEmptyValue) {
  EXPECT_EQ(Found(u"a=1", u"x="), "False ");
  EXPECT_EQ(Found(u"a=&b=2", u"a="), "False ");
  EXPECT_EQ(Found(u"b=2&a=", u"a="), "False ");
  EXPECT_EQ(Found(u"", u"a="), "False ");
}

TEST_F(RequestStrings, FindAPatternInsideAnotherName) {
  EXPECT_EQ(Found(u"ab=3", u"b="), "True 3");
  EXPECT_EQ(Found(u"ab=3&b=4", u"b="), "True 3");
}

TEST_F(RequestStrings, ValueOfOneCharacterIsNotDecoded) { EXPECT_EQ(Found(u"a=+", u"a="), "True +"); }

TEST_F(RequestStrings, ValueOfBlanksIsNoneButIsKept) {
  EXPECT_EQ(Found(u"a=%20", u"a="), "False  ");
  EXPECT_EQ(Found(u"a=++%20", u"a="), "False    ");
}

TEST_F(RequestStrings, PlusIsABlankButForTheLastCharacter) {
  EXPECT_EQ(Decoded(u"a+b+"), "a b+");
  EXPECT_EQ(Decoded(u"++"), " +");
  EXPECT_EQ(Decoded(u"%41+"), "A ");
  EXPECT_EQ(Decoded(u"+%41+b+"), " A b ");
}

TEST_F(RequestStrings, CodesBecomeOneCharacterEach) {
  EXPECT_EQ(Decoded(u"%41%62c"), "Abc");
  EXPECT_EQ(Decoded(u"x%26%3d"), "x&=");
  EXPECT_EQ(Decoded(u"%C3%a4"), "Ã¤");
  EXPECT_EQ(UrlDecode(u"a%00b"), String(u"a\0b", 3));
}

TEST_F(RequestStrings, CodesAreReadByTheSystemsCodePage) {
  m_host.Pages().SetCharacter(0, 0x80, u'€');
  EXPECT_EQ(Decoded(u"%80"), "€");
}

TEST_F(RequestStrings, ShortTextsStayAsTheyAre) {
  EXPECT_EQ(Decoded(u""), "");
  EXPECT_EQ(Decoded(u"+"), "+");
  EXPECT_EQ(Decoded(u"%"), "%");
}

TEST_F(RequestStrings, LastPercentIsNotLookedAtWhereNoCodeCameBefore) { EXPECT_EQ(Decoded(u"ab%"), "ab%"); }

TEST_F(RequestStrings, OnlyTwoHexadecimalDigitsAreACode) {
  for (const StringView text : {u"a%z", u"%41%", u"%zz", u"%4", u"% 1", u"%+1", u"%1%41", u"a%4g", u"%0x"}) {
    EXPECT_EQ(NumberOf([&] { UrlDecode(String(text)); }), 13) << ToUtf8(text);
  }
}

TEST_F(RequestStrings, BadCodeIsReportedAtEachOfTheThreeLevels) {
  Variant value;
  const ErrInfo error = ErrorOf(
      [&] { Utilities().RetrieveElementFromRequestFormCollection(u"x=1&a=b%zzc&d=1", u"a=", value); });
  EXPECT_EQ(error.Number, 13);
  EXPECT_EQ(value, Variant(u"b%zzc"));
  ASSERT_EQ(m_host.Log().Entries().size(), 3U);
  const char* const methods[] = {"UrlCharDecode", "UrlDecode", "RetrieveElementFromRequestFormCollection"};
  for (std::size_t i = 0; i < 3; ++i) {
    EXPECT_THAT(ToUtf8(m_host.Log().Entries()[i].text),
                testing::StartsWith(std::string("\r\nERROR 0xD\r\n METHOD: Varnel.Utilities.") + methods[i] +
                                    "\r\n"));
  }
  EXPECT_THAT(
      ToUtf8(error.Description),
      testing::StartsWith("\r\nERROR 0xD\r\n METHOD: Varnel.Utilities."
                          "RetrieveElementFromRequestFormCollection\r\n DESC: \r\nERROR 0xD\r\n METHOD: "
                          "Varnel.Utilities.UrlDecode\r\n DESC: \r\nERROR 0xD\r\n METHOD: "
                          "Varnel.Utilities.UrlCharDecode\r\n"));
}

TEST_F(RequestStrings, ResultGoesByReference) {
  Utilities utilities;
  Variant arguments[] = {u"a=1", u"a=", Variant()};
  EXPECT_EQ(utilities.Call(u"retrieveelementfromrequestformcollection", arguments), Variant(true));
  EXPECT_EQ(arguments[2], Variant(u"1"));
}

}  // namespace
}  // namespace varnel
