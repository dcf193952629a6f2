// A page's slip costs its own request: whatever it made ends with it, and the next page of the thread runs.

#include <gmock/gmock.h>

#include <filesystem>
#include <fstream>

#include "tests/Sanitizers.h"
#include "tests/application/ServedSite.h"
#include "varnel/automation/Members.h"

namespace {

using testing::AnyOf;
using testing::HasSubstr;

// How often a page with a slip runs. Under the sanitizers, which are slow and find lost memory themselves, as often as
// there may be connections, and some more.
#ifdef VARNEL_HAS_ADDRESS_SANITIZER
constexpr bool kIsSanitized = true;
#else
constexpr bool kIsSanitized = false;
#endif
constexpr int Times(int sanitized, int otherwise = 1000) { return kIsSanitized ? sanitized : otherwise; }

// Of this process, in megabytes.
long MemoryInUse() {
  std::ifstream file("/proc/self/status");
  for (std::string line; std::getline(file, line);) {
    if (line.starts_with("VmRSS:")) return std::stol(line.substr(6)) / 1024;
  }
  return 0;
}

// What allocators and the script engine's heap may keep for the next request.
constexpr long kKeptMemory = 64;

std::size_t OpenFiles() {
  std::size_t count = 0;
  for ([[maybe_unused]] const auto& file : std::filesystem::directory_iterator("/proc/self/fd")) ++count;
  return count;
}

// Counts how many of its kind there are, and holds whatever it is given.
class Kept : public varnel::Object {
 public:
  Kept() { ++alive; }
  ~Kept() override { --alive; }
  const varnel::ClassInfo& Class() const override {
    static const varnel::ClassInfo info{u"Kept", {varnel::Method<&Kept::Hold>(u"Hold")}};
    return info;
  }
  void Hold(const varnel::ObjectPtr& object) { m_held = object; }

  static inline std::atomic<int> alive = 0;

 private:
  varnel::ObjectPtr m_held;
};

class SlipsTest : public hosttest::PageTest {
 protected:
  SlipsTest() {
    site.MakeCustomers(30);
    ownComponents = [](varnel::StringView progID) -> varnel::ObjectPtr {
      return varnel::EqualsNoCase(progID, u"Test.Kept") ? std::make_shared<Kept>() : nullptr;
    };
    site.WritePage("neighbour.asp",
                   "<% var page = Server.CreateObject('Varnel.Page'); page.OpenDatabaseConnection('Demo');"
                   " var rs = page.DRecordset(); rs.OpenRS('SELECT id, name FROM customer', 'id'); %>"
                   "<%= rs('name') %>");
  }

  // Runs the page so many times, and shows that nothing of it stays.
  void Repeat(const std::string& page, int times = Times(120)) {
    site.WritePage("slip.asp", kMade + page);
    const auto once = [&] {
      const hosttest::Answer answer = Get("/shop/slip.asp");
      EXPECT_THAT(answer.status, AnyOf(200, 500)) << page;
      return answer.status == 500 ? answer.body : std::string();
    };
    const std::string first = once();
    EXPECT_EQ(first.find("Too many"), std::string::npos) << first;
    EXPECT_EQ(Get("/shop/neighbour.asp").body, "n01") << page;
    const std::size_t files = OpenFiles();
    long memory = 0;
    for (int i = 1; i < times; ++i) {
      if (i == times / 4) memory = MemoryInUse();  // by then the engine's heap has its size
      const std::string failed = once();
      if (failed.find("Too many") == std::string::npos) continue;
      ADD_FAILURE() << page << " has taken all connections after " << i;
      break;
    }
    EXPECT_EQ(Get("/shop/neighbour.asp").body, "n01") << page;
    EXPECT_LE(OpenFiles(), files + 2) << page;
    EXPECT_EQ(Kept::alive, 0) << page;
    if (kIsSanitized) return;  // freed memory waits there, to be recognised
    EXPECT_LT(MemoryInUse(), memory + kKeptMemory) << page;
  }

