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

// True where the steps, those of a plan of `read`, come to its rows by an index. Pure.
bool IsServedBy(const std::vector<PlanStep>& steps, const ListRead& read);

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
  std::filesystem::path m_folder;
  std::unique_ptr<SqliteSession> m_session;
};

}  // namespace hostlinux
