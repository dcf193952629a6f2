// The style sheet of lists stands in the shop and in new sites: it is one.
#include <gtest/gtest.h>

#include <fstream>
#include <sstream>

namespace {

std::string TextOf(const std::string& file) {
  std::ifstream stream(std::string(VARNEL_SOURCE_DIR "/") + file, std::ios::binary);
  std::ostringstream text;
  text << stream.rdbuf();
  return text.str();
}

TEST(ListStyleSheet, IsTheSameInTheShopAndInNewSites) {
  const std::string shop = TextOf("site/pages/styles/varnel-list.css");
  EXPECT_NE(shop.find(".varnel-list table"), std::string::npos);
  EXPECT_EQ(shop, TextOf("host-linux/command/new-site/pages/styles/varnel-list.css"));
}

}  // namespace
