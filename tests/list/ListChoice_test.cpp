#include "varnel/list/ListChoice.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "host-fake/FakeIntrinsics.h"

namespace varnel {
namespace {

using testing::HasSubstr;

class ListChoices : public testing::Test {
 protected:
  ListChoices() {
    m_declared.name = u"L1";
    for (const char16_t* name : {u"TITLE", u"PRICE", u"AUTHOR", u"YEAR", u"NOTE"})
      m_declared.columns.push_back(std::make_shared<ListColumn>(name, name));
    m_declared.columns[4]->m_bSortable = false;
    m_declared.searched = {u"TITLE"};
    m_declared.filters = {{u"CATEGORY", u"CATEGORY", u"Category"},
                          {u"STATE", u"STATE", u"State", true, {{u"new", u"New"}, {u"old", u"Old"}}}};
    m_declared.pageSizes = {10, 25};
  }

  ListChoice Read() {
    ListChoice choice;
    EXPECT_EQ(ToUtf8(ReadChoice(m_declared, m_query, choice)), "");
    return choice;
  }
  std::string Fault() {
    ListChoice choice;
    return ToUtf8(ReadChoice(m_declared, m_query, choice));
  }
  std::string FaultOf(StringView name, StringView value) {
    m_query.Set(name, value);
    std::string fault = Fault();
    m_query.Remove(name);
    return fault;
  }
  std::string Sorts(const ListChoice& choice) {
    std::string text;
    for (const ListSort& sort : choice.sorts)
      text += std::to_string(sort.column) + (sort.ascending ? "+" : "-");
    return text;
  }

