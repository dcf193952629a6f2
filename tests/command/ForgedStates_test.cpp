// Forged states of every kind, by every road, at the shop's lists and at a site whose owner says nothing of
// links: what is refused is a bad request, nothing is a failure, and nothing of another table comes out.

#include <gmock/gmock.h>

#include "tests/command/ForgedSite.h"

namespace {

using namespace hosttest;
using testing::HasSubstr;
using testing::Not;

// A request that waits for another one's answer is told from one that takes its time; a machine may be
// loaded.
constexpr std::chrono::seconds kLong{10};

class ForgedStatesTest : public testing::TestWithParam<const char*> {
 protected:
  bool IsSealed() const { return std::string(GetParam()) == "sealed"; }

  void Judge(const Answer& answer, const Forged& forged, const std::string& road) {
    const bool mayShow = !IsSealed() && (forged.kind == ForgedKind::Key || forged.kind == ForgedKind::Number);
    if (mayShow) {
      EXPECT_TRUE(answer.status == 200 || answer.status == 400) << answer.status;
    } else {
      EXPECT_EQ(answer.status, 400);
    }
    EXPECT_THAT(answer.body, Not(HasSubstr(kVaultMark)));
    EXPECT_THAT(answer.body, Not(HasSubstr("caught")));
    if (HasFailure() && !m_told)
      std::printf("first at %s: %s\n%s\n", road.c_str(), forged.what.c_str(), forged.state.c_str());
    m_told = HasFailure();
    m_shown += answer.status == 200 ? 1 : 0;
  }

  void ExpectNoErrorInTheLog() const { EXPECT_THAT(m_site.Read("site.log"), Not(HasSubstr(" error ["))); }

  TestSite m_site;
  bool m_told = false;
  int m_shown = 0;
};

TEST_P(ForgedStatesTest, OfTheShop) {
  MakeShop(m_site, GetParam());
  ForgedSite shop(m_site, "/shop/list.asp");
  const std::vector<std::string> lists = {
      "/shop/list.asp?R_1=", "/shop/products.asp?R_1=", CategoryPage(shop) + "&R_1=",
      "/shop/quick-order.asp?search=&R_1=", "/shop/two-lists.asp?R_2="};
  const auto forged = ForgedStates("PARTNUMBER");
  ASSERT_GE(forged.size(), 60U);
  for (std::size_t i = 0; i < forged.size(); ++i) {
    const std::string& state = forged[i].state;
    for (const std::size_t at : {i % lists.size(), (i + 2) % lists.size()})
      Judge(shop.Get(lists[at] + Encoded(state)), forged[i], lists[at]);
    const int road = static_cast<int>(i) % kFormRoads;
    Judge(shop.Post("/shop/products-form.asp", FormWith(state, road)), forged[i],
          "form " + std::to_string(road));
    const std::string jump = i % 2 == 0 ? "&p=3" : "";
    Judge(shop.Post("/shop/own.asp", "s=" + Encoded(state) + jump), forged[i], "own.asp" + jump);
  }
  EXPECT_EQ(m_shown == 0, IsSealed());
  shop.End();
  EXPECT_LT(shop.Longest(), kLong);
  EXPECT_LT(shop.VisitorsLongest(), kLong);
  ExpectNoErrorInTheLog();
}

TEST_P(ForgedStatesTest, LinksOfTheShopLeadOn) {
  MakeShop(m_site, GetParam());
  ForgedSite shop(m_site, "/shop/list.asp");
  const std::string first = shop.Get("/shop/products.asp").body;
  const auto at = first.find("/shop/products.asp?R%5F1=");
  ASSERT_NE(at, std::string::npos) << first;
  EXPECT_EQ(shop.Get(first.substr(at, first.find('"', at) - at)).status, 200);
  shop.End();
}

INSTANTIATE_TEST_SUITE_P(Links, ForgedStatesTest, testing::Values("sealed", "columns"));

class ForgedStatesAtASinglePage : public ForgedStatesTest {};

TEST_P(ForgedStatesAtASinglePage, OfWhichNothingIsConfigured) {
  MakeSinglePage(m_site);
  ForgedSite page(m_site, "/shop/");
  for (const Forged& forged : ForgedStates("name"))
    Judge(page.Get("/shop/?R_1=" + Encoded(forged.state)), forged, "the page");
  EXPECT_GT(m_shown, 0);
  page.End();
  EXPECT_LT(page.Longest(), kLong);
  EXPECT_LT(page.VisitorsLongest(), kLong);
  ExpectNoErrorInTheLog();
}

INSTANTIATE_TEST_SUITE_P(Links, ForgedStatesAtASinglePage, testing::Values("columns"));

}  // namespace
