// A site that takes any text from its links: the engine's own guards keep the worker alive, and a visitor
// beside waits no longer than a statement may run.

#include <gmock/gmock.h>

#include <regex>

#include "tests/command/ForgedSite.h"

namespace {

using namespace hosttest;

// What a statement may take, and what a loaded machine adds.
constexpr std::chrono::seconds kStatement{2};
constexpr std::chrono::seconds kLoad{8};

TEST(ForgedStatesOfAnyKind, LeaveTheWorkerAliveAndTheVisitorServed) {
  TestSite site;
  MakeShop(site, "any");
  site.Write("site.toml", std::regex_replace(site.Read("site.toml"), std::regex("\n\\[server\\]\n"),
                                             "\n[server]\nstatement_timeout = \"2s\"\n"));
  ForgedSite shop(site, "/shop/quick-order.asp");
  for (const Forged& forged : ForgedStates("PARTNUMBER")) {
    for (const char* list : {"/shop/list.asp?R_1=", "/shop/quick-order.asp?R_1="}) {
      const Answer answer = shop.Get(list + Encoded(forged.state));
      EXPECT_TRUE(answer.status == 200 || answer.status == 500) << forged.what << ": " << answer.status;
    }
    EXPECT_NE(shop.Post("/shop/own.asp", "s=" + Encoded(forged.state)).status, 0) << forged.what;
  }
  shop.End();
  EXPECT_LT(shop.VisitorsLongest(), kStatement + kLoad);
}

}  // namespace
