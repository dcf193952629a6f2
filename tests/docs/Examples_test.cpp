#include <gtest/gtest.h>
#include <sqlite3.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <regex>
#include <sstream>

#include "host-linux/command/NewCommand.h"
#include "host-linux/command/SiteTests.h"
#include "tests/application/ServedSite.h"

namespace {

// A fenced block: ```asp page=first.asp query=a=1
struct Block {
  std::string language;
  std::string page;
  std::string query;
  std::string file;
  std::string database;
  std::string text;
};

std::string ReadText(const std::filesystem::path& file) {
  std::ifstream stream(file, std::ios::binary);
  std::ostringstream text;
  text << stream.rdbuf();
  return text.str();
}

void WriteText(const std::filesystem::path& file, const std::string& text) {
  std::filesystem::create_directories(file.parent_path());
  std::ofstream(file, std::ios::binary) << text;
}

void RunSql(const std::filesystem::path& file, const std::string& sql) {
  sqlite3* database = nullptr;
  EXPECT_EQ(sqlite3_open(file.c_str(), &database), SQLITE_OK);
  EXPECT_EQ(sqlite3_exec(database, sql.c_str(), nullptr, nullptr, nullptr), SQLITE_OK) << sql;
  sqlite3_close(database);
}

Block BlockOf(const std::string& info) {
  Block block;
  std::istringstream words(info);
  words >> block.language;
  for (std::string word; words >> word;) {
    const auto equals = word.find('=');
    const std::string value = word.substr(equals + 1);
    const std::string name = word.substr(0, equals);
    (name == "page"    ? block.page
     : name == "query" ? block.query
     : name == "db"    ? block.database
                       : block.file) = value;
  }
  return block;
}

std::vector<Block> BlocksOf(const std::string& markdown) {
  std::vector<Block> blocks;
  std::istringstream lines(markdown);
  bool inside = false;
  for (std::string line; std::getline(lines, line);) {
    if (line.starts_with("```")) {
      inside = !inside;
      if (inside) blocks.push_back(BlockOf(line.substr(3)));
    } else if (inside) {
      blocks.back().text += line + "\n";
    }
  }
  return blocks;
}

// The lines that have something in them, without the blanks around it.
std::string Condensed(const std::string& text) {
  std::string condensed;
  std::istringstream lines(text);
  for (std::string line; std::getline(lines, line);) {
    const auto first = line.find_first_not_of(" \t\r");
    if (first == std::string::npos) continue;
    condensed += line.substr(first, line.find_last_not_of(" \t\r") - first + 1) + "\n";
  }
  return condensed;
}

// The site seals its links by a key of its own; the pages show them without.
std::string WithoutSeals(const std::string& text) {
  static const std::regex kSeal("([x.])s[0-9a-f]{32}");
  return std::regex_replace(text, kSeal, "$1");
}

class Examples : public ::testing::TestWithParam<const char*> {
 protected:
  Examples()
      : m_site(::testing::TempDir() + "varnel-docs-" + std::to_string(::getpid()) + "/hello"),
        m_blocks(BlocksOf(ReadText(std::filesystem::path(VARNEL_SOURCE_DIR) / GetParam()))) {
    hostlinux::MakeNewSite(m_site);
    for (const Block& block : m_blocks) {
      if (!block.page.empty()) WriteText(m_site / "pages" / block.page, block.text);
      if (!block.file.empty()) WriteText(m_site / block.file, block.text);
      if (!block.database.empty()) RunSql(m_site / block.database, block.text);
    }
  }
  ~Examples() override { std::filesystem::remove_all(m_site.parent_path()); }

  bool IsOutput(std::size_t i) const {
    return i < m_blocks.size() && (m_blocks[i].language == "text" || m_blocks[i].language == "html");
  }

  std::filesystem::path m_site;
  std::vector<Block> m_blocks;
};

TEST_P(Examples, DoWhatThePageSays) {
  const hosttest::ServedSite served(m_site);
  int pages = 0;
  for (std::size_t i = 0; i < m_blocks.size(); ++i) {
    if (m_blocks[i].page.empty()) continue;
    ++pages;
    const std::string output = served.PageText(m_blocks[i].page, m_blocks[i].query);
    if (IsOutput(i + 1)) {
      EXPECT_EQ(Condensed(WithoutSeals(output)), Condensed(m_blocks[i + 1].text)) << m_blocks[i].page;
    }
  }
  EXPECT_GT(pages, 0);
}

// What the tests of a page of the documentation say, run in a site of its own.
std::vector<std::string> TestResultsOf(const std::string& page, const std::string& files = "") {
  const auto site = std::filesystem::path(::testing::TempDir()) /
                    ("varnel-docs-tests-" + std::to_string(::getpid())) / "hello";
  hostlinux::MakeNewSite(site);
  for (const Block& block : BlocksOf(ReadText(std::filesystem::path(VARNEL_SOURCE_DIR) / page))) {
    if (!block.page.empty()) WriteText(site / "pages" / block.page, block.text);
    if (!block.file.empty()) WriteText(site / block.file, block.text);
    if (!block.database.empty()) RunSql(site / block.database, block.text);
  }
  std::vector<std::string> results;
  hostlinux::RunSiteTests(
      site, files, hosttest::SharedRuntime(),
      [&](const hostlinux::SiteTestResult& result) { results.push_back(hostlinux::TestResultText(result)); });
  std::filesystem::remove_all(site.parent_path());
  return results;
}

TEST(TestingPage, HasTestsThatPass) {
  EXPECT_EQ(TestResultsOf("docs/testing.md"),
            (std::vector<std::string>{"ok   tests/greeting.js: the page takes a name",
                                      "ok   tests/greeting.js: a form bears the token by itself",
                                      "ok   tests/greeting.js: a page's failure is in the log",
                                      "ok   tests/pages.js: the first page greets by name",
                                      "ok   tests/pages.js: the list leads to its next page",
                                      "ok   tests/pages.js: the other list is searched"}));
}

TEST(ApplicationPage, HasTestsThatPass) {
  EXPECT_EQ(TestResultsOf("docs/application.md", "shelf"),
            (std::vector<std::string>{"ok   tests/shelf.js: a search takes every mark as it is",
                                      "ok   tests/shelf.js: a guest is asked who he is",
                                      "ok   tests/shelf.js: a German price is taken, and a foreign one isn't",
                                      "ok   tests/shelf.js: a price may be left out",
                                      "ok   tests/shelf.js: what isn't there has a page of the site's own"}));
}

INSTANTIATE_TEST_SUITE_P(Docs, Examples,
                         ::testing::Values("README.md", "docs/first-page.md", "docs/lists-and-grids.md",
                                           "docs/list.md", "docs/script-contract.md", "docs/site-toml.md",
                                           "docs/numbers-and-dates.md", "docs/parameters.md",
                                           "docs/application.md"));

}  // namespace
