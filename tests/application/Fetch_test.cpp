// Pages that ask other servers: which they may, and what is taken of the answers.
#include "host-linux/application/Fetch.h"

#include <arpa/inet.h>
#include <gmock/gmock.h>

#include <atomic>
#include <cstdlib>
#include <mutex>
#include <thread>

#include "host-linux/web/HttpServer.h"
#include "host-linux/web/ListenSocket.h"
#include "tests/application/ServedSite.h"

namespace {

using namespace hostlinux;
using testing::HasSubstr;

// Another server on this machine, which remembers what it was asked.
class OtherServer {
 public:
  OtherServer() : m_server({}, Handlers(), ListenAt("127.0.0.1:0")) {}
  std::string Origin(const std::string& host = "127.0.0.1") const {
    return "http://" + host + ":" + std::to_string(m_server.Port());
  }
  int Asked() const { return m_asked; }
  HttpRequest Last() {
    const std::lock_guard lock(m_mutex);
    return m_last;
  }
  std::atomic<const char*> target = "";  // of /to

 private:
  ServerHandlers Handlers() {
    ServerHandlers handlers;
    handlers.page = [this](HttpRequest request, ClientLink&) {
      const HttpResponse response = Answer(request);
      ++m_asked;
      const std::lock_guard lock(m_mutex);
      m_last = std::move(request);
      return response;
    };
    return handlers;
  }

  HttpResponse Answer(const HttpRequest& request) {
    HttpResponse response;
    response.headers.Set("Content-Type", "application/json");
    response.body = "{\"path\":\"" + request.path + "\",\"euro\":\"\xE2\x82\xAC\"}";
    if (request.path == "/missing") response.status = 404;
    if (request.path == "/huge") response.body = std::string(3 << 20, 'x');
    if (request.path == "/loop") Redirect(response, "/loop");
    if (request.path == "/to") Redirect(response, target.load());
    if (request.path == "/keep") {
      Redirect(response, target.load());
      response.status = 307;
    }
    if (request.path == "/slow") std::this_thread::sleep_for(std::chrono::milliseconds(1500));
    if (request.path == "/heads")
      for (int i = 0; i < 100; ++i) response.headers.Add("X-" + std::to_string(i), std::string(1000, 'x'));
    return response;
  }
  static void Redirect(HttpResponse& response, const std::string& where) {
    response.status = 302;
    response.headers.Set("Location", where);
  }

  std::mutex m_mutex;
  HttpRequest m_last;
  std::atomic<int> m_asked = 0;
  HttpServer m_server;
};

class FetchTest : public hosttest::PageTest {
 protected:
  void Allow(const std::string& addresses, const std::string& more = "") {
    site.Write("site.toml", site.Read("site.toml") + "\n[fetch]\naddresses = [" + addresses + "]\n" + more);
  }
  void AllowOther(const std::string& more = "") { Allow("\"" + other.Origin() + "\"", more); }

  std::string Text(const std::string& path, const std::string& options = "{}") {
    return Output("<%= fetchNow('" + other.Origin() + path + "', " + options + ").text() %>");
  }
  // The sentence of its error.
  std::string ErrorOf(const std::string& url, const std::string& options = "{}") {
    return Output("<% try { fetchNow('" + url + "', " + options +
                  "); Response.Write('no error'); } catch (e) { Response.Write(e.message); } %>");
  }

