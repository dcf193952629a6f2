#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sqlite3.h>
#include <unistd.h>

#include <array>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <sstream>

namespace {

using ::testing::HasSubstr;
using ::testing::Not;

std::string TextOf(const std::string& file) {
  std::ifstream stream(std::string(VARNEL_SOURCE_DIR "/") + file, std::ios::binary);
  std::ostringstream text;
  text << stream.rdbuf();
  return text.str();
}

class Embedding : public ::testing::Test {
 protected:
  Embedding() : m_database(::testing::TempDir() + "varnel-embedding-" + std::to_string(::getpid()) + ".db") {
    const std::string script = TextOf("host-linux/command/new-site/elements.sql");
    sqlite3* database = nullptr;
    EXPECT_EQ(sqlite3_open(m_database.c_str(), &database), SQLITE_OK);
    EXPECT_EQ(sqlite3_exec(database, script.c_str(), nullptr, nullptr, nullptr), SQLITE_OK);
    sqlite3_close(database);
  }
  ~Embedding() override { std::filesystem::remove(m_database); }

  // What the program writes to standard output.
  std::string Output(const std::string& query) {
    const std::string command = EMBEDDING_PROGRAM " '" + m_database +
                                "' '" VARNEL_SOURCE_DIR "/host-linux/command/new-site/messages' '" + query +
                                "'";
    FILE* pipe = ::popen(command.c_str(), "r");
    std::string output;
    std::array<char, 4096> part;
    for (std::size_t n = 0; (n = std::fread(part.data(), 1, part.size(), pipe)) > 0;) {
      output.append(part.data(), n);
    }
    EXPECT_EQ(::pclose(pipe), 0);
    return output;
  }

  // The query of the link around the image of that title.
  static std::string QueryOf(const std::string& html, const std::string& title) {
    const std::string start = "<a href=\"/example/elements?";
    const auto link = html.rfind(start, html.find("title=\"" + title + "\"")) + start.size();
    return html.substr(link, html.find('"', link) - link);
  }

  std::string m_database;
};

TEST_F(Embedding, WritesTheFirstPageAsAGrid) {
  EXPECT_EQ(Output(""), TextOf("tests/examples/embedding.html"));
}

TEST_F(Embedding, FollowsALinkOfItsGrid) {
  const std::string next = Output(QueryOf(Output(""), "Next page"));
  EXPECT_THAT(next, HasSubstr("Records 4-6 of 92"));
  EXPECT_THAT(next, HasSubstr("<td>Argon</td>"));
  EXPECT_THAT(next, HasSubstr("<td>Arsenic</td>"));
  EXPECT_THAT(next, HasSubstr("<td>Astatine</td>"));
  EXPECT_THAT(next, Not(HasSubstr("<td>Antimony</td>")));
}

TEST_F(Embedding, ReachesTheLastPage) {
  const std::string last = Output(QueryOf(Output(""), "Last page"));
  EXPECT_THAT(last, HasSubstr("Records 91-92 of 92"));
  EXPECT_THAT(last, HasSubstr("<td>Zirconium</td>"));
}

}  // namespace
