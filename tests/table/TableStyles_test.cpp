// What the table types and titles make of a configured style.
#include <gtest/gtest.h>

#include "TableHost.h"

namespace varnel {
namespace {

using ::testing::HasSubstr;

const std::string kBegin = "\r\n<!-- Begin Varnel.Table Object -->\r\n";
const std::string kEnd = "\r\n</table>\r\n<!--End Varnel.Table Object -->\r\n";
const std::string kEndOfBorderTable = "\r\n</table></td></tr></table>\r\n<!--End Varnel.Table Object -->\r\n";

class TableStyles : public TableTest {
 protected:
  void SetUp() override {
    TableTest::SetUp();
    Configure(u"TableBorderWidth", u"1");
    Configure(u"TableCellPadding", u"2");
    Configure(u"TableCellSpacing", u"3");
    Configure(u"TableTitleFont", u"Arial");
    Configure(u"TableTitleFontWeight", u"bold");
    Configure(u"TableTitleFontSize", u"4");
    Configure(u"TableTitleFontColor", u"#111111");
    Configure(u"TableTitleBgColor", u"#AAAAAA");
    Configure(u"TableTitleBorderWidth", u"5");
    Configure(u"TableHeadingFont", u"Verdana");
    Configure(u"TableHeadingFontSize", u"2");
    Configure(u"TableHeadingFontColor", u"#222222");
    Configure(u"TableHeadingBgColor", u"#BBBBBB");
    Configure(u"TableRowFont", u"Times");
    Configure(u"TableRowFontColor", u"#333333");
    Configure(u"TableRowBgColor", u"#CCCCCC");
    Configure(u"TableRowBgColor2", u"#DDDDDD");
    Configure(u"TableRowBorderColor", u"#000000");
  }