  OtherServer other;
};

TEST_F(FetchTest, AsksNobodyByDefault) {
  EXPECT_EQ(ErrorOf(other.Origin() + "/a"),
            "\"" + other.Origin() + "\" isn't one of [fetch] addresses in site.toml");
  EXPECT_EQ(other.Asked(), 0);
}

TEST_F(FetchTest, GivesStatusHeadersAndText) {
  AllowOther();
  EXPECT_EQ(Output("<% var a = fetchNow('" + other.Origin() +
                   "/a/../b?c#d'); Response.Write([a.status, a.ok, a.url, a.headers.get('Content-TYPE'),"
                   " a.headers.get('none'), a.json().euro, a.bytes().length].join(' ')); %>"),
            "200 true " + other.Origin() + "/b?c#d application/json  \xE2\x82\xAC 26");
  EXPECT_EQ(Output("<% var a = fetchNow('" + other.Origin() +
                   "/missing'); Response.Write(a.status + ' ' + a.ok); %>"),
            "404 false");
}

TEST_F(FetchTest, GivesThePromisesOfBrowsers) {
  AllowOther();
  site.WritePage("later.asp", "<% (async () => { try { var a = await fetch('" + other.Origin() +
                                  "/a'); Response.Write((await a.json()).path + (await "
                                  "a.arrayBuffer()).byteLength); await fetch('http://no.example/'); }"
                                  " catch (e) { Response.Write(' ' + e.message); } })(); %>");
  EXPECT_EQ(Get("/shop/later.asp").body,
            "/a26 \"http://no.example\" isn't one of [fetch] addresses in site.toml");
}

TEST_F(FetchTest, SendsMethodHeadersAndBody) {
  AllowOther();
  Text("/post", "{method: 'put', headers: {'X-A': 'b', 'X-Empty': ''}, body: 'a\\u20AC'}");
  HttpRequest last = other.Last();
  EXPECT_EQ(last.method, "PUT");
  EXPECT_EQ(last.body, "a\xE2\x82\xAC");
  EXPECT_EQ(*last.headers.Find("X-A"), "b");
  EXPECT_EQ(*last.headers.Find("X-Empty"), "");
  EXPECT_EQ(last.headers.Find("Accept-Encoding"), nullptr);
  Text("/post", "{method: 'POST', body: new URLSearchParams({a: 'b c'})}");
  last = other.Last();
  EXPECT_EQ(last.body, "a=b+c");
  EXPECT_EQ(*last.headers.Find("Content-Type"), "application/x-www-form-urlencoded");
}

TEST_F(FetchTest, SendsNothingThatForgesARequest) {
  AllowOther();
  for (const char* options :
       {"{headers: {'X-A': 'b\\r\\nX-B: c'}}", "{headers: {'Host': 'evil'}}",
        "{headers: {'Content-Length': '1'}}", "{headers: {'transfer-encoding': 'chunked'}}",
        "{headers: {'a b': 'c'}}", "{method: 'CONNECT'}", "{method: 'GET / HTTP/1.1\\r\\nX: y'}"})
    EXPECT_THAT(ErrorOf(other.Origin() + "/a", options), HasSubstr("fetch: ")) << options;
  EXPECT_EQ(other.Asked(), 0);
}

TEST_F(FetchTest, AddressesThatLookLikeAnAllowedOneAreRefused) {
  AllowOther();
  const std::string port = other.Origin().substr(other.Origin().rfind(':'));
  const std::vector<std::string> urls = {"http://localhost" + port + "/",
                                         "http://127.0.0.1:1/",
                                         "https://127.0.0.1" + port + "/",
                                         "http://127.0.0.1" + port + "@evil.example/",
                                         "http://evil.example\\\\@127.0.0.1" + port + "/",
                                         "http://127.0.0.1" + port + ".evil.example/",
                                         "http://127.0.0.2" + port + "/",
                                         "http://user:pw@127.0.0.1" + port + "/",
                                         "http://[::ffff:127.0.0.1]" + port + "/",
                                         "file:///etc/passwd",
                                         "gopher://127.0.0.1" + port + "/x",
                                         "//127.0.0.1/",
                                         "a.asp",
                                         "http://127.0.0.1" + port + "\\0/"};
  for (const std::string& url : urls)
    EXPECT_THAT(ErrorOf(url), testing::AnyOf(HasSubstr("isn't one of"), HasSubstr("no address"),
                                             HasSubstr("must not hold")))
        << url;
  EXPECT_EQ(other.Asked(), 0);
}

TEST_F(FetchTest, ANameThatLeadsInsideIsRefusedWhereTheConnectionIsMade) {
  // The machine's own name, or one that its hosts file knows: ip6-localhost leads to ::1.
  Allow("\"http://ip6-localhost:9\", \"http://localhost:9\"");
  const std::string named = ErrorOf("http://ip6-localhost:9/");
  EXPECT_THAT(named, testing::AnyOf(HasSubstr("leads into a private network"), HasSubstr("can't be asked")));
  EXPECT_THAT(ErrorOf("http://localhost:9/"), HasSubstr("can't be asked")) << "written out by the owner";
}

TEST_F(FetchTest, RedirectionsLeadOnlyToAllowedAddresses) {
  AllowOther();
  other.target = "/b";
  EXPECT_THAT(Text("/to"), HasSubstr("\"/b\""));
  for (const char* target :
       {"http://169.254.169.254/latest/meta-data/", "http://localhost/", "file:///etc/passwd",
        "//evil.example/x", "http://127.0.0.1:1/", "gopher://127.0.0.1/"}) {
    other.target = target;
    EXPECT_THAT(ErrorOf(other.Origin() + "/to"),
                testing::AnyOf(HasSubstr("isn't one of"), HasSubstr("no address")))
        << target;
  }
  EXPECT_THAT(ErrorOf(other.Origin() + "/loop"), HasSubstr("redirects again and again"));
}

TEST_F(FetchTest, SecretsOfARequestStayWithItsFirstSite) {
  OtherServer third;
  Allow("\"" + other.Origin() + "\", \"" + third.Origin() + "\"");
  const std::string target = third.Origin() + "/b";
  other.target = target.c_str();
  Text("/to", "{headers: {Authorization: 'secret', 'X-Key': 'secret'}}");
  EXPECT_EQ(third.Asked(), 1);
  EXPECT_EQ(third.Last().headers.Find("Authorization"), nullptr);
  EXPECT_EQ(third.Last().headers.Find("X-Key"), nullptr);
  Text("/to", "{method: 'POST', body: 'secret'}");
  EXPECT_EQ(third.Last().method, "GET");
  EXPECT_EQ(third.Last().body, "");
  EXPECT_THAT(ErrorOf(other.Origin() + "/keep", "{method: 'POST', body: 'secret'}"),
              HasSubstr("sends the request's body on"));
  EXPECT_EQ(third.Asked(), 2);
}

TEST_F(FetchTest, HugeAnswersAreCutOff) {
  AllowOther();
  EXPECT_THAT(ErrorOf(other.Origin() + "/huge"), HasSubstr("is longer than [fetch] max_bytes"));
  EXPECT_THAT(ErrorOf(other.Origin() + "/heads"), HasSubstr("is longer than"));
  EXPECT_THAT(Text("/a"), HasSubstr("\"/a\"")) << "the next one is answered";
}

TEST_F(FetchTest, SlowAnswersEndWithTheirTime) {
  AllowOther("timeout = \"300ms\"\n");
  EXPECT_THAT(ErrorOf(other.Origin() + "/slow"), HasSubstr("has not answered in time"));
}

TEST_F(FetchTest, WhatThePageHasLeftIsAllThereIs) {
  AllowOther("timeout = \"60s\"\n");
  const auto begin = std::chrono::steady_clock::now();
  EXPECT_EQ(Ask("<% Server.ScriptTimeout = 1; fetchNow('" + other.Origin() + "/slow'); %>").status, 500);
  EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(50));
}

