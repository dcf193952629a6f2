// What the statements of a connection may touch, decided while they are prepared.
#pragma once

#include <sqlite3.h>

#include <string>
#include <string_view>
#include <unordered_set>
#include <utility>
#include <vector>

namespace hostlinux {

// Nobody loads code, or names a function as the address of a tokenizer. Where it is only read:
// - only functions that calculate (IsCalculating) and those that were named besides may be called;
// - nothing is attached, and VACUUM INTO, which attaches what it writes, writes nothing;
// - virtual tables are not made, and PRAGMA has no tables.
// Without a list of tables all else is let through, and only noted. With a list, wherever it is:
// - listed tables and views are read and written; a listed view may read what lies below it, which nobody
//   reads directly then, and views below it count like it;
// - functions are those of a connection that only reads;
// - the catalogue tables, PRAGMA, ATTACH, and everything that makes, drops or changes tables are refused.
class SqliteGuard {
 public:
  // Names in any case of letters. No `tables` is no list; `functions` are let through besides.
  SqliteGuard(const std::vector<std::string>& tables, const std::vector<std::string>& functions,
              bool readOnly);
  SqliteGuard(const SqliteGuard&) = delete;
  SqliteGuard& operator=(const SqliteGuard&) = delete;

  // Looks at all statements of `database` from now on; itself stays where it is as long as they are run.
  void Watch(sqlite3* database);
  // Looks up what lies below the listed views: after Watch, and after each change of the schema.
  void LearnViews(sqlite3* database);
  bool HasList() const { return !m_listed.empty(); }

  // What a statement uses, as it was prepared.
  struct Notes {
    bool isSteady = true;             // only functions of their arguments, and only tables of the main file
    std::vector<std::string> tables;  // and views
  };
  // Of all that was prepared since BeginStatement.
  Notes TakeNotes() { return std::exchange(m_notes, {}); }

  // Before a statement of the user's is prepared, and before it is run. `namesQueries`: it has a WITH clause,
  // whose names could be those of views; a view then doesn't vouch for the tables below it.
  void BeginStatement(bool namesQueries) {
    m_namesQueries = namesQueries;
    m_notes = {};
  }
  // True if a statement since the last call was one that changes the schema.
  bool TakeSchemaChange() { return std::exchange(m_changedSchema, false); }
  // True once a statement could leave behind what the next user of the connection would see.
  bool LeavesTraces() const { return m_leavesTraces; }
  // The host's own statements are neither judged nor noted.
  void Suspend(bool suspended) { m_suspended = suspended; }

 private:
  static int Decide(void* self, int action, const char* first, const char* second, const char* schema,
                    const char* context);
  void Note(int action, const char* first, const char* second, std::string_view schema);
  bool Allows(int action, const char* first, const char* second, const char* context);
  bool AllowsFunction(const std::string& name) const;
  bool AllowsRead(const std::string& table, std::string_view column, const char* context) const;
  void Learn(int action, const char* table, const char* context);

  std::unordered_set<std::string> m_listed;  // lower case
  std::unordered_set<std::string> m_functions;
  std::unordered_set<std::string> m_below;  // tables and views below the listed views; lower case
  Notes m_notes;
  bool m_readOnly;
  bool m_learning = false;
  bool m_suspended = false;
  bool m_namesQueries = false;
  bool m_changedSchema = false;
  bool m_leavesTraces = false;
};

// Turns the guard off for the host's own statements.
class SuspendedGuard {
 public:
  explicit SuspendedGuard(SqliteGuard& guard) : m_guard(guard) { m_guard.Suspend(true); }
  SuspendedGuard(const SuspendedGuard&) = delete;
  SuspendedGuard& operator=(const SuspendedGuard&) = delete;
  ~SuspendedGuard() { m_guard.Suspend(false); }

 private:
  SqliteGuard& m_guard;
};

}  // namespace hostlinux
