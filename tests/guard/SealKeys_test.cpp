#include "host-linux/guard/SealKeys.h"

#include <gtest/gtest.h>
#include <stdlib.h>
#include <sys/stat.h>

#include <fstream>
#include <thread>

namespace hostlinux {
namespace {

class SealKeysTest : public testing::Test {
 protected:
  SealKeysTest() {
    std::string pattern = (std::filesystem::temp_directory_path() / "varnel-keys-XXXXXX").string();
    site.folder = mkdtemp(pattern.data());
  }
  ~SealKeysTest() override { std::filesystem::remove_all(site.folder); }

  std::filesystem::path File() const { return site.folder / "links.key"; }

  void Write(const std::string& text, mode_t mode = 0600) {
    std::ofstream(File()) << text;
    chmod(File().c_str(), mode);
  }

  std::string Failure() {
    try {
      LoadSealKeys(site);
    } catch (const ConfigurationError& error) {
      return error.what();
    }
    return "";
  }

  SiteConfiguration site;
};

TEST_F(SealKeysTest, AreMadeOnceAndStay) {
  const auto keys = LoadSealKeys(site);
  ASSERT_EQ(keys.size(), 1U);
  struct stat facts {};
  ASSERT_EQ(stat(File().c_str(), &facts), 0);
  EXPECT_EQ(facts.st_mode & 0777, 0600U);
  EXPECT_EQ(LoadSealKeys(site), keys);
  EXPECT_EQ(std::distance(std::filesystem::directory_iterator(site.folder), {}), 1) << "nothing else is left";
}

TEST_F(SealKeysTest, OfServersThatStartAtOnceAllTakeTheSame) {
  std::vector<std::vector<SealKey>> loaded(8);
  std::vector<std::thread> threads;
  threads.reserve(loaded.size());
  for (auto& keys : loaded) threads.emplace_back([&keys, this] { keys = LoadSealKeys(site); });
  for (std::thread& thread : threads) thread.join();
  for (const auto& keys : loaded) EXPECT_EQ(keys, loaded[0]);
}

TEST_F(SealKeysTest, OfTheConfigurationGoBeforeTheFile) {
  site.lists.keys = {"000102030405060708090a0b0c0d0e0f", "ffffffffffffffffffffffffffffffff"};
  EXPECT_EQ(LoadSealKeys(site).size(), 2U);
  EXPECT_FALSE(std::filesystem::exists(File()));
}

TEST_F(SealKeysTest, AFileMayHoldSeveralAndNotes) {
  Write(
      "# the new one\n000102030405060708090a0b0c0d0e0f\n\n  ffffffffffffffffffffffffffffffff  # until May\n");
  const auto keys = LoadSealKeys(site);
  ASSERT_EQ(keys.size(), 2U);
  EXPECT_EQ(keys[0][1], 1);
  EXPECT_EQ(keys[1][0], 255);
}

TEST_F(SealKeysTest, AFileThatOthersMayReadIsRefused) {
  Write("000102030405060708090a0b0c0d0e0f\n", 0640);
  EXPECT_NE(Failure().find("must be readable by its owner alone"), std::string::npos) << Failure();
}

TEST_F(SealKeysTest, AnEmptyOrDamagedFileIsRefused) {
  Write("");
  EXPECT_NE(Failure().find("holds no key"), std::string::npos);
  Write("0001\n");
  EXPECT_NE(Failure().find("32 hexadecimal digits"), std::string::npos);
}

TEST_F(SealKeysTest, AFolderThatIsNotThereIsToldWithTheWayOut) {
  site.lists.keyFile = "missing/links.key";
  EXPECT_NE(Failure().find("can't be made"), std::string::npos);
  EXPECT_NE(Failure().find("[lists] keys"), std::string::npos);
}

}  // namespace
}  // namespace hostlinux
