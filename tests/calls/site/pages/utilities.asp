<!--#include file="includes/told.inc"--><%
// Every operation of Utilities and DataFunctions whose arguments and results every engine knows; the others are called, and
// what they give is told by values.asp.
var util = Server.CreateObject("Varnel.Utilities");
told("SQLEncodeStr", util.SQLEncodeStr("O'Hara"));
told("SQLEncodeStrForWHERE", util.SQLEncodeStrForWHERE("O'Hara"));
told("SQLEncodeStrForJOIN", util.SQLEncodeStrForJOIN("O'Hara"));
told("SQLEncodeStrForLIKE", util.SQLEncodeStrForLIKE("50%*_[a]"));
told("SQLEncodeLng", util.SQLEncodeLng(-7));
told("SQLEncodeDbl", util.SQLEncodeDbl(1.5));
told("SQLEncodeByte", util.SQLEncodeByte(255));
told("SQLEncodeDate", util.SQLEncodeDate("3/5/2024"));
told("SQLEncodeDateTime", util.SQLEncodeDateTime("3/5/2024 7:08:09"));
told("LDAPEncodeStr", util.LDAPEncodeStr("a*(b)"));
told("LDAPEncodeStrForSearch", util.LDAPEncodeStrForSearch("a*(b)"));
told("RetrieveElementFromRequestFormCollection", util.RetrieveElementFromRequestFormCollection("a=1&b=x%20y", "b=", new ByRef("")));
told("the page's own", Utilities.SQLEncodeLng(7));
toldFailure("a text for a number", function () { util.SQLEncodeLng("many"); });
toldFailure("a number too large", function () { util.SQLEncodeByte(256); });

var data = Server.CreateObject("Varnel.DataFunctions");
data.ConvertDateString("3/5/2024", 1033);
told("ConvertFloatString", data.ConvertFloatString("1,234.5", 1033));
told("ConvertFloatString", data.ConvertFloatString("no number", 1033));
told("ConvertNumberString", data.ConvertNumberString("1,234", 1033));
told("DateTime", data.DateTime("3/5/2024", 1033));
told("DateTime", data.DateTime("3/5/2024 7:08:09", 1033, true));
told("DateFromJava", data.DateFromJava(2024, 2, 5, 1033));
told("Float", data.Float(1234.5, 1033));
told("FloatEx", data.FloatEx(1234.5678, 1033));
told("FloatEx", data.FloatEx(1234.5678, 1033, 3));
told("Number", data.Number(-234567, 1033));
told("ValidateDateTime", data.ValidateDateTime("3/5/2024"));
told("ValidateDateTime", data.ValidateDateTime("3/5/2024", "3/6/2024", "3/7/2024"));
told("ValidateFloat", data.ValidateFloat(1.5));
told("ValidateFloat", data.ValidateFloat(1.5, 2));
told("ValidateNumber", data.ValidateNumber(5));
told("ValidateNumber", data.ValidateNumber(5, 1, 4));
told("GetCurrencySymbol", data.GetCurrencySymbol(1033));
told("GetEuroSymbol", data.GetEuroSymbol());
told("GetDateSeparator", data.GetDateSeparator(1033));
told("GetShortDateFormatOrdering", data.GetShortDateFormatOrdering(1033));
told("GetThousandSeparator", data.GetThousandSeparator(1033));
told("GetDecimalSeparator", data.GetDecimalSeparator(1033));
%>
