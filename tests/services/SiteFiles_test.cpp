#include "host-linux/services/SiteFiles.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <csignal>
#include <fstream>
#include <functional>
#include <sstream>
#include <thread>

#include "host-fake/ErrorOf.h"
#include "varnel/automation/Convert.h"

namespace hostlinux {
namespace {

using hostfake::ErrorOf;
using hostfake::NumberOf;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::UnorderedElementsAre;
using varnel::Bytes;
using varnel::StringView;

namespace fs = std::filesystem;

// A site with the root "up", which is there, and a folder "secret" beside it.
class SiteFilesTest : public testing::Test {
 protected:
  SiteFilesTest() {
    std::string folder = (fs::temp_directory_path() / "varnel-files-XXXXXX").string();
    m_folder = ::mkdtemp(folder.data());
    for (const char* name : {"up", "up/in", "secret", "pages"}) fs::create_directory(m_folder / name);
    m_files = std::make_unique<SiteFiles>(
        SiteFiles::Options{m_folder, {"up", "new/", "pages/shown"}, m_folder / "pages"});
  }
  ~SiteFilesTest() override { fs::remove_all(m_folder); }

  void Put(const std::string& name, const std::string& content) {
    std::ofstream(m_folder / name, std::ios::binary) << content;
  }

  std::string Content(const std::string& name) {
    std::ifstream file(m_folder / name, std::ios::binary);
    std::ostringstream content;
    content << file.rdbuf();
    return content.str();
  }

  std::vector<std::string> Names(const std::string& folder) {
    std::vector<std::string> names;
    for (const auto& entry : fs::directory_iterator(m_folder / folder))
      names.push_back(entry.path().filename());
    return names;
  }

  varnel::ErrInfo FailureOfWriting(StringView path, const std::string& data = "data") {
    return ErrorOf([&] { m_files->WriteFile(path, Bytes(data.begin(), data.end())); });
  }
  void Write(StringView path, const std::string& data) {
    EXPECT_EQ(FailureOfWriting(path, data), varnel::ErrInfo());
  }

  varnel::Long FailureOfFolder(StringView path) {
    return NumberOf([&] { m_files->CreateFolder(path); });
  }
  varnel::Long FailureOfLooking(StringView path) {
    return NumberOf([&] { (void)m_files->FolderExists(path); });
  }
  varnel::Long FailureOfJoining(StringView name) {
    return NumberOf([&] { (void)m_files->Join(u"up", name); });
  }

