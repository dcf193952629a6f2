// A connection to a SQLite database.
#pragma once

#include <sqlite3.h>

#include <memory>
#include <unordered_map>

#include "host-linux/database/dialect/SqliteDialect.h"
#include "host-linux/database/provider/KeptTexts.h"
#include "host-linux/database/provider/LeastRecentlyUsed.h"
#include "host-linux/database/provider/Provider.h"
#include "host-linux/database/sqlite/SqliteGuard.h"
#include "host-linux/database/sqlite/SqliteReader.h"
#include "host-linux/database/sqlite/SqliteSnapshot.h"
#include "host-linux/database/sqlite/SqliteStatement.h"
#include "host-linux/database/sqlite/SqliteTimeLimit.h"
#include "host-linux/database/sqlite/SqliteUse.h"

namespace hostlinux {

enum class SqliteMode { Read, ReadWrite, Create };

struct SqliteAccess {
  SqliteMode mode = SqliteMode::Create;
  std::vector<std::string> tables;     // all that may be touched; none: everything
  std::vector<std::string> functions;  // that may be called besides those that calculate
  PageReads reads = PageReads::InArms;
  std::size_t keptLists = 0;  // texts that are kept (KeptTexts.h)
};

// True where a database can be read as if nobody wrote to it, though its journal is a write-ahead log:
// neither the log nor its index is there, and the folder doesn't let this process make them.
bool MayBeTakenForUnchanging(const std::filesystem::path& file);

class SqliteSession : public ISession, private IColumnFacts {
 public:
  // Opens the file; only Create makes one that isn't there. Where it writes, the journal is a write-ahead
  // log. A locked database is waited for, within the time of `options` and 5 seconds. Raises 0x80004005 with
  // a text that names the file.
  SqliteSession(const std::filesystem::path& file, const SqliteAccess& access, const OpenOptions& options);
  ~SqliteSession() override { FinishReaders(); }

  // Rewrites the text, prepares it once and keeps the statement. Past the time limit it raises a timeout.
  StatementResult Run(const varnel::String& sql, const varnel::host::StatementParameters& parameters,
                      const StatementLimits& limits) override;
  // The engine's plans for the statements that Run would run for a page and its text. Each has a row for each step: its
  // number, that of its parent, a 0, what is done.
  std::vector<RowStore> Plans(const varnel::String& sql, const varnel::host::StatementParameters& parameters,
                              const varnel::host::PageSpec& page);
  void Begin() override;
  void Commit() override;
  void Rollback() override;
  // False after statements that leave something behind (PRAGMA, ATTACH, temporary tables), after errors of
  // the file, and where the engine already holds much memory on this thread.
  bool Recycle() override;
  // False where another file has taken the place of the opened one, or it was cut. One that was opened as if
  // it never changed must not have changed.
  bool IsCurrent() override;
  bool KeepsTexts() const override { return m_texts.KeepsAny(); }
  const varnel::String* KeptText(const varnel::String& key) override;
  void KeepText(const varnel::String& key, const varnel::String& text) override;

  // For SqliteReader: the next batch of a running statement, within `timeout` (0: none). All of `rows`
  // together have `most` bytes.
  void ReadOn(SqliteStatement& statement, RowStore& rows, std::size_t batchRows, std::size_t most,
              std::chrono::milliseconds timeout);
  std::size_t MostResultBytes() const { return m_limits.maxResult; }
  // The number of rows that `statement` gives with these values; none where its text can't be counted.
  std::optional<RowCount> CountRows(const SqliteStatement& statement, const std::vector<BoundValue>& values,
                                    const StatementLimits& limits);
  void AddReader(SqliteReader& reader) { m_readers.push_back(&reader); }
  void RemoveReader(const SqliteReader& reader) { std::erase(m_readers, &reader); }

 private:
  struct Closer {
    void operator()(sqlite3* database) const { sqlite3_close_v2(database); }
  };
  // What a statement reads, and what that tells: looked up once it matters.
  struct ReadNotes {
    SqliteGuard::Notes notes;
    std::optional<bool> isSteady;
  };
  struct Cached {
    bool namesQueries = false;  // has a WITH clause
    bool walks = false;         // of a page: its walk was quicker the last time
    std::shared_ptr<SqliteStatement> statement;
    std::shared_ptr<ReadNotes> notes;
  };
  struct KeptCount {
    ResultColumns columns;
    RowStore rows;
    StatementResult Result() const;
  };
  struct FileState {
    std::uint64_t device = 0;
    std::uint64_t node = 0;
    std::uint64_t size = 0;
    std::int64_t changed = 0;  // nanoseconds
  };

  std::optional<std::vector<ColumnFact>> Describe(const std::u16string& select) override;
  std::optional<SortWork> SortsFor(const std::u16string& select) override;
  bool HasPartialIndex() override;

