#include "host-linux/intrinsics/Cookies.h"

#include <gtest/gtest.h>

namespace {

using namespace hostlinux;
using Fields = std::vector<FormField>;

TEST(Cookies, HeaderIsTakenApart) {
  EXPECT_EQ(ParseCookies("a=1; b=\"two\";c = x=y ; d="),
            (Fields{{"a", "1"}, {"b", "two"}, {"c", "x=y"}, {"d", ""}}));
}

TEST(Cookies, ValuesAreDecodedAndPlusStays) {
  EXPECT_EQ(ParseCookies("a=%E2%82%AC+1; %62=2"), (Fields{{"a", "\xE2\x82\xAC+1"}, {"b", "2"}}));
}

TEST(Cookies, ForeignCookiesNeverBreakAPage) {
  EXPECT_EQ(ParseCookies("a=100%; b=%FF; c=%zz"), (Fields{{"a", "100%"}, {"b", "%FF"}, {"c", "%zz"}}));
  EXPECT_EQ(ParseCookies("noequals; =x; ;; ok=1; bad=\xFF"), (Fields{{"ok", "1"}}));
  EXPECT_TRUE(ParseCookies("").empty());
}

TEST(Cookies, SeveralHeadersCountAsOne) {
  HeaderList headers;
  headers.Add("Cookie", "a=1");
  headers.Add("cookie", "b=2; c=3");
  EXPECT_EQ(ParseCookies(CookieHeaderOf(headers)), (Fields{{"a", "1"}, {"b", "2"}, {"c", "3"}}));
  EXPECT_EQ(CookieHeaderOf(HeaderList()), "");
}

TEST(Cookies, CookieIsWrittenWithItsAttributes) {
  Cookie cookie;
  cookie.name = "a b";
  cookie.value = "1;\r\n\xE2\x82\xAC";
  cookie.path = "/shop; Domain=evil";
  cookie.expires = 784111777;
  cookie.secure = true;
  EXPECT_EQ(
      FormatCookie(cookie),
      "a%20b=1%3B%0D%0A%E2%82%AC; Expires=Sun, 06 Nov 1994 08:49:37 GMT; Path=/shop Domain=evil; Secure; "
      "HttpOnly; SameSite=Lax");
}

TEST(Cookies, WrittenCookieReadsBack) {
  Cookie cookie;
  cookie.name = "n";
  cookie.value = "a+b %\"\\;,\xC3\xA4";
  const std::string text = FormatCookie(cookie);
  EXPECT_EQ(ParseCookies(text.substr(0, text.find(';'))), (Fields{{"n", cookie.value}}));
}

}  // namespace
