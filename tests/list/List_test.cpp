// A list as a page sees it: what it writes, reads and refuses.
#include "tests/list/ListFixture.h"

namespace varnel {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;

constexpr char kSecondPage[] = R"(<section class="varnel-list" id="L1" aria-labelledby="L1-title">
<table>
<caption><span class="vl-title" id="L1-title">Things &amp; more</span> <span class="vl-count">6 - 10 of 12</span></caption>
<thead>
<tr><th scope="col" class="vl-end"><a href="/shop/list.asp?L1-sort=id" title="No.: sort ascending">No.</a></th><th scope="col" aria-sort="ascending"><a href="/shop/list.asp?L1-sort=-name" title="Name: sort descending">Name <span class="vl-up" aria-hidden="true">▲</span></a></th></tr>
</thead>
<tbody>
<tr><td class="vl-end" data-label="No.">6</td><td data-label="Name">n6</td></tr>
<tr><td class="vl-end" data-label="No.">7</td><td data-label="Name">n7</td></tr>
<tr><td class="vl-end" data-label="No.">8</td><td data-label="Name">n8</td></tr>
<tr><td class="vl-end" data-label="No.">9</td><td data-label="Name">&lt;n9&gt; &amp; &quot;&#39;</td></tr>
<tr><td class="vl-end" data-label="No.">10</td><td data-label="Name"></td></tr>
</tbody>
</table>
<nav class="vl-pages" aria-label="Pages of Things &amp; more">
<ul>
<li><a rel="first" href="/shop/list.asp">First</a></li>
<li><a rel="prev" href="/shop/list.asp?L1-at=p.0.1.12.811c9dc5.tn6.t6.">Previous</a></li>
<li><a aria-label="Page 1" href="/shop/list.asp">1</a></li>
<li><span class="vl-current" aria-current="page">2</span></li>
<li><a aria-label="Page 3" href="/shop/list.asp?L1-at=l.0.0.12.811c9dc5.">3</a></li>
<li><a rel="next" href="/shop/list.asp?L1-at=n.0.11.12.811c9dc5.n.t10.">Next</a></li>
<li><a rel="last" href="/shop/list.asp?L1-at=l.0.0.12.811c9dc5.">Last</a></li>
</ul>
</nav>
</section>
)";

TEST_F(ListTest, WritesItsWholeMarkup) {
  std::vector<ModelTable::Row> rows;
  for (Long id = 6; id <= 11; ++id) rows.push_back({id, u"n" + DecimalText(id)});
  rows[3][1] = u"<n9> & \"'";
  rows[4][1] = Null();
  m_host.Database().Answer(
      u"SELECT TOP 6 id, name FROM t WHERE (name > 'n5' or (name = 'n5' and id > '5')) ORDER BY name ASC,id "
      u"ASC",
      {{{u"id", hostfake::kTypeLong}, {u"name"}}, rows, {}, {}});
  m_host.Request().Query().Set(u"L1-at", u"n.0.6.12.811c9dc5.tn5.t5.");
  m_page = std::make_shared<Page>();
  m_page->OpenDatabaseConnection(u"A");
  auto list = CastObject<List>(m_page->List(u"Things & more", String(kListQuery), u"id"));
  list->Column(u"id", u"No.");
  list->Column(u"name", u"Name");
  list->Sort(u"name");
  Variant size(Long{5});
  list->PageSizes(Arguments(&size, 1));
  EXPECT_EQ(Written(list), kSecondPage);
}

TEST_F(ListTest, ReadsOneRowMoreThanItShows) {
  FillTable(12);
  const std::string html = Written(New());
  EXPECT_EQ(Cells(html, 0), "1 2 3 4 5");
  EXPECT_THAT(m_host.Database().Statements(),
              testing::Contains(u"SELECT TOP 6 id, name FROM t ORDER BY id ASC"));
}