TEST_F(FetchTest, TheEnvironmentsProxyIsNotAsked) {
  ::setenv("http_proxy", "http://127.0.0.1:9", 1);
  AllowOther();
  EXPECT_THAT(Text("/a"), HasSubstr("\"/a\""));
  ::unsetenv("http_proxy");
}

bool IsPublic(const std::string& text) {
  sockaddr_in four{};
  four.sin_family = AF_INET;
  if (inet_pton(AF_INET, text.c_str(), &four.sin_addr) == 1)
    return IsPublicAddress(reinterpret_cast<sockaddr&>(four));
  sockaddr_in6 six{};
  six.sin6_family = AF_INET6;
  EXPECT_EQ(inet_pton(AF_INET6, text.c_str(), &six.sin6_addr), 1) << text;
  return IsPublicAddress(reinterpret_cast<sockaddr&>(six));
}

TEST(PublicAddress, IsNoneOfThisMachineOrAPrivateNetwork) {
  for (const char* address :
       {"0.0.0.0",     "0.1.2.3",          "10.0.0.1",        "100.64.0.1",      "100.127.255.255",
        "127.0.0.1",   "127.255.0.1",      "169.254.169.254", "172.16.0.1",      "172.31.255.255",
        "192.168.0.1", "192.0.0.1",        "192.0.2.1",       "198.18.0.1",      "198.19.255.255",
        "203.0.113.1", "224.0.0.1",        "240.0.0.1",       "255.255.255.255", "::",
        "::1",         "::ffff:127.0.0.1", "::ffff:10.0.0.1", "64:ff9b::7f00:1", "2002:7f00:1::",
        "2001::1",     "2001:db8::1",      "fc00::1",         "fd12::1",         "fe80::1",
        "ff02::1",     "::127.0.0.1"})
    EXPECT_FALSE(IsPublic(address)) << address;
  for (const char* address :
       {"1.1.1.1", "9.255.255.255", "11.0.0.1", "100.63.0.1", "100.128.0.1", "172.15.0.1", "172.32.0.1",
        "192.169.0.1", "198.17.0.1", "198.20.0.1", "223.255.255.255", "2606:4700::1111", "2001:4860::8888",
        "::ffff:1.1.1.1", "64:ff9b::101:101", "2002:101:101::"})
    EXPECT_TRUE(IsPublic(address)) << address;
}

}  // namespace
