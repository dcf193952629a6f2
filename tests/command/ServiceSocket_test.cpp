// A socket that a service manager made: it is there before the server, and stays behind it.

#include <gmock/gmock.h>
#include <unistd.h>

#include <csignal>

#include "host-linux/web/ListenSocket.h"
#include "tests/application/TestSite.h"
#include "tests/command/Program.h"
#include "tests/web/TestClient.h"

namespace {

using hosttest::ServingProgram;
using hosttest::TestClient;
using testing::HasSubstr;

class ServiceSocketTest : public testing::Test {
 protected:
  ServiceSocketTest() : m_socket(hostlinux::ListenAt("127.0.0.1:0")), m_handed(::dup(m_socket.Get())) {
    m_site.WritePage("index.asp", "hello");
  }

  // `varnel serve` as a service manager starts it: handed the socket as descriptor 3. `variables` and `words` are
  // shell text.
  ServingProgram Start(const std::string& variables = "LISTEN_PID=$$ LISTEN_FDS=1",
                       const std::string& words = "") {
    m_site.Write("start", "#!/bin/sh\nexec env " + variables + " " + VARNEL_PROGRAM + " serve \"$2\" " +
                              words + " 3<&" + std::to_string(m_handed.Get()) + "\n");
    const std::filesystem::path program = m_site.Folder() / "start";
    std::filesystem::permissions(program, std::filesystem::perms(0755));
    return ServingProgram(m_site.Folder(), {}, program.string());
  }

  std::uint16_t Port() const { return hostlinux::PortOf(m_socket.Get()); }

  hosttest::TestSite m_site;
  const hostlinux::UniqueFd m_socket;
  const hostlinux::UniqueFd m_handed;  // one that programs inherit
};

TEST_F(ServiceSocketTest, IsServedInsteadOfTheSitesOwnAddress) {
  const ServingProgram program = Start();
  EXPECT_EQ(program.Port(), Port()) << program.Words();
  EXPECT_EQ(TestClient(Port()).Get("/shop/").body, "hello");
}

TEST_F(ServiceSocketTest, WhoConnectsBetweenTwoServersIsAnsweredByTheNext) {
  for (int round = 0; round < 3; ++round) {
    TestClient early(Port());
    early.Send("GET /shop/ HTTP/1.1\r\nHost: localhost\r\n\r\n");
    ServingProgram program = Start();
    EXPECT_EQ(early.ReadAnswer().body, "hello");
    program.Signal(SIGHUP);
    EXPECT_TRUE(program.AwaitNextWords("ended with status 0."));
    EXPECT_EQ(TestClient(Port()).Get("/shop/", "Connection: close\r\n").body, "hello");
    program.Signal(SIGTERM);
    EXPECT_EQ(program.Wait(), 0);
  }
}

TEST_F(ServiceSocketTest, MeantForAnotherProcessItIsLeftAlone) {
  for (const char* variables : {"LISTEN_PID=1 LISTEN_FDS=1", "LISTEN_FDS=1", "LISTEN_PID=x LISTEN_FDS=1",
                                "LISTEN_PID=$$ LISTEN_FDS=0"}) {
    const ServingProgram program = Start(variables, "--listen 127.0.0.1:0");
    EXPECT_NE(program.Port(), 0) << program.Words();
    EXPECT_NE(program.Port(), Port());
  }
}

TEST_F(ServiceSocketTest, WhatCantBeServedIsTold) {
  const auto wordsOf = [this](const std::string& variables, const std::string& words) {
    ServingProgram program = Start(variables, words);
    EXPECT_EQ(program.Wait(), 1);
    return program.Words();
  };
  EXPECT_THAT(wordsOf("LISTEN_PID=$$ LISTEN_FDS=2", ""), HasSubstr("was handed 2 sockets; it serves one"));
  EXPECT_THAT(wordsOf("LISTEN_PID=$$ LISTEN_FDS=1", "--listen 127.0.0.1:0"),
              HasSubstr("--listen names an address, but the server was handed a socket"));
  EXPECT_THAT(wordsOf("LISTEN_PID=$$ LISTEN_FDS=1", "</dev/null 3</dev/null #"),
              HasSubstr("no listening socket of streams"));
}

}  // namespace