TEST_F(ListTest, LeadsNowhereFromOnePage) {
  FillTable(5);
  const std::string html = Written(New());
  EXPECT_EQ(Cells(html, 0), "1 2 3 4 5");
  EXPECT_EQ(Counter(html), "1 - 5 of 5");
  EXPECT_THAT(html, Not(HasSubstr("<nav")));
  EXPECT_THAT(m_host.Database().Statements(), Not(testing::Contains(u"SELECT COUNT(*) FROM t")));
}

TEST_F(ListTest, SaysWhereThereIsNothing) {
  const std::string html = Written(New());
  EXPECT_THAT(html, HasSubstr("<tr><td class=\"vl-nothing\" colspan=\"2\">Nothing found</td></tr>"));
  EXPECT_THAT(html, Not(HasSubstr("<nav")));
  EXPECT_EQ(Counter(html), "");
}

TEST_F(ListTest, EveryLinkLeadsWhereItSays) {
  FillTable(57);
  std::string html = Written(New());
  EXPECT_EQ(Counter(html), "1 - 5 of 57");
  EXPECT_EQ(LinkOf(html, "first"), "");
  EXPECT_EQ(LinkOf(html, "prev"), "");
  Visit(LinkOf(html, "next"));
  html = Written(New());
  EXPECT_EQ(Cells(html, 0), "6 7 8 9 10");
  Visit(PageLink(html, 4));
  html = Written(New());
  EXPECT_EQ(Cells(html, 0), "16 17 18 19 20");
  EXPECT_EQ(Counter(html), "16 - 20 of 57");
  Visit(PageLink(html, 2));
  EXPECT_EQ(Cells(Written(New()), 0), "6 7 8 9 10");
  Visit(LinkOf(html, "last"));
  html = Written(New());
  EXPECT_EQ(Cells(html, 0), "56 57");
  EXPECT_EQ(Counter(html), "56 - 57 of 57");
  EXPECT_EQ(LinkOf(html, "next"), "");
  EXPECT_EQ(LinkOf(html, "last"), "");
  EXPECT_THAT(html, HasSubstr("aria-current=\"page\">12<"));
  Visit(LinkOf(html, "prev"));
  html = Written(New());
  EXPECT_EQ(Cells(html, 0), "51 52 53 54 55");
  Visit(PageLink(html, 8));
  html = Written(New());
  EXPECT_EQ(Cells(html, 0), "36 37 38 39 40");
  EXPECT_EQ(LinkOf(html, "first"), "/shop/list.asp");
}

TEST_F(ListTest, TheSecondPageLeadsBackToAWholeFirstOne) {
  FillTable(12);
  Visit(LinkOf(Written(New()), "next"));
  const std::string second = Written(New());
  m_table.DeleteWhere([](const ModelTable::Row& row) { return ToLong(row[0]) == 2; });
  Visit(LinkOf(second, "prev"));
  const std::string first = Written(New());
  EXPECT_EQ(Cells(first, 0), "1 3 4 5 6");
  EXPECT_EQ(Counter(first), "1 - 5 of 11");
  EXPECT_EQ(LinkOf(first, "prev"), "");
}

TEST_F(ListTest, APageWhoseRowsHaveGoneIsEmptyAndLeadsBack) {
  FillTable(7);
  const std::string first = Written(New());
  m_table.DeleteWhere([](const ModelTable::Row& row) { return ToLong(row[0]) > 5; });
  Visit(LinkOf(first, "next"));
  const std::string gone = Written(New());
  EXPECT_THAT(gone, HasSubstr("Nothing found"));
  EXPECT_EQ(LinkOf(gone, "next"), "");
  Visit(LinkOf(gone, "prev"));
  EXPECT_EQ(Cells(Written(New()), 0), "1 2 3 4 5");
}

