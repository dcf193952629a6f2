// A table that is longer than memory, read by clients of every speed.

#include <gmock/gmock.h>

#include <cstdlib>
#include <fstream>
#include <memory>
#include <thread>
#include <vector>

#include "tests/application/TestSite.h"
#include "tests/command/Program.h"
#include "tests/web/TestClient.h"

namespace {

using hosttest::ServingProgram;
using hosttest::TestClient;

constexpr std::size_t kMegabyte = 1 << 20;

// A page with four tables of 25,000 rows each, since a table counts its rows in 16 bits.
class StreamingTest : public testing::Test {
 protected:
  StreamingTest() {
    m_site.WritePage("index.asp", "here");
    m_site.WritePage(
        "report.asp",
        "<% Response.Buffer = false; var page = Server.CreateObject('Varnel.Page'),"
        " text = 'x'.repeat(300);"
        " for (var part = 0; part < 4; ++part) { var t = page.Table(); t.Deprecated_TableCellBegin();"
        " t.Deprecated_TableCellEnd(); t.NewRow();"
        " for (var row = 1; row < 25000; ++row) { t.Cell(row); t.Cell(text); t.NewRow(); }"
        " page.Add(t); } %>");
    // The address sanitizer would keep what is freed.
    ::setenv("ASAN_OPTIONS", "quarantine_size_mb=1", 1);
  }
  ~StreamingTest() override { ::unsetenv("ASAN_OPTIONS"); }

  void Start(const std::string& options) {
    m_site.Write(
        "site.toml",
        "[site]\nroot = \"/shop\"\n[server]\nthreads = 1\nscript_timeout = \"300s\"\n"
        "max_response_buffer = 1000000000\n" +
            options +
            "[application]\nDemo_ConnectionString = \"Provider=SQLite;Data Source=demo.db;Mode=Read\"\n"
            "[log]\nfile = \"site.log\"\n");
    m_program = std::make_unique<ServingProgram>(m_site.Folder());
  }

  std::size_t PeakMemory() const {
    std::ifstream status("/proc/" + std::to_string(m_program->Worker()) + "/status");
    for (std::string line; std::getline(status, line);)
      if (line.starts_with("VmHWM")) return std::strtoull(line.c_str() + 6, nullptr, 10) * 1024;
    return 0;
  }

