// What `varnel serve` starts: a program of its own, with nothing of its parent's but what it needs.

#include <gmock/gmock.h>
#include <sys/personality.h>

#include <csignal>
#include <fstream>

#include "tests/application/TestSite.h"
#include "tests/command/Processes.h"
#include "tests/command/Program.h"
#include "tests/web/TestClient.h"

namespace {

using hosttest::ServingProgram;
using hosttest::TestClient;
using testing::Contains;
using testing::Each;
using testing::HasSubstr;
using testing::Not;

class WorkersTest : public testing::Test {
 protected:
  WorkersTest() { m_site.WritePage("index.asp", "hello"); }

  // The worker, once it serves.
  pid_t ServingWorker(ServingProgram& program) {
    EXPECT_EQ(TestClient(program.Port()).Get("/shop/", "Connection: close\r\n").body, "hello");
    return program.Worker();
  }

  hosttest::TestSite m_site;
};

TEST_F(WorkersTest, EachHasAddressesOfItsOwn) {
  const int personality = ::personality(0xffffffff);
  if ((personality & ADDR_NO_RANDOMIZE) != 0 ||
      hosttest::FileText("/proc/sys/kernel/randomize_va_space") == "0\n")
    GTEST_SKIP() << "this system gives all processes the same addresses";
  ServingProgram program(m_site.Folder());
  const pid_t first = ServingWorker(program);
  const std::string places = hosttest::FileText(hosttest::ProcFile(first, "maps"));
  ::kill(first, SIGKILL);
  const pid_t second = ServingWorker(program);
  ASSERT_NE(first, second);
  const std::string others = hosttest::FileText(hosttest::ProcFile(second, "maps"));
  for (const char* object : {"/varnel", "/libc.so.6", "/libnode.so.108", "[stack]"}) {
    const std::string place = hosttest::FirstAddressOf(object, places);
    EXPECT_NE(place, "") << object;
    EXPECT_NE(place, hosttest::FirstAddressOf(object, others)) << object;
  }
}

TEST_F(WorkersTest, NoDescriptorComesAlongUnasked) {
  // One that the server was started with, as by a careless script.
  const std::string secret = (m_site.Folder() / "secret").string();
  std::ofstream(secret) << "x";
  hosttest::OpenForChildren open(secret);
  ServingProgram program(m_site.Folder());
  const auto parents = hosttest::DescriptorsOf(program.Pid());
  EXPECT_THAT(parents, Contains(HasSubstr("/secret")));
  const auto workers = hosttest::DescriptorsOf(ServingWorker(program));
  EXPECT_THAT(workers, Each(Not(HasSubstr("/secret"))));
  EXPECT_THAT(workers, Each(Not(HasSubstr("signalfd"))));
  EXPECT_THAT(workers, Each(Not(testing::EndsWith("/varnel"))));
  // The listening socket and the link to the supervisor; a client's may still be there.
  const auto sockets = std::count_if(workers.begin(), workers.end(),
                                     [](const std::string& name) { return name.starts_with("socket:"); });
  EXPECT_GE(sockets, 2);
  EXPECT_LE(sockets, 3);
}

TEST_F(WorkersTest, IsNamedAsTheProgram) {
  ServingProgram program(m_site.Folder());
  EXPECT_EQ(hosttest::FileText(hosttest::ProcFile(ServingWorker(program), "comm")), "varnel\n");
}

TEST_F(WorkersTest, ProgramsThatItMightStartGainNoRights) {
  ServingProgram program(m_site.Folder());
  EXPECT_THAT(hosttest::FileText(hosttest::ProcFile(ServingWorker(program), "status")),
              HasSubstr("\nNoNewPrivs:\t1\n"));
}

TEST_F(WorkersTest, IsOfTheProgramThatWasStartedWhateverReplacesItsFile) {
  const auto file = m_site.Folder() / "varnel";
  std::filesystem::copy_file(VARNEL_PROGRAM, file);
  ServingProgram program(m_site.Folder(), {}, file.string());
  const pid_t first = ServingWorker(program);
  std::filesystem::remove(file);
  std::ofstream(file) << "another version";
  program.Signal(SIGHUP);
  EXPECT_TRUE(program.AwaitWords("Worker " + std::to_string(first) + " ended with status 0."));
  EXPECT_NE(ServingWorker(program), first);
}

TEST_F(WorkersTest, IsStartedByItsSupervisorOnly) {
  const auto ran = hosttest::RunVarnel({"worker", m_site.Folder().string()});
  EXPECT_EQ(ran.status, 1);
  EXPECT_EQ(ran.err, "varnel: workers are started by varnel serve\n");
  EXPECT_THAT(hosttest::RunVarnel({"--help"}).out, Not(HasSubstr("worker")));
}

TEST_F(WorkersTest, EndsWithItsSupervisor) {
  ServingProgram program(m_site.Folder());
  const pid_t worker = ServingWorker(program);
  program.Signal(SIGKILL);
  EXPECT_TRUE(hosttest::AwaitEndOf(worker));
}

}  // namespace
