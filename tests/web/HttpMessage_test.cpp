#include "host-linux/web/HttpMessage.h"

#include <gtest/gtest.h>

#include "host-linux/web/ErrorPage.h"
#include "host-linux/web/HttpDate.h"

namespace {

using namespace hostlinux;

TEST(HttpMessage, HeadersAreFoundInAnyCaseAndJoinedInOrder) {
  HeaderList headers;
  headers.Add("Accept", "text/html");
  headers.Add("X-A", "1");
  headers.Add("ACCEPT", "text/plain");
  EXPECT_EQ(*headers.Find("aCCept"), "text/html");
  EXPECT_EQ(headers.Joined("accept"), "text/html, text/plain");
  EXPECT_EQ(headers.CountOf("accept"), 2U);
  EXPECT_EQ(headers.Find("Accep"), nullptr);
  headers.Set("accept", "*/*");
  EXPECT_EQ(headers.Joined("Accept"), "*/*");
}

TEST(HttpMessage, NoValueForgesAnotherHeader) {
  HttpResponse response;
  response.reason = "Fine\r\nX-Evil: 1";
  response.headers.Add("X-A", std::string("b\r\nX-Evil: 2\0", 13));
  response.headers.Add("X B", "c");
  response.headers.Add("X-C\r\nX-Evil", "d");
  EXPECT_EQ(HeadText(response), "HTTP/1.1 200 Fine  X-Evil: 1\r\nX-A: b  X-Evil: 2 \r\n\r\n");
}

TEST(HttpMessage, ErrorPagesNameTheRequestAndEscapeTheDetail) {
  const HttpResponse response = ErrorResponse(404, "00ab", "<b>&\"");
  EXPECT_EQ(response.status, 404);
  EXPECT_EQ(*response.headers.Find("Content-Type"), "text/html; charset=utf-8");
  EXPECT_NE(response.body.find("<h1>404 Not Found</h1>"), std::string::npos);
  EXPECT_NE(response.body.find("Request 00ab"), std::string::npos);
  EXPECT_NE(response.body.find("&lt;b&gt;&amp;&quot;"), std::string::npos);
  EXPECT_EQ(response.body.find("<b>"), std::string::npos);
}

TEST(HttpDate, DatesAreWrittenAndReadInOneForm) {
  EXPECT_EQ(FormatHttpDate(784111777), "Sun, 06 Nov 1994 08:49:37 GMT");
  EXPECT_EQ(ParseHttpDate("Sun, 06 Nov 1994 08:49:37 GMT"), 784111777);
  for (const char* text :
       {"", "Mon, 06 Nov 1994 08:49:37 GMT", "Sun, 06 Nov 1994 08:49:37 CET", "Sun, 31 Feb 1994 08:49:37 GMT",
        "Sunday, 06-Nov-94 08:49:37 GMT", "Sun, 06 Nov 1994 0x:49:37 GMT"}) {
    EXPECT_FALSE(ParseHttpDate(text)) << text;
  }
}

}  // namespace