TEST_F(ListTest, CountsOnceOfAWalk) {
  FillTable(12);
  const std::string first = Written(New());
  const auto count = [&] {
    const auto& statements = m_host.Database().Statements();
    return std::count(statements.begin(), statements.end(), u"SELECT COUNT(*) FROM t");
  };
  EXPECT_EQ(count(), 1);
  Visit(LinkOf(first, "next"));
  Written(New());
  EXPECT_EQ(count(), 1);
}

TEST_F(ListTest, WithoutATotalTheNumbersReachOnePageFurther) {
  FillTable(57);
  auto list = New();
  list->Total(u"none", Missing());
  std::string html = Written(list);
  EXPECT_EQ(Counter(html), "1 - 5");
  EXPECT_NE(PageLink(html, 2), "");
  EXPECT_EQ(PageLink(html, 3), "");
  Visit(LinkOf(html, "last"));
  list = New();
  list->Total(u"none", Missing());
  html = Written(list);
  EXPECT_EQ(Cells(html, 0), "53 54 55 56 57");
  EXPECT_EQ(Counter(html), "");
  EXPECT_EQ(LinkOf(html, "next"), "");
  EXPECT_NE(LinkOf(html, "prev"), "");
}

TEST_F(ListTest, ACappedTotalSaysThatThereIsMore) {
  FillTable(57);
  m_host.Database().Answer(u"SELECT COUNT(*) FROM (SELECT TOP 31 1 AS ONE FROM t) AS LISTED",
                           {{{u"n", hostfake::kTypeLong}}, {{Long{31}}}, {}, {}});
  auto list = New();
  list->Total(u"capped", Long{30});
  EXPECT_EQ(Counter(Written(list)), "1 - 5 of more than 30");
}

TEST_F(ListTest, AHeadSortsAndASecondOneAdds) {
  FillTable(12);
  std::string html = Written(New());
  EXPECT_THAT(html,
              HasSubstr("<a href=\"/shop/list.asp?L1-sort=name\" title=\"Name: sort ascending\">Name</a>"));
  Visit("/shop/list.asp?L1-sort=name");
  html = Written(New());
  EXPECT_EQ(LastSql(), u"SELECT COUNT(*) FROM t");
  EXPECT_EQ(Cells(html, 0), "1 10 11 12 2");
  EXPECT_THAT(html, HasSubstr("aria-sort=\"ascending\"><a href=\"/shop/list.asp?L1-sort=-name\""));
  EXPECT_THAT(html,
              HasSubstr("<a href=\"/shop/list.asp?L1-sort=name,id\" title=\"No.: sort ascending\">No.</a>"));
  Visit("/shop/list.asp?L1-sort=name,-id");
  html = Written(New());
  EXPECT_THAT(
      html, HasSubstr("No. <span class=\"vl-down\" aria-hidden=\"true\">▼2</span><span class=\"vl-hidden\"> "
                      "(sorted descending, sort criterion 2)</span>"));
  EXPECT_THAT(html, HasSubstr("<a href=\"/shop/list.asp?L1-sort=name\" title=\"No.: don&#39;t sort\">"));
}

TEST_F(ListTest, LinksCarryTheChoicesAndTheOtherParameters) {
  FillTable(12);
  m_host.Request().Query().Set(u"group", u"a b");
  Visit("/shop/list.asp?L1-sort=-id");
  m_host.Request().Query().Set(u"group", u"a b");
  const std::string html = Written(New());
  const std::string next = LinkOf(html, "next");
  EXPECT_THAT(next, testing::StartsWith("/shop/list.asp?group=a+b&L1-sort=-id&L1-at=n.0.6.12."));
  Visit(next);
  EXPECT_EQ(Cells(Written(New()), 0), "7 6 5 4 3");
}

TEST_F(ListTest, ASecondListHasParametersOfItsOwn) {
  FillTable(12);
  auto list = New();
  auto second = CastObject<List>(m_page->List(u"Others", String(kListQuery), u"id"));
  second->Column(u"id", u"No.");
  const std::string html = Written(second);
  EXPECT_THAT(html, HasSubstr("id=\"L2\""));
  EXPECT_THAT(html, HasSubstr("?L2-sort=-id"));
}

