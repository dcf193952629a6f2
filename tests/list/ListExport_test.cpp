#include "varnel/list/ListExport.h"

#include <gtest/gtest.h>

#include "varnel/list/ListColumn.h"

namespace varnel {
namespace {

String Csv(const Variant& value) {
  String text;
  AppendCsvCell(text, value);
  return text;
}

String Json(const Variant& value) {
  String text;
  AppendJsonValue(text, value);
  return text;
}

TEST(ListExport, CellsOfCsvAreQuotedWhereTheyMustBe) {
  EXPECT_EQ(Csv(u"plain"), u"plain");
  EXPECT_EQ(Csv(u"a,b"), u"\"a,b\"");
  EXPECT_EQ(Csv(u"a;b"), u"\"a;b\"");
  EXPECT_EQ(Csv(u"say \"hi\""), u"\"say \"\"hi\"\"\"");
  EXPECT_EQ(Csv(u"two\r\nlines"), u"\"two\r\nlines\"");
  EXPECT_EQ(Csv(u" blank"), u"\" blank\"");
  EXPECT_EQ(Csv(u""), u"");
  EXPECT_EQ(Csv(Null()), u"");
}

TEST(ListExport, WhatBeginsLikeAFormulaIsMadeHarmless) {
  EXPECT_EQ(Csv(u"=1+1"), u"'=1+1");
  EXPECT_EQ(Csv(u"+49 30"), u"'+49 30");
  EXPECT_EQ(Csv(u"-x"), u"'-x");
  EXPECT_EQ(Csv(u"@SUM(A1)"), u"'@SUM(A1)");
  EXPECT_EQ(Csv(u"\t=1"), u"\"'\t=1\"");
  EXPECT_EQ(Csv(u"=HYPERLINK(\"http://x\",1)"), u"\"'=HYPERLINK(\"\"http://x\"\",1)\"");
  EXPECT_EQ(Csv(u"\uff1d1"), u"'\uff1d1");
  EXPECT_EQ(Csv(Long{-5}), u"-5");
  EXPECT_EQ(Csv(-0.5), u"-0.5");
}

TEST(ListExport, DatesAndNumbersAreForMachines) {
  EXPECT_EQ(Csv(MakeDate({2024, 3, 5, 0, 0, 0})), u"2024-03-05");
  EXPECT_EQ(Csv(MakeDate({2024, 3, 5, 9, 7, 1})), u"2024-03-05T09:07:01");
  EXPECT_EQ(Csv(1234.5), u"1234.5");
  EXPECT_EQ(Json(MakeDate({2024, 3, 5, 0, 0, 0})), u"\"2024-03-05\"");
}

TEST(ListExport, ValuesOfJsonAreOfItsTypes) {
  EXPECT_EQ(Json(Null()), u"null");
  EXPECT_EQ(Json(true), u"true");
  EXPECT_EQ(Json(Long{-5}), u"-5");
  EXPECT_EQ(Json(0.5), u"0.5");
  EXPECT_EQ(Json(std::numeric_limits<double>::infinity()), u"null");
  EXPECT_EQ(Json(u"a\"b\\c\n\u2028</script>"), u"\"a\\\"b\\\\c\\u000a\\u2028</script>\"");
}

TEST(ListExport, RowsAreTheDeclaredColumns) {
  ListDeclared declared;
  declared.columns = {std::make_shared<ListColumn>(u"P.NAME", u"The name"),
                      std::make_shared<ListColumn>(u"PRICE", u"=Price")};
  ListPage page;
  page.rows = host::RowBlock(3, 1);
  page.rows.At(0, 0) = Long{7};
  page.rows.At(1, 0) = u"a,b";
  page.rows.At(2, 0) = 1.5;
  page.names = {u"ID", u"Name", u"PRICE"};
  page.count = 1;
  const auto written = [&](ListFileKind kind) {
    const ListFile file(kind, declared, page);
    String text = file.Begin();
    file.AppendRow(text, page, 0);
    return text + file.Separator() + u"|" + file.End();
  };
  EXPECT_EQ(written(ListFileKind::Csv), u"The name,'=Price\r\n\"a,b\",1.5\r\n|");
  EXPECT_EQ(written(ListFileKind::Json), u"[\n{\"NAME\":\"a,b\",\"PRICE\":1.5},\n|\n]\n");
  EXPECT_EQ(written(ListFileKind::JsonLines), u"{\"NAME\":\"a,b\",\"PRICE\":1.5}\n|");
}

TEST(ListExport, AFileBearsTheTitlesName) {
  EXPECT_EQ(DispositionOf(u"B\u00fccher & \"mehr\"", ListFileKind::Csv),
            u"attachment; filename=\"B_cher____mehr_.csv\"; "
            u"filename*=UTF-8''B%C3%BCcher%20%26%20%22mehr%22.csv");
  EXPECT_EQ(DispositionOf(u"", ListFileKind::JsonLines),
            u"attachment; filename=\"list.jsonl\"; filename*=UTF-8''list.jsonl");
}

TEST(ListExport, KindsAreKnownByTheirNames) {
  EXPECT_EQ(FileKindNamed(u"CSV"), ListFileKind::Csv);
  EXPECT_EQ(FileKindNamed(u"jsonl"), ListFileKind::JsonLines);
  EXPECT_EQ(FileKindNamed(u"xlsx"), std::nullopt);
}

}  // namespace
}  // namespace varnel
