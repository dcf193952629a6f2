// A connection to a SQLite database.
#pragma once

#include <sqlite3.h>

#include <memory>
#include <unordered_map>

#include "host-linux/database/dialect/ColumnFacts.h"
#include "host-linux/database/dialect/SqliteDialect.h"
#include "host-linux/database/provider/Provider.h"
#include "host-linux/database/sqlite/SqliteStatement.h"

namespace hostlinux {

enum class SqliteMode { Read, ReadWrite, Create };

class SqliteSession : public ISession, private IColumnFacts {
 public:
  // Opens the file; only Create makes one that isn't there. Where it writes, the journal is a write-ahead
  // log, and a locked database is waited for. Raises 0x80004005 with a text that names the file.
  SqliteSession(const std::filesystem::path& file, SqliteMode mode, PageReads reads = PageReads::InArms);

  // Rewrites the text, prepares it once and keeps the statement. Past the time limit it raises a timeout.
  StatementResult Run(const varnel::String& sql, const StatementLimits& limits) override;
  void Begin() override;
  void Commit() override;
  void Rollback() override;
  // False after statements that leave something behind (PRAGMA, ATTACH, temporary tables), and where another
  // file has taken the place of the opened one.
  bool Recycle() override;

 private:
  struct Closer {
    void operator()(sqlite3* database) const { sqlite3_close_v2(database); }
  };
  struct FileIdentity {
    std::uint64_t device = 0;
    std::uint64_t node = 0;
    bool operator==(const FileIdentity&) const = default;
  };

  std::optional<std::vector<ColumnFact>> Describe(const std::u16string& select) override;
  bool HasPartialIndex() override;

  void OpenFile(const std::string& name, int flags);
  void Configure(SqliteMode mode);
  void Execute(const char* sql);
  SqliteStatement& Prepared(const std::string& sql);
  StatementResult RunPrepared(const varnel::String& sql, varnel::Long maxRecords);
  void ForgetSchema();
  void NoteSideEffects(const varnel::String& sql);
  static FileIdentity Identity(const std::filesystem::path& file);

  std::filesystem::path m_file;
  FileIdentity m_identity;
  std::unique_ptr<sqlite3, Closer> m_database;
  SqliteDialect m_dialect;
  std::unordered_map<std::string, std::unique_ptr<SqliteStatement>> m_statements;  // by the engine's text
  std::unordered_map<varnel::String, std::optional<std::vector<ColumnFact>>> m_facts;
  bool m_tainted = false;
};

}  // namespace hostlinux
