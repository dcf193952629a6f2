#include "host-linux/database/odbc/OdbcEngine.h"

#include <stdexcept>

#include "host-linux/database/dialect/SqlLexer.h"
#include "host-linux/database/odbc/OdbcProvider.h"
#include "host-linux/database/odbc/OdbcSession.h"
#include "varnel/automation/Convert.h"

namespace hostlinux {
namespace {

constexpr std::chrono::seconds kForChecks{30};

OpenOptions OptionsFor(const std::filesystem::path& folder, bool readOnly) {
  OpenOptions options;
  options.folder = folder;
  options.readOnly = readOnly;
  options.timeout = kForChecks;
  return options;
}

RowStore Rows(ISession& session, varnel::StringView sql) {
  StatementLimits limits;
  limits.timeout = kForChecks;
  return session.Run(varnel::String(sql), {}, limits).rows;
}

// Large tables with the number of their indexes besides the key.
constexpr varnel::StringView kLargeTables =
    u"SELECT t.table_name, (SELECT COUNT(DISTINCT s.index_name) FROM information_schema.statistics s WHERE"
    u" s.table_schema = t.table_schema AND s.table_name = t.table_name AND s.index_name <> 'PRIMARY')"
    u" FROM information_schema.tables t WHERE t.table_schema = DATABASE() AND t.table_type = 'BASE TABLE'"
    u" AND t.table_rows > 1000 ORDER BY 1";

// What the connection's user may change.
constexpr varnel::StringView kRights =
    u"SELECT COUNT(*) FROM (SELECT grantee, privilege_type FROM information_schema.user_privileges UNION ALL"
    u" SELECT grantee, privilege_type FROM information_schema.schema_privileges UNION ALL"
    u" SELECT grantee, privilege_type FROM information_schema.table_privileges) AS p"
    u" WHERE REPLACE(p.grantee, '''', '') = CURRENT_USER() AND p.privilege_type IN ('INSERT', 'UPDATE', "
    u"'DELETE',"
    u" 'DROP', 'ALTER', 'CREATE')";

std::string TextAt(const RowStore& rows, std::size_t column, std::size_t row) {
  return varnel::ToUtf8(varnel::ToText(rows.Value(column, row)));
}

std::vector<std::string> Statements(const std::string& script) {
  std::vector<std::string> statements;
  std::vector<SqlToken> tokens = LexSql(varnel::FromUtf8(script));
  std::size_t begin = 0;
  const auto isWritten = [&](std::size_t i) {
    return tokens[i].kind != SqlTokenKind::Comment && tokens[i].kind != SqlTokenKind::End;
  };
  for (std::size_t i = 0; i < tokens.size(); ++i) {
    if (tokens[i].kind != SqlTokenKind::Semicolon && tokens[i].kind != SqlTokenKind::End) continue;
    bool isEmpty = true;
    for (std::size_t k = begin; k < i; ++k) isEmpty = isEmpty && !isWritten(k);
    if (!isEmpty) statements.push_back(varnel::ToUtf8(PrintSql(tokens, begin, i, true)));
    begin = i + 1;
  }
  return statements;
}

}  // namespace

std::unique_ptr<IProvider> OdbcEngine::MakeProvider() const { return std::make_unique<OdbcProvider>(); }

std::vector<std::string> OdbcEngine::CheckIndexes(const ConnectionString& connection,
                                                  const std::filesystem::path& folder) const {
  std::vector<std::string> sentences;
  try {
    const std::unique_ptr<OdbcSession> session = OpenOdbc(connection, OptionsFor(folder, true));
    if (session->Server() != OdbcServer::Mariadb) return {};
    const RowStore tables = Rows(*session, kLargeTables);
    for (std::size_t i = 0; i < tables.Rows(); ++i) {
      if (TextAt(tables, 1, i) != "0") continue;
      sentences.push_back("table " + TextAt(tables, 0, i) +
                          " has more than 1,000 rows and no index besides its key: every sort by another "
                          "column reads all of it");
    }
    if (varnel::EqualsNoCase(connection.Get(u"Mode"), u"Read") &&
        TextAt(Rows(*session, kRights), 0, 0) != "0")
      sentences.push_back("the connection only reads, but its user may change tables: grant it SELECT alone");
  } catch (const ProviderFailure&) {
    return {};
  }
  return sentences;
}

void OdbcEngine::MakeDatabase(const ConnectionString& connection, const std::filesystem::path& folder,
                              const std::string& script) const {
  try {
    const std::unique_ptr<OdbcSession> session = OpenOdbc(connection, OptionsFor(folder, false));
    for (const std::string& statement : Statements(script)) session->RunOwn(statement);
  } catch (const ProviderFailure& failure) {
    throw std::runtime_error(failure.what());
  }
}

}  // namespace hostlinux
