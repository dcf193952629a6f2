#include "varnel/page/PageUtil.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "host-fake/ErrorOf.h"
#include "host-fake/FakeHost.h"
#include "tests/automation/Holder.h"
#include "varnel/automation/Convert.h"

namespace varnel {
namespace {

using hostfake::ErrorOf;
using hostfake::NumberOf;
using testing::ElementsAre;

// A site with a host of either kind, in the directory "shop".
class PageUtilTest : public testing::Test {
 protected:
  PageUtilTest() {
    m_host.Application().Set(u"SECUREHOSTNAME", u"secure.example");
    m_host.Application().Set(u"NONSECUREHOSTNAME", u"plain.example");
    m_host.Application().Set(u"APPLICATIONDIRECTORY", u"shop");
  }

  std::shared_ptr<PageUtil> Make() { return m_host.Create<PageUtil>(u"Varnel.PageUtil"); }

  std::shared_ptr<PageUtil> WithMode(StringView mode) {
    m_host.Application().Set(u"CommonParam_SSLMode", mode);
    return Make();
  }

  // As a script calls it: by name, with any number of arguments.
  template <typename... T>
  std::string Call(StringView name, T&&... arguments) {
    return ToUtf8(ToText(Make()->CallWith(name, std::forward<T>(arguments)...)));
  }

  static std::string UrlOf(PageUtil& util) { return ToUtf8(util.URL(u"a.asp", {})); }
  static std::string SecureUrlOf(PageUtil& util) { return ToUtf8(util.SURL(u"a.asp", {})); }

