#include "host-linux/database/postgresql/PostgresqlEngine.h"

#include <stdexcept>

#include "host-linux/database/postgresql/PostgresqlProvider.h"
#include "host-linux/database/postgresql/PostgresqlSession.h"
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

RowStore Rows(ISession& session, const varnel::String& sql) {
  StatementLimits limits;
  limits.timeout = kForChecks;
  return session.Run(sql, {}, limits).rows;
}

// Large tables with the number of their indexes besides the key, and whether somebody had the server look at them.
constexpr varnel::StringView kLargeTables =
    u"SELECT c.oid::regclass::text, (SELECT count(*) FROM pg_catalog.pg_index i WHERE i.indrelid = c.oid AND "
    u"NOT i.indisprimary),"
    u" (s.last_analyze IS NOT NULL OR s.last_autoanalyze IS NOT NULL)::int"
    u" FROM pg_catalog.pg_class c JOIN pg_catalog.pg_stat_user_tables s ON s.relid = c.oid"
    u" WHERE c.relkind IN ('r', 'p', 'm') AND (c.reltuples > 1000 OR s.n_live_tup > 1000) ORDER BY 1";

// What the connection's user may do to each table that it sees.
constexpr varnel::StringView kRights =
    u"SELECT c.oid::regclass::text FROM pg_catalog.pg_class c JOIN pg_catalog.pg_namespace n ON n.oid = "
    u"c.relnamespace"
    u" WHERE c.relkind IN ('r', 'p', 'v', 'm') AND n.nspname NOT IN ('pg_catalog', 'information_schema')"
    u" AND has_table_privilege(c.oid, 'INSERT, UPDATE, DELETE, TRUNCATE') ORDER BY 1 LIMIT 20";

std::string TextAt(const RowStore& rows, std::size_t column, std::size_t row) {
  return varnel::ToUtf8(varnel::ToText(rows.Value(column, row)));
}

std::string Listed(const RowStore& rows) {
  std::string names;
  for (std::size_t i = 0; i < rows.Rows(); ++i) names += (names.empty() ? "" : ", ") + TextAt(rows, 0, i);
  return names;
}

}  // namespace

std::unique_ptr<IProvider> PostgresqlEngine::MakeProvider() const {
  return std::make_unique<PostgresqlProvider>();
}

std::vector<std::string> PostgresqlEngine::CheckIndexes(const ConnectionString& connection,
                                                        const std::filesystem::path& folder) const {
  std::vector<std::string> sentences;
  try {
    const std::unique_ptr<ISession> session = MakeProvider()->Open(connection, OptionsFor(folder, true));
    const RowStore tables = Rows(*session, varnel::String(kLargeTables));
    for (std::size_t i = 0; i < tables.Rows(); ++i) {
      const std::string subject = "table " + TextAt(tables, 0, i) + " has more than 1,000 rows and ";
      if (TextAt(tables, 1, i) == "0") {
        sentences.push_back(subject +
                            "no index besides its key: every sort by another column reads all of it");
      } else if (TextAt(tables, 2, i) == "0") {
        sentences.push_back(subject +
                            "was never analysed: run ANALYZE, or the engine guesses which index to take");
      }
    }
    if (varnel::EqualsNoCase(connection.Get(u"Mode"), u"Read")) {
      const std::string names = Listed(Rows(*session, varnel::String(kRights)));
      if (!names.empty())
        sentences.push_back("the connection only reads, but its user may change " + names +
                            ": grant it SELECT alone");
    }
  } catch (const ProviderFailure&) {
    return {};
  }
  return sentences;
}

void PostgresqlEngine::MakeDatabase(const ConnectionString& connection, const std::filesystem::path& folder,
                                    const std::string& script) const {
  try {
    OpenPostgresql(connection, OptionsFor(folder, false))->RunScript(script);
  } catch (const ProviderFailure& failure) {
    throw std::runtime_error(failure.what());
  }
}

}  // namespace hostlinux