// --- The selection

class SelectedList : public ListTest {
 protected:
  SelectedList() { FillTable(12); }

  std::string Show(const std::string& query) {
    Visit("/shop/list.asp" + query);
    m_list = New();
    m_list->Selectable(Long{4});
    return Written(m_list);
  }
  // Forgets a parameter of the page before.
  void Visit(const std::string& url) {
    for (const char16_t* name : {u"L1-s", u"L1-to"}) m_host.Request().Query().Remove(name);
    ListTest::Visit(url);
  }
  std::string Selected() {
    std::string text;
    const Variant rows = m_list->Selected();
    for (const Variant& row : (*rows.As<ArrayPtr>())->items) text += ToUtf8(ToText(row)) + " ";
    return text;
  }

  std::shared_ptr<List> m_list;
};

TEST_F(SelectedList, HasCheckBoxesAndButtonsOfOneForm) {
  const std::string html = Show("?L1-sort=-id&L1-s=t11.,t2.");
  EXPECT_THAT(html, HasSubstr("<form id=\"L1-selection\" method=\"get\" action=\"/shop/list.asp\">\n"
                              "<input type=\"hidden\" name=\"L1-sort\" value=\"-id\">\n"
                              "<input type=\"hidden\" name=\"L1-s\" value=\"t2.\">\n</form>"));
  EXPECT_THAT(
      html,
      HasSubstr("<tr><td class=\"vl-select\"><input type=\"checkbox\" form=\"L1-selection\" name=\"L1-s\" "
                "value=\"t12.\" aria-label=\"Select 12\"></td>"));
  EXPECT_THAT(html, HasSubstr("value=\"t11.\" aria-label=\"Select 11\" checked></td>"));
  EXPECT_THAT(html,
              HasSubstr("<button type=\"submit\" form=\"L1-selection\" name=\"L1-to\" value=\"n.0.6.12."));
  EXPECT_THAT(
      html, HasSubstr("<span role=\"status\">2 selected</span> <a href=\"/shop/list.asp?L1-sort=-id\">Clear "
                      "selection</a>"));
  EXPECT_THAT(html, HasSubstr("<a href=\"/shop/list.asp?L1-sort=-id,name&amp;L1-s=t11.,t2.\""));
}

TEST_F(SelectedList, IsKeptFromPageToPage) {
  const std::string first = Show("");
  const std::string next = AddressBehind(first, "name=\"L1-to\" value=\"n");
  const std::string second = Show("?L1-s=t2.,+t3.&L1-to=n" + next);
  EXPECT_EQ(Cells(second, 1), "6 7 8 9 10");
  EXPECT_EQ(Selected(), "2 3 ");
  EXPECT_THAT(
      second,
      HasSubstr("name=\"L1-s\" value=\"t2.,t3.\">\n<input type=\"hidden\" name=\"L1-at\" value=\"n.0.6.12."));
  const std::string stays = Show("?L1-s=t2.,t3.,+t7.&L1-at=n" + next);
  EXPECT_EQ(Cells(stays, 1), "6 7 8 9 10");
  EXPECT_EQ(Selected(), "2 3 7 ");
}

TEST_F(SelectedList, HoldsSoManyRowsOnly) {
  Show("?L1-s=t1.,t2.,t3.,t4.,t4.,t5.,t6.");
  EXPECT_EQ(Selected(), "1 2 3 4 ");
}

TEST_F(SelectedList, TakesNothingThatIsNoRow) {
  for (const char* rows : {"x", "t1", "t1.t2.", "t1.,", "t1.,%22", "."})
    EXPECT_EQ(hostfake::ErrorOf([&] { Show(std::string("?L1-s=") + rows); }).Number,
              runtime_error::kInvalidArgument)
        << rows;
  Visit("/shop/list.asp?L1-s=t1.");
  const auto list = New();
  EXPECT_EQ(hostfake::ErrorOf([&] { Written(list); }).Number, runtime_error::kInvalidArgument);
}