  fs::path m_folder;
  std::unique_ptr<SiteFiles> m_files;
};

TEST_F(SiteFilesTest, WriteBelowARoot) {
  Write(u"up/in/x.txt", "data");
  EXPECT_EQ(Content("up/in/x.txt"), "data");
  Write(varnel::FromUtf8((m_folder / "up/ü.txt").string()), "more");
  EXPECT_EQ(Content("up/ü.txt"), "more");
  EXPECT_THAT(Names("up"), UnorderedElementsAre("in", "ü.txt"));
}

TEST_F(SiteFilesTest, AllBytesAndLargeFilesArrive) {
  std::string data;
  for (int i = 0; i < 3'000'000; ++i) data += static_cast<char>(i * 7);
  Write(u"up/large", data);
  EXPECT_TRUE(Content("up/large") == data);
}

TEST_F(SiteFilesTest, LongerFileKeepsItsTail) {
  Put("up/x", "0123456789");
  Write(u"up/x", "abc");
  EXPECT_EQ(Content("up/x"), "abc3456789");
  Write(u"up/x", "a longer text");
  EXPECT_EQ(Content("up/x"), "a longer text");
}

TEST_F(SiteFilesTest, FileKeepsItsMode) {
  Put("up/x", "1");
  fs::permissions(m_folder / "up/x", static_cast<fs::perms>(0640));
  Write(u"up/x", "2");
  EXPECT_EQ(fs::status(m_folder / "up/x").permissions(), static_cast<fs::perms>(0640));
}

TEST_F(SiteFilesTest, FoldersAreSeenAndMade) {
  EXPECT_TRUE(m_files->FolderExists(u"up"));
  EXPECT_TRUE(m_files->FolderExists(u"up/in/"));
  EXPECT_TRUE(m_files->FolderExists(u"up/./in/../in"));
  EXPECT_FALSE(m_files->FolderExists(u"up/none"));
  EXPECT_FALSE(m_files->FolderExists(u"up/none/deeper"));
  EXPECT_EQ(FailureOfFolder(u"up/none/deeper"), 76);
  EXPECT_EQ(FailureOfFolder(u"up/none"), 0);
  EXPECT_EQ(FailureOfFolder(u"up/none/deeper"), 0);
  EXPECT_TRUE(m_files->FolderExists(u"up/none/deeper"));
}

TEST_F(SiteFilesTest, MissingRootIsMade) {
  EXPECT_FALSE(m_files->FolderExists(u"new"));
  EXPECT_EQ(FailureOfFolder(u"new"), 0);
  Write(u"new/x", "1");
  EXPECT_EQ(Content("new/x"), "1");
}

TEST_F(SiteFilesTest, NothingIsWrittenOutsideTheRoots) {
  for (const StringView path : {u"secret/x", u"x", u"up/../secret/x", u"up/in/../../secret/x", u"upper/x",
                                u"/etc/varnel-test", u"../x", u"."}) {
    const auto error = FailureOfWriting(path);
    EXPECT_EQ(error.Number, 70) << varnel::ToUtf8(path);
    EXPECT_THAT(varnel::ToUtf8(error.Description), HasSubstr("The path lies in no folder of [files] roots"));
    EXPECT_EQ(FailureOfFolder(path), 70);
    EXPECT_EQ(FailureOfLooking(path), 70);
  }
  EXPECT_THAT(Names("secret"), IsEmpty());
  EXPECT_THAT(Names("."), UnorderedElementsAre("up", "secret", "pages"));
}

TEST_F(SiteFilesTest, SiteWithoutRootsWritesNothing) {
  SiteFiles none({m_folder, {}, m_folder / "pages"});
  EXPECT_EQ(NumberOf([&] { none.WriteFile(u"up/x", Bytes{1}); }), 70);
}

TEST_F(SiteFilesTest, NoLinkIsFollowed) {
  fs::create_directory_symlink(m_folder / "secret", m_folder / "up/link");
  Put("secret/target", "old");
  fs::create_symlink(m_folder / "secret/target", m_folder / "up/file");
  fs::create_symlink(m_folder / "secret/none", m_folder / "up/dangling");
  EXPECT_EQ(FailureOfWriting(u"up/link/x").Number, 70);
  EXPECT_EQ(FailureOfWriting(u"up/link/deeper/x").Number, 70);
  EXPECT_EQ(FailureOfWriting(u"up/file").Number, 70);
  EXPECT_EQ(FailureOfWriting(u"up/dangling").Number, 70);
  EXPECT_EQ(FailureOfLooking(u"up/link"), 70);
  EXPECT_EQ(FailureOfFolder(u"up/link/new"), 70);
  EXPECT_EQ(Content("secret/target"), "old");
  EXPECT_THAT(Names("secret"), UnorderedElementsAre("target"));
  EXPECT_THAT(varnel::ToUtf8(FailureOfWriting(u"up/file").Description), HasSubstr("A link is not followed"));
}

// The site's own configuration may lead through a link.
TEST_F(SiteFilesTest, RootItselfMayBeALink) {
  fs::create_directory_symlink(m_folder / "secret", m_folder / "new");
  Write(u"new/x", "1");
  EXPECT_EQ(Content("secret/x"), "1");
}

TEST_F(SiteFilesTest, NameIsOneComponent) {
  for (const StringView name : {StringView(u""), StringView(u"."), StringView(u".."), StringView(u"a/b"),
                                StringView(u"a\\b"), StringView(u"/x"), StringView(u"a\0b", 3)}) {
    EXPECT_EQ(FailureOfJoining(name), 52) << varnel::ToUtf8(name);
  }
  EXPECT_EQ(m_files->Join(u"up/in", u"...x"), u"up/in/...x");
  EXPECT_EQ(FailureOfWriting(StringView(u"up/a\0b", 6)).Number, 52);
  EXPECT_EQ(FailureOfWriting(u"up").Number, 52);
}

TEST_F(SiteFilesTest, NameThatIsTooLongFails) {
  EXPECT_EQ(FailureOfWriting(u"up/" + varnel::String(300, u'x')).Number, 52);
  EXPECT_THAT(Names("up"), UnorderedElementsAre("in"));
}

TEST_F(SiteFilesTest, FolderAndDeviceAreNoFiles) {
  ::mkfifo((m_folder / "up/pipe").c_str(), 0600);
  EXPECT_EQ(FailureOfWriting(u"up/in").Number, 70);
  EXPECT_EQ(FailureOfWriting(u"up/pipe").Number, 70);
  Put("up/file", "1");
  EXPECT_EQ(FailureOfWriting(u"up/file/x").Number, 76);
  EXPECT_EQ(FailureOfFolder(u"up/file"), 75);
}

TEST_F(SiteFilesTest, NoPageIsWrittenAmongThePages) {
  EXPECT_EQ(FailureOfFolder(u"pages/shown"), 0);
  Write(u"pages/shown/x.png", "1");
  EXPECT_EQ(FailureOfWriting(u"pages/shown/x.asp").Number, 70);
  EXPECT_EQ(FailureOfWriting(u"pages/shown/x.Asp").Number, 70);
  EXPECT_EQ(FailureOfWriting(u"pages/shown/x.inc").Number, 70);
  EXPECT_THAT(Names("pages/shown"), UnorderedElementsAre("x.png"));
  Write(u"up/x.asp", "1");
}

// --- How much a root may hold

class FullRootTest : public SiteFilesTest {
 protected:
  // The root "up" holds the folder "in" and may hold three things more, and 100 bytes.
  FullRootTest() {
    m_files =
        std::make_unique<SiteFiles>(SiteFiles::Options{m_folder, {"up", "new"}, m_folder / "pages", 4, 100});
  }
};

TEST_F(FullRootTest, SoManyFilesAndFolders) {
  Write(u"up/a", "1");
  EXPECT_EQ(FailureOfFolder(u"up/in/deep"), 0);
  Write(u"up/in/deep/b", "1");
  EXPECT_EQ(FailureOfWriting(u"up/c").Number, 61);
  EXPECT_EQ(FailureOfFolder(u"up/d"), 61);
  EXPECT_THAT(Names("up"), UnorderedElementsAre("a", "in"));
  Write(u"up/a", "written over");
  EXPECT_EQ(Content("up/a"), "written over");
}

TEST_F(FullRootTest, SoManyBytes) {
  Write(u"up/a", std::string(60, 'a'));
  EXPECT_EQ(FailureOfWriting(u"up/in/b", std::string(41, 'b')).Number, 61);
  EXPECT_THAT(Names("up/in"), IsEmpty());
  Write(u"up/in/b", std::string(40, 'b'));
  EXPECT_EQ(FailureOfWriting(u"up/a", std::string(61, 'c')).Number, 61);
  EXPECT_EQ(Content("up/a"), std::string(60, 'a'));
  Write(u"up/a", std::string(60, 'c'));
}

// What a shorter file leaves of a longer one stays, and counts.
TEST_F(FullRootTest, AFileThatStaysLongCountsWhole) {
  Write(u"up/a", std::string(90, 'a'));
  Write(u"up/a", "b");
  EXPECT_EQ(FailureOfWriting(u"up/c", std::string(11, 'c')).Number, 61);
  Write(u"up/c", std::string(10, 'c'));
}

TEST_F(FullRootTest, AnotherRootCountsForItself) {
  Write(u"up/a", std::string(100, 'a'));
  EXPECT_EQ(FailureOfFolder(u"new"), 0);
  Write(u"new/a", std::string(100, 'a'));
}

TEST_F(FullRootTest, LinksCountButNotWhatTheyLeadTo) {
  Put("secret/large", std::string(1000, 'x'));
  fs::create_directory_symlink(m_folder / "secret", m_folder / "up/link");
  fs::create_symlink(m_folder / "secret/large", m_folder / "up/large");
  Write(u"up/a", std::string(100, 'a'));
  EXPECT_EQ(FailureOfFolder(u"up/d"), 61);
}

TEST_F(FullRootTest, SideBySideNoMoreIsWrittenThanFits) {
  std::vector<std::thread> threads;
  threads.reserve(8);
  std::atomic<int> refused = 0;
  for (int i = 0; i < 8; ++i) {
    threads.emplace_back([&, name = u"up/in/f" + varnel::DecimalText(i)] {
      try {
        m_files->WriteFile(name, Bytes(30, 'x'));
      } catch (const varnel::Error& error) {
        EXPECT_EQ(error.Info().Number, 61);
        ++refused;
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(refused, 5);
  EXPECT_EQ(Names("up/in").size(), 3U);
}

// As full as a disk: no file may grow over 100,000 bytes.
class Limited {
 public:
  Limited() {
    ::getrlimit(RLIMIT_FSIZE, &m_before);
    const rlimit limit{100'000, m_before.rlim_max};
    m_signal = std::signal(SIGXFSZ, SIG_IGN);
    ::setrlimit(RLIMIT_FSIZE, &limit);
  }
  ~Limited() {
    ::setrlimit(RLIMIT_FSIZE, &m_before);
    std::signal(SIGXFSZ, m_signal);
  }

 private:
  rlimit m_before{};
  void (*m_signal)(int) = nullptr;
};

TEST_F(SiteFilesTest, FullDiskLeavesNoPartOfAFile) {
  Put("up/old", "as it was");
  const std::string data(200'000, 'x');
  varnel::ErrInfo ofNew;
  varnel::ErrInfo ofOld;
  {
    const Limited limited;
    ofNew = FailureOfWriting(u"up/new", data);
    ofOld = FailureOfWriting(u"up/old", data);
  }
  EXPECT_EQ(ofNew.Number, 61);
  EXPECT_THAT(varnel::ToUtf8(ofNew.Description), HasSubstr("The disk is full: up/new"));
  EXPECT_EQ(ofOld.Number, 61);
  EXPECT_THAT(Names("up"), UnorderedElementsAre("in", "old"));
  EXPECT_EQ(Content("up/old"), "as it was");
}

// Runs `body` in a process without the rights of root.
int AsNobody(const std::function<int()>& body) {
  const pid_t child = ::fork();
  if (child == 0) {
    if (::geteuid() == 0 && (::setgid(65534) != 0 || ::setuid(65534) != 0)) ::_exit(99);
    ::_exit(body());
  }
  int status = 0;
  ::waitpid(child, &status, 0);
  return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

TEST_F(SiteFilesTest, ReadOnlyFolderAndFileAreLeftAlone) {
  Put("up/in/kept", "old");
  fs::permissions(m_folder, static_cast<fs::perms>(0755));
  fs::permissions(m_folder / "up", static_cast<fs::perms>(0777));
  fs::permissions(m_folder / "up/in", static_cast<fs::perms>(0555));
  Put("up/locked", "old");
  fs::permissions(m_folder / "up/locked", static_cast<fs::perms>(0444));
  EXPECT_EQ(AsNobody([&] { return static_cast<int>(FailureOfWriting(u"up/in/new").Number); }), 70);
  EXPECT_EQ(AsNobody([&] { return static_cast<int>(FailureOfWriting(u"up/in/kept").Number); }), 70);
  EXPECT_EQ(AsNobody([&] { return static_cast<int>(FailureOfFolder(u"up/in/new")); }), 70);
  EXPECT_EQ(AsNobody([&] { return static_cast<int>(FailureOfWriting(u"up/locked").Number); }), 70);
  EXPECT_EQ(AsNobody([&] { return static_cast<int>(FailureOfWriting(u"up/free").Number); }), 0);
  EXPECT_THAT(Names("up/in"), UnorderedElementsAre("kept"));
  EXPECT_EQ(Content("up/in/kept"), "old");
  EXPECT_EQ(Content("up/locked"), "old");
  fs::permissions(m_folder / "up/in", static_cast<fs::perms>(0755));  // it is to be removed
}

}  // namespace
}  // namespace hostlinux
