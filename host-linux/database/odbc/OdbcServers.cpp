#include "host-linux/database/odbc/OdbcServers.h"

#include <algorithm>
#include <array>

#include "host-linux/database/dialect/MariadbDialect.h"
#include "host-linux/database/dialect/ParameterMarkers.h"
#include "host-linux/database/dialect/PostgresqlDialect.h"
#include "host-linux/database/dialect/QueryText.h"
#include "host-linux/database/dialect/SqliteDialect.h"
#include "host-linux/database/odbc/OdbcErrors.h"

namespace hostlinux {
namespace {

using varnel::String;
using varnel::StringView;
using Tokens = std::vector<SqlToken>;

constexpr std::size_t kMostTextSize = 2147483647;  // of a T-SQL server

struct KnownServer {
  StringView name;    // as Dialect= says it, and as the beginning of what a driver calls its server
  StringView driver;  // within the name of a driver's file
  OdbcServer server;
};
constexpr std::array<KnownServer, 5> kServers = {{
    {u"MariaDB", u"maodbc", OdbcServer::Mariadb},
    {u"MySQL", u"myodbc", OdbcServer::Mariadb},
    {u"PostgreSQL", u"psqlodbc", OdbcServer::Postgresql},
    {u"SQLite", u"sqlite", OdbcServer::Sqlite},
    {u"T-SQL", u"tdsodbc", OdbcServer::TransactSql},
}};

// Another engine's words with marks that stand for values by their place, as ODBC's do.
class PlacedWords : public IEngineWords {
 public:
  explicit PlacedWords(const IEngineWords& words) : m_words(words) {}

  bool IsNothing(const Tokens& tokens) const override { return m_words.IsNothing(tokens); }
  void RewriteTokens(Tokens& io_tokens, const ParametersInUse& parameters) const override {
    m_words.RewriteTokens(io_tokens, parameters);
  }
  std::u16string Mark(std::size_t number, const ParameterFacts* facts) const override {
    std::u16string mark = m_words.Mark(number, facts);
    mark.front() = u'?';
    return mark;
  }
  std::optional<KeyComparison> Compare(
      ColumnKind kind, const std::u16string& operand, const std::u16string& op, const LiteralTraits& traits,
      const std::function<std::u16string(LiteralForm)>& write) const override {
    return m_words.Compare(kind, operand, op, traits, write);
  }
  std::optional<std::u16string> Number(
      const SqlToken& number, bool mayLift, const std::function<ColumnKind()>& kindOf,
      const std::function<std::u16string(LiteralForm)>& write) const override {
    return m_words.Number(number, mayLift, kindOf, write);
  }
  bool SharesMarks() const override { return m_words.SharesMarks(); }
  bool MarksByPlace() const override { return true; }
  bool SeeksRows() const override { return m_words.SeeksRows(); }
  bool SortsNullsLow() const override { return m_words.SortsNullsLow(); }
  bool KnowsNullsAlike() const override { return m_words.KnowsNullsAlike(); }
  bool WrapsBranches() const override { return m_words.WrapsBranches(); }
  bool JoinsSteps() const override { return m_words.JoinsSteps(); }
  std::u16string PastNulls(ColumnKind kind) const override { return m_words.PastNulls(kind); }