// --- Refusals

class GuardedList : public ListTest {
 protected:
  GuardedList() {
    FillTable(57);
    m_host.UseStateGuard(&m_guard);
  }
  ~GuardedList() override { m_host.UseStateGuard(nullptr); }

  std::string Refused(StringView name, StringView value) {
    m_guard.refused.clear();
    m_host.Request().Query().Set(name, value);
    const auto list = New();
    list->Total(u"none", Missing());
    EXPECT_THROW(Written(list), PageEnded);
    m_host.Request().Query().Remove(name);
    return m_guard.refused.empty() ? "" : ToUtf8(m_guard.refused[0]);
  }

  NotingListGuard m_guard;
};

TEST_F(GuardedList, PositionsLeaveWithASealAndAreJudged) {
  const std::string html = Written(New());
  const std::string next = LinkOf(html, "next");
  EXPECT_THAT(next, HasSubstr(".s00000000000000000000000000000000"));
  EXPECT_EQ(m_guard.left[0], u"L1");
  EXPECT_TRUE(m_guard.admitted.empty());
  Visit(next);
  EXPECT_EQ(Cells(Written(New()), 0), "6 7 8 9 10");
  EXPECT_THAT(m_guard.admitted, ElementsAre(u"L1 n.0.6.57.811c9dc5.t5.s00000000000000000000000000000000"));
  EXPECT_TRUE(m_guard.declared);
}

TEST_F(GuardedList, WhatTheGuardRefusesIsNotRead) {
  m_guard.refusesAll = true;
  EXPECT_EQ(Refused(u"L1-at", u"n.0.6.57.811c9dc5.t5."), "all");
  for (const String& sql : m_host.Database().Statements())
    EXPECT_FALSE(sql.starts_with(u"SELECT")) << ToUtf8(sql);
}

TEST_F(GuardedList, WhatIsForgedEndsThePage) {
  EXPECT_EQ(Refused(u"L1-at", u"nonsense"), "L1: a damaged position");
  EXPECT_EQ(Refused(u"L1-at", u"n.0.6.57.00000000.t5."), "L1: a position of another choice");
  EXPECT_EQ(Refused(u"L1-at", u"n.0.6.57.811c9dc5.t5.t6."), "L1: a wrong number of keys");
  EXPECT_EQ(Refused(u"L1-at", u"n.8.6.57.811c9dc5.t5."), "L1: too many pages at once");
  EXPECT_EQ(Refused(u"L1-sort", u"secret"), "L1: a sort by \"secret\", which the list doesn't offer");
  EXPECT_EQ(Refused(u"L1-size", u"1000"), "L1: a page size of \"1000\", which the list doesn't offer");
  EXPECT_EQ(Refused(u"L1-q", u"x"), "L1: a search, which the list doesn't offer");
  EXPECT_EQ(Refused(u"L1-f-name", u"x"), "L1: a filter by \"name\", which the list doesn't offer");
}

TEST_F(GuardedList, AKeyThatItsColumnCannotTakeIsRefused) {
  m_host.Database().AnswerWith(nullptr);
  hostfake::FakeAnswer answer;
  answer.error = hostfake::Failure(-1, u"no number");
  answer.providerErrors = {{-1, u"db", u"no number", 1, u"22P02"}};
  m_host.Database().Answer(u"SELECT TOP 6 id, name FROM t WHERE id > 'x' ORDER BY id ASC", answer);
  EXPECT_EQ(Refused(u"L1-at", u"n.0.6.57.811c9dc5.tx."), "L1: a key that its column can't take");
}

