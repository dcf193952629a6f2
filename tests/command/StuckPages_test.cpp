// Pages that no engine can stop: one long call of a built-in function. The worker that runs one is replaced,
// and the next request is served.

#include <gmock/gmock.h>

#include <csignal>

#include "tests/application/TestSite.h"
#include "tests/command/Program.h"
#include "tests/web/TestClient.h"

namespace {

using hosttest::ServingProgram;
using hosttest::TestClient;
using testing::HasSubstr;

TEST(StuckPagesTest, WorkerWithAPageThatCannotBeStoppedIsReplaced) {
  hosttest::TestSite site;
  site.Write("site.toml",
             "[site]\nroot = \"/shop\"\n[server]\nthreads = 1\nscript_timeout = \"100ms\"\n"
             "stuck_timeout = \"100ms\"\ndrain_timeout = \"100ms\"\n[log]\nfile = \"site.log\"\n");
  site.WritePage("index.asp", "hello");
  site.WritePage("stuck.asp", "<% '\\u1e9b\\u0323'.repeat(1.5e7).normalize('NFKC'); %>");
  ServingProgram program(site.Folder());
  const auto get = [&](const std::string& target) {
    return TestClient(program.Port()).Get(target, "Connection: close\r\n");
  };
  EXPECT_EQ(get("/shop/").body, "hello");
  TestClient stuck(program.Port());
  stuck.Send("GET /shop/stuck.asp HTTP/1.1\r\nHost: localhost\r\n\r\n");
  EXPECT_NE(stuck.ReadAnswer().status, 200);  // cut, or answered with an error
  EXPECT_EQ(get("/shop/").body, "hello");
  program.Signal(SIGTERM);
  EXPECT_EQ(program.Wait(), 0) << program.Words();
  EXPECT_THAT(site.Read("site.log"), HasSubstr("stuck.asp can't be stopped: "));
}

}  // namespace
