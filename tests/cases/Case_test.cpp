// Runs the cases of this folder.

#include <algorithm>
#include <fstream>
#include <sstream>
#include <stdexcept>
#include <vector>

#include "tests/application/ServedSite.h"

namespace {

struct Case {
  std::string query;
  std::string page;
  std::string expected;
};

bool IsRule(const std::string& line) {
  return line.size() >= 3 && line.find_first_not_of('-') == std::string::npos;
}

void Append(std::string& part, bool& isFirst, std::string line) {
  if (line.ends_with("\\r")) line.replace(line.size() - 2, 2, "\r");
  part += (isFirst ? "" : "\n") + line;
  isFirst = false;
}

Case ReadCase(const std::filesystem::path& path) {
  std::ifstream file(path, std::ios::binary);
  std::string parts[3];
  int part = 0;
  bool isFirst = true;
  for (std::string line; std::getline(file, line);) {
    if (part < 2 && IsRule(line)) {
      ++part;
      isFirst = true;
    } else {
      Append(parts[part], isFirst, line);
    }
  }
  if (part != 2) throw std::runtime_error(path.string() + " needs three parts");
  Case read{"", parts[1], parts[2]};
  const std::string mark = "Query: ";
  std::istringstream description(parts[0]);
  for (std::string line; std::getline(description, line);) {
    if (line.starts_with(mark)) read.query = line.substr(mark.size());
  }
  return read;
}

std::vector<std::filesystem::path> CaseFiles() {
  std::vector<std::filesystem::path> files;
  for (const auto& entry : std::filesystem::directory_iterator(VARNEL_SOURCE_DIR "/tests/cases")) {
    if (entry.path().extension() == ".case") files.push_back(entry.path());
  }
  std::sort(files.begin(), files.end());
  return files;
}

std::string NameOf(const testing::TestParamInfo<std::filesystem::path>& info) {
  std::string name = info.param.stem();
  std::replace(name.begin(), name.end(), '-', '_');
  return name;
}

class CaseTest : public hosttest::PageTest, public testing::WithParamInterface<std::filesystem::path> {};

TEST_P(CaseTest, GivesItsText) {
  const Case tested = ReadCase(GetParam());
  site.MakeCustomers(25);
  site.WritePage("case.asp", tested.page);
  const hosttest::Answer answer = Get("/shop/case.asp" + (tested.query.empty() ? "" : "?" + tested.query));
  EXPECT_EQ(answer.status, 200);
  EXPECT_EQ(answer.body, tested.expected);
}

INSTANTIATE_TEST_SUITE_P(Cases, CaseTest, testing::ValuesIn(CaseFiles()), NameOf);

}  // namespace
