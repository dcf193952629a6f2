#include "varnel/page/Style.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "host-fake/ErrorOf.h"
#include "host-fake/FakeHost.h"

namespace varnel {
namespace {

using hostfake::ErrorOf;
using testing::ElementsAre;

class Style : public testing::Test {
 protected:
  Style() { ClearEndUserMode(); }
  ~Style() override { ClearEndUserMode(); }

  hostfake::FakeHost host;
  hostfake::FakeApplication& application = host.Application();
};

TEST_F(Style, WithNoConfigurationHasNoNumbersNoTextsAndNoFonts) {
  const TableStyle style = LoadTableStyle(application);
  TableStyle expected;
  expected.BorderWidth = expected.CellPadding = expected.CellSpacing = expected.TitleBorderWidth = -1;
  expected.BgColor = u"-1";
  EXPECT_EQ(style, expected);
  EXPECT_EQ(FontOpenTag(style.RowFont), u"");
  EXPECT_EQ(FontCloseTag(style.RowFont), u"");
}

TEST_F(Style, ReadsThePlainKeysInTheirOrder) {
  LoadTableStyle(application);
  EXPECT_THAT(
      host.Trace().Lines(),
      ElementsAre("Application: Value TableBorderWidth", "Application: Value TableBgColor",
                  "Application: Value TableCellPadding", "Application: Value TableCellSpacing",
                  "Application: Value TableTitleFont", "Application: Value TableTitleFontWeight",
                  "Application: Value TableTitleFontSize", "Application: Value TableTitleFontColor",
                  "Application: Value TableTitleBgColor", "Application: Value TableTitleBorderWidth",
                  "Application: Value TableHeadingFont", "Application: Value TableHeadingFontWeight",
                  "Application: Value TableHeadingFontSize", "Application: Value TableHeadingFontColor",
                  "Application: Value TableHeadingBgColor", "Application: Value TableRowFont",
                  "Application: Value TableRowFontWeight", "Application: Value TableRowFontSize",
                  "Application: Value TableRowFontColor", "Application: Value TableRowBgColor",
                  "Application: Value TableRowBgColor2", "Application: Value TableRowBorderColor"));
}

TEST_F(Style, TheEndUserModeReadsTheKeysWithThatPrefixAndNoBackground) {
  application.Set(u"TableBorderWidth", u"1");
  application.Set(u"EndUserTableBorderWidth", u"2");
  application.Set(u"EndUserTableRowFontWeight", u"Bold");
  application.Set(u"EndUserTableBgColor", u"7");
  SetEndUserMode();
  const TableStyle style = LoadTableStyle(application);
  EXPECT_EQ(style.BorderWidth, 2);
  EXPECT_EQ(style.RowFont.Weight, u"Bold");
  EXPECT_EQ(style.BgColor, u"");
  EXPECT_EQ(application.Reads(u"EndUserTableBgColor"), 0);
  EXPECT_EQ(application.Reads(u"TableBorderWidth"), 0);
}

TEST_F(Style, ThePlainBackgroundIsNeverEmpty) {
  EXPECT_EQ(LoadTableStyle(application).BgColor, u"-1");
  application.Set(u"TableBgColor", u"#FFFFFF");
  EXPECT_EQ(LoadTableStyle(application).BgColor, u"0");
  application.Set(u"TableBgColor", u"12");
  EXPECT_EQ(LoadTableStyle(application).BgColor, u"12");
}

TEST_F(Style, TakesColoursAndFontsAsTexts) {
  application.Set(u"TableTitleBgColor", u"#000080");
  application.Set(u"TableRowBgColor2", Long{5});
  application.Set(u"TableRowFont", u"Arial");
  application.Set(u"TableRowFontSize", Integer{2});
  const TableStyle style = LoadTableStyle(application);
  EXPECT_EQ(style.TitleBgColor, u"#000080");
  EXPECT_EQ(style.RowBgColor2, u"5");
  EXPECT_EQ(style.RowFont, (FontInfo{u"Arial", u"", u"2", u""}));
}

TEST_F(Style, AValueThatIsNoTextPassesItsErrorOn) {
  application.Set(u"TableRowBgColor", Null());
  EXPECT_EQ(ErrorOf([&] { LoadTableStyle(application); }).Number, 94);
}

TEST_F(Style, NumbersThatCannotBeReadAreZeroAndBlankOnesMinusOne) {
  EXPECT_EQ(StyleToInteger(u""), -1);
  EXPECT_EQ(StyleToInteger(u"  "), -1);
  EXPECT_EQ(StyleToInteger(u"abc"), 0);
  EXPECT_EQ(StyleToInteger(u"\t"), 0);
  EXPECT_EQ(StyleToInteger(u"40000"), 0);
  EXPECT_EQ(StyleToInteger(u" 3 "), 3);
  EXPECT_EQ(StyleToInteger(u"2.5"), 2);
  EXPECT_EQ(StyleToInteger(u"-1"), -1);
}

TEST_F(Style, ABorderWidthThatIsNoNumberIsZeroAndABlankOneMinusOne) {
  application.Set(u"TableBorderWidth", u"abc");
  EXPECT_EQ(LoadTableStyle(application).BorderWidth, 0);
  application.Set(u"TableBorderWidth", u"  ");
  EXPECT_EQ(LoadTableStyle(application).BorderWidth, -1);
}

TEST_F(Style, TheGridsImagesHaveDefaults) {
  const GridStyle expected{u"BtnNavBarNavyFirst.gif",
                           u"BtnNavBarNavyPrev.gif",
                           u"BtnNavBarNavyNext.gif",
                           u"BtnNavBarNavyLast.gif",
                           u"BtnNavBarNavyFirstOff.gif",
                           u"BtnNavBarNavyPrevOff.gif",
                           u"BtnNavBarNavyNextOff.gif",
                           u"BtnNavBarNavyLastOff.gif",
                           u"Sort.gif",
                           u"SortedUp.gif",
                           u"SortedDn.gif"};
  EXPECT_EQ(LoadGridStyle(application), expected);
}

TEST_F(Style, AConfiguredImageIsKeptAndAnEmptyOneIsTheDefault) {
  application.Set(u"BtnSort", u"My.gif");
  EXPECT_EQ(LoadGridStyle(application).BtnSort, u"My.gif");
  application.Set(u"BtnSort", u"");
  EXPECT_EQ(LoadGridStyle(application).BtnSort, u"Sort.gif");
  SetEndUserMode();
  application.Set(u"BtnNavBarLastOff", u"Off.gif");
  EXPECT_EQ(LoadGridStyle(application).BtnNavBarLastOff, u"Off.gif");
}

TEST_F(Style, TheGridsKeysAreReadInTheirOrder) {
  LoadGridStyle(application);
  EXPECT_THAT(host.Trace().Lines(),
              ElementsAre("Application: Value BtnNavBarFirst", "Application: Value BtnNavBarPrev",
                          "Application: Value BtnNavBarNext", "Application: Value BtnNavBarLast",
                          "Application: Value BtnNavBarFirstOff", "Application: Value BtnNavBarPrevOff",
                          "Application: Value BtnNavBarNextOff", "Application: Value BtnNavBarLastOff",
                          "Application: Value BtnSort", "Application: Value BtnSortedUp",
                          "Application: Value BtnSortedDn"));
}

TEST_F(Style, AnAttributeIsWrittenUnlessItsValueIsEmpty) {
  EXPECT_EQ(StyleAttr(u"bgcolor", u""), u"");
  EXPECT_EQ(StyleAttr(u"bgcolor", u"#FFF"), u" bgcolor=\"#FFF\"");
  EXPECT_EQ(StyleAttr(u"alt", u"a\"b<c"), u" alt=\"a\"b<c\"");
}

TEST_F(Style, ANumberAttributeIsWrittenUnlessItIsMinusOne) {
  EXPECT_EQ(StyleIntAttr(u"border", -1), u"");
  EXPECT_EQ(StyleIntAttr(u"border", 0), u" border=\"0\"");
  EXPECT_EQ(StyleIntAttr(u"border", -2), u" border=\"-2\"");
  EXPECT_EQ(StyleIntAttr(u"width", 32767), u" width=\"32767\"");
}

TEST_F(Style, AFontWithoutAFaceWritesNoTag) {
  const FontInfo font{u"", u"Bold", u"2", u"red"};
  EXPECT_EQ(FontOpenTag(font), u"");
  EXPECT_EQ(FontCloseTag(font), u"");
}

TEST_F(Style, AFontWritesItsFaceSizeAndColour) {
  EXPECT_EQ(FontOpenTag({u"Arial", u"", u"", u""}), u"<font face=\"Arial\">");
  EXPECT_EQ(FontOpenTag({u"Arial", u"", u"2", u""}), u"<font face=\"Arial\" size=\"2\">");
  EXPECT_EQ(FontOpenTag({u"Arial", u"", u"", u"red"}), u"<font face=\"Arial\" color=\"red\">");
  EXPECT_EQ(FontOpenTag({u"Arial", u"Bold", u"2", u"red"}),
            u"<font face=\"Arial\" size=\"2\" color=\"red\"><b>");
}

TEST_F(Style, OnlyTheWeightBoldInAnyCaseGetsItsTags) {
  EXPECT_EQ(FontOpenTag({u"A", u"bold", u"", u""}), u"<font face=\"A\"><b>");
  EXPECT_EQ(FontCloseTag({u"A", u"BOLD", u"", u""}), u"</b></font>");
  EXPECT_EQ(FontOpenTag({u"A", u"Heavy", u"", u""}), u"<font face=\"A\">");
  EXPECT_EQ(FontCloseTag({u"A", u"Heavy", u"", u""}), u"</font>");
}

}  // namespace
}  // namespace varnel
