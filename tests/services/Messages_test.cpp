#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>

#include "host-linux/services/MessageManager.h"
#include "host-linux/services/SiteConfiguration.h"
#include "host-linux/services/UserComponent.h"
#include "varnel/automation/Convert.h"
#include "varnel/automation/Error.h"

namespace hostlinux {
namespace {

using varnel::Variant;

class MessagesFolder : public testing::Test {
 protected:
  void SetUp() override {
    m_folder = testing::TempDir() + "varnel-messages-" + std::to_string(::getpid());
    std::filesystem::create_directories(m_folder);
  }
  void TearDown() override { std::filesystem::remove_all(m_folder); }
  void Write(const std::string& name, const std::string& text) { std::ofstream(m_folder / name) << text; }

  std::filesystem::path m_folder;
};

TEST_F(MessagesFolder, a_text_is_found_by_key_and_language) {
  Write("1033.toml", "SLBGE0015 = \"Records\"\n");
  Write("1031.toml", "SLBGE0015 = \"Datens\\u00E4tze\"\n");
  const auto messages = LoadMessages(m_folder);
  EXPECT_EQ(messages->getMessage(u"SLBGE0015", u"1033"), u"Records");
  EXPECT_EQ(messages->CallWith(u"GETMESSAGE", u"SLBGE0015", u"1031"), Variant(u"Datens\u00E4tze"));
}

TEST_F(MessagesFolder, a_missing_key_or_language_is_the_general_failure) {
  Write("1033.toml", "SLBGE0015 = \"Records\"\n");
  const auto messages = LoadMessages(m_folder);
  for (const auto& [key, language] : {std::pair(u"SLBGE0099", u"1033"), std::pair(u"SLBGE0015", u"1036")}) {
    try {
      messages->getMessage(key, language);
      FAIL();
    } catch (const varnel::Error& error) {
      EXPECT_EQ(varnel::HexText(error.Info().Number), u"80004005");
    }
  }
}

TEST_F(MessagesFolder, a_site_without_the_folder_has_no_message_manager) {
  EXPECT_EQ(LoadMessages(m_folder / "none"), nullptr);
}

TEST_F(MessagesFolder, a_value_that_is_no_text_is_refused) {
  Write("1033.toml", "SLBGE0015 = 3\n");
  EXPECT_THROW(LoadMessages(m_folder), ConfigurationError);
}

varnel::Long LanguageOf(const Variant& name, const Variant& chosen) {
  const auto site =
      ParseSiteConfiguration("[site]\nlcid = 1031\n[users.demo]\nlanguage = 1036\n", "/srv/shop");
  const auto user = std::make_shared<UserComponent>(site, [chosen] { return chosen; });
  user->CallWith(u"BindAs", name, Variant(), Variant());
  return varnel::ToLong(user->Get(u"LanguageID"));
}

TEST(UserComponent, a_known_user_reads_his_language) { EXPECT_EQ(LanguageOf(u"demo", Variant()), 1036); }

TEST(UserComponent, an_empty_or_unknown_user_reads_the_sites_language) {
  EXPECT_EQ(LanguageOf(Variant(), Variant()), 1031);
  EXPECT_EQ(LanguageOf(u"", Variant()), 1031);
  EXPECT_EQ(LanguageOf(u"nobody", Variant()), 1031);
}

TEST(UserComponent, the_sessions_choice_goes_before_the_users_own) {
  EXPECT_EQ(LanguageOf(u"demo", varnel::Long{1040}), 1040);
}

}  // namespace
}  // namespace hostlinux
