#include "host-linux/intrinsics/Response.h"

#include <gtest/gtest.h>

#include "host-fake/ErrorOf.h"
#include "varnel/automation/Convert.h"

namespace {

using namespace hostlinux;
using hostfake::NumberOf;
using varnel::Long;
using varnel::Variant;

constexpr Long kFailure = static_cast<Long>(0x80004005);

class FakeLink : public ClientLink {
 public:
  bool IsConnected() const override { return connected; }
  bool IsFlushed() const override { return !parts.empty(); }
  void Flush(HttpResponse soFar) override { parts.push_back(std::move(soFar)); }

  bool connected = true;
  std::vector<HttpResponse> parts;
};

class ResponseTest : public testing::Test {
 protected:
  ResponseTest() {
    Response::Options options;
    options.maxBuffer = 100;
    options.link = &m_link;
    options.endPage = [this] { ++m_ends; };
    options.now = [] { return std::time_t{784111777}; };
    options.cookiePath = "/shop";
    m_response = std::make_shared<Response>(options);
  }

  Variant Call(varnel::StringView name, std::vector<Variant> arguments = {}) {
    return m_response->Call(name, arguments);
  }

  FakeLink m_link;
  int m_ends = 0;
  std::shared_ptr<Response> m_response;
};

TEST_F(ResponseTest, PageIsHtmlInUtf8AndPrivateUnlessItSaysOtherwise) {
  m_response->Write(u"\u20AC");
  m_response->WriteUtf8("<p>");
  const HttpResponse response = m_response->Take();
  EXPECT_EQ(response.status, 200);
  EXPECT_EQ(response.body, "\xE2\x82\xAC<p>");
  EXPECT_EQ(*response.headers.Find("Content-Type"), "text/html; charset=utf-8");
  EXPECT_EQ(*response.headers.Find("Cache-Control"), "private");
}

TEST_F(ResponseTest, ValuesAreWrittenAsTextAndNothingForNoValue) {
  Call(u"Write", {Variant(Long{7})});
  Call(u"write", {Variant(true)});
  Call(u"Write", {Variant(varnel::Null())});
  Call(u"Write", {Variant()});
  Call(u"Write", {Variant(varnel::Missing())});
  Call(u"Write", {Variant(1.5)});
  EXPECT_EQ(m_response->Take().body, "7True1.5");
}

TEST_F(ResponseTest, CharacterSplitBetweenTwoWritesStaysWhole) {
  m_response->Write(u"a\xD83D");
  m_response->Write(u"\xDE00");
  m_response->Write(u"\xD83D");
  m_response->WriteUtf8("b");
  m_response->Write(u"\xD83D");
  EXPECT_EQ(m_response->Take().body,
            "a\xF0\x9F\x98\x80\xEF\xBF\xBD"
            "b\xEF\xBF\xBD");
}

TEST_F(ResponseTest, BytesAreWrittenAsTheyAre) {
  Call(u"BinaryWrite", {varnel::BytesPtr(std::make_shared<const varnel::Bytes>(varnel::Bytes{0, 255}))});
  EXPECT_EQ(m_response->Take().body, std::string("\0\xFF", 2));
  EXPECT_EQ(NumberOf([&] { Call(u"BinaryWrite", {Variant(u"text")}); }), 13);
}

TEST_F(ResponseTest, PageThatWritesTooMuchHasFailed) {
  m_response->WriteUtf8(std::string(100, 'a'));
  EXPECT_FALSE(m_response->IsOverfull());
  EXPECT_EQ(NumberOf([&] { m_response->Write(u"b"); }), kFailure);
  EXPECT_TRUE(m_response->IsOverfull());
}

TEST_F(ResponseTest, FlushedTextCountsToo) {
  m_response->WriteUtf8(std::string(60, 'a'));
  m_response->Flush();
  EXPECT_EQ(NumberOf([&] { m_response->WriteUtf8(std::string(41, 'b')); }), kFailure);
}

TEST_F(ResponseTest, ClearThrowsAwayWhatIsNotSent) {
  m_response->Write(u"gone");
  Call(u"Clear");
  m_response->Write(u"kept");
  EXPECT_EQ(m_response->Take().body, "kept");
}

TEST_F(ResponseTest, EndStopsTheScriptAndFurtherWriting) {
  m_response->Write(u"a");
  Call(u"End");
  m_response->Write(u"b");
  Call(u"Clear");
  Call(u"End");
  EXPECT_EQ(m_ends, 1);
  EXPECT_EQ(m_response->Take().body, "a");
}

TEST_F(ResponseTest, RedirectReplacesThePageAndEndsIt) {
  m_response->Write(u"half a page");
  Call(u"Redirect", {Variant(u"/shop/a b.asp?x=%20\r\nSet-Cookie: y\u20AC<")});
  const HttpResponse response = m_response->Take();
  EXPECT_EQ(m_ends, 1);
  EXPECT_EQ(response.status, 302);
  EXPECT_EQ(*response.headers.Find("Location"), "/shop/a%20b.asp?x=%20%0D%0ASet-Cookie:%20y%E2%82%AC%3C");
  EXPECT_EQ(response.body.find("half a page"), std::string::npos);
}

TEST_F(ResponseTest, StatusIsNumberAndReason) {
  EXPECT_EQ(m_response->Get(u"Status"), Variant(u"200 OK"));
  m_response->Put(u"Status", u"404 No such product");
  EXPECT_EQ(m_response->Get(u"status"), Variant(u"404 No such product"));
  m_response->Put(u"Status", u"404");
  EXPECT_EQ(m_response->Get(u"Status"), Variant(u"404 Not Found"));
  for (const char16_t* bad : {u"", u"OK", u"99", u"100 Continue", u"600 x", u"2000"}) {
    EXPECT_EQ(NumberOf([&] { m_response->Put(u"Status", bad); }), 5);
  }
  EXPECT_EQ(m_response->Take().status, 404);
}

TEST_F(ResponseTest, TypeAndCharset) {
  m_response->Put(u"ContentType", u"image/png");
  EXPECT_EQ(*m_response->Take().headers.Find("Content-Type"), "image/png");
  m_response->Put(u"ContentType", u"text/csv");
  EXPECT_EQ(*m_response->Take().headers.Find("Content-Type"), "text/csv; charset=utf-8");
  m_response->Put(u"ContentType", u"text/plain; charset=utf-8");
  EXPECT_EQ(*m_response->Take().headers.Find("Content-Type"), "text/plain; charset=utf-8");
  m_response->Put(u"Charset", u"UTF-8");
  EXPECT_EQ(m_response->Get(u"Charset"), Variant(u"utf-8"));
  EXPECT_EQ(NumberOf([&] { m_response->Put(u"Charset", u"iso-8859-1"); }), 5);
}

TEST_F(ResponseTest, HeadersAreAddedAndForgedOnesRefused) {
  Call(u"AddHeader", {Variant(u"X-A"), Variant(u"1")});
  Call(u"AddHeader", {Variant(u"x-a"), Variant(u"2")});
  Call(u"AddHeader", {Variant(u"Content-Type"), Variant(u"text/plain")});
  EXPECT_EQ(NumberOf([&] { Call(u"AddHeader", {Variant(u"X-B"), Variant(u"a\r\nX-C: d")}); }), 5);
  EXPECT_EQ(NumberOf([&] { Call(u"AddHeader", {Variant(u"X B"), Variant(u"a")}); }), 5);
  EXPECT_EQ(NumberOf([&] { m_response->Put(u"ContentType", u"a\r\nb"); }), 5);
  const HttpResponse response = m_response->Take();
  EXPECT_EQ(response.headers.Joined("X-A"), "1, 2");
  EXPECT_EQ(response.headers.Joined("Content-Type"), "text/plain; charset=utf-8");
}

TEST_F(ResponseTest, ExpiresCountsMinutesFromNow) {
  EXPECT_EQ(m_response->Get(u"Expires"), Variant());
  m_response->Put(u"Expires", Long{2});
  m_response->Put(u"CacheControl", u"public");
  const HttpResponse response = m_response->Take();
  EXPECT_EQ(*response.headers.Find("Expires"), "Sun, 06 Nov 1994 08:51:37 GMT");
  EXPECT_EQ(*response.headers.Find("Cache-Control"), "public");
}

TEST_F(ResponseTest, CookiesAreSetByNameInAnyCase) {
  const auto cookies = m_response->Cookies();
  cookies->Put(u"Basket", u"1 2");
  cookies->Put(u"basket", u"3;");
  varnel::CastObject<ResponseCookie>(cookies->Get(u"other"))->Put(u"Secure", true);
  cookies->Item(u"other")->Put(u"HttpOnly", false);
  cookies->Item(u"other")->Put(u"Path", u"/");
  EXPECT_EQ(cookies->Item(u"BASKET")->CallDefault({}), Variant(u"3;"));
  EXPECT_EQ(cookies->Get(u"Count"), Variant(Long{2}));
  EXPECT_EQ(NumberOf([&] { cookies->Put(u"count", u"x"); }), 438);
  EXPECT_EQ(NumberOf([&] { cookies->Put(u"", u"x"); }), 5);
  std::vector<std::string> lines;
  for (const auto& field : m_response->Take().headers) {
    if (field.name == "Set-Cookie") lines.push_back(field.value);
  }
  EXPECT_EQ(lines, (std::vector<std::string>{"Basket=3%3B; Path=/shop; HttpOnly; SameSite=Lax",
                                             "other=; Path=/; Secure; SameSite=Lax"}));
}

TEST_F(ResponseTest, FlushSendsTheHeadOnceAndClosesIt) {
  m_response->Put(u"Status", u"404 Gone");
  m_response->Write(u"a");
  Call(u"Flush");
  m_response->Write(u"b");
  Call(u"Flush");
  m_response->Write(u"cleared");
  Call(u"Clear");
  m_response->Write(u"c");
  ASSERT_EQ(m_link.parts.size(), 2U);
  EXPECT_EQ(m_link.parts[0].status, 404);
  EXPECT_EQ(m_link.parts[0].body, "a");
  EXPECT_EQ(m_link.parts[1].body, "b");
  EXPECT_EQ(NumberOf([&] { m_response->Put(u"Status", u"200"); }), kFailure);
  EXPECT_EQ(NumberOf([&] { Call(u"Redirect", {Variant(u"/")}); }), kFailure);
  EXPECT_EQ(NumberOf([&] { Call(u"AddHeader", {Variant(u"a"), Variant(u"b")}); }), kFailure);
  EXPECT_EQ(NumberOf([&] { m_response->Cookies()->Put(u"a", u"b"); }), kFailure);
  const HttpResponse rest = m_response->Take();
  EXPECT_EQ(rest.body, "c");
  EXPECT_TRUE(rest.headers.empty());
}

TEST_F(ResponseTest, WithoutABufferEachWriteIsSent) {
  EXPECT_EQ(m_response->Get(u"Buffer"), Variant(true));
  m_response->Write(u"a");
  m_response->Put(u"Buffer", false);
  m_response->Write(u"b");
  ASSERT_EQ(m_link.parts.size(), 2U);
  EXPECT_EQ(m_link.parts[1].body, "b");
}

TEST_F(ResponseTest, WithoutAListenerFlushOnlyClosesTheHead) {
  Response::Options options;
  options.maxBuffer = 5;
  Response response(options);
  response.Write(u"ab");
  response.Flush();
  response.Write(u"x");
  response.Clear();
  EXPECT_EQ(NumberOf([&] { response.SetStatus(u"404"); }), kFailure);
  response.Write(u"cde");
  const HttpResponse whole = response.Take();
  EXPECT_EQ(whole.body, "abcde");
  EXPECT_EQ(whole.status, 200);
  EXPECT_NE(whole.headers.Find("Content-Type"), nullptr);
}

TEST_F(ResponseTest, ClientThatHasGoneIsSeen) {
  EXPECT_EQ(m_response->Get(u"IsClientConnected"), Variant(true));
  m_link.connected = false;
  EXPECT_EQ(m_response->Get(u"IsClientConnected"), Variant(false));
}

}  // namespace
