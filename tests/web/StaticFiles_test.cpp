#include "host-linux/web/StaticFiles.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>
#include <fstream>

#include "TestClient.h"
#include "host-linux/web/HttpServer.h"
#include "host-linux/web/ListenSocket.h"

namespace {

using namespace hostlinux;
namespace fs = std::filesystem;

class StaticFilesTest : public testing::Test {
 protected:
  StaticFilesTest() {
    std::string name = (fs::temp_directory_path() / "static_test_XXXXXX").string();
    m_outer = ::mkdtemp(name.data());
    m_root = m_outer / "pages";
    fs::create_directories(m_root / "images");
    Write(m_root / "style.css", "body{}");
    Write(m_root / "images/logo.png", "0123456789");
    Write(m_outer / "secret.txt", "secret");
    m_files = std::make_unique<StaticFiles>(m_root.string(), "public, max-age=60");
  }

  ~StaticFilesTest() override { fs::remove_all(m_outer); }

  static void Write(const fs::path& path, const std::string& text) { std::ofstream(path) << text; }

  HttpResponse Get(const std::string& relative, const std::string& header = "",
                   const std::string& value = "") {
    HttpRequest request;
    request.method = "GET";
    if (!header.empty()) request.headers.Add(header, value);
    return m_files->Serve(request, relative);
  }

  // The bytes that the server would send.
  static std::string BodyOf(const HttpResponse& response) {
    if (!response.file) return response.body;
    std::string body(response.file->length, '\0');
    const ssize_t got = ::pread(response.file->file->Get(), body.data(), body.size(),
                                static_cast<off_t>(response.file->offset));
    body.resize(static_cast<std::size_t>(std::max<ssize_t>(got, 0)));
    return body;
  }

