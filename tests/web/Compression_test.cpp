// Answers that are made shorter, and those that aren't.
#include "host-linux/web/Compression.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>
#include <zlib.h>
#include <zstd.h>

#include <fstream>

namespace hostlinux {
namespace {

HttpRequest Accepting(const std::string& codings) {
  HttpRequest request;
  request.headers.Add("Accept-Encoding", codings);
  return request;
}

std::string CodingOf(const std::string& codings) {
  const auto coding = CodingFor(Accepting(codings));
  return coding ? std::string(NameOf(*coding)) : "none";
}

std::string Unzipped(const std::string& bytes, std::size_t length) {
  std::string text(length + 1, '\0');
  z_stream stream{};
  EXPECT_EQ(inflateInit2(&stream, 15 + 16), Z_OK);
  stream.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(bytes.data()));
  stream.avail_in = static_cast<uInt>(bytes.size());
  stream.next_out = reinterpret_cast<Bytef*>(text.data());
  stream.avail_out = static_cast<uInt>(text.size());
  EXPECT_EQ(inflate(&stream, Z_FINISH), Z_STREAM_END);
  text.resize(stream.total_out);
  inflateEnd(&stream);
  return text;
}

std::string Decompressed(const std::string& bytes, std::size_t length) {
  std::string text(length + 1, '\0');
  const std::size_t size = ZSTD_decompress(text.data(), text.size(), bytes.data(), bytes.size());
  EXPECT_FALSE(ZSTD_isError(size));
  text.resize(ZSTD_isError(size) ? 0 : size);
  return text;
}

HttpResponse Page(const std::string& body, const std::string& type = "text/html; charset=utf-8") {
  HttpResponse response;
  response.headers.Set("Content-Type", type);
  response.body = body;
  return response;
}

const std::string kText(5000, 'a');

TEST(Compression, TakesWhatTheClientLikesBest) {
  EXPECT_EQ(CodingOf("gzip, deflate, br, zstd"), "zstd");
  EXPECT_EQ(CodingOf("gzip, deflate"), "gzip");
  EXPECT_EQ(CodingOf("zstd;q=0.5, gzip;q=0.8"), "gzip");
  EXPECT_EQ(CodingOf("GZIP ; Q=1.0"), "gzip");
  EXPECT_EQ(CodingOf("*"), "zstd");
  EXPECT_EQ(CodingOf("zstd;q=0, *;q=0.1"), "gzip");
  for (const char* none :
       {"", "br", "identity", "gzip;q=0", "gzip;q=2", "gzip;q=-1", "gzip;q=x", "gzipped", ";;,,;q=", "*;q=0"})
    EXPECT_EQ(CodingOf(none), "none") << none;
  EXPECT_EQ(CodingFor(HttpRequest()), std::nullopt);
}

TEST(Compression, GivesTheSameBytesBack) {
  std::string bytes;
  for (int i = 0; i < 100'000; ++i) bytes += static_cast<char>(i * 7919 % 251);
  for (const std::string& text : {std::string(), kText, bytes}) {
    EXPECT_EQ(Unzipped(Compress(ContentCoding::Gzip, text), text.size()), text);
    EXPECT_EQ(Decompressed(Compress(ContentCoding::Zstd, text), text.size()), text);
  }
}

TEST(Compression, OfAPageTellsItsCoding) {
  HttpResponse response = Page(kText);
  CompressPage(response, ContentCoding::Gzip);
  EXPECT_EQ(*response.headers.Find("Content-Encoding"), "gzip");
  EXPECT_EQ(*response.headers.Find("Vary"), "Accept-Encoding");
  EXPECT_EQ(Unzipped(response.body, kText.size()), kText);
}

TEST(Compression, IsNotDoneWithoutACodingButTold) {
  HttpResponse response = Page(kText);
  response.headers.Set("Vary", "Cookie");
  CompressPage(response, std::nullopt);
  EXPECT_EQ(response.body, kText);
  EXPECT_EQ(response.headers.Find("Content-Encoding"), nullptr);
  EXPECT_EQ(*response.headers.Find("Vary"), "Cookie, Accept-Encoding");
}

void ExpectUntouched(HttpResponse response, const char* why) {
  const std::string before = response.body;
  const bool wasCoded = response.headers.Find("Content-Encoding") != nullptr;
  CompressPage(response, ContentCoding::Zstd);
  EXPECT_EQ(response.body, before) << why;
  EXPECT_EQ(response.headers.Find("Content-Encoding") != nullptr, wasCoded) << why;
}

TEST(Compression, LeavesAloneWhatDoesNotPayOrMayNot) {
  ExpectUntouched(Page(std::string(1023, 'a')), "short");
  ExpectUntouched(Page(kText, "image/png"), "no text");
  ExpectUntouched(Page(kText, "text/event-stream"), "a stream");
  HttpResponse response = Page(kText);
  response.headers.Set("Content-Encoding", "br");
  ExpectUntouched(response, "coded already");
  response = Page(kText);
  response.headers.Set("Cache-Control", "private, No-Transform");
  ExpectUntouched(response, "the page says no");
  response = Page(kText);
  response.status = 206;
  ExpectUntouched(response, "a part");
  ExpectUntouched(HttpResponse{200, "", {}, kText, std::nullopt}, "of no type");
}

TEST(Compression, KnowsTextByItsType) {
  for (const char* type : {"text/html", "TEXT/CSS; charset=utf-8", "application/json", "application/ld+json",
                           "image/svg+xml; charset=utf-8", "text/javascript", "application/javascript"})
    EXPECT_TRUE(IsCompressibleType(type)) << type;
  for (const char* type : {"", "image/gif", "application/pdf", "font/woff2", "application/octet-stream"})
    EXPECT_FALSE(IsCompressibleType(type)) << type;
}

class CompressedFilesTest : public testing::Test {
 protected:
  CompressedFilesTest() : m_name(testing::TempDir() + "varnel-compressed-" + std::to_string(::getpid())) {}
  ~CompressedFilesTest() override { ::unlink(m_name.c_str()); }

  HttpResponse File(const std::string& text, const std::string& tag) {
    std::ofstream(m_name, std::ios::binary) << text;
    HttpResponse response;
    response.headers.Set("Content-Type", "text/css");
    response.headers.Set("ETag", tag);
    response.headers.Set("Accept-Ranges", "bytes");
    response.file =
        FileBody{std::make_shared<UniqueFd>(::open(m_name.c_str(), O_RDONLY | O_CLOEXEC)), 0, text.size()};
    return response;
  }

  std::string m_name;
  CompressedFiles m_files;
};

TEST_F(CompressedFilesTest, CompressOnceAndMakeTheTagWeak) {
  for (int i = 0; i < 2; ++i) {
    HttpResponse response = File(i == 0 ? kText : std::string(5000, 'b'), "\"1\"");
    m_files.CompressFile("a.css", response, ContentCoding::Zstd);
    EXPECT_FALSE(response.file.has_value());
    EXPECT_EQ(*response.headers.Find("ETag"), "W/\"1\"");
    EXPECT_EQ(response.headers.Find("Accept-Ranges"), nullptr);
    EXPECT_EQ(Decompressed(response.body, 5000), kText) << "the second comes from memory";
  }
}

TEST_F(CompressedFilesTest, TellFilesOfTheSameTagApart) {
  HttpResponse first = File(kText, "\"1\"");
  m_files.CompressFile("a.css", first, ContentCoding::Gzip);
  HttpResponse second = File(std::string(5000, 'b'), "\"1\"");
  m_files.CompressFile("b.css", second, ContentCoding::Gzip);
  EXPECT_EQ(Unzipped(second.body, 5000), std::string(5000, 'b'));
}

TEST_F(CompressedFilesTest, LeaveAloneWhatDoesNotGetShorterOrIsLarge) {
  std::string noise;
  std::uint32_t state = 1;
  for (int i = 0; i < 4000; ++i) noise += static_cast<char>((state = state * 1664525 + 1013904223) >> 24);
  for (int i = 0; i < 2; ++i) {
    HttpResponse response = File(noise, "\"2\"");
    m_files.CompressFile("a.css", response, ContentCoding::Gzip);
    EXPECT_TRUE(response.file.has_value());
  }
  HttpResponse large = File(std::string((1 << 20) + 1, 'a'), "\"3\"");
  m_files.CompressFile("c.css", large, ContentCoding::Gzip);
  EXPECT_TRUE(large.file.has_value());
}

TEST_F(CompressedFilesTest, KeepToTheirBound) {
  CompressedFiles files(200);
  for (int i = 0; i < 100; ++i) {
    HttpResponse response =
        File(std::string(5000, static_cast<char>('a' + i % 26)), "\"" + std::to_string(i) + "\"");
    files.CompressFile("a.css", response, ContentCoding::Gzip);
    EXPECT_EQ(Unzipped(response.body, 5000), std::string(5000, static_cast<char>('a' + i % 26)));
  }
}

}  // namespace
}  // namespace hostlinux
