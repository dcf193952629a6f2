#include "host-linux/base/FolderAccess.h"

#include <fcntl.h>
#include <gtest/gtest.h>

#include <cerrno>
#include <filesystem>
#include <fstream>

namespace hostlinux {
namespace {

namespace fs = std::filesystem;

class FolderAccessTest : public ::testing::Test {
 protected:
  FolderAccessTest() {
    std::string name = (fs::temp_directory_path() / "folder_access_XXXXXX").string();
    m_outer = ::mkdtemp(name.data());
    m_root = m_outer / "root";
    fs::create_directories(m_root / "images" / "small");
    std::ofstream(m_root / "images" / "logo.png") << "0123456789";
    std::ofstream(m_outer / "secret.txt") << "secret";
    fs::create_symlink("images/logo.png", m_root / "link.png");
    fs::create_symlink("../secret.txt", m_root / "out.txt");
    fs::create_directory_symlink("images", m_root / "pictures");
    fs::create_directory_symlink("..", m_root / "outside");
    m_folder = OpenFolder(m_root.string());
  }
  ~FolderAccessTest() override { fs::remove_all(m_outer); }

  fs::path m_outer;
  fs::path m_root;
  UniqueFd m_folder;
};

TEST_F(FolderAccessTest, OnlyFoldersAreOpenedAsSuch) {
  EXPECT_TRUE(m_folder);
  EXPECT_FALSE(OpenFolder((m_root / "none").string()));
  EXPECT_FALSE(OpenFolder((m_outer / "secret.txt").string()));
}

TEST_F(FolderAccessTest, NoNameLeadsOut) {
  EXPECT_TRUE(OpenBelow(m_folder.Get(), "images/logo.png"));
  const std::string name(m_outer / "secret.txt");
  for (const std::string& path :
       {std::string("../secret.txt"), std::string("out.txt"), std::string("outside/secret.txt"), name,
        std::string("images/logo.png\0", 16)}) {
    EXPECT_FALSE(OpenBelow(m_folder.Get(), path)) << path;
  }
}

TEST_F(FolderAccessTest, WithoutTheKernelsHelpNoLinkIsFollowed) {
  EXPECT_TRUE(OpenBelowWithoutLinks(m_folder.Get(), "images/logo.png"));
  for (const char* name : {"link.png", "pictures/logo.png", "../secret.txt", "images/../link.png", "",
                           "/etc/passwd", "images//logo.png"}) {
    EXPECT_FALSE(OpenBelowWithoutLinks(m_folder.Get(), name)) << name;
  }
}

TEST_F(FolderAccessTest, AFolderBelowIsOpenedThroughNoLink) {
  EXPECT_TRUE(OpenFolderWithoutLinks(m_root, ""));
  EXPECT_TRUE(OpenFolderWithoutLinks(m_root, "images/small"));
  const auto errorOf = [&](const char* below) { return OpenFolderWithoutLinks(m_root, below) ? 0 : errno; };
  EXPECT_EQ(errorOf("pictures"), ELOOP);
  EXPECT_EQ(errorOf("pictures/small"), ELOOP);
  EXPECT_EQ(errorOf("outside"), ELOOP);
  EXPECT_EQ(errorOf("images/logo.png"), ENOTDIR);
  EXPECT_EQ(errorOf("images/none"), ENOENT);
}

// The root itself is the site's own to place.
TEST_F(FolderAccessTest, TheRootMayBeReachedByALink) {
  fs::create_directory_symlink(m_root, m_outer / "alias");
  EXPECT_TRUE(OpenFolderWithoutLinks(m_outer / "alias", "images"));
}

TEST(UniqueFd, ClosesWhatItOwns) {
  const int fd = ::open("/dev/null", O_RDONLY | O_CLOEXEC);
  ASSERT_GE(fd, 0);
  {
    UniqueFd first(fd);
    UniqueFd second(std::move(first));
    EXPECT_FALSE(first);  // NOLINT(bugprone-use-after-move): what a moved one holds is said
    EXPECT_EQ(second.Get(), fd);
  }
  EXPECT_EQ(::fcntl(fd, F_GETFD), -1);
}

TEST(UniqueFd, LeavesWhatItGaveAway) {
  UniqueFd owner(::open("/dev/null", O_RDONLY | O_CLOEXEC));
  const int fd = owner.Release();
  EXPECT_FALSE(owner);
  owner = UniqueFd();
  EXPECT_NE(::fcntl(fd, F_GETFD), -1);
  ::close(fd);
}

}  // namespace
}  // namespace hostlinux
