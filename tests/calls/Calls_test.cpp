// Pages that call every operation, on this host: the DLL's answers are compared with the same texts.
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <vector>

#include "tests/application/ServedSite.h"

namespace {

using hosttest::Answer;
using hosttest::PageTest;

const std::filesystem::path kTests = std::filesystem::path(VARNEL_SOURCE_DIR) / "tests";
const std::filesystem::path kFolder = kTests / "calls";

std::string FileText(const std::filesystem::path& path) {
  std::ifstream file(path, std::ios::binary);
  std::ostringstream text;
  text << file.rdbuf();
  return text.str();
}

struct PageCall {
  std::string page;
  std::string form;  // the file of a body; empty for a GET
};

std::vector<PageCall> Requests() {
  std::vector<PageCall> requests;
  std::ifstream file(kFolder / "requests.txt");
  for (std::string line; std::getline(file, line);) {
    if (line.starts_with("#")) continue;
    std::istringstream words(line);
    PageCall request;
    words >> request.page >> request.form;
    requests.push_back(std::move(request));
  }
  return requests;
}

class Calls : public PageTest {
 protected:
  void CopySite() {
    const auto from = kFolder / "site";
    for (const auto& entry : std::filesystem::recursive_directory_iterator(from)) {
      if (entry.is_regular_file())
        site.Write(std::filesystem::relative(entry.path(), from).string(), FileText(entry.path()));
    }
    site.Write("messages/1033.toml", FileText(kTests / "recorded/site/messages/1033.toml"));
    const std::filesystem::path root = VARNEL_SOURCE_DIR;
    for (const char* name :
         {"tests/recorded/site/data.sql", "site/schema/tables.sql", "tests/catalog/small-catalogue.sql"})
      site.RunSql(FileText(root / name), "data.db");
  }

  Answer AnswerTo(const PageCall& request) {
    const std::string target = "/rec/" + request.page + ".asp";
    if (request.form.empty()) return Get(target);
    return Post(target, FileText(kFolder / request.form), "multipart/form-data; boundary=frontier");
  }
};

TEST_F(Calls, PagesAnswerAsExpected) {
  CopySite();
  const std::vector<PageCall> requests = Requests();
  ASSERT_GE(requests.size(), 8U);
  const bool recording = std::getenv("VARNEL_RECORD") != nullptr;
  for (const PageCall& request : requests) {
    const Answer answer = AnswerTo(request);
    EXPECT_EQ(answer.status, 200) << request.page << answer.body;
    const auto file = kFolder / "expected" / (request.page + ".txt");
    if (recording) std::ofstream(file, std::ios::binary) << answer.body;
    EXPECT_EQ(FileText(file), answer.body) << request.page;
  }
  EXPECT_EQ(FileText(site.Folder() / "uploads/notes.txt"), "zebra & apple");
}

}  // namespace
