#include "host-linux/services/ConfigurationComponent.h"

#include <gtest/gtest.h>

#include "varnel/automation/Convert.h"

namespace hostlinux {
namespace {

using varnel::Long;
using varnel::Variant;

SiteConfiguration Site() {
  return ParseSiteConfiguration("[configuration]\nQuenby = \"Provider=SQLite;Data Source=shop.db\"\n",
                                "/srv");
}

TEST(ConfigurationComponent, answers_by_section_in_any_case_of_letters) {
  ConfigurationComponent configuration(Site());
  EXPECT_EQ(configuration.GetConfigurationConnectionString(u"Quenby"),
            u"Provider=SQLite;Data Source=shop.db");
  EXPECT_EQ(configuration.GetConfigurationConnectionString(u"quenby"),
            u"Provider=SQLite;Data Source=shop.db");
}

TEST(ConfigurationComponent, has_an_empty_answer_for_a_section_that_is_not_there) {
  ConfigurationComponent configuration(Site());
  EXPECT_EQ(configuration.GetConfigurationConnectionString(u"Other"), u"");
  EXPECT_EQ(configuration.GetConfigurationConnectionString(u""), u"");
}

TEST(ConfigurationComponent, is_prepared_and_asked_by_name) {
  const auto configuration = std::make_shared<ConfigurationComponent>(Site());
  Variant arguments[] = {Long{0}};
  configuration->Call(u"PrepareConfiguration", arguments);
  EXPECT_EQ(arguments[0], Variant(Long{0}));
  EXPECT_EQ(configuration->CallWith(u"GetConfigurationConnectionString", u"Quenby"),
            Variant(u"Provider=SQLite;Data Source=shop.db"));
}

}  // namespace
}  // namespace hostlinux
