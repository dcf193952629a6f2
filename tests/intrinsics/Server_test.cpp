#include "host-linux/intrinsics/Server.h"

#include <gtest/gtest.h>

#include "host-fake/ErrorOf.h"
#include "varnel/automation/Collection.h"

namespace {

using namespace hostlinux;
using hostfake::NumberOf;
using varnel::Long;
using varnel::String;
using varnel::Variant;

Server::Options ShopOptions() {
  Server::Options options;
  options.pagePath = "/shop/lists/list.asp";
  options.root = "/shop";
  options.pagesFolder = "/srv/shop/pages";
  return options;
}

TEST(Server, UrlEncodingKeepsLettersAndDigitsOnly) {
  Server server(ShopOptions());
  EXPECT_EQ(server.URLEncode(u"azAZ09"), u"azAZ09");
  EXPECT_EQ(server.URLEncode(u"a b+c"), u"a+b%2Bc");
  EXPECT_EQ(server.URLEncode(u"-_.~/?=&%*"), u"%2D%5F%2E%7E%2F%3F%3D%26%25%2A");
  EXPECT_EQ(server.URLEncode(u"\u00E4\u20AC\U0001F600"), u"%C3%A4%E2%82%AC%F0%9F%98%80");
  EXPECT_EQ(server.URLEncode(u""), u"");
  EXPECT_EQ(server.CallWith(u"urlencode", Long{12}), Variant(u"12"));
}

TEST(Server, HtmlEncodingKnowsFourCharacters) {
  Server server(ShopOptions());
  EXPECT_EQ(server.HTMLEncode(u"<a href=\"x\">&amp; 'ä\u20AC"),
            u"&lt;a href=&quot;x&quot;&gt;&amp;amp; 'ä\u20AC");
  EXPECT_EQ(server.CallWith(u"HTMLEncode", u"<"), Variant(u"&lt;"));
}

TEST(Server, PathsOfTheSiteBecomeFiles) {
  Server server(ShopOptions());
  EXPECT_EQ(server.MapPath(u"/shop/a.txt"), u"/srv/shop/pages/a.txt");
  EXPECT_EQ(server.MapPath(u"/shop"), u"/srv/shop/pages");
  EXPECT_EQ(server.MapPath(u"b.txt"), u"/srv/shop/pages/lists/b.txt");
  EXPECT_EQ(server.MapPath(u"../c/./d.txt"), u"/srv/shop/pages/c/d.txt");
  EXPECT_EQ(server.MapPath(u"..\\c.txt"), u"/srv/shop/pages/c.txt");
}

TEST(Server, PathsOutsideTheSiteAreRefused) {
  Server server(ShopOptions());
  for (const char16_t* path : {u"/", u"/other/a.txt", u"/shopping/a.txt", u"../../a.txt",
                               u"../../../etc/passwd", u"/shop/../a", u"..\\..\\a"}) {
    EXPECT_EQ(NumberOf([&] { server.MapPath(path); }), 5);
  }
  EXPECT_EQ(NumberOf([&] { server.MapPath(String(u"a\0b", 3)); }), 5);
}

TEST(Server, ComponentsAreMadeByTheHost) {
  Server::Options options = ShopOptions();
  options.createObject = [](varnel::StringView progID) -> varnel::ObjectPtr {
    EXPECT_EQ(progID, u"Varnel.Page");
    return std::make_shared<varnel::Collection>();
  };
  EXPECT_NE(varnel::CastObject<varnel::Collection>(Server(options).CallWith(u"CreateObject", u"Varnel.Page")),
            nullptr);
  EXPECT_EQ(NumberOf([] { Server(ShopOptions()).CreateObject(u"Varnel.Page"); }), 438);
}

TEST(Server, OtherPagesAreRunByTheirPathBelowThePages) {
  std::vector<std::string> run;
  int ends = 0;
  Server::Options options = ShopOptions();
  options.execute = [&](const std::string& page) { run.push_back(page); };
  options.endPage = [&] { ++ends; };
  Server server(options);
  server.CallWith(u"Execute", u"/shop/head.asp");
  EXPECT_EQ(ends, 0);
  server.CallWith(u"Transfer", u"other.asp");
  EXPECT_EQ(run, (std::vector<std::string>{"head.asp", "lists/other.asp"}));
  EXPECT_EQ(ends, 1);
}

TEST(Server, ScriptTimeoutIsToldToTheHost) {
  Long told = 0;
  Server::Options options = ShopOptions();
  options.setScriptTimeout = [&](Long seconds) { told = seconds; };
  Server server(options);
  EXPECT_EQ(server.Get(u"ScriptTimeout"), Variant(Long{30}));
  server.Put(u"ScriptTimeout", Long{90});
  EXPECT_EQ(told, 90);
  EXPECT_EQ(server.Get(u"ScriptTimeout"), Variant(Long{90}));
  EXPECT_EQ(NumberOf([&] { server.Put(u"ScriptTimeout", Long{0}); }), 5);
}

}  // namespace