  ListDeclared m_declared;
  hostfake::FakeRequestCollection m_query;
};

TEST_F(ListChoices, WithoutParametersAreTheDefaults) {
  const ListChoice choice = Read();
  EXPECT_TRUE(choice.sorts.empty());
  EXPECT_EQ(choice.search, u"");
  EXPECT_EQ(choice.pageSize, 10);
  EXPECT_FALSE(choice.IsNarrowed());
}

TEST_F(ListChoices, ComeFromTheListsOwnParameters) {
  m_query.Set(u"L1-sort", u"price,-TITLE");
  m_query.Set(u"L1-q", u"  war ");
  m_query.Set(u"L1-f-STATE", u"old");
  m_query.Set(u"L1-size", u"25");
  m_query.Set(u"L2-q", u"other");
  const ListChoice choice = Read();
  EXPECT_EQ(Sorts(choice), "1+0-");
  EXPECT_EQ(choice.search, u"war");
  EXPECT_EQ(choice.filters, (std::vector<String>{u"", u"old"}));
  EXPECT_EQ(choice.pageSize, 25);
  EXPECT_TRUE(choice.IsNarrowed());
}

TEST_F(ListChoices, WhatNobodyDeclaredIsRefused) {
  EXPECT_THAT(FaultOf(u"L1-sort", u"SECRET"), HasSubstr("a sort by \"SECRET\""));
  EXPECT_THAT(FaultOf(u"L1-sort", u"TITLE,"), HasSubstr("a sort by"));
  EXPECT_THAT(FaultOf(u"L1-sort", u"NOTE"), HasSubstr("a sort by"));
  EXPECT_THAT(FaultOf(u"L1-sort", u"TITLE DESC"), HasSubstr("a sort by"));
  EXPECT_THAT(FaultOf(u"L1-sort", u"TITLE,-TITLE"), HasSubstr("too many columns"));
  EXPECT_THAT(FaultOf(u"L1-sort", u"TITLE,PRICE,AUTHOR,YEAR"), HasSubstr("too many columns"));
  EXPECT_THAT(FaultOf(u"L1-f-SECRET", u"x"), HasSubstr("a filter by \"SECRET\""));
  EXPECT_THAT(FaultOf(u"L1-f-STATE", u"gone"), HasSubstr("a value of the filter STATE"));
  EXPECT_THAT(FaultOf(u"L1-f-CATEGORY", String(401, u'x')), HasSubstr("a value of the filter CATEGORY"));
  EXPECT_THAT(FaultOf(u"L1-size", u"11"), HasSubstr("a page size of \"11\""));
  EXPECT_THAT(FaultOf(u"L1-size", u"1e1"), HasSubstr("a page size"));
  EXPECT_THAT(FaultOf(u"L1-size", u" 10"), HasSubstr("a page size"));
  EXPECT_THAT(FaultOf(u"L1-q", String(201, u'x')), HasSubstr("a search that is too long"));
  EXPECT_THAT(FaultOf(u"L1-q", String(u"a\0b", 3)), HasSubstr("a search"));
  m_declared.searched.clear();
  EXPECT_THAT(FaultOf(u"L1-q", u"x"), HasSubstr("a search, which the list doesn't offer"));
  EXPECT_EQ(Fault(), "");
}

TEST_F(ListChoices, AnEmptyFieldOfTheFormIsNoChoice) {
  for (const char16_t* name : {u"L1-sort", u"L1-q", u"L1-f-STATE", u"L1-f-CATEGORY", u"L1-size"})
    m_query.Set(name, u"");
  EXPECT_TRUE(PairsOf(m_declared, Read()).empty());
}

TEST_F(ListChoices, ASecondHeadAddsAndAThirdPressTakesAway) {
  ListChoice choice = Read();
  choice = AfterPress(m_declared, choice, 0);
  EXPECT_EQ(Sorts(choice), "0+");
  choice = AfterPress(m_declared, choice, 2);
  EXPECT_EQ(Sorts(choice), "0+2+");
  choice = AfterPress(m_declared, choice, 0);
  EXPECT_EQ(Sorts(choice), "0-2+");
  choice = AfterPress(m_declared, choice, 0);
  EXPECT_EQ(Sorts(choice), "2+");
}

TEST_F(ListChoices, TheLastOfTooManyMakesRoom) {
  m_query.Set(u"L1-sort", u"TITLE,PRICE,AUTHOR");
  EXPECT_EQ(Sorts(AfterPress(m_declared, Read(), 3)), "0+1+3+");
}

TEST_F(ListChoices, APressOnTheDefaultTurnsItAround) {
  m_declared.defaultSort = {{u"PRICE", u"PRICE", true}};
  EXPECT_EQ(Sorts(AfterPress(m_declared, Read(), 1)), "1-");
  EXPECT_EQ(Sorts(AfterPress(m_declared, Read(), 0)), "0+");
  m_declared.defaultSort = {{u"PRICE", u"PRICE", false}};
  EXPECT_EQ(Sorts(AfterPress(m_declared, Read(), 1)), "1+");
}

TEST_F(ListChoices, AddressesCarryThemAndWhatElseThereWas) {
  m_query.Set(u"group", u"a&b");
  m_query.Set(u"L1-sort", u"-PRICE");
  m_query.Set(u"L1-q", u"\u00fc b");
  m_query.Set(u"L1-f-CATEGORY", u"Noble gas");
  m_query.Set(u"L1-at", u"n.0.1.");
  m_query.Set(u"L1-size", u"25");
  m_query.Set(u"L2-q", u"x");
  const ListAddress address(u"L1", u"/shop/list.asp", m_query);
  EXPECT_EQ(address.Url(PairsOf(m_declared, Read())),
            u"/shop/list.asp?group=a%26b&L2-q=x&L1-q=%C3%BC+b&L1-f-CATEGORY=Noble+gas&L1-sort=-PRICE&"
            u"L1-size=25");
  EXPECT_EQ(ListAddress(u"L1", u"/shop/list.asp", hostfake::FakeRequestCollection()).Url({}),
            u"/shop/list.asp");
}

}  // namespace
}  // namespace varnel
