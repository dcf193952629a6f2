// `user` in site.toml: as whom the pages run. Most of it only root can try.

#include <gmock/gmock.h>
#include <pwd.h>
#include <unistd.h>

#include <csignal>

#include "tests/application/TestSite.h"
#include "tests/command/Processes.h"
#include "tests/command/Program.h"
#include "tests/web/TestClient.h"

namespace {

using hosttest::ServingProgram;
using hosttest::TestClient;
using testing::HasSubstr;
using testing::Not;

constexpr char kWarning[] = "The pages run as root: say user = \"NAME\" in [server] of site.toml\n";

class ServerUserTest : public testing::Test {
 protected:
  ServerUserTest() { m_site.WritePage("index.asp", "hello"); }

  static bool IsRoot() { return ::geteuid() == 0; }

  void WriteSite(const std::string& user, const std::string& server = "") const {
    m_site.Write("site.toml", "[site]\nroot = \"/shop\"\nmode = \"development\"\n[server]\nthreads = 1\n" +
                                  (user.empty() ? "" : "user = \"" + user + "\"\n") + server +
                                  "[log]\nfile = \"logs/site.log\"\n[files]\nroots = [\"uploads\"]\n");
  }

  // Gives the user what a site's user writes to, and lets it read the rest.
  void GiveTo(const passwd& user) const {
    std::filesystem::permissions(m_site.Folder(), std::filesystem::perms(0755));
    for (const char* folder : {"logs", "uploads"}) {
      std::filesystem::create_directories(m_site.Folder() / folder);
      ASSERT_EQ(::chown((m_site.Folder() / folder).c_str(), user.pw_uid, user.pw_gid), 0);
    }
  }

  static std::string Get(const ServingProgram& program, const std::string& target) {
    return TestClient(program.Port()).Get(target, "Connection: close\r\n").body;
  }

  static std::string StatusOf(pid_t process) {
    return hosttest::FileText(hosttest::ProcFile(process, "status"));
  }