  void OpenFile(const std::string& name, int flags);
  void OpenForReading();
  void Harden(bool readsOnly);
  void Execute(const char* sql);
  // Calls `action` within the time limit, and notes its failure.
  template <typename Action>
  auto Within(std::chrono::milliseconds timeout, Action action);
  Cached Prepared(const std::string& sql);
  std::optional<Cached> PreparedIfPossible(const std::string& sql);
  // Nothing runs any more then. All of it takes no longer than one statement may.
  void FinishReaders();
  StatementResult RunTranslated(const varnel::String& sql,
                                const varnel::host::StatementParameters& parameters,
                                const StatementLimits& limits);
  // A sentence with the table or column that may have been meant where the engine knows no such one.
  varnel::String NameMeant(const varnel::host::ProviderError& error, const varnel::String& sql);
  std::vector<varnel::String> TableNames();
  std::vector<varnel::String> ColumnNamesIn(const varnel::String& sql);
  StatementResult RunAny(const varnel::String& sql, const varnel::host::StatementParameters& parameters,
                         const StatementLimits& limits);
  // None where the text is to be run.
  std::optional<StatementResult> RunPage(const varnel::host::StatementParameters& parameters,
                                         const StatementLimits& limits);
  // What a statement of a page adds to the page.
  struct PagePart {
    std::size_t left = 0;              // rows that it may give
    std::optional<std::size_t> keeps;  // of a jump: the last so many of its way
    const StatementLimits& limits;
  };
  std::size_t RunPart(const EngineStatement& statement, const PagePart& part, StatementResult& o_result);
  // In at most so many steps of the engine; false, with nothing added, where they aren't enough.
  bool RunPartWithin(long steps, const EngineStatement& statement, PagePart& io_part,
                     StatementResult& o_result);
  void RunLikelier(const EngineStatement& statement, const EngineStatement& walk, PagePart& io_part,
                   StatementResult& o_result);
  // One row with the number of rows of the text.
  StatementResult RunCount(const varnel::String& sql, const varnel::host::StatementParameters& parameters,
                           const StatementLimits& limits);
  StatementResult RunWhole(const EngineStatement& statement, const StatementLimits& limits);
  StatementResult CountByReading(const EngineStatement& statement, const StatementLimits& limits);
  void ForgetOldCounts();
  // True if the statement gives the same rows as long as the file stays the same.
  bool IsSteady(const Cached& cached);
  bool AreSteady(const SqliteGuard::Notes& notes);
  // The number that the engine has for the state of the database that is being read.
  unsigned DataVersion() const;
  // In a transaction, or with settings of its own, the session may see what nobody else does.
  bool MayKeep() const { return sqlite3_get_autocommit(m_database.get()) != 0 && !m_guard.LeavesTraces(); }
  [[noreturn]] static void RaiseUnboundParameter(const std::u16string& sentence);
  static void RequireValues(const SqliteStatement& statement, const EngineStatement& translated);
  // Holds the state of the database; also looks whether the schema has changed.
  class Held;
  bool SchemaHasChanged();
  void ForgetSchema();
  void NoteFailure(const varnel::host::ProviderError& error);
  static FileState StateOf(const std::filesystem::path& file);

  std::filesystem::path m_file;
  const EngineLimits m_limits;
  std::chrono::milliseconds m_timeout;  // of the last statement
  bool m_isUnchanging = false;          // opened as if nobody wrote
  FileState m_state;
  SqliteTimeLimit m_timeLimit;
  SqliteGuard m_guard;
  std::unique_ptr<sqlite3, Closer> m_database;          // closed before the two above go
  LeastRecentlyUsed<std::string, Cached> m_statements;  // by the engine's text
  LeastRecentlyUsed<std::string, KeptCount> m_counts;   // by the engine's text and its values
  unsigned m_countsVersion = 0;                         // of the data that they were counted in
  KeptTexts m_texts;
  SqliteDialect m_dialect;
  std::unordered_map<varnel::String, std::optional<std::vector<ColumnFact>>> m_facts;
  std::unordered_map<varnel::String, std::optional<SortWork>> m_sorts;
  std::unique_ptr<SqliteStatement> m_probe;  // is prepared again when the schema has changed
  std::unique_ptr<SqliteSnapshot> m_snapshot;
  std::vector<SqliteReader*> m_readers;  // whose statements are running
  bool m_broken = false;
};

template <typename Action>
auto SqliteSession::Within(std::chrono::milliseconds timeout, Action action) {
  struct Stopper {
    SqliteTimeLimit& limit;
    ~Stopper() { limit.Stop(); }
  } const stopper{m_timeLimit};
  const SqliteAllowance allowance(m_limits);
  m_timeLimit.Start(timeout);
  try {
    return action();
  } catch (const ProviderFailure& failure) {
    NoteFailure(failure.Error());
    throw;
  }
}

class SqliteSession::Held {
 public:
  explicit Held(SqliteSession& session) : m_session(session) {
    const SuspendedGuard suspended(session.m_guard);
    if (session.m_snapshot == nullptr)
      session.m_snapshot = std::make_unique<SqliteSnapshot>(session.m_database.get());
    m_sameSchema = session.m_snapshot->Begin();
  }
  Held(const Held&) = delete;
  Held& operator=(const Held&) = delete;
  ~Held() { m_session.m_snapshot->End(); }

  bool SameSchema() const { return m_sameSchema; }

 private:
  SqliteSession& m_session;
  bool m_sameSchema = true;
};

}  // namespace hostlinux