  hostfake::FakeHost m_host;
};

constexpr char kPlain[] = "http://plain.example/shop/a.asp";
constexpr char kSecure[] = "https://secure.example/shop/a.asp";

TEST_F(PageUtilTest, AllLinksAreSecureInModeAll) {
  const auto util = WithMode(u"all");
  EXPECT_EQ(UrlOf(*util), kSecure);
  EXPECT_EQ(SecureUrlOf(*util), kSecure);
}

TEST_F(PageUtilTest, NoLinkIsSecureInModeNone) {
  const auto util = WithMode(u"none");
  EXPECT_EQ(UrlOf(*util), kPlain);
  EXPECT_EQ(SecureUrlOf(*util), kPlain);
}

TEST_F(PageUtilTest, TheOperationDecidesInAnyOtherMode) {
  for (const StringView mode : {u"some", u"", u" all", u"none "}) {
    const auto util = WithMode(mode);
    EXPECT_EQ(UrlOf(*util), kPlain) << ToUtf8(mode);
    EXPECT_EQ(SecureUrlOf(*util), kSecure) << ToUtf8(mode);
  }
  m_host.Application().Remove(u"CommonParam_SSLMode");
  EXPECT_EQ(UrlOf(*Make()), kPlain);
  EXPECT_EQ(SecureUrlOf(*Make()), kSecure);
}

TEST_F(PageUtilTest, ModeCountsInAnyCaseOfLetters) {
  EXPECT_EQ(UrlOf(*WithMode(u"ALL")), kSecure);
  EXPECT_EQ(SecureUrlOf(*WithMode(u"None")), kPlain);
}

TEST_F(PageUtilTest, SlashesStandWhereNothingIsConfigured) {
  m_host.Application().Remove(u"APPLICATIONDIRECTORY");
  EXPECT_EQ(UrlOf(*Make()), "http://plain.example//a.asp");
  EXPECT_EQ(SecureUrlOf(*Make()), "https://secure.example//a.asp");
  m_host.Application().Remove(u"NONSECUREHOSTNAME");
  EXPECT_EQ(UrlOf(*Make()), "http:////a.asp");
}

TEST_F(PageUtilTest, ArgumentsAreEncodedInPairs) {
  EXPECT_EQ(Call(u"URL", u"a.asp", u"a b", u"1&2", u"c", Long{3}),
            "http://plain.example/shop/a.asp?a+b=1%262&c=3");
  EXPECT_EQ(Call(u"SURL", u"a.asp", u"x", u"ä"), "https://secure.example/shop/a.asp?x=%C3%A4");
}

TEST_F(PageUtilTest, AddressItselfIsNotEncoded) {
  EXPECT_EQ(Call(u"URL", u"a b.asp#ä"), "http://plain.example/shop/a b.asp#ä");
}

TEST_F(PageUtilTest, NullValueIsEmpty) {
  EXPECT_EQ(Call(u"URL", u"a.asp", u"x", Null()), "http://plain.example/shop/a.asp?x=");
  EXPECT_EQ(Call(u"URL", u"a.asp", u"x", Variant(), u"y", std::make_shared<test::Holder>(Null())),
            "http://plain.example/shop/a.asp?x=&y=");
}

TEST_F(PageUtilTest, ArgumentsAloneHaveNoQuestionMark) {
  EXPECT_EQ(Call(u"URLArgs", u"a", Long{1}, u"b", Long{2}), "a=1&b=2");
  EXPECT_EQ(Call(u"URLArgs"), "");
}

TEST_F(PageUtilTest, NameWithoutAValueFails) {
  EXPECT_EQ(NumberOf([&] { Call(u"URL", u"a.asp", u"x"); }), 9);
  EXPECT_EQ(NumberOf([&] { Call(u"SURL", u"a.asp", u"x", u"1", u"y"); }), 9);
  EXPECT_EQ(NumberOf([&] { Call(u"URLArgs", u"x"); }), 9);
  EXPECT_THAT(m_host.Log().Entries(), testing::IsEmpty());
}

TEST_F(PageUtilTest, NullNameFails) {
  EXPECT_EQ(NumberOf([&] { Call(u"URLArgs", Null(), u"1"); }), 94);
}

TEST_F(PageUtilTest, OptionIsSelectedWhereBothAreTheSameText) {
  EXPECT_EQ(Call(u"GetOption", Long{1}, u"1"), "<OPTION VALUE=\"1\" SELECTED>");
  EXPECT_EQ(Call(u"GetOption", u"a", u"A"), "<OPTION VALUE=\"a\">");
  EXPECT_EQ(Call(u"GetOption", u"", Variant()), "<OPTION VALUE=\"\" SELECTED>");
}

TEST_F(PageUtilTest, OptionIsNotEncoded) {
  EXPECT_EQ(Call(u"GetOption", u"<\"&", u""), "<OPTION VALUE=\"<\"&\">");
}

TEST_F(PageUtilTest, OptionOfNullFails) {
  EXPECT_EQ(NumberOf([&] { Call(u"GetOption", Null(), u"1"); }), 94);
  EXPECT_EQ(NumberOf([&] { Call(u"GetOption", u"1", Null()); }), 94);
}

TEST_F(PageUtilTest, HostEncodesHtml) { EXPECT_EQ(Call(u"HTMLEncode", u"<a&\">"), "&lt;a&amp;&quot;&gt;"); }

TEST_F(PageUtilTest, ReadsTheConfigurationInItsOrder) {
  m_host.Trace().Clear();
  const auto util = std::make_shared<PageUtil>();
  EXPECT_THAT(m_host.Trace().Lines(),
              ElementsAre("Context: Item Server", "Context: Item Application",
                          "Application: Value CommonParam_SSLMode", "Application: Value SECUREHOSTNAME",
                          "Application: Value NONSECUREHOSTNAME", "Application: Value APPLICATIONDIRECTORY"));
}

TEST_F(PageUtilTest, KeepsItsTextsWhenDeactivated) {
  const auto util = Make();
  m_host.EndRequest();
  EXPECT_EQ(UrlOf(*util), kPlain);
  EXPECT_EQ(NumberOf([&] { util->CallWith(u"URL", u"a.asp", u"x", u"1"); }), 91);
  EXPECT_EQ(NumberOf([&] { util->HTMLEncode(u"x"); }), 91);
}

TEST_F(PageUtilTest, ActivatedAgainItReadsAgain) {
  const auto util = Make();
  m_host.Application().Set(u"NONSECUREHOSTNAME", u"other.example");
  EXPECT_EQ(UrlOf(*util), kPlain);
  util->Activate();
  EXPECT_EQ(UrlOf(*util), "http://other.example/shop/a.asp");
}

TEST_F(PageUtilTest, FailedActivationIsReportedUnderItsOldName) {
  m_host.SetHasContext(false);
  const ErrInfo error = ErrorOf([] { std::make_shared<PageUtil>(); });
  EXPECT_EQ(error.Number, 91);
  EXPECT_THAT(ToUtf8(error.Description),
              testing::StartsWith("\r\nERROR 0x5B\r\n METHOD: Ostrand.Page.IObjectControl_Activate\r\n"));
  EXPECT_THAT(ToUtf8(error.Description), testing::Not(testing::HasSubstr(" INFO: ")));
  EXPECT_EQ(m_host.Log().Entries().size(), 1U);
}

TEST_F(PageUtilTest, ValueThatIsNoTextFailsTheActivation) {
  m_host.Application().Set(u"SECUREHOSTNAME", Null());
  EXPECT_EQ(NumberOf([] { std::make_shared<PageUtil>(); }), 94);
  EXPECT_EQ(m_host.Log().Entries().size(), 1U);
}

}  // namespace
}  // namespace varnel