  hosttest::TestSite m_site;
  std::unique_ptr<ServingProgram> m_program;
};

std::size_t CountOf(std::string_view text, std::string_view what) {
  std::size_t count = 0;
  for (std::size_t at = text.find(what); at != std::string_view::npos; at = text.find(what, at + 1)) ++count;
  return count;
}

TEST_F(StreamingTest, HundredThousandRowsTakeNoMemory) {
  Start("");
  EXPECT_EQ(TestClient(m_program->Port()).Get("/shop/").body, "here");
  const std::size_t before = PeakMemory();
  // Less of a window than one packet of the loopback would have it wait for timers.
  TestClient client(m_program->Port(), 128 * 1024);
  client.Send("GET /shop/report.asp HTTP/1.1\r\nHost: localhost\r\nConnection: close\r\n\r\n");
  // The first rows are here while the page waits for this reader.
  std::size_t rows = CountOf(client.ReadBytes(kMegabyte) + client.ReadThrough(">"), "<tr>");
  EXPECT_GT(rows, 1000U);
  EXPECT_LT(rows, 10'000U);
  std::size_t bytes = kMegabyte;
  while (true) {
    ::usleep(20'000);
    // In pieces that end behind a tag, so that none is counted twice or cut.
    std::string piece = client.ReadBytes(kMegabyte);
    if (piece.empty()) break;
    bytes += piece.size();
    if (piece.size() == kMegabyte) piece += client.ReadThrough(">");
    rows += CountOf(piece, "<tr>");
  }
  EXPECT_EQ(rows, 100'004U);  // each table stands in the one row of its border
  EXPECT_GT(bytes, 40 * kMegabyte);
  EXPECT_LT(PeakMemory(), before + 30 * kMegabyte);
}

// What the reader hasn't taken is neither in the server's memory nor on its script thread.
TEST_F(StreamingTest, ReaderThatTakesNothingHoldsNeitherThreadNorMemory) {
  Start("");
  EXPECT_EQ(TestClient(m_program->Port()).Get("/shop/").body, "here");
  const std::size_t before = PeakMemory();
  m_site.WritePage("done.asp", "<%= Application('done') %>");
  m_site.WritePage(
      "long.asp",
      "<% Response.Buffer = false; for (var i = 0; i < 400; ++i) Response.Write('x'.repeat(100000));"
      " Application.Contents['done'] = 'yes'; %>");
  TestClient stopped(m_program->Port(), 16 * 1024);
  stopped.Send("GET /shop/long.asp HTTP/1.1\r\nHost: localhost\r\nConnection: close\r\n\r\n");
  while (TestClient(m_program->Port()).Get("/shop/done.asp").body != "yes") ::usleep(10'000);
  EXPECT_LT(PeakMemory(), before + 30 * kMegabyte);
  EXPECT_EQ(stopped.ReadAnswer().body.size(), 40'000'000U);
}

// The client of an endless page takes all that it sends, on the only script thread; another request ends it.
TEST_F(StreamingTest, APageThatSendsForLongLetsOthersGoFirst) {
  m_site.WritePage("endless.asp",
                   "<% while (Application('stop') !== 'yes') { Response.Write('x'.repeat(1000)); "
                   "Response.Flush(); } %>end");
  m_site.WritePage("stop.asp", "<% Application.Contents['stop'] = 'yes'; %>done");
  Start("max_unread = 200000000\n");
  TestClient endless(m_program->Port());
  endless.Send("GET /shop/endless.asp HTTP/1.1\r\nHost: localhost\r\nConnection: close\r\n\r\n");
  std::thread reader([&] { EXPECT_TRUE(endless.ReadAnswer().body.ends_with("xend")); });
  ::usleep(300'000);
  TestClient other(m_program->Port());
  other.SetPatience(120'000);
  EXPECT_EQ(other.Get("/shop/stop.asp").body, "done");
  reader.join();
}

// As many readers of a long file as may wait, who take nothing, on the only script thread; no place to keep what they leave.
TEST_F(StreamingTest, SlowReadersOfAListsFileHoldNoThreadThatOthersNeed) {
  constexpr std::size_t kRows = 40'000;
  m_site.RunSql(
      "CREATE TABLE MANY (ID INTEGER NOT NULL PRIMARY KEY, NAME TEXT NOT NULL);"
      "WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM n WHERE i < 40000)"
      " INSERT INTO MANY SELECT i, printf('%0100d', i) FROM n;");
  m_site.WritePage("many.asp",
                   "<% var page = Server.CreateObject('Varnel.Page'); page.OpenDatabaseConnection('Demo');"
                   " var list = page.List('Many', 'SELECT ID, NAME FROM MANY', 'ID');"
                   " list.Column('ID'); list.Column('NAME'); list.Export('csv'); page.Add(list); %>");
  Start("max_unread = 500000\n");
  EXPECT_THAT(TestClient(m_program->Port()).Get("/shop/many.asp").body,
              testing::HasSubstr("1 - 10 of 40,000"));
  std::vector<std::unique_ptr<TestClient>> slow;
  for (int i = 0; i < 4; ++i) {
    slow.push_back(std::make_unique<TestClient>(m_program->Port(), 16 * 1024));
    slow.back()->Send(
        "GET /shop/many.asp?L1-as=csv HTTP/1.1\r\nHost: localhost\r\nConnection: close\r\n\r\n");
  }
  for (int i = 0; i < 50; ++i) {
    ::usleep(20'000);
    EXPECT_THAT(TestClient(m_program->Port()).Get("/shop/many.asp").body,
                testing::HasSubstr("1 - 10 of 40,000"));
  }
  // Every thread has its engine by now; the files are 17 MB more. (What the system tells may also be some pages less than before.)
  const std::size_t before = PeakMemory();
  for (const auto& client : slow) EXPECT_EQ(CountOf(client->ReadAnswer().body, "\r\n"), kRows + 1U);
  EXPECT_LT(PeakMemory(), before + 10 * kMegabyte);
}

// The page's time is over long before its reader goes on.
TEST_F(StreamingTest, WaitingForTheReaderIsNoTimeOfThePage) {
  m_site.WritePage("wait.asp",
                   "<% Response.Write('x'.repeat(12000000)); Response.Flush(); Response.Write('end'); %>");
  m_site.Write("site.toml",
               "[site]\nroot = \"/shop\"\n[server]\nthreads = 1\nscript_timeout = \"4s\"\n"
               "stuck_timeout = \"100ms\"\nmax_unread = 1000000\n[log]\nfile = \"site.log\"\n");
  m_program = std::make_unique<ServingProgram>(m_site.Folder());
  TestClient slow(m_program->Port(), 16 * 1024);
  slow.Send("GET /shop/wait.asp HTTP/1.1\r\nHost: localhost\r\nConnection: close\r\n\r\n");
  slow.ReadHead();
  const pid_t worker = m_program->Worker();
  for (int i = 0; i < 60; ++i) {
    ::usleep(100'000);
    EXPECT_EQ(TestClient(m_program->Port()).Get("/shop/").body, "here");
  }
  EXPECT_TRUE(slow.ReadToEnd().ends_with("3\r\nend\r\n0\r\n\r\n"));
  EXPECT_EQ(m_program->Worker(), worker);
  EXPECT_THAT(m_site.Read("site.log"), testing::Not(testing::HasSubstr("ran longer")));
}

TEST_F(StreamingTest, PageWhoseReaderStopsIsToldSo) {
  Start("write_timeout = \"500ms\"\nmax_unread = 4000000\n");
  m_site.WritePage("endless.asp",
                   "<% Response.Buffer = false; var rows = 0;"
                   " while (Response.IsClientConnected) { Response.Write('x'.repeat(1000)); ++rows; }"
                   " Application.Contents['rows'] = rows; %>");
  m_site.WritePage("rows.asp", "<%= Application('rows') %>");
  TestClient stopped(m_program->Port(), 16 * 1024);
  stopped.Send("GET /shop/endless.asp HTTP/1.1\r\nHost: localhost\r\n\r\n");
  stopped.ReadBytes(1000);
  // Other pages run while this one waits for its reader.
  std::string rows;
  for (int i = 0; i < 3000 && rows.empty(); ++i) {
    ::usleep(10'000);
    rows = TestClient(m_program->Port()).Get("/shop/rows.asp").body;
  }
  EXPECT_GT(std::atoi(rows.c_str()), 200);
  EXPECT_LT(std::atoi(rows.c_str()), 20'000);
}

}  // namespace
