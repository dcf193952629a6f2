// The file of sessions as an SQLite database: rows of a session's token, a key and bytes.
#pragma once

#include <sqlite3.h>

#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace hostlinux {

// Why the engine couldn't do it.
class DatabaseFailure : public std::runtime_error {
 public:
  DatabaseFailure(int code, const std::string& text) : std::runtime_error(text), m_code(code) {}
  // The file is no database, or is damaged.
  bool IsDamage() const { return m_code == SQLITE_CORRUPT || m_code == SQLITE_NOTADB; }

 private:
  int m_code;
};

// For one thread at a time. All operations throw DatabaseFailure.
class SessionDatabase {
 public:
  struct Row {
    std::string name;
    std::string bytes;
  };

  // Opens the file, or makes it. `maxBytes`: what it may grow to. `isDurable`: it is whole after a failure of
  // the machine too, at the price of waiting for the disk when the log is folded in.
  SessionDatabase(const std::filesystem::path& file, std::uint64_t maxBytes, bool isDurable);
  ~SessionDatabase();
  SessionDatabase(const SessionDatabase&) = delete;
  SessionDatabase& operator=(const SessionDatabase&) = delete;

  std::optional<std::string> Read(const std::string& token, std::string_view name);
  // All rows of a token at one moment, by name.
  std::vector<Row> ReadAll(const std::string& token);
  // The first row of the first token behind `token`; the token replaces it. Nothing where there is none.
  std::optional<Row> ReadNext(std::string& token);

  void Write(const std::string& token, std::string_view name, std::string_view bytes);
  void Remove(const std::string& token, std::string_view name);
  void RemoveAll(const std::string& token);

  // Runs `changes` as a whole, once no other process is writing.
  void InOneStep(const std::function<void()>& changes);

  // A number that changes when another connection has written.
  std::int64_t Version();

  // Pages in the log that may be folded into the file.
  int LogPages() const { return m_logPages; }
  // Folds the log into the file as far as it can be done without waiting for anybody.
  void FoldLog();

 private:
  struct Close {
    void operator()(sqlite3* database) const { sqlite3_close_v2(database); }
  };
  struct Finalize {
    void operator()(sqlite3_stmt* statement) const { sqlite3_finalize(statement); }
  };
  using Statement = std::unique_ptr<sqlite3_stmt, Finalize>;
  class Use;

  static int OnCommit(void* self, sqlite3* database, const char* name, int pages);

  void Run(const std::string& sql);
  Statement Prepare(const char* sql);
  [[noreturn]] void Fail(int code) const;
  bool Step(Use& use);

  std::unique_ptr<sqlite3, Close> m_database;
  Statement m_read, m_readAll, m_readNext, m_write, m_remove, m_removeAll, m_begin, m_commit, m_rollback,
      m_version;
  int m_logPages = 0;
};

}  // namespace hostlinux