  fs::path m_outer;
  fs::path m_root;
  std::unique_ptr<StaticFiles> m_files;
};

TEST_F(StaticFilesTest, ListedFileIsServedWithItsTypeAndCachingHeaders) {
  const HttpResponse response = Get("style.css");
  EXPECT_EQ(response.status, 200);
  EXPECT_EQ(BodyOf(response), "body{}");
  EXPECT_EQ(*response.headers.Find("Content-Type"), "text/css; charset=utf-8");
  EXPECT_EQ(*response.headers.Find("Cache-Control"), "public, max-age=60");
  EXPECT_EQ(*response.headers.Find("X-Content-Type-Options"), "nosniff");
  EXPECT_NE(response.headers.Find("ETag"), nullptr);
  EXPECT_NE(response.headers.Find("Last-Modified"), nullptr);
}

TEST_F(StaticFilesTest, TypesComeFromTheExtension) {
  EXPECT_EQ(StaticTypeOf("a.txt"), "text/plain; charset=utf-8");
  EXPECT_EQ(StaticTypeOf("a/b.min.js"), "text/javascript; charset=utf-8");
  EXPECT_EQ(StaticTypeOf("PHOTO.JPG"), "image/jpeg");
  EXPECT_EQ(StaticTypeOf("f.woff2"), "font/woff2");
  EXPECT_EQ(StaticTypeOf("f.svg"), "image/svg+xml; charset=utf-8");
  EXPECT_EQ(StaticTypeOf("sheet.pdf"), "application/pdf");
}

TEST_F(StaticFilesTest, PagesIncludesHiddenAndUnknownFilesDoNotExist) {
  fs::create_directories(m_root / ".git");
  fs::create_directories(m_root / "dir.png");
  for (const char* name : {"list.asp", "LIST.ASP", "head.inc", "shop.db", "site.toml", "noextension",
                           "list.asp~", "list.asp.bak", ".hidden.txt", ".git/a.txt", "images/.b.png"}) {
    Write(m_root / name, "x");
    EXPECT_EQ(Get(name).status, 404) << name;
  }
  for (const char* name :
       {"", "images", "images/", "dir.png", "missing.png", "style.css/", "style.css/x.css"}) {
    EXPECT_EQ(Get(name).status, 404) << name;
  }
}

TEST_F(StaticFilesTest, NamesAreCaseSensitive) {
  EXPECT_EQ(Get("Style.css").status, 404);
  EXPECT_EQ(Get("Images/logo.png").status, 404);
}

TEST_F(StaticFilesTest, NoNameAndNoLinkLeadsOut) {
  fs::create_symlink(m_outer / "secret.txt", m_root / "absolute.txt");
  fs::create_symlink("../secret.txt", m_root / "relative.txt");
  fs::create_directory_symlink("..", m_root / "up");
  fs::create_symlink("/proc/self/environ", m_root / "environ.txt");
  for (const char* name : {"absolute.txt", "relative.txt", "up/secret.txt", "environ.txt", "../secret.txt",
                           "images/../../secret.txt"}) {
    EXPECT_EQ(Get(name).status, 404) << name;
  }
  EXPECT_EQ(Get(m_outer.string() + "/secret.txt").status, 404);
  EXPECT_EQ(Get(std::string("style.css\0.png", 14)).status, 404);
}

TEST_F(StaticFilesTest, LinksInsideTheFolderAreFollowed) {
  fs::create_symlink("images/logo.png", m_root / "link.png");
  EXPECT_EQ(BodyOf(Get("link.png")), "0123456789");
}

TEST_F(StaticFilesTest, NamedPipeDoesNotBlock) {
  ASSERT_EQ(::mkfifo((m_root / "pipe.txt").c_str(), 0600), 0);
  EXPECT_EQ(Get("pipe.txt").status, 404);
}

TEST_F(StaticFilesTest, OtherMethodsAreRefused) {
  HttpRequest request;
  request.method = "POST";
  const HttpResponse response = m_files->Serve(request, "style.css");
  EXPECT_EQ(response.status, 405);
  EXPECT_EQ(*response.headers.Find("Allow"), "GET, HEAD");
  EXPECT_EQ(m_files->Serve(request, "list.asp").status, 404);
}

TEST_F(StaticFilesTest, KnownTagIsAnsweredWithNotModified) {
  const std::string etag = *Get("style.css").headers.Find("ETag");
  for (const std::string& value : {etag, "\"x\", " + etag, "W/" + etag, std::string("*")}) {
    const HttpResponse response = Get("style.css", "If-None-Match", value);
    EXPECT_EQ(response.status, 304) << value;
    EXPECT_EQ(*response.headers.Find("ETag"), etag);
    EXPECT_EQ(BodyOf(response), "");
  }
  EXPECT_EQ(Get("style.css", "If-None-Match", "\"x\"").status, 200);
}

TEST_F(StaticFilesTest, ChangedFileHasAnotherTag) {
  const std::string etag = *Get("style.css").headers.Find("ETag");
  Write(m_root / "style.css", "body{color:red}");
  EXPECT_NE(*Get("style.css").headers.Find("ETag"), etag);
}

TEST_F(StaticFilesTest, KnownDateIsAnsweredWithNotModified) {
  const std::string modified = *Get("style.css").headers.Find("Last-Modified");
  EXPECT_EQ(Get("style.css", "If-Modified-Since", modified).status, 304);
  EXPECT_EQ(Get("style.css", "If-Modified-Since", "Sun, 06 Nov 1994 08:49:37 GMT").status, 200);
  EXPECT_EQ(Get("style.css", "If-Modified-Since", "yesterday").status, 200);
  HttpRequest request;
  request.method = "GET";
  request.headers.Add("If-Modified-Since", modified);
  request.headers.Add("If-None-Match", "\"x\"");
  EXPECT_EQ(m_files->Serve(request, "style.css").status, 200);
}

TEST_F(StaticFilesTest, FileThatIsNotAsWantedIsNotSent) {
  const std::string etag = *Get("style.css").headers.Find("ETag");
  for (const std::string& value : {etag, "\"x\", " + etag, std::string("*")})
    EXPECT_EQ(Get("style.css", "If-Match", value).status, 200) << value;
  for (const std::string& value : {std::string("\"x\""), "W/" + etag, std::string()}) {
    const HttpResponse response = Get("style.css", "If-Match", value);
    EXPECT_EQ(response.status, 412) << value;
    EXPECT_FALSE(response.file) << value;
  }
  EXPECT_EQ(Get("none.css", "If-Match", "*").status, 404);
}

TEST_F(StaticFilesTest, FileThatIsNewerThanWantedIsNotSent) {
  const std::string modified = *Get("style.css").headers.Find("Last-Modified");
  EXPECT_EQ(Get("style.css", "If-Unmodified-Since", modified).status, 200);
  EXPECT_EQ(Get("style.css", "If-Unmodified-Since", "Sun, 06 Nov 1994 08:49:37 GMT").status, 412);
  EXPECT_EQ(Get("style.css", "If-Unmodified-Since", "yesterday").status, 200);
  HttpRequest request;
  request.method = "GET";
  request.headers.Add("If-Unmodified-Since", "Sun, 06 Nov 1994 08:49:37 GMT");
  request.headers.Add("If-Match", "*");
  EXPECT_EQ(m_files->Serve(request, "style.css").status, 200);  // the tag outweighs the date
  request.headers.Add("If-None-Match", "*");
  EXPECT_EQ(m_files->Serve(request, "style.css").status, 304);
}

TEST_F(StaticFilesTest, RangesGiveTheirPart) {
  const struct {
    const char* range;
    const char* body;
    const char* contentRange;
  } cases[] = {{"bytes=2-4", "234", "bytes 2-4/10"},
               {"bytes=7-", "789", "bytes 7-9/10"},
               {"bytes=-2", "89", "bytes 8-9/10"},
               {"bytes=0-99", "0123456789", "bytes 0-9/10"},
               {"bytes=-99", "0123456789", "bytes 0-9/10"}};
  for (const auto& each : cases) {
    const HttpResponse response = Get("images/logo.png", "Range", each.range);
    EXPECT_EQ(response.status, 206) << each.range;
    EXPECT_EQ(BodyOf(response), each.body);
    EXPECT_EQ(*response.headers.Find("Content-Range"), each.contentRange);
  }
}

TEST_F(StaticFilesTest, ImpossibleRangesAreRefusedAndIllFormedOnesIgnored) {
  for (const char* range : {"bytes=10-", "bytes=99-100", "bytes=-0"}) {
    const HttpResponse response = Get("images/logo.png", "Range", range);
    EXPECT_EQ(response.status, 416) << range;
    EXPECT_EQ(*response.headers.Find("Content-Range"), "bytes */10");
  }
  for (const char* range : {"bytes=4-2", "bytes=a-b", "bytes=-", "bytes=1", "lines=1-2", "bytes=0-1,3-4",
                            "bytes=99999999999999999999-"}) {
    EXPECT_EQ(Get("images/logo.png", "Range", range).status, 200) << range;
  }
}

TEST_F(StaticFilesTest, RangeOfAnotherStateGivesTheWholeFile) {
  HttpRequest request;
  request.method = "GET";
  request.headers.Add("Range", "bytes=0-1");
  request.headers.Add("If-Range", "\"other\"");
  EXPECT_EQ(m_files->Serve(request, "style.css").status, 200);
  request.headers.Set("If-Range", *Get("style.css").headers.Find("ETag"));
  EXPECT_EQ(m_files->Serve(request, "style.css").status, 206);
}

TEST_F(StaticFilesTest, MissingFolderIsNamed) {
  EXPECT_THROW(StaticFiles((m_outer / "none").string()), std::runtime_error);
}

// The whole way, over a socket.
class ServedFilesTest : public StaticFilesTest {
 protected:
  ServedFilesTest() {
    ServerHandlers handlers;
    handlers.quick = [this](const HttpRequest& request) {
      return std::optional(m_files->Serve(request, request.path.substr(1)));
    };
    m_server = std::make_unique<HttpServer>(ServerOptions(), handlers, ListenAt("127.0.0.1:0"));
  }

