#include "host-linux/command/NewCommand.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <regex>
#include <sstream>

#include "host-linux/services/SiteConfiguration.h"
#include "tests/application/ServedSite.h"

namespace hostlinux {
namespace {

using ::testing::HasSubstr;
using ::testing::Not;

class NewSite : public ::testing::Test {
 protected:
  NewSite() : m_folder(::testing::TempDir() + "varnel-new-" + std::to_string(::getpid())) {
    std::filesystem::remove_all(m_folder);
  }
  ~NewSite() override { std::filesystem::remove_all(m_folder); }

  std::string Refusal(const std::filesystem::path& folder) {
    try {
      MakeNewSite(folder);
    } catch (const std::runtime_error& error) {
      return error.what();
    }
    return "";
  }

  std::string Text(const std::string& file) {
    std::ifstream stream(m_folder / file, std::ios::binary);
    std::ostringstream text;
    text << stream.rdbuf();
    return text.str();
  }

  std::filesystem::path m_folder;
};

std::string RunPage(const std::filesystem::path& site, const std::string& page, const std::string& query) {
  return hosttest::ServedSite(site).PageText(page, query);
}

TEST_F(NewSite, SaysHelloOnItsFirstPage) {
  MakeNewSite(m_folder / "hello");
  const std::string page = RunPage(m_folder / "hello", "index.asp", "");
  EXPECT_THAT(page, HasSubstr("<title>hello</title>"));
  EXPECT_THAT(page, HasSubstr("<h1>Hello, world!</h1>"));
  EXPECT_THAT(page, HasSubstr("href=\"/hello/list.asp\""));
}

TEST_F(NewSite, EncodesTheVisitorsName) {
  MakeNewSite(m_folder / "hello");
  EXPECT_THAT(RunPage(m_folder / "hello", "index.asp", "name=%3Cb%3E"),
              HasSubstr("<h1>Hello, &lt;b&gt;!</h1>"));
}

TEST_F(NewSite, ShowsItsTableAsAGrid) {
  MakeNewSite(m_folder / "hello");
  const std::string page = RunPage(m_folder / "hello", "list.asp", "");
  EXPECT_THAT(page, HasSubstr("Records 1-12 of 92"));
  EXPECT_THAT(page, HasSubstr(">Magnesium</td>"));
  EXPECT_THAT(page, Not(HasSubstr(">Aluminium</td>")));
  EXPECT_THAT(page, HasSubstr("<B>1</B>"));
  EXPECT_THAT(page, HasSubstr(">8</A>"));
}

// The query of the link around the image whose title is the `which`th of that text.
std::string QueryOf(const std::string& page, const std::string& title, int which = 1) {
  std::size_t at = 0;
  while (which-- > 0) at = page.find(" title=\"" + title + "\" ", at + 1);
  if (at == std::string::npos) return "";
  const std::string start = "<a href=\"/hello/list.asp?";
  const auto link = page.rfind(start, at) + start.size();
  return page.substr(link, page.find('"', link) - link);
}

// The weights of the rows, one after another.
std::vector<double> WeightsOf(const std::string& page) {
  std::vector<double> weights;
  const std::regex lastCell(R"(>([0-9.]+)</td></tr>)");
  for (std::sregex_iterator row(page.begin(), page.end(), lastCell), end; row != end; ++row) {
    weights.push_back(std::stod((*row)[1]));
  }
  return weights;
}

TEST_F(NewSite, WalksItsTableByWeightFromEndToEnd) {
  MakeNewSite(m_folder / "hello");
  const hosttest::ServedSite served(m_folder / "hello");
  // The texts before it: two for each of the two heads to its left.
  std::string page =
      served.PageText("list.asp", QueryOf(served.PageText("list.asp"), "Sort by this column", 5));
  std::vector<double> weights = WeightsOf(page);
  for (int i = 1; i < 8; ++i) {
    page = served.PageText("list.asp", QueryOf(page, "Next page"));
    const auto more = WeightsOf(page);
    weights.insert(weights.end(), more.begin(), more.end());
  }
  EXPECT_THAT(page, HasSubstr("BtnNavBarNavyLastOff.gif"));
  EXPECT_THAT(page, HasSubstr("Records 85-92 of 92"));
  EXPECT_EQ(weights.size(), 92U);
  EXPECT_TRUE(std::is_sorted(weights.begin(), weights.end()));
  EXPECT_EQ(weights.front(), 1.008);
  EXPECT_EQ(weights.back(), 238.03);
}

TEST_F(NewSite, HasEveryImageThatItsGridNames) {
  MakeNewSite(m_folder / "hello");
  const std::string page = RunPage(m_folder / "hello", "list.asp", "");
  const std::string start = "src=\"/hello/";
  int images = 0;
  for (auto at = page.find(start); at != std::string::npos; at = page.find(start, at + 1)) {
    const auto begin = at + start.size();
    const std::string file = page.substr(begin, page.find('"', begin) - begin);
    EXPECT_TRUE(std::filesystem::is_regular_file(m_folder / "hello/pages" / file)) << file;
    ++images;
  }
  EXPECT_EQ(images, 8);  // four buttons, four columns that sort
}

TEST_F(NewSite, IsNamedByTheLastSegmentOfItsFolder) {
  MakeNewSite(m_folder / "deep" / "My-site_2/");
  EXPECT_EQ(LoadSiteConfiguration(m_folder / "deep" / "My-site_2").root, "/My-site_2");
}

TEST_F(NewSite, MayTakeAnEmptyFolder) {
  std::filesystem::create_directories(m_folder / "hello");
  EXPECT_EQ(Refusal(m_folder / "hello"), "");
}

TEST_F(NewSite, RefusesAFolderWithSomethingInIt) {
  std::filesystem::create_directories(m_folder);
  std::ofstream(m_folder / "mine.txt") << "mine";
  EXPECT_EQ(Refusal(m_folder), m_folder.string() + " is there already and isn't empty");
  EXPECT_EQ(Text("mine.txt"), "mine");
  EXPECT_FALSE(std::filesystem::exists(m_folder / "site.toml"));
}

TEST_F(NewSite, RefusesAFileOfThatName) {
  std::filesystem::create_directories(m_folder);
  std::ofstream(m_folder / "hello") << "mine";
  EXPECT_THAT(Refusal(m_folder / "hello"), HasSubstr("hello"));
  EXPECT_EQ(Text("hello"), "mine");
}

TEST_F(NewSite, RefusesANameThatIsNoCleanSegment) {
  for (const char* name : {"a b", "a.b", "-a", "_a", "a\"", "\xC3\xA4", "a%20"}) {
    EXPECT_THAT(Refusal(m_folder / name), HasSubstr("can't be a site's name")) << name;
  }
  EXPECT_FALSE(std::filesystem::exists(m_folder));
}

}  // namespace
}  // namespace hostlinux
