// The names that every page has.

#include <gmock/gmock.h>

#include "tests/application/ServedSite.h"

namespace {

class GlobalsTest : public hosttest::PageTest {};

TEST_F(GlobalsTest, IntrinsicsAreThere) {
  EXPECT_EQ(
      Value("[Request, Response, Session, Application, Server].every(o => o !== undefined && o !== null)"),
      "True");
}

TEST_F(GlobalsTest, HelpersAreFunctions) {
  EXPECT_EQ(Output("<% for (const f of [ByRef, Enumerator, CInt, CLng, CDbl, CByte, CDate, CStr, CBool]) { %>"
                   "<%= typeof f %> <% } %>"),
            "function function function function function function function function function ");
}

TEST_F(GlobalsTest, EnumerationsAreNumbers) {
  EXPECT_EQ(Value("[TableTypePlain, TableTypeProperty, TableTypeTitle, TableTypeWizard].join()"), "0,2,3,4");
  EXPECT_EQ(Value("[AlignLeft, AlignCenter, AlignRight, AlignDefault].join()"), "-1,0,1,-2");
  EXPECT_EQ(Value("[VAlignTop, VAlignMiddle, VAlignBottom, VAlignDefault].join()"), "-1,0,1,-2");
}

TEST_F(GlobalsTest, EnumerationsAreTakenByTheLibrary) {
  EXPECT_THAT(
      Output(
          "<% var page = Server.CreateObject('Varnel.Page'); var t = page.Table();"
          " t.SetNextCellAlign(AlignCenter); t.SetNextCellVAlign(VAlignTop); t.Cell('x'); page.Add(t); %>"),
      testing::HasSubstr("<td  align=\"center\" valign=\"top\">x</td>"));
}

TEST_F(GlobalsTest, NamesCannotBeReplaced) {
  for (const std::string name : {"ByRef", "CInt", "AlignLeft"}) {
    EXPECT_THAT(Failure("<% " + name + " = 5; %>"), testing::HasSubstr("line 1: ")) << name;
  }
}

TEST_F(GlobalsTest, IntrinsicNamesAreTheRequestsOwn) {
  site.WritePage("a.asp", "<% Response.Write(Request.ServerVariables('REQUEST_METHOD')); Request = 5; %>");
  EXPECT_EQ(Get("/shop/a.asp").body, "GET");
  EXPECT_EQ(Get("/shop/a.asp").body, "GET");
}

}  // namespace