TEST_F(ListTest, WithoutAGuardWhatIsForgedIsAFailure) {
  FillTable(12);
  m_host.Request().Query().Set(u"L1-at", u"nonsense");
  const auto list = New();
  EXPECT_EQ(hostfake::ErrorOf([&] { Written(list); }).Number, runtime_error::kInvalidArgument);
}

// --- What a page may declare

TEST_F(ListTest, IsOfAPage) {
  List unbound;
  EXPECT_EQ(hostfake::ErrorOf([&] { unbound.Column(u"id", Missing()); }).Number,
            runtime_error::kObjectNotSet);
  EXPECT_EQ(hostfake::ErrorOf([&] { unbound.WriteInto(m_host.Response()); }).Number,
            runtime_error::kObjectNotSet);
  EXPECT_EQ(
      hostfake::ErrorOf([&] { std::make_shared<Page>()->List(u"a", u"SELECT id FROM t", u"id"); }).Number,
      -1);
}

TEST_F(ListTest, NeedsAQueryAKeyAndAColumn) {
  New();
  const auto numberOf = [&](StringView query, StringView keys) {
    return hostfake::ErrorOf([&] { m_page->List(u"a", String(query), String(keys)); }).Number;
  };
  EXPECT_EQ(numberOf(u"", u"id"), runtime_error::kInvalidArgument);
  EXPECT_EQ(numberOf(u"SELECT id FROM t", u""), runtime_error::kInvalidArgument);
  EXPECT_EQ(numberOf(u"SELECT id FROM t", u"id,"), runtime_error::kInvalidArgument);
  const auto empty = CastObject<List>(m_page->List(u"a", u"SELECT id FROM t", u"id"));
  EXPECT_EQ(hostfake::ErrorOf([&] { Written(empty); }).Number, runtime_error::kInvalidArgument);
}

TEST_F(ListTest, TakesNoOptionThatItDoesNotKnow) {
  const auto list = New();
  const auto fails = [](auto call) {
    return hostfake::ErrorOf(call).Number == runtime_error::kInvalidArgument;
  };
  Variant zero(Long{0});
  Variant many(Long{1001});
  EXPECT_TRUE(fails([&] { list->PageSizes(Arguments(&zero, 1)); }));
  EXPECT_TRUE(fails([&] { list->PageSizes(Arguments(&many, 1)); }));
  EXPECT_TRUE(fails([&] { list->PageSizes({}); }));
  EXPECT_TRUE(fails([&] { list->Total(u"some", Missing()); }));
  EXPECT_TRUE(fails([&] { list->Total(u"capped", Long{30001}); }));
  EXPECT_TRUE(fails([&] { list->PageNumbers(31); }));
  EXPECT_TRUE(fails([&] { list->Column(u"NAME", Missing()); }));
  EXPECT_TRUE(fails([&] { list->Text(u"serch", u"x"); }));
  EXPECT_TRUE(fails([&] { list->Parameter(u"VL_W1", u"x"); }));
  EXPECT_TRUE(fails([&] { list->Parameter(u"a b", u"x"); }));
  EXPECT_TRUE(fails([&] { list->Column(u"other", Missing())->Format(u"money", Missing()); }));
  EXPECT_TRUE(fails([&] { list->Column(u"third", Missing())->Align(u"left"); }));
}

TEST_F(ListTest, AKeyThatTheQueryDoesNotShowIsNamed) {
  FillTable(12);
  New();
  const auto list = CastObject<List>(m_page->List(u"a", String(kListQuery), u"score"));
  list->Column(u"id", Missing());
  m_host.Database().Answer(u"SELECT TOP 11 id, name FROM t ORDER BY score ASC",
                           {{{u"id", hostfake::kTypeLong}, {u"name"}}, {{Long{1}, u"a"}}, {}, {}});
  EXPECT_THAT(ToUtf8(hostfake::ErrorOf([&] { Written(list); }).Description), HasSubstr("'score'"));
}

}  // namespace
}  // namespace varnel