  // A title, a heading and a row cell below one another.
  static std::string ThreeKinds(Table& table) {
    table.TitleCell(u"T");
    table.NewRow();
    table.HeaderCell(u"H");
    table.NewRow();
    table.Cell(u"R");
    return Utf8(table.GetHTML());
  }
};

TEST_F(TableStyles, AllIsAsConfiguredInAPropertyTable) {
  EXPECT_EQ(ThreeKinds(*NewTable()),
            kBegin +
                "<table  width=\"100%\"  cellspacing=\"0\" cellpadding=\"0\" border=\"1\"><tr><td "
                "bgcolor=\"#000000\">\r\n"
                "<table width=\"100%\" cellspacing=\"3\" cellpadding=\"2\" border=\"0\" >\r\n"
                "<tr><td  align=\"left\" valign=\"top\" bgcolor=\"#AAAAAA\">"
                "<font face=\"Arial\" size=\"4\" color=\"#111111\"><b>T</b></font></td></tr>\r\n"
                "<tr><td  bgcolor=\"#BBBBBB\"><font face=\"Verdana\" size=\"2\" "
                "color=\"#222222\">H</font></td></tr>\r\n"
                "<tr><td  bgcolor=\"#CCCCCC\"><font face=\"Times\" color=\"#333333\">R</font></td></tr>\r\n" +
                kEndOfBorderTable);
}

TEST_F(TableStyles, APlainTableHasNoBorderAndNoColors) {
  const auto table = NewTable();
  table->SetTableTypePlain();
  EXPECT_EQ(table->Type(), TableTypePlain);
  EXPECT_EQ(ThreeKinds(*table),
            kBegin +
                "<table  width=\"100%\"  cellspacing=\"3\" cellpadding=\"2\" border=\"0\" >\r\n"
                "<tr><td  align=\"left\" valign=\"top\">"
                "<font face=\"Arial\" size=\"4\" color=\"#333333\"><b>T</b></font></td></tr>\r\n"
                "<tr><td><font face=\"Verdana\" size=\"2\" color=\"#333333\">H</font></td></tr>\r\n"
                "<tr><td><font face=\"Times\" color=\"#333333\">R</font></td></tr>\r\n" +
                kEnd);
}

TEST_F(TableStyles, APlainTableTakesTheColorsOfItsCells) {
  const auto table = NewTable();
  table->SetTableTypePlain();
  bool alternate = true;
  table->SetAlternateColor(alternate);
  table->SetNextCellBgColor(u"#EEEEEE");
  table->Cell(u"own");
  table->Cell(u"none");
  EXPECT_THAT(Utf8(table->GetHTML()),
              HasSubstr("<tr><td  bgcolor=\"#EEEEEE\"><font face=\"Times\" color=\"#333333\">own</font></td>"
                        "<td><font face=\"Times\" color=\"#333333\">none</font></td></tr>"));
}

TEST_F(TableStyles, AWizardTableHasNeitherBorderNorSpacing) {
  const auto table = NewTable();
  table->SetTableTypeWizard();
  EXPECT_EQ(table->Type(), TableTypeWizard);
  EXPECT_EQ(ThreeKinds(*table),
            kBegin +
                "<table  width=\"100%\"  cellspacing=\"0\" cellpadding=\"2\" border=\"0\" >\r\n"
                "<tr><td  align=\"left\" valign=\"top\" bgcolor=\"#AAAAAA\">"
                "<font face=\"Arial\" size=\"4\" color=\"#111111\"><b>T</b></font></td></tr>\r\n"
                "<tr><td  bgcolor=\"#BBBBBB\"><font face=\"Verdana\" size=\"2\" "
                "color=\"#222222\">H</font></td></tr>\r\n"
                "<tr><td  bgcolor=\"#CCCCCC\"><font face=\"Times\" color=\"#333333\">R</font></td></tr>\r\n" +
                kEnd);
}

TEST_F(TableStyles, ATitleTableIsInTheColorsOfTheTitle) {
  const auto table = NewTable();
  table->SetTableWidth(40);
  table->SetTableTypeTitle();
  EXPECT_EQ(table->Type(), TableTypeTitle);
  EXPECT_EQ(ThreeKinds(*table),
            kBegin +
                "<table  width=\"100%\"  cellspacing=\"0\" cellpadding=\"0\" border=\"5\"><tr><td "
                "bgcolor=\"#000000\">\r\n"
                "<table width=\"100%\" cellspacing=\"0\" cellpadding=\"5\" border=\"0\" >\r\n"
                "<tr><td  align=\"left\" valign=\"top\" bgcolor=\"#AAAAAA\">"
                "<font face=\"Arial\" size=\"4\" color=\"#111111\"><b>T</b></font></td></tr>\r\n"
                "<tr><td  bgcolor=\"#AAAAAA\"><font face=\"Verdana\" size=\"2\" "
                "color=\"#111111\">H</font></td></tr>\r\n"
                "<tr><td  bgcolor=\"#AAAAAA\"><font face=\"Times\" color=\"#111111\">R</font></td></tr>\r\n" +
                kEndOfBorderTable);
}

TEST_F(TableStyles, ATitleTableWithoutATitleBorderHasNoBorderTable) {
  Configure(u"TableTitleBorderWidth", u"0");
  const auto table = NewTable();
  table->SetTableTypeTitle();
  EXPECT_EQ(Utf8(table->GetHTML()),
            kBegin + "<table  width=\"100%\"  cellspacing=\"0\" cellpadding=\"5\" border=\"0\" >\r\n" + kEnd);
}

TEST_F(TableStyles, WhatIsNotConfiguredCountsNothingInThePaddingOfATitle) {
  const auto paddingOfTitle = [&](const String& spacing, const String& padding) {
    Configure(u"TableCellSpacing", spacing);
    Configure(u"TableCellPadding", padding);
    const auto table = NewTable();
    table->SetTableTypeTitle();
    return table->Style().CellPadding;
  };
  EXPECT_EQ(paddingOfTitle(u"", u""), 0);
  EXPECT_EQ(paddingOfTitle(u"", u"4"), 4);
  EXPECT_EQ(paddingOfTitle(u"4", u""), 4);
  EXPECT_EQ(paddingOfTitle(u"-2", u"4"), 2);
  EXPECT_EQ(paddingOfTitle(u"32767", u"1"), -32768);
}

TEST_F(TableStyles, TheOrderOfTheTypesCounts) {
  const auto titleLast = NewTable();
  titleLast->SetTableTypePlain();
  titleLast->SetTableTypeTitle();
  EXPECT_EQ(titleLast->Style().BorderWidth, -1);
  EXPECT_THAT(Utf8(titleLast->GetHTML()),
              HasSubstr("<table  width=\"100%\"  cellspacing=\"0\" cellpadding=\"0\"><tr><td>\r\n"));

  const auto plainLast = NewTable();
  plainLast->SetTableTypeTitle();
  plainLast->SetTableTypePlain();
  EXPECT_EQ(Utf8(plainLast->GetHTML()),
            kBegin + "<table  width=\"100%\"  cellspacing=\"0\" cellpadding=\"5\" border=\"0\" >\r\n" + kEnd);
}

TEST_F(TableStyles, APropertyTableUndoesNothing) {
  const auto table = NewTable();
  table->SetTableTypePlain();
  const TableStyle plain = table->Style();
  table->SetTableTypeProperty();
  EXPECT_EQ(table->Type(), TableTypeProperty);
  EXPECT_EQ(table->Style(), plain);
}

TEST_F(TableStyles, TheStyleIsChosenWhenTheTableIsMade) {
  const auto before = NewTable();
  Configure(u"EndUserTableBorderWidth", u"9");
  m_page->SetEndUserStyle();
  EXPECT_EQ(before->Style().BorderWidth, 1);
  EXPECT_EQ(NewTable()->Style().BorderWidth, 9);
  ClearEndUserMode();
}

TEST_F(TableStyles, TheTitleFontGrowsByOne) {
  const auto table = NewTable();
  table->IncreaseTitleFontSize();
  table->IncreaseTitleFontSize();
  EXPECT_EQ(Utf8(table->Style().TitleFont.Size), "6");
  Configure(u"TableTitleFontSize", u"-1");
  const auto small = NewTable();
  small->IncreaseTitleFontSize();
  EXPECT_EQ(Utf8(small->Style().TitleFont.Size), "0");
}

TEST_F(TableStyles, ATitleFontWithoutANumberCannotGrow) {
  for (const char16_t* size : {u"", u"big"}) {
    Configure(u"TableTitleFontSize", size);
    const auto table = NewTable();
    EXPECT_EQ(ErrorOf([&] { table->IncreaseTitleFontSize(); }).Number, 13);
  }
}

class TableTitle : public TableTest {
 protected:
  // A title's own table where nothing but the border width is configured.
  static std::string TitleHTML(const std::string& content, const std::string& attributes = "") {
    return "\r\n<!-- Begin Varnel.Table Object -->\r\n"
           "<table  width=\"100%\"  cellspacing=\"0\" cellpadding=\"0\"><tr><td>\r\n"
           "<table width=\"100%\" cellspacing=\"0\" cellpadding=\"0\" border=\"0\" >\r\n"
           "<tr><td  align=\"left\" valign=\"top\"" +
           attributes + ">" + content +
           "</td></tr>\r\n"
           "\r\n</table></td></tr></table>\r\n<!--End Varnel.Table Object -->\r\n";
  }
};

TEST_F(TableTitle, IsARowWithOneCellOverAllColumnsThatHoldsATable) {
  const auto table = NewTable();
  table->Title(u"Head");
  EXPECT_EQ(table->Cursor(), (CellPosition{2, 1}));
  table->Cell(u"a");
  table->Cell(u"b");
  EXPECT_EQ(RowsOf(*table), "<tr><td  align=\"left\" colspan=\"2\">" + TitleHTML("Head") +
                                "</td></tr>\r\n<tr><td>a</td><td>b</td></tr>\r\n");
}

TEST_F(TableTitle, BeginsARowOfItsOwn) {
  const auto table = NewTable();
  table->Cell(u"a");
  table->Title(u"Head");
  table->Cell(u"b");
  EXPECT_EQ(RowsOf(*table), "<tr><td>a</td></tr>\r\n<tr><td  align=\"left\">" + TitleHTML("Head") +
                                "</td></tr>\r\n<tr><td>b</td></tr>\r\n");
}

TEST_F(TableTitle, GivesTheNextCellsImageToBothCells) {
  const auto table = NewTable();
  table->SetNextCellBgImage(u"i.gif");
  table->Title(u"Head");
  table->Cell(u"a");
  EXPECT_EQ(RowsOf(*table), "<tr><td  align=\"left\" background=\"i.gif\">" +
                                TitleHTML("Head", " background=\"i.gif\"") +
                                "</td></tr>\r\n<tr><td>a</td></tr>\r\n");
}

TEST_F(TableTitle, LeavesTheOtherSettingsToTheCellAroundIt) {
  const auto table = NewTable();
  table->SetNextCellBgColor(u"red");
  table->SetNextCellAlign(AlignRight);
  table->SetNextCellColSpan(2);
  table->SetNextCellHeight(9);
  table->Title(u"Head");
  EXPECT_EQ(RowsOf(*table),
            "<tr><td  align=\"left\" bgcolor=\"red\" height=\"9%\">" + TitleHTML("Head") + "</td></tr>\r\n");
}

TEST_F(TableTitle, IsOneSizeLargerInAWizardTable) {
  Configure(u"TableTitleFont", u"Arial");
  Configure(u"TableTitleFontSize", u"3");
  const auto wizard = NewTable();
  wizard->SetTableTypeWizard();
  wizard->Title(u"Head");
  EXPECT_THAT(Utf8(wizard->GetHTML()), HasSubstr("<font face=\"Arial\" size=\"4\">Head</font>"));
  const auto property = NewTable();
  property->Title(u"Head");
  EXPECT_THAT(Utf8(property->GetHTML()), HasSubstr("<font face=\"Arial\" size=\"3\">Head</font>"));
}

TEST_F(TableTitle, OfAWizardTableNeedsASize) {
  const auto wizard = NewTable();
  wizard->SetTableTypeWizard();
  EXPECT_EQ(ErrorOf([&] { wizard->Title(u"Head"); }).Number, 13);
}

TEST_F(TableTitle, TakesATableAsItsContent) {
  const auto inner = NewTable();
  inner->Cell(u"in");
  const auto table = NewTable();
  table->Title(inner);
  EXPECT_EQ(RowsOf(*table), "<tr><td  align=\"left\">" +
                                TitleHTML(kBareOpen + "<tr><td>in</td></tr>\r\n" + kBareClose) +
                                "</td></tr>\r\n");
}

TEST_F(TableTitle, IsNotInTheAlternateColor) {
  Configure(u"TableRowBgColor", u"one");
  Configure(u"TableRowBgColor2", u"two");
  const auto table = NewTable();
  bool alternate = true;
  table->SetAlternateColor(alternate);
  table->Title(u"Head");
  EXPECT_THAT(RowsOf(*table), ::testing::StartsWith("<tr><td  align=\"left\" bgcolor=\"one\">"));
}

}  // namespace
}  // namespace varnel
