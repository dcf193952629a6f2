// Which requests come from another site's page.
#include "host-linux/web/Origin.h"

#include <gtest/gtest.h>

namespace hostlinux {
namespace {

HttpRequest Post(const std::vector<HeaderList::Field>& headers) {
  HttpRequest request;
  request.method = "POST";
  for (const auto& [name, value] : headers) request.headers.Add(name, value);
  return request;
}

bool IsForeign(const std::vector<HeaderList::Field>& headers, const std::vector<std::string>& origins = {}) {
  return !ForeignOrigin(Post(headers), origins).empty();
}

constexpr char kHost[] = "shop.example:8080";

TEST(ForeignOrigin, IsToldByWhatTheBrowserSaysOfTheSite) {
  EXPECT_FALSE(IsForeign({{"Host", kHost}, {"Sec-Fetch-Site", "same-origin"}}));
  EXPECT_FALSE(IsForeign({{"Host", kHost}, {"Sec-Fetch-Site", "none"}}));
  EXPECT_TRUE(IsForeign({{"Host", kHost}, {"Sec-Fetch-Site", "same-site"}}));
  EXPECT_TRUE(IsForeign({{"Host", kHost}, {"Sec-Fetch-Site", "cross-site"}}));
  EXPECT_TRUE(IsForeign({{"Host", kHost}, {"Sec-Fetch-Site", "anything"}}));
  EXPECT_TRUE(
      IsForeign({{"Host", kHost}, {"Sec-Fetch-Site", "same-origin"}, {"Sec-Fetch-Site", "cross-site"}}));
}

TEST(ForeignOrigin, IsToldByTheOriginWhereTheBrowserSaysNoMore) {
  EXPECT_FALSE(IsForeign({{"Host", kHost}, {"Origin", "http://shop.example:8080"}}));
  EXPECT_FALSE(IsForeign({{"Host", "Shop.Example"}, {"Origin", "https://shop.example"}}));
  for (const char* origin :
       {"http://shop.example", "http://evil.example:8080", "null", "http://shop.example:8080.evil.example",
        "http://evil.example/shop.example:8080", "shop.example:8080", "file://shop.example:8080",
        "http://shop.example:80800", "http://user@shop.example:8080", "http://"})
    EXPECT_TRUE(IsForeign({{"Host", kHost}, {"Origin", origin}})) << origin;
  EXPECT_TRUE(IsForeign({{"Origin", "http://shop.example"}}));
  EXPECT_TRUE(IsForeign({{"Host", ""}, {"Origin", "http://"}}));
}

TEST(ForeignOrigin, IsNoneOfAClientThatSaysNothing) { EXPECT_FALSE(IsForeign({{"Host", kHost}})); }

TEST(ForeignOrigin, IsOnlyOfRequestsThatMayChangeSomething) {
  HttpRequest request = Post({{"Host", kHost}, {"Sec-Fetch-Site", "cross-site"}});
  request.method = "GET";
  EXPECT_EQ(ForeignOrigin(request, {}), "");
  request.method = "HEAD";
  EXPECT_EQ(ForeignOrigin(request, {}), "");
  request.method = "PUT";
  EXPECT_NE(ForeignOrigin(request, {}), "");
}

TEST(ForeignOrigin, MayBeAllowedByName) {
  const std::vector<std::string> listed = {"https://pay.example"};
  EXPECT_FALSE(IsForeign(
      {{"Host", kHost}, {"Origin", "https://pay.example"}, {"Sec-Fetch-Site", "cross-site"}}, listed));
  EXPECT_TRUE(IsForeign({{"Host", kHost}, {"Origin", "http://pay.example"}}, listed));
  EXPECT_TRUE(IsForeign({{"Host", kHost}, {"Origin", "https://pay.example.evil"}}, listed));
  EXPECT_TRUE(IsForeign({{"Host", kHost}, {"Sec-Fetch-Site", "cross-site"}}, listed));
  EXPECT_FALSE(IsForeign({{"Host", kHost}, {"Origin", "null"}, {"Sec-Fetch-Site", "cross-site"}}, {"*"}));
}

TEST(ForeignOrigin, OfASiteWithTlsIsOneWithoutIt) {
  HttpRequest request = Post({{"Host", "shop.example"}, {"Origin", "http://shop.example"}});
  EXPECT_EQ(ForeignOrigin(request, {}), "");
  request.https = true;
  EXPECT_NE(ForeignOrigin(request, {}), "");
}

TEST(OwnOrigin, IsWhatNoForeignPageCanPretend) {
  EXPECT_TRUE(IsOwnOrigin(Post({{"Host", kHost}, {"Sec-Fetch-Site", "same-origin"}})));
  EXPECT_TRUE(IsOwnOrigin(Post({{"Host", kHost}, {"Sec-Fetch-Site", "none"}})));
  EXPECT_TRUE(IsOwnOrigin(Post({{"Host", kHost}, {"Referer", "http://shop.example:8080/shop/a.asp"}})));
  EXPECT_FALSE(IsOwnOrigin(Post({{"Host", kHost}})));
  EXPECT_FALSE(IsOwnOrigin(Post({{"Host", kHost}, {"Referer", "http://evil.example/shop.example:8080"}})));
  EXPECT_FALSE(IsOwnOrigin(
      Post({{"Host", kHost}, {"Referer", "http://shop.example:8080/"}, {"Sec-Fetch-Site", "cross-site"}})));
}

}  // namespace
}  // namespace hostlinux
