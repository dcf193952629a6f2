#include "host-linux/web/ListenSocket.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/un.h>

#include <cstring>
#include <filesystem>
#include <fstream>

#include "TestClient.h"
#include "host-linux/web/HttpServer.h"

namespace {

using namespace hostlinux;

ServerHandlers Hello() {
  ServerHandlers handlers;
  handlers.page = [](const HttpRequest& request, ClientLink&) {
    HttpResponse response;
    response.body = "hello " + request.remoteAddress;
    return response;
  };
  return handlers;
}

TEST(ListenSocket, PortZeroGivesAFreePort) {
  const UniqueFd first = ListenAt("127.0.0.1:0");
  const UniqueFd second = ListenAt("localhost:0");
  EXPECT_NE(PortOf(first.Get()), 0);
  EXPECT_NE(PortOf(first.Get()), PortOf(second.Get()));
}

TEST(ListenSocket, BadAddressesAreNamed) {
  for (const char* address : {"127.0.0.1", "127.0.0.1:", "127.0.0.1:http", "unix:"}) {
    try {
      ListenAt(address);
      ADD_FAILURE() << address;
    } catch (const std::runtime_error& error) {
      const std::string begin = "The server can't listen at \"" + std::string(address) + "\": ";
      EXPECT_EQ(std::string(error.what()).substr(0, begin.size()), begin);
    }
  }
}

TEST(ListenSocket, TakenPortIsRefused) {
  const UniqueFd first = ListenAt("127.0.0.1:0");
  EXPECT_THROW(ListenAt("127.0.0.1:" + std::to_string(PortOf(first.Get()))), std::runtime_error);
}

TEST(ListenSocket, InheritedSocketIsServedByAnotherOwner) {
  const UniqueFd parents = ListenAt("127.0.0.1:0");
  const std::uint16_t port = PortOf(parents.Get());
  {
    HttpServer first({}, Hello(), UniqueFd(::dup(parents.Get())));
    EXPECT_EQ(first.Port(), port);
    EXPECT_EQ(hosttest::TestClient(port).Get("/").body, "hello 127.0.0.1");
  }
  // The parent's socket outlives its worker: a client that comes now waits for the next one.
  hosttest::TestClient waiting(port);
  HttpServer second({}, Hello(), UniqueFd(::dup(parents.Get())));
  EXPECT_EQ(waiting.Get("/").body, "hello 127.0.0.1");
}

TEST(ListenSocket, LocalSocketIsServedAndReplacesADeadOne) {
  const std::string path =
      (std::filesystem::temp_directory_path() / ("web_test_" + std::to_string(::getpid()))).string();
  { const UniqueFd dead = ListenAt("unix:" + path); }
  HttpServer server({}, Hello(), ListenAt("unix:" + path));
  EXPECT_EQ(server.Port(), 0);
  sockaddr_un place{};
  place.sun_family = AF_UNIX;
  std::strncpy(place.sun_path, path.c_str(), sizeof place.sun_path - 1);
  const UniqueFd client(::socket(AF_UNIX, SOCK_STREAM, 0));
  ASSERT_EQ(::connect(client.Get(), reinterpret_cast<const sockaddr*>(&place), sizeof place), 0);
  const std::string request = "GET / HTTP/1.0\r\n\r\n";
  ASSERT_EQ(::send(client.Get(), request.data(), request.size(), 0), static_cast<ssize_t>(request.size()));
  std::string answer;
  char bytes[1024];
  for (ssize_t count; (count = ::recv(client.Get(), bytes, sizeof bytes, 0)) > 0;) {
    answer.append(bytes, static_cast<std::size_t>(count));
  }
  EXPECT_TRUE(answer.ends_with("\r\n\r\nhello ")) << answer;
  EXPECT_THROW(ListenAt("unix:" + path), std::runtime_error);
  std::filesystem::remove(path);
}

std::string NewSocketPath() {
  return (std::filesystem::temp_directory_path() / ("web_mode_" + std::to_string(::getpid()))).string();
}

unsigned ModeOf(const std::string& path) {
  return static_cast<unsigned>(std::filesystem::status(path).permissions());
}

TEST(ListenSocket, LocalSocketIsItsUsersAloneUnlessTheSiteSaysMore) {
  const std::string path = NewSocketPath();
  const mode_t before = ::umask(0);
  { const UniqueFd socket = ListenAt("unix:" + path); }
  EXPECT_EQ(ModeOf(path), 0600U);
  ::umask(0077);
  { const UniqueFd socket = ListenAt("unix:" + path, {0666, ""}); }
  ::umask(before);
  EXPECT_EQ(ModeOf(path), 0666U);
  try {
    ListenAt("unix:" + path, {0660, "nobody knows this group"});
    ADD_FAILURE();
  } catch (const std::runtime_error& error) {
    EXPECT_NE(std::string(error.what()).find("there is no group nobody knows this group"), std::string::npos);
  }
  std::filesystem::remove(path);
}

TEST(ListenSocket, OnlyADeadSocketIsReplaced) {
  const std::string path = NewSocketPath();
  std::ofstream(path) << "a file of somebody's";
  EXPECT_THROW(ListenAt("unix:" + path), std::runtime_error);
  EXPECT_TRUE(std::filesystem::is_regular_file(path));
  std::filesystem::remove(path);
  // A living one that nobody accepts at, with as many waiting as it lets.
  const UniqueFd living = ListenAt("unix:" + path);
  ASSERT_EQ(::listen(living.Get(), 1), 0);
  sockaddr_un place{};
  place.sun_family = AF_UNIX;
  std::strncpy(place.sun_path, path.c_str(), sizeof place.sun_path - 1);
  std::vector<UniqueFd> waiting;
  for (int i = 0; i < 8; ++i) {
    waiting.emplace_back(::socket(AF_UNIX, SOCK_STREAM | SOCK_NONBLOCK, 0));
    (void)::connect(waiting.back().Get(), reinterpret_cast<const sockaddr*>(&place), sizeof place);
  }
  EXPECT_THROW(ListenAt("unix:" + path), std::runtime_error);
  EXPECT_TRUE(std::filesystem::is_socket(path));
  std::filesystem::remove(path);
}

TEST(ListenSocket, ItsAddressIsTold) {
  const UniqueFd tcp = ListenAt("127.0.0.1:0");
  EXPECT_EQ(AddressOfListener(tcp.Get()), "127.0.0.1:" + std::to_string(PortOf(tcp.Get())));
  const std::string path = NewSocketPath();
  const UniqueFd local = ListenAt("unix:" + path);
  EXPECT_EQ(AddressOfListener(local.Get()), "unix:" + path);
  std::filesystem::remove(path);
}

}  // namespace
