// A site in a folder of its own, which goes with it.
#pragma once

#include <filesystem>
#include <string>

namespace hosttest {

class TestSite {
 public:
  // With the root "/shop", development mode, plain tables, an empty log and a user "demo" of language 1033.
  TestSite();
  ~TestSite();
  TestSite(const TestSite&) = delete;
  TestSite& operator=(const TestSite&) = delete;

  const std::filesystem::path& Folder() const { return m_folder; }

  // Writes a file of the site; missing folders are made. Replaces in one step, as an editor does.
  void Write(const std::string& name, const std::string& content) const;

  // The same below its pages.
  void WritePage(const std::string& name, const std::string& content) const {
    Write("pages/" + name, content);
  }

  std::string Read(const std::string& name) const;

  // The log once `text` is in it, or as it is after 20 seconds: a server writes it beside its answers.
  std::string LogWith(const std::string& text) const;

  // Runs SQL texts on the SQLite file `name` of the site.
  void RunSql(const std::string& sql, const std::string& name = "demo.db") const;

  // demo.db, the connection "Demo", with customers 1 to `count`: named n01, n02, ...; every third of them
  // from 3 on has no name where `withNulls`.
  void MakeCustomers(int count, bool withNulls = false) const;

 private:
  std::filesystem::path m_folder;
};

}  // namespace hosttest