 private:
  const IEngineWords& m_words;
};

// The beginning in any case of letters.
bool Begins(StringView text, StringView begin) {
  return text.size() >= begin.size() && varnel::EqualsNoCase(text.substr(0, begin.size()), begin);
}

bool IsMariadbDriver(const String& driver) {
  const std::u16string upper = UpperAscii(driver);
  return upper.find(u"MARIADB") != String::npos || upper.find(u"MAODBC") != String::npos;
}

// Longer than any call, so that one that takes too long is ended in the server's good way first.
std::int64_t ReadSeconds(std::chrono::milliseconds longest) {
  constexpr std::int64_t kWithoutLimit = 60;
  constexpr std::int64_t kForCancel = 2;
  return longest.count() == 0 ? kWithoutLimit
                              : std::chrono::ceil<std::chrono::seconds>(longest).count() + kForCancel;
}

// "db1", "db1:3307" or "[::1]:3307".
OdbcHost HostOf(const String& text) {
  const std::size_t bracket = text.front() == u'[' ? text.find(u']') : String::npos;
  const std::size_t colon = text.find(u':', bracket == String::npos ? 0 : bracket);
  OdbcHost host{text.substr(0, colon), colon == String::npos ? String() : text.substr(colon + 1)};
  if (bracket != String::npos) host.server = text.substr(1, bracket - 1);
  return host;
}

}  // namespace

OdbcServer ServerOf(const String& dialect, const String& serverName, const String& driverFile) {
  const String& name = dialect.empty() ? serverName : dialect;
  const String driver = dialect.empty() ? driverFile : String();
  for (const KnownServer& known : kServers) {
    if (Begins(name, known.name) || driver.find(known.driver) != String::npos) return known.server;
  }
  RaiseOdbc(provider_error::kFail,
            dialect.empty() ? u"The driver serves '" + name +
                                  u"', whose words aren't known: the connection string needs a Dialect."
                            : u"The connection string has an unknown Dialect: '" + dialect + u"'.",
            u"08001");
}

const IEngineWords* WordsOf(OdbcServer server) {
  static const PlacedWords postgresql(WordsOfPostgresql());
  static const PlacedWords sqlite(WordsOfSqlite());
  switch (server) {
    case OdbcServer::Mariadb:
      return &WordsOfMariadb();
    case OdbcServer::Postgresql:
      return &postgresql;
    case OdbcServer::Sqlite:
      return &sqlite;
    case OdbcServer::TransactSql:
      break;
  }
  return nullptr;
}

bool IsNarrow(const String& driver) { return UpperAscii(driver).find(u"SQLITE") != String::npos; }

EngineStatement AsItStands(const String& sql, const varnel::host::StatementParameters& parameters) {
  EngineStatement statement;
  ParameterMarkers markers(parameters);
  std::vector<SqlToken> tokens = LexSql(sql);
  for (SqlToken& token : tokens) {
    if (token.kind != SqlTokenKind::Parameter) continue;
    const std::optional<std::size_t> position = markers.Find(token.text);
    token.text.assign(1, u'?');
    if (position)
      statement.values.push_back(
          ParameterValue(parameters.values[*position].Value, LiteralForm::Text, u'\0'));
  }
  statement.unbound = markers.Fault();
  statement.sql = varnel::ToUtf8(PrintSql(tokens, 0, tokens.size()));
  return statement;
}

std::u16string DriverKeys(const String& driver, const ConnectionString& connection,
                          std::chrono::milliseconds longest) {
  std::u16string keys;
  const auto add = [&](StringView key, StringView value) {
    if (connection.Get(key).empty()) keys.append(key).append(u"=").append(value).append(u";");
  };
  if (IsMariadbDriver(driver)) {
    add(u"CHARSET", u"utf8mb4");
    add(u"OPTION", u"2");  // the rows that an UPDATE finds are counted, not only those that it changes
    // A server that hangs is noticed, and a call ends that nothing else can end.
    const String seconds = varnel::FromUtf8(std::to_string(ReadSeconds(longest)));
    add(u"READ_TIMEOUT", seconds);
    add(u"WRITE_TIMEOUT", seconds);
  }
  const std::u16string upper = UpperAscii(driver);
  if (upper.find(u"POSTGRESQL") != String::npos || upper.find(u"PSQLODBC") != String::npos) {
    add(u"BoolsAsChar", u"0");
    add(u"TextAsLongVarchar", u"1");
    add(u"UseServerSidePrepare", u"1");
    add(u"Protocol", u"7.4-2");  // a failed statement of a transaction is undone alone
    add(u"LFConversion", u"0");
  }
  if (IsNarrow(driver)) {
    add(u"StepAPI", u"1");     // row by row, instead of all of them in memory
    add(u"Timeout", u"5000");  // of a wait for a lock, which nothing else ends
    if (varnel::EqualsNoCase(connection.Get(u"Mode"), u"Read")) add(u"NoCreat", u"1");
  }
  return keys;
}

std::vector<OdbcHost> HostsOf(const ConnectionString& connection) {
  const String servers = connection.Get(u"Server");
  if (!IsMariadbDriver(connection.Get(u"Driver")) || servers.find(u',') == String::npos) return {};
  std::vector<OdbcHost> hosts;
  for (std::size_t begin = 0; begin <= servers.size();) {
    const std::size_t end = std::min(servers.find(u',', begin), servers.size());
    const String host = varnel::TrimLeft(varnel::TrimRight(servers.substr(begin, end - begin)));
    if (!host.empty()) hosts.push_back(HostOf(host));
    begin = end + 1;
  }
  return hosts;
}

std::vector<std::string> SettingsOf(OdbcServer server, bool readsOnly, const EngineLimits& limits) {
  switch (server) {
    case OdbcServer::Mariadb:
      // A driver holds the rows of a result before the first one is seen: no more of them than may be read.
      return {std::string("SET collation_connection = utf8mb4_nopad_bin, sql_mode = '") + kMariadbMode +
              "', sql_auto_is_null = 0, tx_read_only = " + (readsOnly ? "1" : "0") +
              ", sql_select_limit = " + std::to_string(MostRows(limits) + 1)};
    case OdbcServer::Postgresql: {
      std::vector<std::string> settings = {"SET standard_conforming_strings = on",
                                           "SET extra_float_digits = 1", "SET enable_parallel_append = off"};
      if (readsOnly) settings.emplace_back("SET default_transaction_read_only = on");
      return settings;
    }
    case OdbcServer::Sqlite: {
      // No view or trigger calls what the driver adds.
      std::vector<std::string> settings = {"PRAGMA trusted_schema = 0"};
      if (readsOnly) settings.emplace_back("PRAGMA query_only = 1");
      return settings;
    }
    case OdbcServer::TransactSql:
      // "a" is a name, NULL equals nothing, and a value that is too long comes as one that can be told to be.
      return {
          "SET QUOTED_IDENTIFIER ON",
          "SET ANSI_NULLS ON",
          "SET CONCAT_NULL_YIELDS_NULL ON",
          "SET ANSI_PADDING ON",
          "SET ANSI_WARNINGS ON",
          "SET TEXTSIZE " + std::to_string(std::min<std::size_t>(2 * limits.maxValue + 2, kMostTextSize))};
  }
  return {};
}

std::string SettingsQuery(OdbcServer server) {
  if (server == OdbcServer::Mariadb) {
    return "SELECT CONCAT_WS(' ', @@sql_mode, @@character_set_client, @@character_set_connection, "
           "@@character_set_results, @@tx_read_only, @@autocommit, @@sql_select_limit)";
  }
  if (server == OdbcServer::Postgresql) {
    return "SELECT current_setting('standard_conforming_strings') || current_setting('client_encoding') || "
           "current_setting('default_transaction_read_only')";
  }
  if (server == OdbcServer::Sqlite) return "SELECT query_only FROM pragma_query_only";
  return {};
}

std::string TimeLimitText(OdbcServer server, std::chrono::milliseconds time) {
  if (server == OdbcServer::Postgresql) return "SET statement_timeout = " + std::to_string(time.count());
  if (server != OdbcServer::Mariadb) return {};
  return "SET max_statement_time = " + std::to_string((time.count() + 999) / 1000);
}

std::size_t MostRows(const EngineLimits& limits) { return limits.maxResult / RowStore::kCellBytes; }

bool DriverHoldsRows(OdbcServer server) {
  return server == OdbcServer::Mariadb || server == OdbcServer::Postgresql;
}

// Behind a line of its own, as the text may end with a comment.
std::optional<std::string> LimitedText(OdbcServer server, const std::string& sql, varnel::Long rows) {
  if (server == OdbcServer::TransactSql || !IsQuery(sql)) return std::nullopt;
  // Within a FROM it would lose its order there.
  if (server == OdbcServer::Mariadb) return "(" + sql + "\n) LIMIT " + std::to_string(rows);
  return "SELECT * FROM (" + sql + "\n) AS \"first rows\" LIMIT " + std::to_string(rows);
}

}  // namespace hostlinux
