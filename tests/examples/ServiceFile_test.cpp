// The example of a service file, as the system's own checker reads it.

#include <gmock/gmock.h>
#include <stdlib.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <regex>
#include <sstream>
#include <stdexcept>

namespace {

namespace fs = std::filesystem;

constexpr char kChecker[] = "/usr/bin/systemd-analyze";

std::string FileText(const fs::path& path) {
  std::ifstream file(path);
  std::ostringstream text;
  text << file.rdbuf();
  return text.str();
}

std::string Example(const std::string& name = "varnel.service") {
  return FileText(VARNEL_SOURCE_DIR "/examples/service/" + name);
}

class ServiceFileTest : public testing::Test {
 protected:
  ServiceFileTest() {
    std::string pattern = (fs::temp_directory_path() / "varnel-service-XXXXXX").string();
    if (::mkdtemp(pattern.data()) == nullptr) throw std::runtime_error("no folder for the service file");
    m_folder = pattern;
  }
  ~ServiceFileTest() override { fs::remove_all(m_folder); }

  // What the checker says to a service file; it says nothing to a good one.
  std::string Verified(const std::string& text, const std::string& name = "varnel.service") const {
    std::ofstream(m_folder / name) << text;
    const std::string words = (m_folder / "words").string();
    const std::string command =
        std::string(kChecker) + " verify --man=no " + (m_folder / name).string() + " >" + words + " 2>&1";
    const int status = std::system(command.c_str());
    return FileText(words) + (status == 0 ? "" : "status " + std::to_string(status));
  }

  // The example, of a program that there is on any machine.
  static std::string Startable(const std::string& name = "varnel.service") {
    return std::regex_replace(Example(name), std::regex("\nExecStart=\\S+"), "\nExecStart=/bin/true");
  }

  fs::path m_folder;
};

TEST_F(ServiceFileTest, IsTakenWithoutAWord) {
  if (::access(kChecker, X_OK) != 0) GTEST_SKIP() << kChecker << " isn't there";
  EXPECT_EQ(Verified(Startable()), "");
}

TEST_F(ServiceFileTest, SoAreThoseOfSeveralProcessesAndOfASocket) {
  if (::access(kChecker, X_OK) != 0) GTEST_SKIP() << kChecker << " isn't there";
  EXPECT_EQ(Verified(Startable("varnel@.service"), "varnel@1.service"), "");
  EXPECT_EQ(Verified(Startable()), "");
  EXPECT_EQ(Verified(Example("varnel.socket"), "varnel.socket"), "");
}

// They are one file, but for where the socket is.
TEST_F(ServiceFileTest, SeveralProcessesHaveTheSameBounds) {
  const std::string one = Example();
  const std::string several = Example("varnel@.service");
  const auto bounds = [](const std::string& text) {
    return text.substr(text.find("\n# It reads the system"));
  };
  EXPECT_EQ(bounds(several), bounds(one));
  EXPECT_THAT(several, testing::HasSubstr("--listen unix:/run/varnel-%i/varnel.sock\n"));
}

TEST_F(ServiceFileTest, WouldBeToldOfAMistake) {
  if (::access(kChecker, X_OK) != 0) GTEST_SKIP() << kChecker << " isn't there";
  EXPECT_THAT(Verified(std::regex_replace(Startable(), std::regex("PrivateTmp="), "PrivateTemp=")),
              testing::HasSubstr("Unknown key"));
}

TEST_F(ServiceFileTest, KeepsTheServerInBounds) {
  const std::string text = Example();
  for (const char* line : {"NoNewPrivileges=yes", "ProtectSystem=strict", "PrivateTmp=yes", "MemoryMax=2G",
                           "User=varnel", "CapabilityBoundingSet="}) {
    EXPECT_THAT(text, testing::HasSubstr("\n" + std::string(line) + "\n"));
  }
  // The script engine couldn't run with it.
  EXPECT_THAT(text, testing::Not(testing::HasSubstr("\nMemoryDenyWriteExecute=")));
}

}  // namespace