  hosttest::TestSite m_site;
};

TEST_F(ServerUserTest, RootIsToldToNameOne) {
  WriteSite("");
  std::filesystem::create_directories(m_site.Folder() / "logs");
  ServingProgram program(m_site.Folder());
  EXPECT_EQ(Get(program, "/shop/"), "hello");
  program.Signal(SIGTERM);
  EXPECT_EQ(program.Wait(), 0);
  const std::string log = m_site.Read("logs/site.log");
  if (IsRoot()) {
    EXPECT_THAT(program.Words(), testing::StartsWith("varnel: " + std::string(kWarning)));
    EXPECT_THAT(log, HasSubstr(" warning " + std::string(kWarning)));
  } else {
    EXPECT_THAT(program.Words(), Not(HasSubstr("root")));
    EXPECT_THAT(log, Not(HasSubstr("warning")));
  }
}

TEST_F(ServerUserTest, UnknownNameIsAnError) {
  WriteSite("no-such-user");
  ServingProgram program(m_site.Folder());
  EXPECT_EQ(program.Wait(), 1);
  EXPECT_EQ(program.Words(), "varnel: site.toml says user = \"no-such-user\", but there is no such user\n");
}

TEST_F(ServerUserTest, OnlyRootStartsItAsAnother) {
  if (IsRoot()) GTEST_SKIP() << "root may";
  WriteSite("root");
  ServingProgram program(m_site.Folder());
  EXPECT_EQ(program.Wait(), 1);
  EXPECT_EQ(program.Words(),
            "varnel: site.toml says user = \"root\", but only root can start the server as another user\n");
}

TEST_F(ServerUserTest, OwnNameIsTakenFromAnyUser) {
  const passwd* self = ::getpwuid(::geteuid());
  if (self == nullptr) GTEST_SKIP() << "this user has no name";
  WriteSite(self->pw_name);
  std::filesystem::create_directories(m_site.Folder() / "logs");
  ServingProgram program(m_site.Folder());
  EXPECT_EQ(Get(program, "/shop/"), "hello");
}

TEST_F(ServerUserTest, WorkerOfRootIsThatUsersForGood) {
  if (!IsRoot()) GTEST_SKIP() << "root is needed";
  const passwd* nobody = ::getpwnam("nobody");
  ASSERT_NE(nobody, nullptr);
  WriteSite("nobody");
  GiveTo(*nobody);
  m_site.WritePage("secret.txt", "for root only");
  std::filesystem::permissions(m_site.Folder() / "pages/secret.txt", std::filesystem::perms(0600));
  ServingProgram program(m_site.Folder());
  EXPECT_EQ(Get(program, "/shop/"), "hello");
  EXPECT_THAT(Get(program, "/shop/secret.txt"), Not(HasSubstr("for root only")));
  const std::string uid = std::to_string(nobody->pw_uid);
  const std::string gid = std::to_string(nobody->pw_gid);
  const std::string status = StatusOf(program.Worker());
  EXPECT_THAT(status, HasSubstr("\nUid:\t" + uid + "\t" + uid + "\t" + uid + "\t" + uid + "\n"));
  EXPECT_THAT(status, HasSubstr("\nGid:\t" + gid + "\t" + gid + "\t" + gid + "\t" + gid + "\n"));
  EXPECT_THAT(status, HasSubstr("\nGroups:\t" + gid + " \n"));
  EXPECT_THAT(status, HasSubstr("\nCapPrm:\t0000000000000000\n"));
  EXPECT_THAT(StatusOf(program.Pid()), HasSubstr("\nUid:\t0\t0\t0\t0\n"));
  EXPECT_THAT(program.Words(), Not(HasSubstr("as root")));
  // It is still asked to make way, and to end.
  const pid_t first = program.Worker();
  program.Signal(SIGHUP);
  EXPECT_TRUE(program.AwaitWords("Worker " + std::to_string(first) + " ended with status 0."));
  EXPECT_EQ(Get(program, "/shop/"), "hello");
  program.Signal(SIGTERM);
  EXPECT_EQ(program.Wait(), 0);
  EXPECT_THAT(m_site.Read("logs/site.log"), HasSubstr("Served\n"));
}

TEST_F(ServerUserTest, WorkerOfAnotherUserCanAskForItsReplacement) {
  if (!IsRoot()) GTEST_SKIP() << "root is needed";
  WriteSite("nobody", "script_timeout = \"100ms\"\nstuck_timeout = \"100ms\"\ndrain_timeout = \"100ms\"\n");
  GiveTo(*::getpwnam("nobody"));
  m_site.WritePage("stuck.asp", "<% '\\u1e9b\\u0323'.repeat(1.5e7).normalize('NFKC'); %>");
  ServingProgram program(m_site.Folder());
  TestClient stuck(program.Port());
  stuck.Send("GET /shop/stuck.asp HTTP/1.1\r\nHost: localhost\r\n\r\n");
  EXPECT_TRUE(program.AwaitWords("is to be replaced."));
  EXPECT_NE(stuck.ReadAnswer().status, 200);  // cut, or answered with an error: the old worker has gone
  EXPECT_EQ(Get(program, "/shop/"), "hello");
}

TEST_F(ServerUserTest, WorkerOfAnotherUserEndsWithItsSupervisor) {
  if (!IsRoot()) GTEST_SKIP() << "root is needed";
  WriteSite("nobody");
  GiveTo(*::getpwnam("nobody"));
  ServingProgram program(m_site.Folder());
  EXPECT_EQ(Get(program, "/shop/"), "hello");
  const pid_t worker = program.Worker();
  program.Signal(SIGKILL);
  EXPECT_TRUE(hosttest::AwaitEndOf(worker));
}

TEST_F(ServerUserTest, SessionsOfAnotherUsersWorkerOutliveIt) {
  if (!IsRoot()) GTEST_SKIP() << "root is needed";
  WriteSite("nobody");
  GiveTo(*::getpwnam("nobody"));
  m_site.WritePage("count.asp", "<% Session.Contents['n'] = (Session('n') || 0) + 1; %><%= Session('n') %>");
  ServingProgram program(m_site.Folder());
  const auto first = TestClient(program.Port()).Get("/shop/count.asp", "Connection: close\r\n");
  EXPECT_EQ(first.body, "1");
  const std::string cookie = *first.headers.Find("Set-Cookie");
  ::kill(program.Worker(), SIGKILL);
  const std::string line = "Connection: close\r\nCookie: " + cookie.substr(0, cookie.find(';')) + "\r\n";
  EXPECT_EQ(TestClient(program.Port()).Get("/shop/count.asp", line).body, "2");
}

TEST_F(ServerUserTest, LogThatItMayNotWriteIsNamed) {
  if (!IsRoot()) GTEST_SKIP() << "root is needed";
  WriteSite("nobody");
  std::filesystem::permissions(m_site.Folder(), std::filesystem::perms(0755));
  std::filesystem::create_directories(m_site.Folder() / "logs");
  ServingProgram program(m_site.Folder());
  EXPECT_EQ(program.Wait(), 1);
  EXPECT_THAT(program.Words(), HasSubstr("logs/site.log"));
  EXPECT_THAT(program.Words(), HasSubstr("Permission denied"));
}

}  // namespace
