#include "host-linux/services/SiteConfiguration.h"

#include <gtest/gtest.h>

#include <fstream>

namespace hostlinux {
namespace {

using varnel::Variant;

SiteConfiguration Parse(std::string_view text) { return ParseSiteConfiguration(text, "/srv/shop"); }

std::string FailureOf(std::string_view text) {
  try {
    Parse(text);
  } catch (const ConfigurationError& error) {
    return error.what();
  }
  return "none";
}

TEST(SiteConfiguration, an_empty_file_keeps_every_default) {
  const SiteConfiguration site = Parse("");
  EXPECT_EQ(site.root, "/site");
  EXPECT_EQ(site.PagesFolder(), "/srv/shop/pages");
  EXPECT_EQ(site.defaultPage, "index.asp");
  EXPECT_EQ(site.lcid, 1033);
  EXPECT_EQ(site.codePage, 1252);
  EXPECT_EQ(site.mode, SiteConfiguration::Mode::Production);
  EXPECT_EQ(site.server.listen, "127.0.0.1:8080");
  EXPECT_EQ(site.server.maxResponseBuffer, 64U << 20);
  EXPECT_EQ(site.server.refuseParameters, std::vector<std::string>{"URL"});
}

TEST(SiteConfiguration, reads_every_section) {
  const SiteConfiguration site = Parse(R"(
[site]
root = "/shop"
lcid = 1031
mode = "development"
[server]
listen = "127.0.0.1:9000"
threads = 3
statement_timeout = "250ms"
idle_timeout = 7
refuse_parameters = []
[application]
TableBorderWidth = "1"
Rows = 20
[session]
REMOTE_USER = "demo"
[configuration]
Quenby = "Provider=SQLite;Data Source=shop.db"
[users.demo]
language = 1036
[users.plain]
[log]
level = "warning"
)");
  EXPECT_EQ(site.root, "/shop");
  EXPECT_EQ(site.lcid, 1031);
  EXPECT_EQ(site.mode, SiteConfiguration::Mode::Development);
  EXPECT_EQ(site.server.listen, "127.0.0.1:9000");
  EXPECT_EQ(site.server.threads, 3);
  EXPECT_EQ(site.server.statementTimeout, std::chrono::milliseconds(250));
  EXPECT_EQ(site.server.idleTimeout, std::chrono::seconds(7));
  EXPECT_TRUE(site.server.refuseParameters.empty());
  EXPECT_EQ(site.application.at("TableBorderWidth"), Variant(u"1"));
  EXPECT_EQ(site.application.at("Rows"), Variant(varnel::Long{20}));
  EXPECT_EQ(site.session.at("REMOTE_USER"), Variant(u"demo"));
  EXPECT_EQ(site.configuration.at("Quenby"), Variant(u"Provider=SQLite;Data Source=shop.db"));
  EXPECT_EQ(site.users.at("demo").language, 1036);
  EXPECT_EQ(site.users.at("plain").language, 1031);
  EXPECT_EQ(site.log.level, "warning");
}

TEST(SiteConfiguration, reads_the_server_that_keeps_sessions) {
  const SiteConfiguration site = Parse(
      "[sessions]\nstore = \"rediss://:secret@host:7000/1\"\nprefix = \"shop:test\"\ntimeout = \"250ms\"\n"
      "ca_file = \"ca.crt\"\ncert_file = \"a.crt\"\nkey_file = \"a.key\"\n");
  ASSERT_TRUE(site.sessions.store);
  EXPECT_EQ(site.sessions.store->Name(), "rediss://host:7000/1");
  EXPECT_EQ(site.sessions.store->password, "secret");
  EXPECT_EQ(site.sessions.prefix, "shop:test");
  EXPECT_EQ(site.sessions.timeout, std::chrono::milliseconds(250));
  EXPECT_EQ(site.sessions.caFile, "ca.crt");
  EXPECT_EQ(site.sessions.certFile, "a.crt");
  EXPECT_EQ(site.sessions.keyFile, "a.key");
  EXPECT_FALSE(Parse("").sessions.store);
}

TEST(SiteConfiguration, refuses_a_server_of_sessions_that_is_none_and_never_tells_its_password) {
  const std::string failure = FailureOf("[sessions]\nstore = \"redis:/:secret@host\"\n");
  EXPECT_EQ(failure,
            "site.toml, line 2: store must be an address such as \"redis://host:6379/0\", "
            "\"rediss://:password@host\" or \"unix:///run/redis/redis.sock\"");
  EXPECT_EQ(FailureOf("[sessions]\nfolder = \"data\"\nstore = \"redis://host\"\n"),
            "site.toml, line 3: store and folder are two places: [sessions] takes one of them");
  EXPECT_EQ(FailureOf("[sessions]\nprefix = \"a{b}\"\n"),
            "site.toml, line 2: prefix must be 1 to 100 letters, digits and \"._:/-\"");
  EXPECT_EQ(FailureOf("[sessions]\ncert_file = \"a\"\n"),
            "site.toml, line 1: cert_file and key_file of [sessions] belong together");
}

TEST(SiteConfiguration, reads_whose_the_file_of_a_local_socket_is) {
  const SiteConfiguration site = Parse("[server]\nsocket_mode = \"0660\"\nsocket_group = \"www-data\"\n");
  EXPECT_EQ(site.server.socketMode, 0660U);
  EXPECT_EQ(site.server.socketGroup, "www-data");
  EXPECT_EQ(Parse("").server.socketMode, 0600U);
  for (const char* mode : {"\"\"", "\"0888\"", "\"1777\"", "\"00660\"", "\"rw\"", "660"})
    EXPECT_NE(FailureOf("[server]\nsocket_mode = " + std::string(mode) + "\n"), "none") << mode;
}

TEST(SiteConfiguration, reads_where_sessions_are_kept_and_what_an_address_may) {
  const SiteConfiguration site =
      Parse("[sessions]\nfolder = \"data\"\nmax_bytes = 1000\n[limits]\nrequests = 10\nnew_sessions = 0\n");
  EXPECT_EQ(site.sessions.folder, "data");
  EXPECT_EQ(site.sessions.maxBytes, 1000U);
  EXPECT_EQ(site.limits.requests, 10U);
  EXPECT_EQ(site.limits.newSessions, 0U);
  EXPECT_EQ(Parse("").limits.requests, 12000U);
  EXPECT_EQ(Parse("").limits.newSessions, 600U);
  EXPECT_TRUE(Parse("").sessions.folder.empty());
  EXPECT_EQ(FailureOf("[sessions]\nfolder = \"\"\n"), "site.toml, line 2: folder must be a folder's name");
  EXPECT_EQ(FailureOf("[limits]\nrequests = -1\n"),
            "site.toml, line 2: requests must lie between 0 and 1000000");
}

TEST(SiteConfiguration, reads_the_servers_guards_and_headers) {
  const SiteConfiguration site = Parse(
      "[server]\nmax_url = 1\nmax_bodies = 2\nmax_connections = 3\nmax_session = 4\n"
      "trusted_proxies = [\"10.0.0.1\", \"unix\"]\n[headers]\nX-Frame-Options = \"DENY\"\n");
  EXPECT_EQ(site.server.maxUrl, 1U);
  EXPECT_EQ(site.server.maxBodies, 2U);
  EXPECT_EQ(site.server.maxConnections, 3U);
  EXPECT_EQ(site.server.maxSession, 4U);
  EXPECT_EQ(site.server.trustedProxies, (std::vector<std::string>{"10.0.0.1", "unix"}));
  ASSERT_EQ(site.headers.size(), 1U);
  EXPECT_EQ(site.headers[0].first + "=" + site.headers[0].second, "X-Frame-Options=DENY");
  EXPECT_EQ(FailureOf("[headers]\nX-A = \"1\\n2\"\n"), "site.toml, line 2: X-A can't be a header");
}

TEST(SiteConfiguration, users_have_passwords_as_hashes_and_roles) {
  const std::string hash = "$y$j9T$abcdefgh$" + std::string(43, 'a');
  const SiteConfiguration site =
      Parse("[users.clerk]\npassword = \"" + hash + "\"\nrole = \"editor\"\n[users.demo]\n");
  EXPECT_EQ(site.users.at("clerk").password, hash);
  EXPECT_EQ(site.users.at("clerk").role, "editor");
  EXPECT_EQ(site.users.at("demo").password, "");
  EXPECT_EQ(site.users.at("demo").role, "");
  EXPECT_EQ(FailureOf("[users.clerk]\npassword = \"open sesame\"\n"),
            "site.toml, line 2: password must be a hash, as \"varnel password\" makes it");
  EXPECT_EQ(FailureOf("[users.clerk]\npassword = \"\"\n"),
            "site.toml, line 2: password must be a hash, as \"varnel password\" makes it");
}

TEST(SiteConfiguration, attempts_and_files_have_limits_of_their_own) {
  const SiteConfiguration plain = Parse("");
  EXPECT_EQ(plain.signInAttempts, 10U);
  EXPECT_EQ(plain.maxFiles, 10000U);
  EXPECT_EQ(plain.maxFileBytes, 1U << 30);
  const SiteConfiguration site =
      Parse("[sign_in]\nattempts = 3\n[files]\nroots = [\"up\"]\nmax_files = 5\nmax_bytes = 7\n");
  EXPECT_EQ(site.signInAttempts, 3U);
  EXPECT_EQ(site.maxFiles, 5U);
  EXPECT_EQ(site.maxFileBytes, 7U);
  EXPECT_EQ(FailureOf("[sign_in]\nattempts = 0\n"),
            "site.toml, line 2: attempts must lie between 1 and 1000000");
}

TEST(SiteConfiguration, reads_the_limits_of_databases) {
  const SiteConfiguration site =
      Parse("[database]\nmax_value = 1\nmax_result = 2\nmax_memory = 3\nmax_temporary = 4\n");
  EXPECT_EQ(site.database.maxValue, 1U);
  EXPECT_EQ(site.database.maxResult, 2U);
  EXPECT_EQ(site.database.maxMemory, 3U);
  EXPECT_EQ(site.database.maxTemporary, 4U);
  EXPECT_EQ(Parse("").database.maxValue, std::size_t{8} << 20);
  EXPECT_EQ(Parse("").database.maxMemory, std::size_t{64} << 20);
  EXPECT_EQ(Parse("").server.statementTimeout, std::chrono::seconds(5));
  EXPECT_EQ(FailureOf("[database]\nmax_value = 0\n"),
            "site.toml, line 2: max_value must lie between 1 and 1099511627776");
}

TEST(SiteConfiguration, asks_for_no_token_and_lets_nobody_be_asked_unless_told) {
  const SiteConfiguration site = ParseSiteConfiguration("", ".");
  EXPECT_FALSE(site.forms.token);
  EXPECT_TRUE(site.forms.origins.empty());
  EXPECT_TRUE(site.fetch.addresses.empty());
  EXPECT_FALSE(site.fetch.isPrivateAllowed);
  EXPECT_TRUE(site.server.compression);
}

TEST(SiteConfiguration, reads_forms_and_fetch) {
  const SiteConfiguration site = ParseSiteConfiguration(
      "[forms]\ntoken = true\norigins = [\"https://pay.example\", \"*\"]\n"
      "[fetch]\naddresses = [\"http://127.0.0.1:9000\", \"http://[::1]:9\"]\nprivate = true\ntimeout = "
      "\"2s\"\nmax_bytes = 9\n",
      ".");
  EXPECT_TRUE(site.forms.token);
  EXPECT_EQ(site.forms.origins, (std::vector<std::string>{"https://pay.example", "*"}));
  EXPECT_EQ(site.fetch.addresses, (std::vector<std::string>{"http://127.0.0.1:9000", "http://[::1]:9"}));
  EXPECT_TRUE(site.fetch.isPrivateAllowed);
  EXPECT_EQ(site.fetch.timeout, std::chrono::seconds(2));
  EXPECT_EQ(site.fetch.maxBytes, 9u);
}

TEST(SiteConfiguration, an_origin_that_no_browser_sends_is_wrong) {
  for (const char* origin : {"", "pay.example", "https://pay.example/", "https://", "https://PAY.example",
                             "ftp://pay.example", "https://user@pay.example", "https://pay.example?x"}) {
    const std::string list = " = [\"" + std::string(origin) + "\"]\n";
    EXPECT_THROW(ParseSiteConfiguration("[forms]\norigins" + list, "."), ConfigurationError) << origin;
    EXPECT_THROW(ParseSiteConfiguration("[fetch]\naddresses" + list, "."), ConfigurationError) << origin;
  }
  EXPECT_THROW(ParseSiteConfiguration("[fetch]\naddresses = [\"*\"]\n", "."), ConfigurationError);
}

TEST(SiteConfiguration, says_which_line_is_wrong) {
  EXPECT_EQ(FailureOf("[site]\nroot = \"/a/b\"\n"),
            "site.toml, line 2: root must be exactly one segment such as \"/shop\"");
  EXPECT_EQ(FailureOf("[site]\nlcid = \"de\"\n"), "site.toml, line 2: lcid must be a whole number");
  EXPECT_EQ(FailureOf("[site]\ncodepage = 932\n"),
            "site.toml, line 2: codepage must be a code page of single bytes");
  EXPECT_EQ(FailureOf("[site]\nroots = \"/a\"\n"), "site.toml, line 2: [site] has no key roots");
  EXPECT_EQ(FailureOf("[server]\n\nthreads = 0\n"), "site.toml, line 3: threads must lie between 1 and 256");
  EXPECT_EQ(FailureOf("[server]\nidle_timeout = \"5h\"\n"),
            "site.toml, line 2: idle_timeout must be a time such as \"250ms\", \"5s\" or \"2m\"");
  EXPECT_EQ(FailureOf("[sites]\n"), "site.toml, line 1: there is no section [sites]");
  EXPECT_EQ(FailureOf("[application]\nx = [1]\n"),
            "site.toml, line 2: x must be a text, a number or true or false");
}

TEST(SiteConfiguration, a_text_that_is_no_toml_is_told_with_its_line) {
  EXPECT_EQ(FailureOf("[site]\nroot = \n").substr(0, 18), "site.toml, line 2:");
}

TEST(SiteConfiguration, a_folder_without_the_file_is_no_site) {
  EXPECT_THROW(LoadSiteConfiguration("/nowhere/at/all"), ConfigurationError);
}

}  // namespace
}  // namespace hostlinux
