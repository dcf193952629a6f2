#include "host-linux/services/SiteConfiguration.h"

#include <algorithm>
#include <fstream>
#include <functional>
#include <limits>
#include <sstream>

#include "host-linux/nls/SiteCodePages.h"
#include "host-linux/services/PasswordHash.h"
#include "host-linux/services/Toml.h"

namespace hostlinux {

namespace {

using varnel::Variant;

[[noreturn]] void Fail(const toml::node& node, const std::string& what) {
  throw ConfigurationError("site.toml, line " + std::to_string(node.source().begin.line) + ": " + what);
}

std::string ReadText(const toml::node& node, const std::string& key) {
  if (const auto text = node.value_exact<std::string>()) return *text;
  Fail(node, key + " must be a text");
}

std::int64_t ReadNumber(const toml::node& node, const std::string& key, std::int64_t least,
                        std::int64_t most) {
  const auto number = node.value_exact<std::int64_t>();
  if (!number) Fail(node, key + " must be a whole number");
  if (*number < least || *number > most) {
    Fail(node, key + " must lie between " + std::to_string(least) + " and " + std::to_string(most));
  }
  return *number;
}

std::size_t ReadBytes(const toml::node& node, const std::string& key) {
  return static_cast<std::size_t>(ReadNumber(node, key, 1, std::int64_t{1} << 40));
}

// "250ms", "5s", "2m", or a number of seconds.
std::chrono::milliseconds ReadTime(const toml::node& node, const std::string& key) {
  if (node.is_integer()) return std::chrono::seconds(ReadNumber(node, key, 1, 86400));
  const std::string text = ReadText(node, key);
  const auto digits = std::min(text.find_first_not_of("0123456789"), text.size());
  const std::string unit = text.substr(digits);
  const int factor = unit == "ms" ? 1 : unit == "s" ? 1000 : unit == "m" ? 60000 : 0;
  if (digits == 0 || digits > 6 || factor == 0)
    Fail(node, key + " must be a time such as \"250ms\", \"5s\" or \"2m\"");
  const std::chrono::milliseconds time(std::stoll(text.substr(0, digits)) * factor);
  if (time.count() == 0) Fail(node, key + " must be above 0");
  return time;
}

Variant ReadValue(const toml::node& node, const std::string& key) {
  if (const auto text = node.value_exact<std::string>()) return varnel::FromUtf8(*text);
  if (const auto flag = node.value_exact<bool>()) return *flag;
  if (const auto number = node.value_exact<double>()) return *number;
  if (node.is_integer()) {
    constexpr auto limits = std::numeric_limits<varnel::Long>();
    return static_cast<varnel::Long>(ReadNumber(node, key, limits.min(), limits.max()));
  }
  Fail(node, key + " must be a text, a number or true or false");
}

SiteConfiguration::Values ReadValues(const toml::table& table) {
  SiteConfiguration::Values values;
  for (const auto& [key, node] : table)
    values[std::string(key.str())] = ReadValue(node, std::string(key.str()));
  return values;
}

std::string ReadRoot(const toml::node& node) {
  std::string root = ReadText(node, "root");
  const bool oneSegment = root.size() > 1 && root[0] == '/' && root.find('/', 1) == std::string::npos;
  if (!oneSegment) Fail(node, "root must be exactly one segment such as \"/shop\"");
  return root;
}

SiteConfiguration::Mode ReadMode(const toml::node& node) {
  const std::string mode = ReadText(node, "mode");
  if (mode == "development") return SiteConfiguration::Mode::Development;
  if (mode == "production") return SiteConfiguration::Mode::Production;
  Fail(node, "mode must be \"development\" or \"production\"");
}

std::vector<std::string> ReadTexts(const toml::node& node, const std::string& key) {
  std::vector<std::string> texts;
  if (!node.is_array()) Fail(node, key + " must be an array of texts");
  for (const toml::node& element : *node.as_array()) texts.push_back(ReadText(element, key));
  return texts;
}

using Reader = std::function<void(const toml::node&, const std::string&)>;
using Readers = std::map<std::string, Reader>;

void ReadSection(const toml::table& table, const std::string& section, const Readers& readers) {
  for (const auto& [key, node] : table) {
    const std::string name(key.str());
    const auto reader = readers.find(name);
    if (reader == readers.end()) Fail(node, "[" + section + "] has no key " + name);
    reader->second(node, name);
  }
}

Reader TimeInto(std::chrono::milliseconds& target) {
  return [&target](const toml::node& node, const std::string& key) { target = ReadTime(node, key); };
}

Reader BytesInto(std::size_t& target) {
  return [&target](const toml::node& node, const std::string& key) { target = ReadBytes(node, key); };
}

Reader FlagInto(bool& target) {
  return [&target](const toml::node& node, const std::string& key) {
    const auto flag = node.value_exact<bool>();
    if (!flag) Fail(node, key + " must be true or false");
    target = *flag;
  };
}

Reader TextInto(std::string& target) {
  return [&target](const toml::node& node, const std::string& key) { target = ReadText(node, key); };
}

void ReadSite(const toml::table& table, SiteConfiguration& site) {
  ReadSection(
      table, "site",
      {{"root", [&](const toml::node& node, const std::string&) { site.root = ReadRoot(node); }},
       {"pages", [&](const toml::node& node, const std::string& key) { site.pages = ReadText(node, key); }},
       {"default", TextInto(site.defaultPage)},
       {"lcid",
        [&](const toml::node& node, const std::string& key) {
          site.lcid = static_cast<varnel::Long>(ReadNumber(node, key, 0, 0xFFFFF));
        }},
       {"codepage",
        [&](const toml::node& node, const std::string& key) {
          site.codePage = static_cast<int>(ReadNumber(node, key, 1, 65535));
          if (!MakeByteTable(site.codePage)) Fail(node, key + " must be a code page of single bytes");
        }},
       {"mode", [&](const toml::node& node, const std::string&) { site.mode = ReadMode(node); }}});
}

// As chmod takes it: "0660".
unsigned ReadFileMode(const toml::node& node, const std::string& key) {
  const std::string text = ReadText(node, key);
  const bool isOctal =
      !text.empty() && text.size() <= 4 && text.find_first_not_of("01234567") == std::string::npos;
  const unsigned mode = isOctal ? static_cast<unsigned>(std::stoul(text, nullptr, 8)) : ~0U;
  if (mode > 0777) Fail(node, key + " must be a text such as \"0660\"");
  return mode;
}

void ReadServer(const toml::table& table, SiteConfiguration::Server& server) {
  ReadSection(
      table, "server",
      {{"listen", TextInto(server.listen)},
       {"socket_mode",
        [&](const toml::node& node, const std::string& key) { server.socketMode = ReadFileMode(node, key); }},
       {"socket_group", TextInto(server.socketGroup)},
       {"user",
        [&](const toml::node& node, const std::string& key) {
          server.user = ReadText(node, key);
          if (server.user.empty()) Fail(node, key + " must be a user's name");
        }},
       {"threads",
        [&](const toml::node& node, const std::string& key) {
          server.threads = static_cast<int>(ReadNumber(node, key, 1, 256));
        }},
       {"max_body", BytesInto(server.maxBody)},
       {"max_bodies", BytesInto(server.maxBodies)},
       {"max_header", BytesInto(server.maxHeader)},
       {"max_url", BytesInto(server.maxUrl)},
       {"max_connections", BytesInto(server.maxConnections)},
       {"max_response_buffer", BytesInto(server.maxResponseBuffer)},
       {"max_unread", BytesInto(server.maxUnread)},
       {"max_unread_together", BytesInto(server.maxUnreadTogether)},
       {"max_sessions", BytesInto(server.maxSessions)},
       {"max_session", BytesInto(server.maxSession)},
       {"max_heap", BytesInto(server.maxHeap)},
       {"max_waiting", BytesInto(server.maxWaiting)},
       {"script_timeout", TimeInto(server.scriptTimeout)},
       {"stuck_timeout", TimeInto(server.stuckTimeout)},
       {"statement_timeout", TimeInto(server.statementTimeout)},
       {"header_timeout", TimeInto(server.headerTimeout)},
       {"body_timeout", TimeInto(server.bodyTimeout)},
       {"idle_timeout", TimeInto(server.idleTimeout)},
       {"write_timeout", TimeInto(server.writeTimeout)},
       {"drain_timeout", TimeInto(server.drainTimeout)},
       {"session_timeout",
        [&](const toml::node& node, const std::string& key) {
          server.sessionTimeout = std::chrono::minutes(ReadNumber(node, key, 1, 1440));
        }},
       {"refuse_parameters", [&](const toml::node& node,
                                 const std::string& key) { server.refuseParameters = ReadTexts(node, key); }},
       {"compression", FlagInto(server.compression)},
       {"trusted_proxies", [&](const toml::node& node, const std::string& key) {
          server.trustedProxies = ReadTexts(node, key);
        }}});
}

std::string ReadFileName(const toml::node& node, const std::string& key) {
  std::string name = ReadText(node, key);
  if (name.empty()) Fail(node, key + " must be a file's name");
  return name;
}

RedisAddress ReadStore(const toml::node& node, const std::string& key) {
  const auto address = ParseRedisAddress(ReadText(node, key));
  // Its text may hold a password, so it isn't told.
  if (!address)
    Fail(node, key +
                   " must be an address such as \"redis://host:6379/0\", \"rediss://:password@host\" or "
                   "\"unix:///run/redis/redis.sock\"");
  return *address;
}

// What stands in front of keys: nothing that the server's tools take for a pattern or for a hash tag.
std::string ReadPrefix(const toml::node& node, const std::string& key) {
  std::string prefix = ReadText(node, key);
  const bool isPlain = !prefix.empty() && prefix.size() <= 100 &&
                       prefix.find_first_not_of(
                           "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ"
                           "0123456789._:/-") == std::string::npos;
  if (!isPlain) Fail(node, key + " must be 1 to 100 letters, digits and \"._:/-\"");
  return prefix;
}

void ReadSessions(const toml::table& table, SiteConfiguration::Sessions& sessions) {
  const auto fileInto = [](std::filesystem::path& target) -> Reader {
    return [&target](const toml::node& node, const std::string& key) { target = ReadFileName(node, key); };
  };
  ReadSection(table, "sessions",
              {{"folder",
                [&](const toml::node& node, const std::string& key) {
                  sessions.folder = ReadText(node, key);
                  if (sessions.folder.empty()) Fail(node, key + " must be a folder's name");
                }},
               {"max_bytes", BytesInto(sessions.maxBytes)},
               {"store", [&](const toml::node& node,
                             const std::string& key) { sessions.store = ReadStore(node, key); }},
               {"prefix", [&](const toml::node& node,
                              const std::string& key) { sessions.prefix = ReadPrefix(node, key); }},
               {"timeout", TimeInto(sessions.timeout)},
               {"ca_file", fileInto(sessions.caFile)},
               {"cert_file", fileInto(sessions.certFile)},
               {"key_file", fileInto(sessions.keyFile)}});
  if (sessions.store && !sessions.folder.empty())
    Fail(*table.get("store"), "store and folder are two places: [sessions] takes one of them");
  if (sessions.certFile.empty() != sessions.keyFile.empty())
    Fail(table, "cert_file and key_file of [sessions] belong together");
}

void ReadLimits(const toml::table& table, SiteConfiguration::Limits& limits) {
  const auto into = [](std::uint32_t& target) -> Reader {
    return [&target](const toml::node& node, const std::string& key) {
      target = static_cast<std::uint32_t>(ReadNumber(node, key, 0, 1'000'000));
    };
  };
  ReadSection(table, "limits",
              {{"requests", into(limits.requests)}, {"new_sessions", into(limits.newSessions)}});
}

// As browsers write it: "https://pay.example:8443". An address with a path would never match.
bool IsOrigin(const std::string& text) {
  const std::size_t scheme = text.starts_with("https://") ? 8 : text.starts_with("http://") ? 7 : 0;
  const std::string host = text.substr(scheme);
  return scheme > 0 && !host.empty() &&
         host.find_first_not_of("abcdefghijklmnopqrstuvwxyz0123456789.-_:[]") == std::string::npos;
}

std::vector<std::string> ReadOrigins(const toml::node& node, const std::string& key, bool mayBeAny) {
  std::vector<std::string> origins = ReadTexts(node, key);
  for (const std::string& origin : origins) {
    if ((origin != "*" || !mayBeAny) && !IsOrigin(origin))
      Fail(node, key + " must hold texts such as \"https://pay.example\", in lower case and without a path");
  }
  return origins;
}

void ReadForms(const toml::table& table, SiteConfiguration::Forms& forms) {
  ReadSection(
      table, "forms",
      {{"token", FlagInto(forms.token)}, {"origins", [&](const toml::node& node, const std::string& key) {
                                            forms.origins = ReadOrigins(node, key, true);
                                          }}});
}

void ReadFetch(const toml::table& table, SiteConfiguration::Fetch& fetch) {
  ReadSection(
      table, "fetch",
      {{"addresses", [&](const toml::node& node,
                         const std::string& key) { fetch.addresses = ReadOrigins(node, key, false); }},
       {"private", FlagInto(fetch.isPrivateAllowed)},
       {"timeout", TimeInto(fetch.timeout)},
       {"max_bytes", BytesInto(fetch.maxBytes)}});
}

void ReadDatabase(const toml::table& table, SiteConfiguration::Database& database) {
  ReadSection(table, "database",
              {{"max_value", BytesInto(database.maxValue)},
               {"max_result", BytesInto(database.maxResult)},
               {"max_memory", BytesInto(database.maxMemory)},
               {"max_temporary", BytesInto(database.maxTemporary)}});
}

bool IsHeaderText(const std::string& text) {
  return std::none_of(text.begin(), text.end(),
                      [](char c) { return static_cast<unsigned char>(c) < 0x20 || c == 0x7f; });
}

void ReadHeaders(const toml::table& table, SiteConfiguration& site) {
  for (const auto& [key, node] : table) {
    const std::string name(key.str());
    const std::string value = ReadText(node, name);
    const bool isName = !name.empty() && name.find_first_not_of(
                                             "-0123456789ABCDEFGHIJKLMNOPQRSTUVWXYZ"
                                             "abcdefghijklmnopqrstuvwxyz") == std::string::npos;
    if (!isName || !IsHeaderText(value)) Fail(node, name + " can't be a header");
    site.headers.emplace_back(name, value);
  }
}

// Anything else than a hash could be a password as it is typed, which must not stand in a file.
std::string ReadPassword(const toml::node& node, const std::string& key) {
  std::string hash = ReadText(node, key);
  if (!IsPasswordHash(hash)) Fail(node, key + " must be a hash, as \"varnel password\" makes it");
  return hash;
}

void ReadUsers(const toml::table& table, SiteConfiguration& site) {
  for (const auto& [key, node] : table) {
    const std::string name(key.str());
    if (!node.is_table()) Fail(node, "[users] holds a table for each user, such as [users.demo]");
    SiteConfiguration::User user{site.lcid, "", ""};
    ReadSection(
        *node.as_table(), "users." + name,
        {{"language",
          [&](const toml::node& value, const std::string& valueKey) {
            user.language = static_cast<varnel::Long>(ReadNumber(value, valueKey, 0, 0xFFFFF));
          }},
         {"password", [&](const toml::node& value,
                          const std::string& valueKey) { user.password = ReadPassword(value, valueKey); }},
         {"role", TextInto(user.role)}});
    site.users[name] = user;
  }
}

void ReadSignIn(const toml::table& table, SiteConfiguration& site) {
  ReadSection(table, "sign_in", {{"attempts", [&](const toml::node& node, const std::string& key) {
                                    site.signInAttempts =
                                        static_cast<std::size_t>(ReadNumber(node, key, 1, 1'000'000));
                                  }}});
}

void ReadLog(const toml::table& table, SiteConfiguration::Log& log) {
  static const std::vector<std::string> kLevels = {"trace", "debug",    "info", "warning",
                                                   "error", "critical", "off"};
  ReadSection(table, "log",
              {{"file", TextInto(log.file)},
               {"level",
                [&](const toml::node& node, const std::string& key) {
                  log.level = ReadText(node, key);
                  const bool known = std::find(kLevels.begin(), kLevels.end(), log.level) != kLevels.end();
                  if (!known) Fail(node, "level must be trace, debug, info, warning, error, critical or off");
                }},
               {"max_size", BytesInto(log.maxSize)},
               {"max_files", BytesInto(log.maxFiles)}});
}

SiteConfiguration::Links ReadLinks(const toml::node& node) {
  const std::string links = ReadText(node, "links");
  if (links == "columns") return SiteConfiguration::Links::Columns;
  if (links == "sealed") return SiteConfiguration::Links::Sealed;
  if (links == "any") return SiteConfiguration::Links::Any;
  Fail(node, "links must be \"columns\", \"sealed\" or \"any\"");
}

std::vector<std::string> ReadKeys(const toml::node& node, const std::string& key) {
  std::vector<std::string> keys = ReadTexts(node, key);
  for (const std::string& digits : keys) {
    const bool isKey =
        digits.size() == 32 && digits.find_first_not_of("0123456789abcdef") == std::string::npos;
    if (!isKey) Fail(node, key + " must hold texts of 32 hexadecimal digits, in lower case");
  }
  return keys;
}

void ReadLists(const toml::table& table, SiteConfiguration::Lists& lists) {
  ReadSection(
      table, "lists",
      {{"links", [&](const toml::node& node, const std::string&) { lists.links = ReadLinks(node); }},
       {"keys", [&](const toml::node& node, const std::string& key) { lists.keys = ReadKeys(node, key); }},
       {"key_file",
        [&](const toml::node& node, const std::string& key) { lists.keyFile = ReadText(node, key); }},
       {"refused_page", TextInto(lists.refusedPage)}});
}

void ReadFiles(const toml::table& table, SiteConfiguration& site) {
  ReadSection(table, "files",
              {{"roots",
                [&](const toml::node& node, const std::string& key) {
                  site.fileRoots.clear();
                  for (const std::string& root : ReadTexts(node, key)) {
                    if (root.empty()) Fail(node, key + " must not hold an empty text");
                    site.fileRoots.emplace_back(root);
                  }
                }},
               {"max_files", BytesInto(site.maxFiles)},
               {"max_bytes", BytesInto(site.maxFileBytes)}});
}

void ReadAll(const toml::table& file, SiteConfiguration& site) {
  const auto section = [&](const char* name) -> const toml::table* {
    const toml::node* node = file.get(name);
    if (node != nullptr && !node->is_table()) Fail(*node, std::string(name) + " must be a section");
    return node == nullptr ? nullptr : node->as_table();
  };
  static const std::vector<std::string> kSections = {
      "site",    "server", "database", "headers", "application", "session", "configuration", "users",
      "sign_in", "log",    "files",    "lists",   "sessions",    "limits",  "forms",         "fetch"};
  for (const auto& [key, node] : file) {
    const bool known = std::find(kSections.begin(), kSections.end(), key.str()) != kSections.end();
    if (!known) Fail(node, "there is no section [" + std::string(key.str()) + "]");
  }
  // [site] first: users without a language take the site's.
  if (const auto* table = section("site")) ReadSite(*table, site);
  if (const auto* table = section("server")) ReadServer(*table, site.server);
  if (const auto* table = section("sessions")) ReadSessions(*table, site.sessions);
  if (const auto* table = section("limits")) ReadLimits(*table, site.limits);
  if (const auto* table = section("forms")) ReadForms(*table, site.forms);
  if (const auto* table = section("fetch")) ReadFetch(*table, site.fetch);
  if (const auto* table = section("database")) ReadDatabase(*table, site.database);
  if (const auto* table = section("headers")) ReadHeaders(*table, site);
  if (const auto* table = section("application")) site.application = ReadValues(*table);
  if (const auto* table = section("session")) site.session = ReadValues(*table);
  if (const auto* table = section("configuration")) site.configuration = ReadValues(*table);
  if (const auto* table = section("users")) ReadUsers(*table, site);
  if (const auto* table = section("sign_in")) ReadSignIn(*table, site);
  if (const auto* table = section("log")) ReadLog(*table, site.log);
  if (const auto* table = section("files")) ReadFiles(*table, site);
  if (const auto* table = section("lists")) ReadLists(*table, site.lists);
}

}  // namespace

SiteConfiguration ParseSiteConfiguration(std::string_view text, const std::filesystem::path& folder) {
  SiteConfiguration site;
  site.folder = std::filesystem::absolute(folder).lexically_normal();
  try {
    const toml::table file = toml::parse(text);
    site.saysNothing = file.empty();
    ReadAll(file, site);
  } catch (const toml::parse_error& error) {
    throw ConfigurationError("site.toml, line " + std::to_string(error.source().begin.line) + ": " +
                             std::string(error.description()));
  }
  return site;
}

std::string ReadSiteConfiguration(const std::filesystem::path& folder) {
  const auto path = folder / "site.toml";
  std::ifstream file(path, std::ios::binary);
  if (!file) throw ConfigurationError(path.string() + " can't be read: is this a site's folder?");
  std::ostringstream text;
  text << file.rdbuf();
  return text.str();
}

SiteConfiguration LoadSiteConfiguration(const std::filesystem::path& folder) {
  return ParseSiteConfiguration(ReadSiteConfiguration(folder), folder);
}

}  // namespace hostlinux
