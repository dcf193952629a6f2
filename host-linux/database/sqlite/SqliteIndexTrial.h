// Indexes tried on a copy of a SQLite schema, in a temporary folder of its own.
#pragma once

#include <filesystem>

#include "host-linux/database/provider/IndexTrial.h"
#include "host-linux/database/sqlite/SqliteSession.h"

namespace hostlinux {

// A step of the engine's plan, as it tells it.
struct PlanStep {
  varnel::Long parent = 0;
  std::string detail;
};

// Columns that tell one row of a table, none of them NULL.
using UniqueColumns = std::vector<std::string>;

// True where the steps, those of a plan of `read`, come to its rows by an index; `uniques` are those of the read's table.
// Pure.
bool IsServedBy(const std::vector<PlanStep>& steps, const ListRead& read,
                const std::vector<UniqueColumns>& uniques);

class SqliteIndexTrial : public IIndexTrial {
 public:
  // Copies the schema and the statistics of `file`, which is only read. Raises ProviderFailure.
  explicit SqliteIndexTrial(const std::filesystem::path& file);
  SqliteIndexTrial(const SqliteIndexTrial&) = delete;
  SqliteIndexTrial& operator=(const SqliteIndexTrial&) = delete;
  ~SqliteIndexTrial() override;

  bool IsServed(const ListRead& read) override;
  bool Make(const varnel::String& createIndex) override;
  void Drop(const varnel::String& index) override;
  std::vector<varnel::String> Columns(const varnel::String& table) override;

 private:
  std::vector<UniqueColumns> Uniques(const varnel::String& table);

  std::filesystem::path m_folder;
  std::unique_ptr<SqliteSession> m_session;
};

}  // namespace hostlinux