  // In front of each page.
  static constexpr char kMade[] =
      "<% var page = Server.CreateObject('Varnel.Page'); page.OpenDatabaseConnection('Demo');"
      " var rs = page.DRecordset(); rs.OpenRS('SELECT id, name FROM customer', 'id');"
      " var t = page.Table(), u = page.Table(), g = page.DGrid(rs, 'G', false, u); g.Col('A'); %>";
};

// --- Objects that hold each other

TEST_F(SlipsTest, TableInItselfEndsWithItsRequest) { Repeat("<% t.Cell(t); %>"); }

TEST_F(SlipsTest, FieldThatHoldsItsRecordsetEndsWithItsRequest) { Repeat("<% rs(0).Value = rs; %>"); }

TEST_F(SlipsTest, GridAndTableInEachOtherEndWithTheirRequest) {
  Repeat("<% g.Cell(t); t.Cell(g); %>");
  Repeat("<% t.Title(u); u.Title(t); %>");
}

TEST_F(SlipsTest, CirclesThroughArraysEndWithTheirRequest) {
  Repeat("<% rs(0).Value = [rs, [t, [rs(0)]]]; t.Cell(g); %>");
}

TEST_F(SlipsTest, CirclesThroughRecordsetsMadeByHandEndWithTheirRequest) {
  Repeat(
      "<% var c = Server.CreateObject('ADODB.Connection'); c.Open('Provider=SQLite;Data Source=demo.db');"
      " var o = Server.CreateObject('ADODB.Recordset'); o.Open('SELECT id FROM customer', c);"
      " var m = Server.CreateObject('ADODB.Recordset'); m.Fields.Append('a', 12); m.Open(); m.AddNew();"
      " m.Fields(0).Value = m; m.AddNew(); m.Fields('a').Value = [m, o, rs, m.Fields]; %>");
}

// What isn't the library's own can't be told to let go: its connections are closed for all that.
TEST_F(SlipsTest, ConnectionsInCirclesOfOwnComponentsAreClosed) {
  Repeat("<% var k = Server.CreateObject('Test.Kept'); k.Hold(rs); rs(0).Value = k; t.Cell(t); %>");
  Repeat(
      "<% var c = Server.CreateObject('ADODB.Connection'); c.Open('Provider=SQLite;Data Source=demo.db');"
      " var k = Server.CreateObject('Test.Kept'); k.Hold(c); rs(0).Value = k; %>");
}

TEST_F(SlipsTest, PageOfAnApplicationsMessagesFindsThemAgain) {
  for (int i = 0; i < 3; ++i)
    EXPECT_EQ(Output("<% var page = Server.CreateObject('Varnel.Page'); %><%= page.I18N('SLBGE0015') %>"),
              "Records");
}

// --- Default values that lead to each other

TEST_F(SlipsTest, DefaultValuesThatLeadToEachOtherAreAnError) {
  const std::string circle = std::string(kMade) + "<% var a = rs(0), b = rs(1); a.Value = b; b.Value = a; ";
  for (const char* use : {"CLng(a)", "CStr(a)", "CDbl(a)", "CBool(a)", "CDate(a)", "Server.HTMLEncode(a)",
                          "t.Cell(a)", "Response.Write(a)", "Utilities.QuickSort([a, b])", "rs(a)", "'' + a",
                          "Number(b)", "page.Table().SkipCell(b)"}) {
    EXPECT_EQ(Output(circle + "try { " + use + "; %>no error<% } catch (e) { %><%= e.number %><% } %>"), "13")
        << use;
  }
  Repeat("<% var a = rs(0), b = rs(1); a.Value = b; b.Value = a; CStr(a); %>");
}

TEST_F(SlipsTest, FunctionsThatGiveFunctionsAreNoValue) {
  EXPECT_EQ(Output(std::string(kMade) + "<% function f() { return f; } rs(0).Value = f;"
                                        " try { CStr(rs(0)); } catch (e) { %><%= e.number %><% } %>"),
            "13");
}

// --- What is nested deep

TEST_F(SlipsTest, ManyNestedTablesAreAnError) {
  const std::string nested =
      "<% var inner = page.Table(); inner.Cell('x'); for (var i = 1; i < COUNT; i++) {"
      " var outer = page.Table(); outer.Cell(inner); inner = outer; } ";
  const auto of = [&](const char* count, const std::string& rest) {
    std::string page = nested + rest;
    return kMade + page.replace(page.find("COUNT"), 5, count);
  };
  const std::string number = "try { page.Add(inner); } catch (e) { Response.Write(e.number); } %>";
  EXPECT_THAT(Output(of("100", number)), HasSubstr("x</td>"));
  EXPECT_EQ(Output(of("101", number)), "7");
  EXPECT_EQ(Output(of("4000", number)), "7");
  // From the deepest call that a script can make.
  EXPECT_EQ(Output(of("101",
                      "var seen = 0; function deep() { try { deep(); } catch (e) { } if (!seen) try {"
                      " page.Add(inner); } catch (e) { seen = e.number; } } deep(); %><%= seen %>")),
            "7");
  // The oldest one holds all others.
  Repeat(
      "<% var first = page.Table(), last = first; for (var i = 0; i < 4000; i++) {"
      " var next = page.Table(); last.Cell(next); last = next; } %>",
      Times(2));
}

TEST_F(SlipsTest, TablesThatHoldEachOtherTwiceAreAnErrorSoon) {
  EXPECT_EQ(Output(std::string(kMade) +
                   "<% var inner = page.Table(); inner.Cell('x'.repeat(1e6)); for (var i = 0; i < 60; i++) {"
                   " var outer = page.Table(); outer.Cell(inner); outer.Cell(inner); inner = outer; }"
                   " try { page.Add(inner); } catch (e) { %><%= e.number %><% } %>"),
            "7");
}

// Ten million elements are one argument's share, however they are nested.
TEST_F(SlipsTest, ElementsOfNestedArraysCountTogether) {
  EXPECT_EQ(Output(std::string(kMade) + "<% var a = new Array(9999999); a[0] = [1, 2];"
                                        " try { rs(0).Value = a; } catch (e) { %><%= e.number %><% } %>"),
            "7");
}

TEST_F(SlipsTest, ArrayThatGrowsWhileItIsReadIsReadAsItWas) {
  EXPECT_EQ(Output(std::string(kMade) +
                   "<% var a = [1, 2]; Object.defineProperty(a, 1, {get() { a.push(3); return 2; },"
                   " enumerable: true, configurable: true}); rs(0).Value = a; %><%= rs(0).Value.length %>"),
            "2");
}

// --- Scripts that run inside a conversion

TEST_F(SlipsTest, FieldsBoundAnewWhileOneIsLookedUp) {
  Repeat(
      "<% var fields = rs.Fields; try { fields.Item({valueOf() { fields.Initialize(null); return 0; }}); }"
      " catch (e) { Response.Write(e.number); } %>");
  Repeat("<% rs({valueOf() { rs.Initialize(null, 1, null); return 0; }}); %>");
  Repeat("<% rs({valueOf() { rs.Initialize(page, 1, null); throw new Error('x'); }}); %>");
}

TEST_F(SlipsTest, RecordsetBoundAnewWhileItsDataIsTaken) {
  Repeat(
      "<% var target = {Open() {}, AddNew() {}, Fields() { rs.Initialize(null, 1, null);"
      " return {Append() {}}; }}; rs.GetDataAsRecordSet(target); %>");
  Repeat(
      "<% function field() { return {set Value(v) { rs.Initialize(null, 1, null); }, get Value() { return 1; "
      "}}; }"
      " field.Append = function () {};"
      " var target = {Open() {}, AddNew() {}, Fields: field}; rs.GetDataAsRecordSet(target); %>");
  Repeat(
      "<% var target = {Open() { rs.Initialize(null, 1, null); }, AddNew() {}, Fields: {Append() {}}};"
      " rs.GetDataAsRecordSet(target); %>");
}

TEST_F(SlipsTest, RecordsetMovedWhileAFieldGetsItsValue) {
  const std::string made =
      "<% var m = Server.CreateObject('ADODB.Recordset'); m.Fields.Append('a', 3); m.Fields.Append('b', 202);"
      " m.Open(); m.AddNew(); ";
  for (const char* change : {"m.MoveNext();", "m.MovePrevious();", "m.Close();", "m.AddNew();",
                             "for (var i = 0; i < 50; i++) m.AddNew(); m.MoveFirst();"}) {
    Repeat(made + "m.Fields('a').Value = {valueOf() { " + change + " return 7; }}; %>", Times(3, 200));
    Repeat(made + "m.Fields({toString() { " + change + " return 'b'; }}).Value = 'x'; %>", Times(3, 200));
  }
}

TEST_F(SlipsTest, RecordsetReadAgainWhileAFieldIsLookedUp) {
  Repeat(
      "<% var c = Server.CreateObject('ADODB.Connection'); c.Open('Provider=SQLite;Data Source=demo.db');"
      " var o = Server.CreateObject('ADODB.Recordset');"
      " o.Open('SELECT a.id, a.name FROM customer a, customer b', c); for (var i = 0; i < 600; i++) "
      "o.MoveNext();"
      " o.Fields({toString() { o.MoveFirst(); return 'name'; }}); o.Fields({toString() { o.Close();"
      " c.Close(); return 'name'; }}); %>",
      Times(20));
}

TEST_F(SlipsTest, ValueThatLetsGoOfItsOwnObject) {
  Repeat("<% rs(0).Value = {valueOf() { rs(0).Value = 1; return 'x'.repeat(100); }}; CStr(rs(0)); %>");
  Repeat("<% rs(0).Value = function () { rs(0).Value = 1; return 'x'.repeat(100); }; t.Cell(rs(0)); %>");
}

TEST_F(SlipsTest, TableFilledWhileACellIsFilled) {
  Repeat(
      "<% var n = 0; t.Cell({toString() { if (n++ < 5) { t.SetNextCellColSpan(-1); t.CellAt(30 * n, 15 * n, "
      "'x');"
      " t.NewRow(); t.Cell(this); } return 'y'; }}); page.Add(t); %>",
      Times(5));
}

// --- Texts that nobody can hold

TEST_F(SlipsTest, TextsThatAreTooLongAreAnError) {
  for (const char* call : {"Server.HTMLEncode('&'.repeat(110e6))", "Server.HTMLEncode('&'.repeat(20e6))",
                           "Server.URLEncode('\\u20ac'.repeat(8e6))", "Server.HTMLEncode('x'.repeat(4e8))",
                           "Utilities.SQLEncodeStr(\"'\".repeat(35e6))", "t.Cell('x'.repeat(1e8))",
                           "Utilities.QuickSort(new Array(1000).fill('x'.repeat(1e6)))"}) {
    EXPECT_EQ(Output(std::string(kMade) + "<% Server.ScriptTimeout = 300; try { var r = " + call +
                     "; %><%= typeof r %><% } catch (e) { %><%= e.number %><% } %>"),
              "7")
        << call;
  }
  Repeat("<% Server.HTMLEncode('&'.repeat(110e6)); %>", Times(2, 20));
}

TEST_F(SlipsTest, CallsOnMoreThanTheHeapCanHoldFailAlone) {
  Repeat("<% new Array(3e8).fill(1); %>", Times(2, 20));
  Repeat("<% 'x'.repeat(4e8).split(''); %>", Times(2, 20));
}

// --- Recordsets without an end

class EndlessRecordsetTest : public SlipsTest {
 protected:
  EndlessRecordsetTest() {
    site.Write("site.toml", site.Read("site.toml") + "\n[database]\nmax_result = 1000000\n");
  }

  static constexpr char kEndless[] =
      "<% var c = Server.CreateObject('ADODB.Connection'); c.Open('Provider=SQLite;Data Source=demo.db');"
      " var o = c.Execute('WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM n) SELECT i FROM "
      "n'); %>";
};

TEST_F(EndlessRecordsetTest, ItsConnectionCloses) { Repeat(kEndless + std::string("<% c.Close(); %>")); }

TEST_F(EndlessRecordsetTest, ItsConnectionWrites) {
  Repeat(kEndless + std::string("<% c.Execute(\"UPDATE customer SET name = 'n01' WHERE id = 1\"); %>"));
}

TEST_F(EndlessRecordsetTest, ItsPageEnds) { Repeat(kEndless); }

}  // namespace
