// Links of a page, and messages in the user's language.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "host-fake/ErrorOf.h"
#include "tests/page/FakeComponents.h"
#include "varnel/automation/Convert.h"

namespace varnel::test {
namespace {

using hostfake::ErrorOf;
using hostfake::Failure;
using hostfake::kGeneralFailure;
using testing::ElementsAre;

class PageURL : public testing::Test {
 protected:
  PageURL() {
    host.Request().Variables().Set(u"URL", u"/shop/list/x.asp");
    page = host.NewPage();
  }

  // The link to `file` with these names and values.
  template <typename... T>
  String Link(const T&... arguments) {
    return ToText(page->CallWith(u"URL", arguments...));
  }

  PageHost host;
  std::shared_ptr<Page> page;
};

TEST_F(PageURL, BeginsWithTheFirstSegmentOfTheRunningPage) { EXPECT_EQ(Link(u"y.asp"), u"/shop/y.asp"); }

TEST_F(PageURL, OfAPageAtTheTopHasTheFileItselfForRoot) {
  host.Request().Variables().Set(u"URL", u"/x.asp");
  EXPECT_EQ(Link(u"y.asp"), u"/x.asp/y.asp");
}

TEST_F(PageURL, EncodesNamesAndValuesButNotTheFileName) {
  EXPECT_EQ(Link(u"y z.asp", u"a b", u"1 2"), u"/shop/y z.asp?a+b=1+2");
}

TEST_F(PageURL, EncodesAValueAsTheHostDoes) { EXPECT_EQ(Link(u"y.asp", u"a", u"1 2"), u"/shop/y.asp?a=1+2"); }

TEST_F(PageURL, KeepsAPairWithoutANameBelowTheLastNamedOne) {
  EXPECT_EQ(Link(u"y.asp", u"", u"", u"b", u"2"), u"/shop/y.asp?=&b=2");
  EXPECT_EQ(Link(u"y.asp", u"a", u"1", u"", u"5", u"c", u""), u"/shop/y.asp?a=1&=5&c=");
}

TEST_F(PageURL, DropsPairsBehindTheLastNamedOne) {
  EXPECT_EQ(Link(u"y.asp", u"", u"1"), u"/shop/y.asp");
  EXPECT_EQ(Link(u"y.asp", u"a", u"1", u"", u"2"), u"/shop/y.asp?a=1");
}

TEST_F(PageURL, TakesSixPairs) {
  EXPECT_EQ(Link(u"y.asp", u"a", u"1", u"b", u"2", u"c", u"3", u"d", u"4", u"e", u"5", u"f", u"6"),
            u"/shop/y.asp?a=1&b=2&c=3&d=4&e=5&f=6");
  EXPECT_EQ(ErrorOf([&] {
              Link(u"y.asp", u"a", u"1", u"b", u"2", u"c", u"3", u"d", u"4", u"e", u"5", u"f", u"6", u"g");
            }).Number,
            450);
}

TEST_F(PageURL, ReadsTheRequestOnce) {
  Link(u"y.asp");
  Link(u"z.asp");
  EXPECT_EQ(host.Request().ItemReads(u"URL"), 1);
}

TEST_F(PageURL, TakesAParameterOfThatNameForThePath) {
  host.Request().Query().Set(u"URL", u"/other/p.asp");
  EXPECT_EQ(Link(u"y.asp"), u"/other/y.asp");
}

TEST_F(PageURL, WithoutASlashIsASubscriptError) {
  host.Request().Variables().Set(u"URL", u"x.asp");
  EXPECT_EQ(ErrorOf([&] { Link(u"y.asp"); }).Number, 9);
  host.Request().Variables().Remove(u"URL");
  EXPECT_EQ(ErrorOf([&] { Link(u"y.asp"); }).Number, 9);
  EXPECT_EQ(host.Log().Entries().size(), 0U);
}

class PageMessages : public testing::Test {
 protected:
  PageMessages() {
    host.InstallMessageManager();
    host.MessageManager().SetMessage(u"SLBGE0015", u"1033", u"Records");
    host.Session().Set(u"REMOTE_USER", u"demo");
    host.Session().Set(u"REMOTE_ACCOUNT", u"acme");
    host.Session().Set(u"REMOTE_PASSWORD", u"secret");
    page = host.NewPage();
    host.Trace().Clear();
  }

