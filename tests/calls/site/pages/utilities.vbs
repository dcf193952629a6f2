<!--#include file="includes/told.vbs"--><%
' Every operation of Utilities and DataFunctions; what is given by reference, arrays and dates are told by values.vbs.
Dim util, data, found, v
Set util = Server.CreateObject("Varnel.Utilities")
Told "SQLEncodeStr", util.SQLEncodeStr("O'Hara")
Told "SQLEncodeStrForWHERE", util.SQLEncodeStrForWHERE("O'Hara")
Told "SQLEncodeStrForJOIN", util.SQLEncodeStrForJOIN("O'Hara")
Told "SQLEncodeStrForLIKE", util.SQLEncodeStrForLIKE("50%*_[a]")
Told "SQLEncodeLng", util.SQLEncodeLng(-7)
Told "SQLEncodeDbl", util.SQLEncodeDbl(1.5)
Told "SQLEncodeByte", util.SQLEncodeByte(255)
Told "SQLEncodeDate", util.SQLEncodeDate("3/5/2024")
Told "SQLEncodeDateTime", util.SQLEncodeDateTime("3/5/2024 7:08:09")
Told "LDAPEncodeStr", util.LDAPEncodeStr("a*(b)")
Told "LDAPEncodeStrForSearch", util.LDAPEncodeStrForSearch("a*(b)")
Told "RetrieveElementFromRequestFormCollection", util.RetrieveElementFromRequestFormCollection("a=1&b=x%20y", "b=", found)
Told "the page's own", Utilities.SQLEncodeLng(7)
On Error Resume Next
v = util.SQLEncodeLng("many") : ToldFailure "a text for a number"
v = util.SQLEncodeByte(256) : ToldFailure "a number too large"
On Error Goto 0

Set data = Server.CreateObject("Varnel.DataFunctions")
v = data.ConvertDateString("3/5/2024", 1033)
Told "ConvertFloatString", data.ConvertFloatString("1,234.5", 1033)
Told "ConvertFloatString", data.ConvertFloatString("no number", 1033)
Told "ConvertNumberString", data.ConvertNumberString("1,234", 1033)
Told "DateTime", data.DateTime("3/5/2024", 1033)
Told "DateTime", data.DateTime("3/5/2024 7:08:09", 1033, True)
Told "DateFromJava", data.DateFromJava(2024, 2, 5, 1033)
Told "Float", data.Float(1234.5, 1033)
Told "FloatEx", data.FloatEx(1234.5678, 1033)
Told "FloatEx", data.FloatEx(1234.5678, 1033, 3)
Told "Number", data.Number(-234567, 1033)
Told "ValidateDateTime", data.ValidateDateTime("3/5/2024")
Told "ValidateDateTime", data.ValidateDateTime("3/5/2024", "3/6/2024", "3/7/2024")
Told "ValidateFloat", data.ValidateFloat(1.5)
Told "ValidateFloat", data.ValidateFloat(1.5, 2)
Told "ValidateNumber", data.ValidateNumber(5)
Told "ValidateNumber", data.ValidateNumber(5, 1, 4)
Told "GetCurrencySymbol", data.GetCurrencySymbol(1033)
Told "GetEuroSymbol", data.GetEuroSymbol()
Told "GetDateSeparator", data.GetDateSeparator(1033)
Told "GetShortDateFormatOrdering", data.GetShortDateFormatOrdering(1033)
Told "GetThousandSeparator", data.GetThousandSeparator(1033)
Told "GetDecimalSeparator", data.GetDecimalSeparator(1033)
%>
