#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fstream>
#include <sstream>

#include "host-linux/services/SiteConfiguration.h"

namespace {

using ::testing::HasSubstr;
using ::testing::Not;

// What the reader says to `key = { }`, which is no value of any key.
std::string Complaint(const std::string& section, const std::string& key) {
  try {
    hostlinux::ParseSiteConfiguration("[" + section + "]\n" + key + " = { }\n", ".");
  } catch (const hostlinux::ConfigurationError& error) {
    return error.what();
  }
  return "";
}

TEST(SiteTomlPage, NamesOnlyKeysThatThereAre) {
  std::ifstream page(VARNEL_SOURCE_DIR "/docs/site-toml.md");
  std::string section;
  int keys = 0;
  for (std::string line; std::getline(page, line);) {
    if (line.starts_with("## [")) section = line.substr(4, line.find(']') - 4);
    if (section == "users.NAME") section = "users.demo";
    if (!line.starts_with("| `")) continue;
    const std::string key = line.substr(3, line.find('`', 3) - 3);
    EXPECT_THAT(Complaint(section, key), HasSubstr(key + " must be")) << section;
    ++keys;
  }
  EXPECT_EQ(
      keys,
      70);  // 6 of [site], 29 of [server], 8 of [sessions], 2 of [limits], 2 of [forms], 4 of [fetch], 4 of [database], 3 of [users.*], 1 of [sign_in], 4 of [log], 4 of [lists], 3 of [files]
}

TEST(SiteTomlPage, WouldFindAKeyThatThereIsNot) {
  EXPECT_THAT(Complaint("server", "none"), Not(HasSubstr("none must be")));
}

}  // namespace
