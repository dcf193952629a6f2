#include "host-linux/intrinsics/FormFields.h"

#include <gtest/gtest.h>

namespace {

using hostlinux::FormField;
using hostlinux::ParseForm;
using Fields = std::vector<FormField>;

TEST(FormFields, PairsKeepTheirOrderAndRepeatedNamesTheirValues) {
  EXPECT_EQ(ParseForm("a=1&b=2&a=3").fields, (Fields{{"a", "1"}, {"b", "2"}, {"a", "3"}}));
}

TEST(FormFields, PlusIsABlankAndEscapesAreBytes) {
  EXPECT_EQ(ParseForm("n+1=a+b%2B%26%3D&%C3%A4=%E2%82%AC").fields,
            (Fields{{"n 1", "a b+&="}, {"\xC3\xA4", "\xE2\x82\xAC"}}));
}

TEST(FormFields, PiecesWithoutEqualsAreNamesAndEmptyPiecesNothing) {
  EXPECT_EQ(ParseForm("a&&b=&=c&d=e=f&").fields, (Fields{{"a", ""}, {"b", ""}, {"", "c"}, {"d", "e=f"}}));
  EXPECT_TRUE(ParseForm("").fields.empty());
}

TEST(FormFields, BadEscapesAreRefusedWithASentence) {
  for (const char* text : {"a=%", "a=%4", "a=1&%zz=2", "a=%u20AC"}) {
    const auto form = ParseForm(text);
    EXPECT_EQ(form.error, "A parameter contains a \"%\" without two hexadecimal digits behind it.") << text;
    EXPECT_TRUE(form.fields.empty()) << text;
  }
}

TEST(FormFields, OtherEncodingsAreRefused) {
  EXPECT_EQ(ParseForm("a=%E4").error, "A parameter is not UTF-8.");
}

TEST(FormFields, TooManyFieldsAreRefused) {
  std::string text;
  for (std::size_t i = 0; i < hostlinux::kMaxFormFields; ++i) text += "a&";
  EXPECT_EQ(ParseForm(text).fields.size(), hostlinux::kMaxFormFields);
  EXPECT_EQ(ParseForm(text + "a").error, "The request has too many parameters.");
}

}  // namespace
