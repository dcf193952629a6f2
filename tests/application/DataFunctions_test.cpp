// Numbers and dates of a visitor's locale, from a page.

#include "tests/application/ServedSite.h"

namespace {

class DataFunctionsTest : public hosttest::PageTest {
 protected:
  // What an expression with the component as `d` writes.
  std::string Of(const std::string& expression) {
    return Output("<% var d = Server.CreateObject('Varnel.DataFunctions'); %><%= " + expression + " %>");
  }
};

TEST_F(DataFunctionsTest, Writes) {
  EXPECT_EQ(Of("d.Float(1234.5, 1031)"), "1.234,50");
  EXPECT_EQ(Of("d.FloatEx(1234.5, 1031)"), "1.234,50");
  EXPECT_EQ(Of("d.FloatEx(1234.5, 1031, 0)"), "1.235");
  EXPECT_EQ(Of("d.Number(-1234567, 1081)"), "-12,34,567");
  EXPECT_EQ(Of("d.Float(1234.5, 1036)"), "1\u00A0234,50");
  EXPECT_EQ(Of("d.Float(1234.5, 2055)"), "1’234.50");
  EXPECT_EQ(Of("d.DateTime(new Date(2024, 2, 5, 7, 8, 9), 1031)"), "05.03.2024");
  EXPECT_EQ(Of("d.DateTime(new Date(2024, 2, 5, 7, 8, 9), 1033, true)"), "3/5/2024 7:08:09 AM");
  EXPECT_EQ(Of("d.DateFromJava(2024, 12, 5, 1031)"), "05.01.2025");
}

TEST_F(DataFunctionsTest, Reads) {
  EXPECT_EQ(Of("d.ConvertFloatString(' 1.234,5 ', 1031) + 1"), "1235.5");
  EXPECT_EQ(Of("d.ConvertNumberString('1234,7', 1031)"), "1235");
  EXPECT_EQ(Of("d.ConvertDateString('30.04.2001', 1031).getDate()"), "30");
}

TEST_F(DataFunctionsTest, Validates) {
  EXPECT_EQ(Of("d.ValidateNumber(12, 1, 12)"), "True");
  EXPECT_EQ(Of("d.ValidateNumber(12.5)"), "False");
  EXPECT_EQ(Of("d.ValidateFloat(12.5, undefined, 12.5)"), "True");
  EXPECT_EQ(Of("d.ValidateFloat('12')"), "False");
  EXPECT_EQ(Of("d.ValidateDateTime(new Date(2024, 2, 5), new Date(2024, 2, 6))"), "False");
}

TEST_F(DataFunctionsTest, TellsTheFactsOfALocale) {
  EXPECT_EQ(Of("d.GetDecimalSeparator(1031) + d.GetThousandSeparator(1031) + d.GetDateSeparator(1031)"),
            ",..");
  EXPECT_EQ(Of("d.GetShortDateFormatOrdering(1031)"), "1");
  EXPECT_EQ(Of("d.GetCurrencySymbol(1045) + d.GetCurrencySymbol(1031) + d.GetEuroSymbol()"), "zł€€");
}

TEST_F(DataFunctionsTest, WhatFailsIsNullOrFalse) {
  EXPECT_EQ(Of("[d.Float(null, 1033), d.Float({}, 1033), d.Float(NaN, 1033), d.Float(1/0, 1033), "
               "d.Float('x', 1033),"
               " d.FloatEx(1, 'x'), d.FloatEx(1, 1033, 10), d.Number(1e10, 1033), d.DateTime('x', 1033),"
               " d.DateTime(1e10, 1033), d.DateFromJava(1e5, 0, 1, 1033), d.ConvertDateString(null, 1033),"
               " d.ConvertFloatString('', 1033), d.ConvertNumberString('99999999999', 1033)]"
               ".every(function (v) { return v === null; })"),
            "True");
  EXPECT_EQ(Of("d.ValidateDateTime(null) || d.ValidateFloat(null) || d.ValidateNumber(null)"), "False");
}

TEST_F(DataFunctionsTest, AnInvalidDateIsNullOrFalse) {
  EXPECT_EQ(Of("d.ValidateDateTime(new Date(NaN))"), "False");
  EXPECT_EQ(Of("d.ValidateDateTime(new Date(2024, 2, 5), new Date(NaN))"), "False");
  EXPECT_EQ(Of("d.ValidateDateTime(new Date(2024, 2, 5), undefined, new Date(NaN))"), "False");
  EXPECT_EQ(Of("d.ValidateFloat(new Date(NaN)) || d.ValidateNumber(new Date(NaN))"), "False");
  EXPECT_EQ(Of("[d.DateTime(new Date(NaN), 1033), d.DateTime(new Date(2024, 2, 5), new Date(NaN)),"
               " d.Float(new Date(NaN), 1033), d.Number(new Date(NaN), 1033),"
               " d.ConvertDateString(new Date(NaN), 1033)].every(function (v) { return v === null; })"),
            "True");
}

TEST_F(DataFunctionsTest, OnlyTheOrderOfAnUnknownLocaleIsAnError) {
  EXPECT_EQ(Of("d.GetDateSeparator(99999) + d.GetCurrencySymbol(99999)"), "");
  EXPECT_EQ(Output("<% try { Server.CreateObject('Varnel.DataFunctions').GetShortDateFormatOrdering(99999); }"
                   " catch (e) { Response.Write(e.number); } %>"),
            "13");
}

TEST_F(DataFunctionsTest, TakesWhatByRefHolds) {
  EXPECT_EQ(Output("<% var d = Server.CreateObject('Varnel.DataFunctions'), lcid = new ByRef(1031);"
                   " var n = new ByRef(1234.5); Response.Write(d.Float(n, lcid) + ' ' + lcid.value + ' ' + "
                   "n.value); %>"),
            "1.234,50 1031 1234.5");
}

TEST_F(DataFunctionsTest, LcidOfTheSiteIsTheDefaultAndChangesNoOtherLocale) {
  site.Write("site.toml",
             "[site]\nroot = \"/shop\"\nlcid = 1031\nmode = \"development\"\n[server]\nthreads = 1\n");
  EXPECT_EQ(Of("d.ConvertFloatString('1,234.5', 1033)"), "1234.5");
  EXPECT_EQ(Of("d.ConvertFloatString('1.234,5', 99999)"), "1234.5");
  EXPECT_EQ(Of("d.GetDecimalSeparator(0) + d.GetThousandSeparator(0)"), ",.");
  EXPECT_EQ(Of("d.ConvertFloatString('2,5', 0)"), "2.5");
  EXPECT_EQ(Of("d.ConvertFloatString('2,5', 1024)"), "2.5");
  EXPECT_EQ(Of("d.FloatEx(1234.5, 1033)"), "1,234.50");
  EXPECT_EQ(Of("'price = ' + CDbl('1,5')"), "price = 1.5");
  EXPECT_EQ(Of("d.ValidateDateTime('30.04.2001')"), "True");
  EXPECT_EQ(Of("d.Number(CLng('1.234'), 1033)"), "1,234");
}

}  // namespace
