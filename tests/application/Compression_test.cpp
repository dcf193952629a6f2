// What of a site goes out compressed, and what doesn't, because its length would tell of it.

#include <gmock/gmock.h>

#include "tests/application/ServedSite.h"

namespace {

using hosttest::Answer;

class CompressionTest : public hosttest::PageTest {
 protected:
  CompressionTest() {
    site.WritePage("a.asp", std::string(5000, 'x'));
    site.WritePage("styles/a.css", std::string(5000, 'y'));
  }

  std::string CodingOf(const std::string& target, const std::string& headers) {
    const Answer answer = Get(target, "Accept-Encoding: gzip\r\n" + headers);
    const std::string* coding = answer.headers.Find("Content-Encoding");
    return coding == nullptr ? "none" : *coding;
  }

  static constexpr char kOwn[] = "Sec-Fetch-Site: same-origin\r\n";
};

TEST_F(CompressionTest, IsOfPagesThatTheSitesOwnPagesAskFor) {
  EXPECT_EQ(CodingOf("/shop/a.asp", kOwn), "gzip");
  EXPECT_EQ(CodingOf("/shop/a.asp", "Sec-Fetch-Site: none\r\n"), "gzip");
  EXPECT_EQ(CodingOf("/shop/a.asp", "Referer: http://localhost/shop/\r\n"), "gzip");
  const Answer answer = Get("/shop/a.asp", kOwn);
  EXPECT_EQ(answer.body, std::string(5000, 'x'));
  EXPECT_EQ(*answer.headers.Find("Vary"), "Accept-Encoding");
}

TEST_F(CompressionTest, IsOfFilesWhoeverAsks) {
  EXPECT_EQ(CodingOf("/shop/styles/a.css", "Sec-Fetch-Site: cross-site\r\n"), "gzip");
  const Answer answer = Get("/shop/styles/a.css", "Accept-Encoding: gzip\r\n");
  const std::string tag = *answer.headers.Find("ETag");
  EXPECT_EQ(Get("/shop/styles/a.css", "Accept-Encoding: gzip\r\nIf-None-Match: " + tag + "\r\n").status, 304);
  EXPECT_EQ(
      Get("/shop/styles/a.css", "Accept-Encoding: gzip\r\nRange: bytes=0-9\r\nIf-Range: " + tag + "\r\n")
          .status,
      200);
  const Answer part = Get("/shop/styles/a.css", "Accept-Encoding: gzip\r\nRange: bytes=0-9\r\n");
  EXPECT_EQ(part.status, 206);
  EXPECT_EQ(part.body, std::string(10, 'y'));
}

// A page that shows a secret and a text of its address: its compressed length tells whether the text is the secret's
// beginning. The lengths of answers that another site's page causes must not.
TEST_F(CompressionTest, TellsOtherSitesNothingOfASecret) {
  site.WritePage("secret.asp", "<p>token=8f3a1c77</p><%: Request.Text('q') %>" + std::string(3000, 'x'));
  const auto length = [&](const std::string& guess, const std::string& headers) {
    return Get("/shop/secret.asp?q=" + guess, "Accept-Encoding: gzip, zstd\r\n" + headers).body.size();
  };
  EXPECT_NE(length("token%3D8f3a1c77", kOwn), length("token%3Dzqwvybnm", kOwn))
      << "else this test shows nothing";
  for (const char* headers :
       {"Sec-Fetch-Site: cross-site\r\n", "Sec-Fetch-Site: same-site\r\n", "",
        "Referer: http://evil.example/localhost\r\n", "Referer: http://localhost.evil.example/\r\n"})
    EXPECT_EQ(length("token%3D8f3a1c77", headers), length("token%3Dzqwvybnm", headers)) << headers;
}

TEST_F(CompressionTest, IsNotOfAPageThatHoldsTheFormToken) {
  site.WritePage("form.asp", "<%: FormToken() %>" + std::string(5000, 'x'));
  EXPECT_EQ(CodingOf("/shop/form.asp", kOwn), "none");
  site.WritePage("old.asp", "<%: Session.FormToken %>" + std::string(5000, 'x'));
  EXPECT_EQ(CodingOf("/shop/old.asp", kOwn), "none");
}

TEST_F(CompressionTest, IsNotOfWhatSaysNo) {
  site.WritePage("no.asp", "<% Response.CacheControl = 'no-transform'; %>" + std::string(5000, 'x'));
  EXPECT_EQ(CodingOf("/shop/no.asp", kOwn), "none");
  site.WritePage("own.asp",
                 "<% Response.AddHeader('Content-Encoding', 'identity'); %>" + std::string(5000, 'x'));
  EXPECT_EQ(CodingOf("/shop/own.asp", kOwn), "identity");
  site.WritePage("flushed.asp", std::string(5000, 'x') + "<% Response.Flush(); %>" + std::string(5000, 'y'));
  EXPECT_EQ(CodingOf("/shop/flushed.asp", kOwn), "none");
  EXPECT_EQ(Get("/shop/flushed.asp", std::string(kOwn) + "Accept-Encoding: gzip\r\n").body,
            std::string(5000, 'x') + std::string(5000, 'y'));
}

TEST_F(CompressionTest, CanBeSwitchedOff) {
  std::string text = site.Read("site.toml");
  text.insert(text.find("threads"), "compression = false\n");
  site.Write("site.toml", text);
  EXPECT_EQ(CodingOf("/shop/a.asp", kOwn), "none");
  EXPECT_EQ(CodingOf("/shop/styles/a.css", kOwn), "none");
}

}  // namespace
