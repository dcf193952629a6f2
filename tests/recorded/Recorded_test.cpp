// The pages of a site answer what they have answered before, byte by byte.
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <vector>

#include "tests/application/ServedSite.h"

namespace {

using hosttest::Answer;
using hosttest::PageTest;

const std::filesystem::path kFolder = std::filesystem::path(VARNEL_SOURCE_DIR) / "tests/recorded";

std::string FileText(const std::filesystem::path& path) {
  std::ifstream file(path, std::ios::binary);
  std::ostringstream text;
  text << file.rdbuf();
  return text.str();
}

struct RecordedRequest {
  std::string name;
  std::string target;
  std::string form;
  bool posted = false;
};

std::vector<RecordedRequest> Requests() {
  std::vector<RecordedRequest> requests;
  std::ifstream file(kFolder / "requests.txt");
  for (std::string line; std::getline(file, line);) {
    if (line.starts_with("#")) continue;
    std::istringstream words(line);
    RecordedRequest request;
    words >> request.name >> request.target;
    request.posted = static_cast<bool>(words >> request.form);
    requests.push_back(std::move(request));
  }
  return requests;
}

std::string Shown(const Answer& answer) {
  const std::string* type = answer.headers.Find("Content-Type");
  return std::to_string(answer.status) + " " + (type == nullptr ? "" : *type) + "\n" + answer.body;
}

class Recorded : public PageTest {
 protected:
  void CopySite() {
    const auto from = kFolder / "site";
    for (const auto& entry : std::filesystem::recursive_directory_iterator(from)) {
      if (entry.is_regular_file())
        site.Write(std::filesystem::relative(entry.path(), from).string(), FileText(entry.path()));
    }
    site.RunSql(FileText(from / "data.sql"), "data.db");
  }

  std::string AnswerTo(const RecordedRequest& request) {
    const std::string target = "/rec/" + request.target;
    return Shown(request.posted ? Post(target, request.form) : Get(target));
  }
};

// The place where two texts part, with what stands before it: a whole page is too much to look at.
std::string Difference(const std::string& expected, const std::string& given) {
  std::size_t at = 0;
  while (at < expected.size() && at < given.size() && expected[at] == given[at]) ++at;
  const std::size_t from = at < 60 ? 0 : at - 60;
  return "at byte " + std::to_string(at) + "\nexpected: " + expected.substr(from, 160) +
         "\ngiven:    " + given.substr(from, 160);
}

TEST_F(Recorded, PagesAnswerAsBefore) {
  CopySite();
  const std::vector<RecordedRequest> requests = Requests();
  ASSERT_GE(requests.size(), 60U);
  const bool recording = std::getenv("VARNEL_RECORD") != nullptr;
  // Twice: a page that has run before, in a thread that has, is the same.
  for (int round = 0; round < 2; ++round) {
    for (const RecordedRequest& request : requests) {
      const auto file = kFolder / "expected" / (request.name + ".txt");
      const std::string given = AnswerTo(request);
      if (recording && round == 0) std::ofstream(file, std::ios::binary) << given;
      const std::string expected = FileText(file);
      EXPECT_TRUE(given == expected) << request.name << " " << Difference(expected, given);
    }
  }
}

}  // namespace
