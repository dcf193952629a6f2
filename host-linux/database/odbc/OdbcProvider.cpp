#include "host-linux/database/odbc/OdbcProvider.h"

#include <algorithm>

#include "host-linux/database/odbc/OdbcErrors.h"
#include "host-linux/database/odbc/OdbcSession.h"
#include "host-linux/database/provider/ServerKeys.h"

namespace hostlinux {
namespace {

using std::chrono::milliseconds;
using varnel::String;
using varnel::StringView;

// What one of several hosts may take to answer, at most; a network has none of its answers take longer.
constexpr milliseconds kMostPatience{2000};

bool IsOneOf(const String& key, std::initializer_list<StringView> keys) {
  return std::any_of(keys.begin(), keys.end(),
                     [&](StringView each) { return varnel::EqualsNoCase(key, each); });
}

// Braces where the value has a sign that ends it, or that drivers take for something else.
String Written(const String& value) {
  const bool isPlain = std::all_of(value.begin(), value.end(), [](char16_t c) {
    return (c >= u'a' && c <= u'z') || (c >= u'A' && c <= u'Z') || (c >= u'0' && c <= u'9') || c == u'.' ||
           c == u'_' || c == u'-' || c == u'/' || c == u':';
  });
  if (isPlain) return value;
  String written = u"{";
  for (const char16_t c : value) written.append(c == u'}' ? 2 : 1, c);
  return written + u"}";
}

// SQLite's driver takes braces for a part of the value.
String WrittenFor(const String& driver, const String& value) {
  return IsNarrow(driver) && value.find_first_of(u";{}") == String::npos ? value : Written(value);
}

ConnectionString AtHost(const ConnectionString& connection, const OdbcHost& host) {
  const ConnectionString atServer = connection.With(u"Server", host.server);
  return host.port.empty() ? atServer : atServer.With(u"Port", host.port);
}

// Who isn't let in, or asks for what isn't there, needn't ask the other hosts.
bool IsOfHost(const varnel::host::ProviderError& error) {
  return !error.SQLState.starts_with(u"28") && !error.SQLState.starts_with(u"42");
}

// The first one that answers. Each has its share of the time, as drivers wait for one that hangs all the time that there is.
std::unique_ptr<OdbcSession> OpenAny(const ConnectionString& connection, const std::vector<OdbcHost>& hosts,
                                     OdbcAccess access, OpenOptions options) {
  const auto end = OdbcConnection::Clock::now() + options.timeout;
  const bool hasEnd = options.timeout.count() > 0;
  std::vector<varnel::host::ProviderError> errors;
  for (std::size_t i = 0; i < hosts.size(); ++i) {
    const auto turns = static_cast<int>(hosts.size() - i);
    access.text = OdbcText(AtHost(connection, hosts[i]), options.longest);
    access.patience = kMostPatience;
    if (hasEnd) {
      const auto left = std::chrono::ceil<milliseconds>(end - OdbcConnection::Clock::now());
      options.timeout = std::max(milliseconds(1), left);
      access.patience = turns == 1 ? options.timeout : std::min(kMostPatience, options.timeout / (turns + 1));
    }
    try {
      return std::make_unique<OdbcSession>(access, options);
    } catch (const ProviderFailure& failure) {
      errors.insert(errors.end(), failure.Errors().begin(), failure.Errors().end());
      if (!IsOfHost(failure.Error())) throw;
    }
  }
  throw ProviderFailure(std::move(errors));
}

}  // namespace

std::u16string OdbcText(const ConnectionString& connection, milliseconds longest) {
  const String driver = connection.Get(u"Driver");
  std::u16string text;
  std::vector<String> written;
  for (const auto& pair : connection.Pairs()) {
    String key = pair.first;
    if (IsOneOf(key, {u"Provider", u"Dialect", u"Mode", u"CountsFor", u"PageReads"})) continue;
    const String value = connection.Get(key);
    if (varnel::EqualsNoCase(key, u"User ID")) key = u"UID";
    if (varnel::EqualsNoCase(key, u"Password")) key = u"PWD";
    const bool isDone = std::any_of(written.begin(), written.end(),
                                    [&](const String& each) { return varnel::EqualsNoCase(each, key); });
    if (isDone) continue;
    written.push_back(key);
    // A driver's name is written so by everybody.
    text += key + u"=" +
            (varnel::EqualsNoCase(key, u"Driver") ? u"{" + value + u"}" : WrittenFor(driver, value)) + u";";
  }
  return text + DriverKeys(driver, connection, longest);
}

std::unique_ptr<ISession> OdbcProvider::Open(const ConnectionString& connection, const OpenOptions& options) {
  return OpenOdbc(connection, options);
}

std::unique_ptr<OdbcSession> OpenOdbc(const ConnectionString& connection, const OpenOptions& options) {
  if (connection.Get(u"Driver").empty() && connection.Get(u"DSN").empty())
    RefuseConnection(kOdbcSource, u"The connection string names no Driver and no DSN.");
  RefuseLimits(connection, kOdbcSource);
  OdbcAccess access;
  access.readsOnly = ReadsOnly(connection, options.readOnly, kOdbcSource);
  access.dialect = connection.Get(u"Dialect");
  access.isNarrow = IsNarrow(connection.Get(u"Driver"));
  access.keepsCounts = KeepsCounts(connection, kOdbcSource);
  if (varnel::EqualsNoCase(connection.Get(u"PageReads"), u"AsWritten")) access.reads = PageReads::AsWritten;
  if (const std::vector<OdbcHost> hosts = HostsOf(connection); hosts.size() > 1)
    return OpenAny(connection, hosts, std::move(access), options);
  access.text = OdbcText(connection, options.longest);
  return std::make_unique<OdbcSession>(access, options);
}

}  // namespace hostlinux
