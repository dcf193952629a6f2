#include "host-linux/database/odbc/OdbcProvider.h"

#include <algorithm>

#include "host-linux/database/odbc/OdbcErrors.h"
#include "host-linux/database/odbc/OdbcSession.h"
#include "host-linux/database/provider/ServerKeys.h"

namespace hostlinux {
namespace {

using varnel::String;
using varnel::StringView;

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

}  // namespace

std::u16string OdbcText(const ConnectionString& connection) {
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
  return text + DriverKeys(driver, connection);
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
  access.text = OdbcText(connection);
  access.dialect = connection.Get(u"Dialect");
  access.isNarrow = IsNarrow(connection.Get(u"Driver"));
  access.keepsCounts = KeepsCounts(connection, kOdbcSource);
  if (varnel::EqualsNoCase(connection.Get(u"PageReads"), u"AsWritten")) access.reads = PageReads::AsWritten;
  return std::make_unique<OdbcSession>(access, options);
}

}  // namespace hostlinux
