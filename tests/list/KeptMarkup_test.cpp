// A list's markup is kept and written again: only for exactly what it was made of.
#include "tests/list/ListFixture.h"

namespace varnel {
namespace {

class KeptMarkupTest : public ListTest {
 protected:
  using Change = std::function<void(List&)>;

  KeptMarkupTest() {
    FillTable(12);
    m_host.Database().KeepTexts();
  }

  std::string WrittenBy(const Change& change) {
    const auto list = New();
    change(*list);
    return Written(list);
  }

  // What a list with the change writes is the same beside the kept markup of one without it as alone.
  void ExpectOwnMarkup(const std::string& what, const Change& change) {
    m_host.Database().ForgetTexts();
    const std::string alone = WrittenBy(change);
    m_host.Database().ForgetTexts();
    WrittenBy([](List&) {});
    EXPECT_EQ(alone, WrittenBy(change)) << what;
  }

  std::size_t Reads() { return m_host.Database().Statements().size(); }

  static Variant Texts(std::initializer_list<const char16_t*> texts) {
    const auto array = std::make_shared<Array>();
    for (const char16_t* text : texts) array->items.emplace_back(text);
    return Variant(array);
  }
};

TEST_F(KeptMarkupTest, TheSecondVisitorGetsThatOfTheFirstWithoutARead) {
  const std::string first = WrittenBy([](List&) {});
  const std::size_t reads = Reads();
  EXPECT_EQ(first, WrittenBy([](List&) {}));
  EXPECT_EQ(reads + 1, Reads());  // the connection's own
}

TEST_F(KeptMarkupTest, EachPositionAndChoiceHasItsOwn) {
  const std::string first = WrittenBy([](List&) {});
  Visit(LinkOf(first, "next"));
  const std::string second = WrittenBy([](List&) {});
  EXPECT_EQ("6 7 8 9 10", Cells(second, 0));
  Visit("?L1-sort=-id");
  EXPECT_EQ("12 11 10 9 8", Cells(WrittenBy([](List&) {}), 0));
  Visit("");
  EXPECT_EQ(first, WrittenBy([](List&) {}));
}

TEST_F(KeptMarkupTest, EachAddressHasItsOwn) {
  WrittenBy([](List&) {});
  m_host.Request().Query().Set(u"shop", u"1");
  EXPECT_THAT(WrittenBy([](List&) {}), testing::HasSubstr("/shop/list.asp?shop=1&amp;L1-sort=-id"));
  m_host.Request().Variables().Set(u"URL", u"/shop/other.asp");
  EXPECT_THAT(WrittenBy([](List&) {}), testing::HasSubstr("/shop/other.asp?shop=1&amp;L1-sort=-id"));
}

TEST_F(KeptMarkupTest, EachDeclarationHasItsOwn) {
  const std::vector<std::pair<std::string, Change>> changes{
      {"title of a column", [](List& list) { list.Column(u"name AS n", u"More"); }},
      {"link", [](List& list) { list.Column(u"other", u"L")->Link(u"a.asp", u"id", Missing()); }},
      {"format", [](List& list) { list.Column(u"other", u"L")->Format(u"number", Variant(Long{2})); }},
      {"side", [](List& list) { list.Column(u"other", u"L")->Align(u"center"); }},
      {"no sort", [](List& list) { list.Column(u"other", u"L")->Sortable(false); }},
      {"sort", [](List& list) { list.Sort(u"name DESC"); }},
      {"most sorts", [](List& list) { list.MostSorts(1); }},
      {"page sizes",
       [](List& list) {
         std::vector<Variant> sizes{Long{5}, Long{7}};
         list.PageSizes(sizes);
       }},
      {"page numbers", [](List& list) { list.PageNumbers(0); }},
      {"total", [](List& list) { list.Total(u"none", Missing()); }},
      {"search",
       [](List& list) {
         std::vector<Variant> fields{u"name"};
         list.Search(fields);
       }},
      {"filter", [](List& list) { list.Filter(u"name", Texts({u"n1"}), Missing()); }},
      {"filter's other value", [](List& list) { list.Filter(u"name", Texts({u"n2"}), Missing()); }},
      {"filter's label", [](List& list) { list.Filter(u"name", Texts({u"n2"}), Variant(u"Which?")); }},
      {"language", [](List& list) { list.Locale(1031); }},
      {"word", [](List& list) { list.Text(u"next", u"On"); }},
      {"selection", [](List& list) { list.Selectable(Missing()); }},
      {"export",
       [](List& list) {
         std::vector<Variant> kinds{u"csv"};
         list.Export(kinds);
       }},
      {"action", [](List& list) { list.Action(u"Go", u"go.asp", u"id", Missing()); }},
      {"json", [](List& list) { list.Json(); }},
  };
  for (const auto& [what, change] : changes) ExpectOwnMarkup(what, change);
  // Among themselves, too.
  m_host.Database().ForgetTexts();
  std::vector<std::string> beside;
  beside.reserve(changes.size());
  for (const auto& [what, change] : changes) beside.push_back(WrittenBy(change));
  for (std::size_t i = 0; i < changes.size(); ++i) {
    m_host.Database().ForgetTexts();
    EXPECT_EQ(WrittenBy(changes[i].second), beside[i]) << changes[i].first;
  }
}

TEST_F(KeptMarkupTest, TheValuesOfParametersTellThemApart) {
  for (const Variant& value : {Variant(Long{1}), Variant(1.0), Variant(u"1"), Variant(Null())}) {
    const std::size_t before = m_host.Database().Texts().size();
    WrittenBy([&](List& list) { list.Parameter(u"v", value); });
    EXPECT_EQ(before + 1, m_host.Database().Texts().size());
  }
}

TEST_F(KeptMarkupTest, WhatAnotherOneMayWriteIsNotKept) {
  WrittenBy([](List& list) { list.Action(u"Go", u"go.asp", u"id", Missing()); });
  WrittenBy([](List& list) { list.Json(); });
  WrittenBy([](List& list) { list.Parameter(u"v", Variant(std::make_shared<const Bytes>(Bytes{1}))); });
  EXPECT_TRUE(m_host.Database().Texts().empty());
}

TEST_F(KeptMarkupTest, ARefusedRequestIsRefusedAgain) {
  WrittenBy([](List&) {});
  for (int i = 0; i < 2; ++i) {
    Visit("?L1-at=n.0.6.12.00000000.tn5.t5.");
    EXPECT_EQ(5, hostfake::NumberOf([&] { WrittenBy([](List&) {}); }));
  }
}

}  // namespace
}  // namespace varnel
