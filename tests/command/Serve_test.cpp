// The server as a program: its life, its signals, and what it answers.

#include <gmock/gmock.h>

#include <csignal>

#include "tests/application/TestSite.h"
#include "tests/command/Program.h"
#include "tests/web/TestClient.h"

namespace {

using hosttest::Answer;
using hosttest::ServingProgram;
using hosttest::TestClient;
using testing::ContainsRegex;
using testing::HasSubstr;
using testing::Not;

class ServeTest : public testing::Test {
 protected:
  ServeTest() {
    m_site.WritePage("index.asp", "hello <%= Application('word') %>");
    m_site.WritePage(
        "list.asp",
        "<% var page = Server.CreateObject('Varnel.Page'); page.OpenDatabaseConnection('Demo');"
        " var rs = page.DRecordset(); rs.SetPageSize(2);\nrs.OpenRS('SELECT id, name FROM customer', 'id');"
        " for (; !rs.EOF; rs.MoveNext()) { %><%= rs('name') %> <% } %>");
  }

  ServingProgram& Start() {
    m_program = std::make_unique<ServingProgram>(m_site.Folder());
    EXPECT_NE(m_program->Port(), 0) << m_program->Words();
    return *m_program;
  }

  TestClient Connect() { return TestClient(m_program->Port()); }

  // The answer to one request on a connection of its own.
  Answer Get(const std::string& target) { return Connect().Get(target, "Connection: close\r\n"); }

  Answer Send(const std::string& request) {
    TestClient client = Connect();
    client.Send(request);
    return client.ReadAnswer();
  }

  // Ends the server and gives its log.
  std::string EndedLog() {
    m_program->Signal(SIGTERM);
    EXPECT_EQ(m_program->Wait(), 0) << m_program->Words();
    return m_site.Read("site.log");
  }

