// Which values of pages are told to be written as they came.
#include "host-linux/command/EscapeCheck.h"

#include <gmock/gmock.h>

#include <map>

namespace {

using hostlinux::FindUnescapedValues;
using testing::ElementsAre;
using testing::IsEmpty;

class OnePage final : public hostlinux::PageFiles {
 public:
  explicit OnePage(std::string text) : m_text(std::move(text)) {}
  std::optional<std::string> Read(const std::string&) const override { return m_text; }
  std::optional<hostlinux::FileStamp> Stamp(const std::string&) const override {
    return hostlinux::FileStamp();
  }

 private:
  std::string m_text;
};

// The lines on which there is one.
std::vector<int> LinesOf(const std::string& page) {
  std::vector<int> lines;
  for (const auto& value : FindUnescapedValues(hostlinux::ParsePage("page.asp", OnePage(page))))
    lines.push_back(value.line);
  return lines;
}

bool IsFound(const std::string& expression) { return !LinesOf("<%= " + expression + " %>").empty(); }
bool IsFoundOfRecordset(const std::string& expression) {
  return !LinesOf("<% var rs = page.DRecordset(); rs.OpenRS(a, b); %><%= " + expression + " %>").empty();
}

TEST(EscapeCheck, NamesValuesOfTheRequest) {
  for (const char* expression :
       {"Request('q')", "Request.QueryString('q')", "Request.Form(\"q\").Item(1)", "Request.Text('q')",
        "Request.Cookies('a')", "Request.ServerVariables('URL')", "'a' + Request('q') + 'b'",
        "(Request('q'))", "Request('q') || 'none'", "other ?? Request('q')", "has && Request('q')",
        "has ? Request('q') : ''", "Request('q').Count > 0 ? Request('q') : ''", "String(Request('q'))",
        "String(Request('q')).trim()", "`a${Request('q')}b`", "decodeURIComponent(Request('q'))",
        "Request('q') /* as it is */", "a = Request('q')"})
    EXPECT_TRUE(IsFound(expression)) << expression;
}

TEST(EscapeCheck, LetsPassWhatCanNotBeHtml) {
  for (const char* expression : {"Server.HTMLEncode(Request('q'))",
                                 "Server.URLEncode(Request('q'))",
                                 "encodeURIComponent(Request('q'))",
                                 "page.URL('a.asp', 'q', Request('q'))",
                                 "Number(Request('q'))",
                                 "Request('q').Count",
                                 "Request.TotalBytes",
                                 "Request('q') == 'a'",
                                 "Request('q') === 'a' ? 'checked' : ''",
                                 "Request.Number('q')",
                                 "-Request('q')",
                                 "Request('q') * 2",
                                 "!Request('q')",
                                 "typeof Request('q')",
                                 "'Request(q)'",
                                 "`Request('q')`",
                                 "1 // Request('q')",
                                 "Request.Text('q').length",
                                 "own.Request",
                                 "x",
                                 "/Request('q')/",
                                 "escapeIt(Request('q'))"})
    EXPECT_FALSE(IsFound(expression)) << expression;
}

TEST(EscapeCheck, NamesFieldsOfRecordsets) {
  for (const char* expression : {"rs('NAME')", "rs('NAME').Value", "rs.Fields('NAME').Value", "rs(0)",
                                 "rs.Fields(0)", "'a' + rs('NAME').Value", "other.Fields('NAME')"})
    EXPECT_TRUE(IsFoundOfRecordset(expression)) << expression;
  for (const char* expression :
       {"rs.EOF", "rs.RecordCount", "rs.Fields.Count", "Server.HTMLEncode(rs('NAME').Value)",
        "rs('NAME').Value.length", "notRs('NAME')"})
    EXPECT_FALSE(IsFoundOfRecordset(expression)) << expression;
}

TEST(EscapeCheck, FollowsVariables) {
  EXPECT_THAT(
      LinesOf("<% var q = Request.QueryString('q');\nvar p = q.Count > 0 ? q : 'x'; %>\n<%= p %>\n<%= q %>"),
      ElementsAre(3, 4));
  EXPECT_THAT(LinesOf("<% var q = Server.HTMLEncode(Request('q')) %><%= q %>"), IsEmpty());
  EXPECT_THAT(LinesOf("<% var q = Request('q')\nvar n = 1 %><%= n %>"), IsEmpty());
  EXPECT_THAT(LinesOf("<% let q = 'a'; q += Request('q'); %><%= q %>"), ElementsAre(1));
  EXPECT_THAT(LinesOf("<% var a = 1, q = Request('q'), b = 2; %><%= q %><%= b %>"), ElementsAre(1));
  EXPECT_THAT(LinesOf("<% for (var key of Request.Form) { %>\n<%= key %><% } %>"), ElementsAre(2));
  EXPECT_THAT(LinesOf("<% var q = Request('q'); %><%= own.q %>"), IsEmpty());
}

TEST(EscapeCheck, ForgetsAVariableThatWasEncoded) {
  EXPECT_THAT(LinesOf("<% var q = Request('q'); q = Server.HTMLEncode(q); %><%= q %>"), IsEmpty());
  EXPECT_THAT(LinesOf("<% var q = Request('q'); if (!q) q = 'none'; %><%= q %>"), ElementsAre(1));
}

TEST(EscapeCheck, LetsEncodedExpressionsPass) {
  EXPECT_THAT(LinesOf("<% var q = Request('q'); %><%: q %><%: Request('q') %>"), IsEmpty());
}

TEST(EscapeCheck, TellsTheCure) {
  const auto found = FindUnescapedValues(hostlinux::ParsePage("a.asp", OnePage("<%=\n Request('q')\n%>")));
  ASSERT_EQ(found.size(), 1u);
  EXPECT_EQ(found[0].line, 2);
  EXPECT_EQ(found[0].what,
            "<%= Request('q') %> writes what a visitor sent as it stands, marks of HTML too: "
            "<%: Request('q') %> encodes it");
}

TEST(EscapeCheck, ReadsTextsThatAreNoScript) {
  const std::string nested(10'000, '(');
  EXPECT_THAT(LinesOf("<%= " + nested + " %><%= " + std::string(10'001, '`') + " %><%= '\\ %><%= /* %>"),
              IsEmpty());
  std::string templates;
  for (int i = 0; i < 10'000; ++i) templates += "`${";
  EXPECT_THAT(LinesOf("<%= " + templates + " %>"), IsEmpty());
}

}  // namespace