  PageHost host;
  std::shared_ptr<Page> page;
};

TEST_F(PageMessages, BindTheUserOnTheFirstUse) {
  EXPECT_EQ(page->I18N(u"SLBGE0015"), u"Records");
  EXPECT_THAT(host.Trace().Lines(),
              ElementsAre("Application: Value I18NMessageManager", "Context: CreateInstance Tolvane.User",
                          "Session: Value REMOTE_USER", "Session: Value REMOTE_ACCOUNT",
                          "Session: Value REMOTE_PASSWORD", "User: BindAs demo, acme, secret",
                          "User: LanguageID", "MessageManager: getMessage SLBGE0015, 1033"));
}

TEST_F(PageMessages, DoNotReadTheSessionAgain) {
  page->I18N(u"SLBGE0015");
  host.Trace().Clear();
  EXPECT_EQ(page->I18N(u"SLBGE0015"), u"Records");
  EXPECT_THAT(host.Trace().Lines(), ElementsAre("MessageManager: getMessage SLBGE0015, 1033"));
  EXPECT_EQ(host.Session().Reads(u"REMOTE_USER"), 1);
}

TEST_F(PageMessages, TheLanguageStaysForTheLifeOfThePage) {
  page->I18N(u"SLBGE0015");
  host.User().SetLanguageID(Long{1031});
  EXPECT_EQ(page->I18N(u"SLBGE0015"), u"Records");
}

TEST_F(PageMessages, AMissingTextShowsKeyAndLanguage) {
  host.MessageManager().Fail(Failure(kGeneralFailure, u"none"));
  EXPECT_EQ(page->I18N(u"SLBGE0015"), u"SLBGE0015-1033");
  EXPECT_EQ(host.Log().Entries().size(), 0U);
}

TEST_F(PageMessages, AnyOtherFailureIsRaisedWithMoreWords) {
  ErrInfo failure = Failure(-30, u"the old text", u"Messages");
  failure.HelpFile = u"help.chm";
  failure.HelpContext = 12;
  host.MessageManager().Fail(failure);
  ErrInfo expected = failure;
  expected.Description =
      u"Varnel.Page: Unable to get message 'SLBGE0015' for locale '1033' from Commerce.MessageManager. "
      u"the old text";
  EXPECT_EQ(ErrorOf([&] { page->I18N(u"SLBGE0015"); }), expected);
}

TEST_F(PageMessages, WithoutAMessageManagerRaise) {
  host.Application().Remove(u"I18NMessageManager");
  const auto error = ErrorOf([&] { page->I18N(u"SLBGE0015"); });
  EXPECT_EQ(error.Number, 13);
  EXPECT_EQ(error.Description,
            u"Varnel.Page: Unable to get the Commerce.MessageManager object from Application( "
            u"\"I18NMessageManager\"). Type mismatch");
  EXPECT_EQ(host.Asked("Context: CreateInstance Tolvane.User"), 0);
}

TEST_F(PageMessages, AFailingApplicationGivesItsOwnNumberSourceAndHelp) {
  host.Application().onRead = [](StringView) { throw Error({-31, u"Host", u"down", u"h", 4}); };
  EXPECT_EQ(ErrorOf([&] { page->I18N(u"K"); }),
            (ErrInfo{-31, u"Host",
                     u"Varnel.Page: Unable to get the Commerce.MessageManager object from Application( "
                     u"\"I18NMessageManager\"). down",
                     u"h", 4}));
}

TEST_F(PageMessages, AFailingUserComponentLeavesTheLanguageEmptyFromThenOn) {
  host.User().FailBindAs(Failure(-32, u"unknown user", u"User"));
  EXPECT_EQ(ErrorOf([&] { page->I18N(u"SLBGE0015"); }), Failure(-32, u"unknown user", u"User"));
  EXPECT_EQ(page->I18N(u"SLBGE0015"), u"SLBGE0015-");
  EXPECT_EQ(host.Session().Reads(u"REMOTE_USER"), 1);
}

TEST_F(PageMessages, AreNotAskedForByAPageThatNeedsNone) {
  page->Add(u"x");
  EXPECT_EQ(host.Session().Reads(u"REMOTE_USER"), 0);
  EXPECT_EQ(host.Asked("Context: CreateInstance Tolvane.User"), 0);
}

}  // namespace
}  // namespace varnel::test