  hosttest::TestSite m_site;
  std::unique_ptr<ServingProgram> m_program;
};

TEST_F(ServeTest, ServesAndEndsOnRequest) {
  Start();
  EXPECT_THAT(m_program->Words(), ContainsRegex("varnel: serving /.* on http://127.0.0.1:[0-9]+/shop/\n"));
  EXPECT_EQ(Get("/shop/").body, "hello ");
  const std::string log = EndedLog();
  EXPECT_THAT(log, ContainsRegex("info \\[[0-9a-f]+\\] 127.0.0.1 GET /shop/ 200 6 bytes [0-9]+ us\n"));
  EXPECT_THAT(log, HasSubstr("Served\n"));
}

TEST_F(ServeTest, RunningPageIsFinishedBeforeTheEnd) {
  m_site.WritePage("slow.asp",
                   "<% var start = Date.now(); Response.Write('started '); Response.Flush();"
                   " while (Date.now() - start < 400) {} %>done");
  Start();
  TestClient client = Connect();
  client.Send("GET /shop/slow.asp HTTP/1.1\r\nHost: localhost\r\n\r\n");
  std::string all = client.ReadThrough("started ");
  m_program->Signal(SIGTERM);
  all += client.ReadToEnd();
  EXPECT_THAT(all, HasSubstr("done"));
  EXPECT_THAT(all, testing::EndsWith("0\r\n\r\n"));
  EXPECT_EQ(m_program->Wait(), 0);
}

TEST_F(ServeTest, HangUpReadsTheConfigurationAgain) {
  Start();
  EXPECT_EQ(Get("/shop/").body, "hello ");
  m_site.Write("site.toml",
               "[site]\nroot = \"/shop\"\n[server]\nthreads = 1\n[application]\nword = \"again\"\n");
  m_program->Signal(SIGHUP);
  std::string body;
  for (int tries = 0; tries < 500 && body != "hello again"; ++tries) {
    ::usleep(20'000);
    body = Get("/shop/").body;
  }
  EXPECT_EQ(body, "hello again");
}

TEST_F(ServeTest, BadConfigurationLeavesTheOldOneInPlace) {
  Start();
  EXPECT_EQ(Get("/shop/").body, "hello ");
  const pid_t worker = m_program->Worker();
  m_site.Write("site.toml", "[site]\nroot = 5\n");
  m_program->Signal(SIGHUP);
  EXPECT_TRUE(m_program->AwaitWords("site.toml, line 2: root must be a text"));
  EXPECT_TRUE(m_program->AwaitWords("ended with status 1"));
  EXPECT_EQ(Get("/shop/").body, "hello ");
  EXPECT_EQ(m_program->Worker(), worker);
}

TEST_F(ServeTest, ConfigurationThatIsNotWrittenYetLeavesTheOldOneInPlace) {
  Start();
  EXPECT_EQ(Get("/shop/").body, "hello ");  // the first worker has read it
  const pid_t worker = m_program->Worker();
  for (const char* text : {"", " \n\t\n", "# a comment\n"}) {
    m_site.Write("site.toml", text);
    m_program->Signal(SIGHUP);
    EXPECT_TRUE(m_program->AwaitNextWords("varnel: site.toml is empty, as it wasn't at the start")) << text;
    EXPECT_TRUE(m_program->AwaitNextWords("ended with status 1")) << text;
    EXPECT_EQ(Get("/shop/").body, "hello ") << text;
    EXPECT_EQ(m_program->Worker(), worker) << text;
  }
}

TEST_F(ServeTest, EmptyConfigurationIsOneAtTheStart) {
  m_site.Write("site.toml", "");
  Start();
  EXPECT_EQ(Get("/site/").body, "hello ");
  m_program->Signal(SIGHUP);
  EXPECT_TRUE(m_program->AwaitNextWords("ended with status 0"));
  EXPECT_EQ(Get("/site/").body, "hello ");
}

TEST_F(ServeTest, KilledWorkerIsReplacedAndClientsOnlyWait) {
  Start();
  EXPECT_EQ(Get("/shop/").body, "hello ");
  const pid_t worker = m_program->Worker();
  ASSERT_GT(worker, 0);
  ::kill(worker, SIGKILL);
  EXPECT_EQ(Get("/shop/").body, "hello ");
  EXPECT_NE(m_program->Worker(), worker);
}

TEST_F(ServeTest, WorkerThatDiesIsReplacedByTheLastGoodConfiguration) {
  Start();
  EXPECT_EQ(Get("/shop/").body, "hello ");
  const auto file = m_site.Folder() / "site.toml";
  m_site.Write("site.toml", "[site]\nroot = 5\n");
  ::kill(m_program->Worker(), SIGKILL);
  EXPECT_EQ(Get("/shop/").body, "hello ");
  std::filesystem::remove(file);
  ::kill(m_program->Worker(), SIGKILL);
  EXPECT_EQ(Get("/shop/").body, "hello ");
  m_program->Signal(SIGHUP);
  EXPECT_TRUE(m_program->AwaitNextWords("site.toml can't be read"));
  EXPECT_EQ(Get("/shop/").body, "hello ");
}

TEST_F(ServeTest, ConfigurationThatWasTakenIsTheLastGoodOne) {
  Start();
  EXPECT_EQ(Get("/shop/").body, "hello ");
  const pid_t first = m_program->Worker();
  m_site.Write("site.toml",
               "[site]\nroot = \"/shop\"\n[server]\nthreads = 1\n[application]\nword = \"again\"\n");
  m_program->Signal(SIGHUP);
  EXPECT_TRUE(m_program->AwaitWords("Worker " + std::to_string(first) + " ended with status 0."));
  m_site.Write("site.toml", "[site]\nroot = \"/shop\"\n[application]\nword = \"not yet\"\n");
  ::kill(m_program->Worker(), SIGKILL);
  EXPECT_EQ(Get("/shop/").body, "hello again");
}

TEST_F(ServeTest, AddressThatIsTakenIsTold) {
  Start();
  const auto ran = hosttest::RunVarnel(
      {"serve", m_site.Folder().string(), "--listen", "127.0.0.1:" + std::to_string(m_program->Port())});
  EXPECT_EQ(ran.status, 1);
  EXPECT_THAT(ran.err, HasSubstr("Address already in use"));
}

TEST_F(ServeTest, SiteThatCannotBeServedIsNamed) {
  m_site.Write("site.toml", "[server]\nthreads = 0\n");
  ServingProgram program(m_site.Folder());
  EXPECT_EQ(program.Wait(), 1);
  EXPECT_EQ(program.Words(), "varnel: site.toml, line 2: threads must lie between 1 and 256\n");
  m_site.Write("site.toml", "[site]\nlcid = 99999\n");
  ServingProgram other(m_site.Folder());
  EXPECT_EQ(other.Wait(), 1);
  EXPECT_THAT(other.Words(), HasSubstr("there is no locale 99999"));
}

TEST_F(ServeTest, FilesBesideThePagesAreServedByTheirType) {
  m_site.WritePage("styles/a.css", "p {}");
  m_site.WritePage("list.inc", "<% secret %>");
  m_site.WritePage(".hidden.css", "x");
  m_site.WritePage("notes.db", "x");
  Start();
  const Answer answer = Get("/shop/styles/a.css");
  EXPECT_EQ(answer.status, 200);
  EXPECT_EQ(answer.body, "p {}");
  EXPECT_EQ(*answer.headers.Find("Content-Type"), "text/css; charset=utf-8");
  EXPECT_NE(answer.headers.Find("ETag"), nullptr);
  for (const char* target :
       {"/shop/list.inc", "/shop/.hidden.css", "/shop/notes.db", "/shop/Styles/a.css", "/shop/none",
        "/site.toml", "/shop/../site.toml", "/shop/%2e%2e/site.toml", "/shop/INDEX.asp"}) {
    EXPECT_EQ(Get(target).status, 404) << target;
  }
}

TEST_F(ServeTest, WhatItCannotTakeIsRefused) {
  m_site.Write("site.toml", "[site]\nroot = \"/shop\"\n[server]\nthreads = 1\nmax_body = 1000\n");
  Start();
  EXPECT_EQ(Send("PUT /shop/index.asp HTTP/1.1\r\nHost: a\r\nContent-Length: 0\r\n\r\n").status, 405);
  EXPECT_EQ(Send("nonsense\r\n\r\n").status, 400);
  EXPECT_EQ(Get("/shop/index.asp?URL=/x/").status, 400);
  EXPECT_EQ(Send("POST /shop/index.asp HTTP/1.1\r\nHost: a\r\nContent-Length: 1001\r\n\r\n").status, 413);
  EXPECT_EQ(Get("/shop/").status, 200);
}

TEST_F(ServeTest, DevelopmentShowsWhatProductionKeepsToItsLog) {
  m_site.WritePage("bad.asp", "\n<% throw new Error('the secret'); %>");
  Start();
  EXPECT_THAT(Get("/shop/bad.asp").body, HasSubstr("bad.asp, line 2: the secret"));
  EndedLog();
  m_site.Write("site.toml", "[site]\nroot = \"/shop\"\n[server]\nthreads = 1\n[log]\nfile = \"site.log\"\n");
  Start();
  const Answer answer = Get("/shop/bad.asp");
  EXPECT_EQ(answer.status, 500);
  EXPECT_THAT(answer.body, Not(HasSubstr("secret")));
  EXPECT_THAT(answer.body, Not(HasSubstr("bad.asp")));
}

TEST_F(ServeTest, DamagedStateTextIsRefusedWithoutAnErrorInTheLog) {
  m_site.MakeCustomers(3);
  Start();
  const Answer answer = Get("/shop/list.asp?R_1=0xz1");
  EXPECT_EQ(answer.status, 400);
  const std::string mark = "Request ";
  const std::string id = answer.body.substr(answer.body.find(mark) + mark.size(), 16);
  EXPECT_EQ(Get("/shop/list.asp").body, "n01 n02 ");
  const std::string log = EndedLog();
  EXPECT_THAT(log, HasSubstr(" info [" + id + "] Refused: R_1: a damaged state text"));
  EXPECT_THAT(log, Not(HasSubstr(" error [")));
}

TEST_F(ServeTest, DatabaseThatComesBackIsFoundAgain) {
  Start();
  EXPECT_EQ(Get("/shop/list.asp").status, 500);
  EXPECT_EQ(Get("/shop/").status, 200);
  m_site.MakeCustomers(1);
  EXPECT_EQ(Get("/shop/list.asp").body, "n01 ");
  std::filesystem::remove(m_site.Folder() / "demo.db");
  EXPECT_EQ(Get("/shop/list.asp").status, 500);
  m_site.MakeCustomers(2);
  EXPECT_EQ(Get("/shop/list.asp").body, "n01 n02 ");
}

}  // namespace