  std::unique_ptr<HttpServer> m_server;
};

TEST_F(ServedFilesTest, LargeFileIsStreamedWhole) {
  std::string large;
  for (int i = 0; large.size() < 3'000'000; ++i) large += std::to_string(i) + ",";
  Write(m_root / "large.txt", large);
  hosttest::TestClient client(m_server->Port());
  EXPECT_TRUE(client.Get("/large.txt").body == large);
  EXPECT_EQ(client.Get("/large.txt", "Range: bytes=1000000-1000009\r\n").body, large.substr(1'000'000, 10));
  EXPECT_EQ(client.Get("/images/logo.png").body, "0123456789");
}

TEST_F(ServedFilesTest, HeadAndNotModifiedLeaveTheConnectionInOrder) {
  hosttest::TestClient client(m_server->Port());
  client.Send("HEAD /images/logo.png HTTP/1.1\r\nHost: h\r\n\r\n");
  const auto head = client.ReadAnswer(true);
  EXPECT_EQ(*head.headers.Find("Content-Length"), "10");
  EXPECT_EQ(client.Get("/images/logo.png", "If-None-Match: " + *head.headers.Find("ETag") + "\r\n").status,
            304);
  EXPECT_EQ(client.Get("/images/logo.png").body, "0123456789");
}

TEST_F(ServedFilesTest, TraversalNeverReachesTheSecret) {
  hosttest::TestClient client(m_server->Port());
  for (const char* target :
       {"/../secret.txt", "/%2e%2e/secret.txt", "/..%2fsecret.txt", "/images/..%2f..%2fsecret.txt",
        "/..\\secret.txt", "/%c0%ae%c0%ae/secret.txt", "//../secret.txt", "/%252e%252e/secret.txt"}) {
    const auto answer = client.Get(target);
    EXPECT_TRUE(answer.status == 400 || answer.status == 404) << target;
    EXPECT_EQ(answer.body.find("secret</"), std::string::npos) << target;
  }
}

TEST_F(ServedFilesTest, FileThatShrankIsCutOff) {
  const std::string path = (m_root / "shrinking.txt").string();
  Write(path, std::string(1000, 'x'));
  ServerHandlers handlers;
  handlers.quick = [&](const HttpRequest& request) {
    HttpResponse response = m_files->Serve(request, "shrinking.txt");
    fs::resize_file(path, 10);
    return std::optional(std::move(response));
  };
  HttpServer server({}, handlers, ListenAt("127.0.0.1:0"));
  hosttest::TestClient client(server.Port());
  client.Send("GET / HTTP/1.1\r\nHost: h\r\n\r\n");
  EXPECT_EQ(*client.ReadHead().headers.Find("Content-Length"), "1000");
  EXPECT_EQ(client.ReadToEnd(), std::string(10, 'x'));
}

}  // namespace
